#include "frameworks/Security/folder_watch.hpp"

#include "platform/frameworks/Security/keychain.hpp"

#include <array>
#include <cstdint>
#include <linux/magic.h>
#include <set>
#include <sys/resource.h>
#include <sys/vfs.h>

namespace veltro::test {
namespace {

constexpr int enough_calls = 4;

int queues() {
  int count = 0;
  for (const auto &entry : files::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    count += files::read_symlink(entry.path(), gone).string().find("inotify") != std::string::npos;
  }
  return count;
}

/// Whether the kernel can be trusted to tell what changes where the tests write.
bool tells_changes() {
  const std::set<std::int64_t> local{EXT4_SUPER_MAGIC, XFS_SUPER_MAGIC, BTRFS_SUPER_MAGIC,
                                     TMPFS_MAGIC, OVERLAYFS_SUPER_MAGIC};
  for (files::path at = scratch(); at != "/"; at = at.parent_path()) {
    struct statfs status{};
    if (statfs(at.c_str(), &status) != 0 || !local.contains(status.f_type) || files::is_symlink(at))
      return false;
  }
  return true;
}

class FolderWatch : public Keychain {
protected:
  void SetUp() override {
    Keychain::SetUp();
    if (!tells_changes())
      GTEST_SKIP() << "the file system under " << scratch() << " does not tell of every change";
    ASSERT_EQ(add(@"mail", @"ann", "secret"), errSecSuccess);
    let_go();
    watch();
    ASSERT_TRUE(holds());
  }

  void begin(int calls = enough_calls) {
    for (int call = 0; call < calls; ++call)
      watch_.begin(paths());
  }

  void watch() {
    begin();
    watch_.trust();
  }

  [[nodiscard]] bool holds() { return watch_.holds(); }

