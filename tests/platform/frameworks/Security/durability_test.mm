// Whether what a call made is on the disk when it returns.

#include "platform/frameworks/Security/keychain.hpp"

#include <algorithm>
#include <array>
#include <dlfcn.h>
#include <set>

namespace {

std::set<std::string> synced;

void note(int file) {
  std::array<char, 4096> path{};
  if (readlink(("/proc/self/fd/" + std::to_string(file)).c_str(), path.data(), path.size() - 1) > 0)
    synced.insert(path.data());
}

} // namespace

extern "C" {

int fsync(int file) {
  static const auto real = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, "fsync"));
  note(file);
  return real(file);
}

int fdatasync(int file) {
  static const auto real = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, "fdatasync"));
  note(file);
  return real(file);
}

} // extern "C"

namespace veltro::test {
namespace {

using KeychainDurability = Keychain;

TEST_F(KeychainDurability, TheFirstItemIsThereWithEveryNameOnTheWayToIt) {
  const files::path deep = files::canonical(scratch()) / "a/b";
  setenv("VELTRO_ROOT", deep.c_str(), 1);
  synced.clear();
  ASSERT_EQ(add(@"mail", @"ann", "secret"), errSecSuccess);
  for (files::path folder = deep / "var/Keychains"; folder != deep.parent_path().parent_path();
       folder = folder.parent_path())
    EXPECT_TRUE(synced.contains(folder)) << folder;
  EXPECT_TRUE(synced.contains(files::canonical(scratch())));
  EXPECT_TRUE(synced.contains(deep / "var/Keychains/keychain.db-wal"));
  const std::string key = deep / "var/Keychains/keychain.key";
  EXPECT_TRUE(std::ranges::any_of(synced, [&](const auto &path) { return path.starts_with(key); }));
  setenv("VELTRO_ROOT", device_root().c_str(), 1);
  files::remove_all(deep.parent_path());
}

TEST_F(KeychainDurability, EveryChangeIs) {
  const auto expect_synced = [](OSStatus status) {
    EXPECT_EQ(status, errSecSuccess);
    EXPECT_TRUE(synced.contains(files::canonical(paths().directory) / "keychain.db-wal"));
    synced.clear();
  };
  expect_synced(add(@"mail", @"ann", "secret"));
  expect_synced(add(@"mail", @"bob", "secret"));
  expect_synced(update(item(@"mail", @"ann"), with([Entries dictionary], kSecAttrLabel, @"label")));
  expect_synced(remove(item(@"mail", @"ann")));
  status_of_search(item(@"mail", @"bob"));
  EXPECT_TRUE(synced.empty()) << "looking writes nothing";
}

} // namespace
} // namespace veltro::test
