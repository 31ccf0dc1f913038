#include "Security/folder_watch.hpp"

#include "platform/Security/keychain.hpp"

#include <array>
#include <chrono>
#include <ctime>
#include <thread>

namespace veltro::test {
namespace {

class FolderWatch : public Keychain {
protected:
  void SetUp() override {
    Keychain::SetUp();
    ASSERT_EQ(add(@"mail", @"ann", "secret"), errSecSuccess);
    let_go();
    // Long ago, so that a change within this very tick shows.
    const std::array<timespec, 2> long_ago{{{1000, 0}, {1000, 0}}};
    ASSERT_EQ(utimensat(AT_FDCWD, paths().folder.c_str(), long_ago.data(), 0), 0);
    watch(std::time(nullptr) + 60);
  }

  void watch(time_t now) {
    watch_.begin(paths(), now);
    keychain::Identity key;
    ASSERT_EQ(check_key(paths(), key), errSecSuccess);
    watch_.trust(paths(), key);
  }

  [[nodiscard]] bool holds() const { return watch_.holds(paths()); }

  keychain::FolderWatch watch_;
};

TEST_F(FolderWatch, HoldsWhileNothingChanges) {
  EXPECT_TRUE(holds());
  EXPECT_TRUE(holds());
  const std::string database = contents(paths().database);
  EXPECT_TRUE(holds());
}

TEST_F(FolderWatch, TrustsNothingBeforeItIsTold) {
  EXPECT_FALSE(keychain::FolderWatch().holds(paths()));
  watch_.begin(paths(), std::time(nullptr) + 60);
  EXPECT_FALSE(holds());
}

TEST_F(FolderWatch, TrustsNoFolderThatChangedJustNow) {
  watch(std::time(nullptr));
  EXPECT_FALSE(holds());
  watch(std::time(nullptr) - 60);
  EXPECT_FALSE(holds()) << "a clock that was set back";
}

TEST_F(FolderWatch, TrustsNoFolderWithATimeInTheFuture) {
  const std::time_t soon = std::time(nullptr) + 60;
  const std::array<timespec, 2> times{{{soon, 0}, {soon, 0}}};
  ASSERT_EQ(utimensat(AT_FDCWD, paths().folder.c_str(), times.data(), 0), 0);
  watch(soon);
  EXPECT_FALSE(holds());
}

TEST_F(FolderWatch, TrustsAKeyOnceItIsAtRestToo) {
  std::this_thread::sleep_for(std::chrono::seconds(4)); // until all changes are long ago
  watch(std::time(nullptr));
  EXPECT_TRUE(holds());
  files::permissions(paths().key, files::perms::owner_read | files::perms::owner_write);
  watch(std::time(nullptr));
  EXPECT_FALSE(holds());
}

TEST_F(FolderWatch, SeesFilesComeGoAndChangePlaces) {
  files::rename(paths().database, paths().database + ".moved");
  EXPECT_FALSE(holds());
}

TEST_F(FolderWatch, SeesAFileInTheDatabasesPlace) {
  write_file(paths().folder + "/other", "");
  EXPECT_FALSE(holds());
}

TEST_F(FolderWatch, SeesTheFolderGo) {
  files::rename(paths().folder, paths().folder + "-moved");
  EXPECT_FALSE(holds());
}

TEST_F(FolderWatch, SeesAnotherFolderInItsPlace) {
  files::rename(device_root(), scratch() / "moved-root");
  files::create_directories(paths().folder);
  files::copy_file((scratch() / "moved-root/var/Keychains/keychain.key"), paths().key);
  EXPECT_FALSE(holds());
  files::remove_all(scratch() / "moved-root");
}

TEST_F(FolderWatch, SeesModesChange) {
  files::permissions(paths().key, files::perms::others_read, files::perm_options::add);
  EXPECT_FALSE(holds());
  files::permissions(paths().key, files::perms::others_read, files::perm_options::remove);
  watch(std::time(nullptr) + 60);
  EXPECT_TRUE(holds());
  files::permissions(paths().folder, files::perms::group_exec, files::perm_options::add);
  EXPECT_FALSE(holds());
}

TEST_F(FolderWatch, TrustsNoKeyButTheOneThatWasLookedAt) {
  watch_.begin(paths(), std::time(nullptr) + 60);
  watch_.trust(paths(), {});
  EXPECT_FALSE(holds());
}

} // namespace
} // namespace veltro::test
