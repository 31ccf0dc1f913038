// Follows the manual pages inotify(7) and proc_pid_mountinfo(5).

#include "frameworks/Security/folder_watch.hpp"

#include <algorithm>
#include <array>
#include <filesystem>
#include <linux/magic.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/vfs.h>

namespace veltro::host::keychain {
namespace {

constexpr int calls_worth_a_queue = 4;
constexpr int calls_until_next_try = 1024;

constexpr std::uint32_t in_the_folder =
    IN_ATTRIB | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_MOVE_SELF | IN_ONLYDIR;
constexpr std::uint32_t to_the_key = IN_ATTRIB | IN_MODIFY; // whatever name it is changed under
constexpr std::uint32_t to_a_folder_above = IN_MOVE_SELF | IN_ONLYDIR;

/// Whether only this machine changes the file system, so that its kernel knows.
bool is_local(const std::string &path) {
  constexpr std::array<decltype(statfs::f_type), 5> local{
      EXT4_SUPER_MAGIC, XFS_SUPER_MAGIC, BTRFS_SUPER_MAGIC, TMPFS_MAGIC, OVERLAYFS_SUPER_MAGIC};
  struct statfs status{};
  return ::statfs(path.c_str(), &status) == 0 &&
         std::ranges::find(local, status.f_type) != local.end();
}

} // namespace

void FolderWatch::begin(const Paths &paths) {
  if (paths.folder != folder_) {
    leave();
    folder_ = paths.folder;
  }
  trusted_ = false;
  if (--calls_until_worth_it_ > 0)
    return;
  forget_changes();
  begun_ = follow(paths);
  if (!begun_)
    calls_until_worth_it_ = calls_until_next_try;
}

bool FolderWatch::holds() {
  trusted_ = trusted_ && is_quiet();
  return trusted_;
}

void FolderWatch::leave() {
  queue_ = File();
  mounts_ = File();
  calls_until_worth_it_ = calls_worth_a_queue;
  begun_ = false;
  trusted_ = false;
}

bool FolderWatch::follow(const Paths &paths) {
  if (!queue_)
    queue_ = File::of(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (!mounts_)
    mounts_ = File("/proc/self/mountinfo", O_RDONLY);
  const std::filesystem::path folder(paths.folder);
  if (!queue_ || !mounts_ || !folder.is_absolute() || folder != folder.lexically_normal())
    return false;
  // From the root down: who changes a name that was already passed is heard.
  std::filesystem::path above;
  for (const std::filesystem::path &name : folder) {
    above /= name;
    if (!follow(above, above == folder ? in_the_folder : to_a_folder_above))
      return false;
  }
  return follow(paths.key, to_the_key);
}

bool FolderWatch::follow(const std::string &path, std::uint32_t changes) {
  return ::inotify_add_watch(queue_.number(), path.c_str(), changes | IN_DONT_FOLLOW) >= 0 &&
         is_local(path);
}

/// Also takes note of the present table of mounts: it is told once that it changed.
bool FolderWatch::is_quiet() {
  std::array<pollfd, 2> ends{{{queue_.number(), POLLIN, 0}, {mounts_.number(), POLLPRI, 0}}};
  return ::poll(ends.data(), ends.size(), 0) == 0;
}

void FolderWatch::forget_changes() {
  std::array<char, 4096> changes;
  while (queue_ && ::read(queue_.number(), changes.data(), changes.size()) > 0)
    continue;
  static_cast<void>(is_quiet());
}

} // namespace veltro::host::keychain
