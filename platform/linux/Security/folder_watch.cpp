#include "Security/folder_watch.hpp"

namespace veltro::host::keychain {
namespace {

// Longer than the coarsest tick that file systems count time in.
constexpr time_t longest_tick = 2;

bool same(const timespec &one, const timespec &other) {
  return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

bool same(const struct stat &one, const struct stat &other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino &&
         same(one.st_mtim, other.st_mtim) && same(one.st_ctim, other.st_ctim);
}

} // namespace

void FolderWatch::begin(const Paths &paths, time_t now) {
  trusted_ = false;
  begun_ = now;
  if (::stat(paths.folder.c_str(), &folder_) != 0)
    folder_ = {};
}

void FolderWatch::trust(const Paths &paths, const Identity &key) {
  // What changed just now may change once more in the same tick, and would look the same.
  for (const timespec &changed : {folder_.st_mtim, folder_.st_ctim, key.changed})
    if (begun_ - changed.tv_sec <= longest_tick)
      return;
  if (!key_ || !(key_identity_ == key))
    key_ = File(paths.key, O_PATH);
  struct stat status{};
  trusted_ = key_ && ::fstat(key_.number(), &status) == 0 && Identity::with_change(status) == key;
  key_identity_ = key;
}

bool FolderWatch::holds(const Paths &paths) const {
  struct stat status{};
  return trusted_ && ::stat(paths.folder.c_str(), &status) == 0 && same(status, folder_) &&
         ::fstat(key_.number(), &status) == 0 && Identity::with_change(status) == key_identity_;
}

} // namespace veltro::host::keychain