  keychain::FolderWatch watch_;
};

TEST_F(FolderWatch, HoldsWhileNothingChanges) {
  EXPECT_TRUE(holds());
  EXPECT_EQ(contents(paths().key).size(), keychain::master_key_length);
  std::ofstream(paths().database, std::ios::binary | std::ios::app) << "x";
  EXPECT_TRUE(holds()) << "what databases write is their own affair";
}

TEST_F(FolderWatch, TrustsNothingBeforeItIsTold) {
  keychain::FolderWatch fresh;
  EXPECT_FALSE(fresh.holds());
  begin();
  EXPECT_FALSE(holds());
  watch_.trust();
  EXPECT_TRUE(holds());
}

TEST_F(FolderWatch, TakesAQueueForThoseWhoAskOftenOnly) {
  const int before = queues();
  keychain::FolderWatch fresh;
  for (int call = 1; call < enough_calls; ++call) {
    fresh.begin(paths());
    fresh.trust();
    EXPECT_FALSE(fresh.holds());
  }
  EXPECT_EQ(queues(), before);
  fresh.begin(paths());
  fresh.trust();
  EXPECT_TRUE(fresh.holds());
  EXPECT_EQ(queues(), before + 1);
  fresh.leave();
  EXPECT_FALSE(fresh.holds());
  EXPECT_EQ(queues(), before);
}

TEST_F(FolderWatch, SeesWhatChangedBeforeItWasTrusted) {
  begin();
  write_file(paths().folder + "/other", "");
  watch_.trust();
  EXPECT_FALSE(holds());
}

TEST_F(FolderWatch, DoesNotForgetAChangeByBeingAsked) {
  write_file(paths().folder + "/other", "");
  EXPECT_FALSE(holds());
  EXPECT_FALSE(holds());
  watch();
  EXPECT_TRUE(holds());
}

TEST_F(FolderWatch, SeesFilesComeGoAndChangePlaces) {
  std::ofstream(paths().folder + "/other") << "x";
  EXPECT_FALSE(holds());
  watch();
  files::rename(paths().folder + "/other", paths().database);
  EXPECT_FALSE(holds());
  watch();
  files::rename(paths().database, scratch() / "moved-out");
  EXPECT_FALSE(holds());
  watch();
  files::rename(scratch() / "moved-out", paths().database);
  EXPECT_FALSE(holds());
  watch();
  files::remove(paths().database);
  EXPECT_FALSE(holds());
}

TEST_F(FolderWatch, SeesTheFolderGo) {
  files::rename(paths().folder, paths().folder + "-moved");
  EXPECT_FALSE(holds());
  files::rename(paths().folder + "-moved", paths().folder);
  watch();
  EXPECT_TRUE(holds());
  files::remove_all(device_root());
  EXPECT_FALSE(holds());
  begin(enough_calls);
  watch_.trust();
  EXPECT_FALSE(holds()) << "there is nothing to watch";
}

TEST_F(FolderWatch, SeesAFolderAboveGo) {
  files::rename(device_root(), scratch() / "moved-root");
  EXPECT_FALSE(holds());
  files::rename(scratch() / "moved-root", device_root());
  watch();
  EXPECT_TRUE(holds());
}

TEST_F(FolderWatch, SeesModesChange) {
  files::permissions(paths().key, files::perms::others_read, files::perm_options::add);
  EXPECT_FALSE(holds());
  files::permissions(paths().key, files::perms::others_read, files::perm_options::remove);
  watch();
  EXPECT_TRUE(holds());
  files::permissions(paths().folder, files::perms::group_exec, files::perm_options::add);
  EXPECT_FALSE(holds());
}

TEST_F(FolderWatch, SeesTheKeyWrittenInPlace) {
  std::fstream(paths().key) << "x";
  EXPECT_FALSE(holds());
}

TEST_F(FolderWatch, SeesTheKeyThroughItsOtherNames) {
  const files::path other = scratch() / "other-name";
  files::create_hard_link(paths().key, other);
  watch();
  EXPECT_TRUE(holds());
  files::permissions(other, files::perms::others_read, files::perm_options::add);
  EXPECT_FALSE(holds());
  watch();
  std::fstream(other) << "x";
  EXPECT_FALSE(holds());
  files::remove(other);
}

TEST_F(FolderWatch, SeesAnotherFileSystemOverTheFolder) {
  expect_in_child([&] {
    watch_.leave();
    if (!own_mounts())
      return not_allowed_here;
    watch();
    if (!holds())
      return 1;
    if (mount("veltro-test", paths().folder.c_str(), "tmpfs", 0, "size=64k") != 0)
      return not_allowed_here;
    if (holds())
      return 2;
    if (umount(paths().folder.c_str()) != 0)
      return 3;
    watch();
    return holds() ? 0 : 4;
  });
}

TEST_F(FolderWatch, TrustsNoFileSystemThatItDoesNotKnow) {
  expect_in_child([&] {
    watch_.leave();
    if (!own_mounts() || mount("veltro-test", scratch().c_str(), "ramfs", 0, "") != 0)
      return not_allowed_here;
    files::create_directories(paths().folder);
    write_file(paths().key, "key");
    watch();
    return holds() ? 1 : 0;
  });
}

TEST_F(FolderWatch, TrustsNoPathThatLeadsThroughOtherPlaces) {
  const files::path link = scratch() / "link";
  files::create_symlink(device_root(), link);
  const std::string through_dots = scratch() / "x/../" / device_root().filename();
  files::create_directory(scratch() / "x");
  const std::string relative = files::relative(device_root());
  for (const std::string &root : {link.string(), through_dots, relative}) {
    ASSERT_TRUE(files::exists(keychain::Paths::at(root).key)) << root;
    keychain::FolderWatch other;
    for (int call = 0; call < enough_calls; ++call)
      other.begin(keychain::Paths::at(root));
    other.trust();
    EXPECT_FALSE(other.holds()) << root;
  }
  files::remove(link);
  files::remove(scratch() / "x");
}

TEST_F(FolderWatch, DoesWithoutAQueueWhereThereIsNone) {
  watch_.leave();
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit none{0, limit.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  watch();
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  EXPECT_FALSE(holds());
  watch();
  EXPECT_FALSE(holds()) << "it is not worth a try each time";
  begin(1024);
  watch_.trust();
  EXPECT_TRUE(holds());
}

TEST_F(FolderWatch, TurnsToAnotherFolder) {
  const files::path second = scratch() / "second";
  files::copy(device_root(), second, files::copy_options::recursive);
  const auto turn = [&] {
    for (int call = 0; call < enough_calls; ++call)
      watch_.begin(keychain::Paths::at(second));
    watch_.trust();
  };
  turn();
  EXPECT_TRUE(holds());
  write_file(paths().folder + "/other", "");
  EXPECT_TRUE(holds());
  write_file(keychain::Paths::at(second).folder + "/other", "");
  EXPECT_FALSE(holds());
  files::remove_all(second);
}

} // namespace
} // namespace veltro::test
