// Installing where the file system cannot exchange two folders, or a rename fails: this program's
// own rename functions stand in for the system's.
#include "machine/apps/app_installer.hpp"

#include "machine/apps/app_registry.hpp"
#include "support/app_bundles.hpp"

#include <cerrno>
#include <cstdio>
#include <dlfcn.h>
#include <gmock/gmock.h>

namespace {

bool can_exchange = true;
int renames_until_failure = -1; // none fails

} // namespace

extern "C" int renameat2(int from_folder, const char *from, int to_folder, const char *to,
                         unsigned flags) noexcept {
  if (!can_exchange) {
    errno = EINVAL;
    return -1;
  }
  using Function = int (*)(int, const char *, int, const char *, unsigned);
  static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "renameat2"));
  return real(from_folder, from, to_folder, to, flags);
}

extern "C" int rename(const char *from, const char *to) noexcept {
  if (renames_until_failure == 0) {
    renames_until_failure = -1;
    errno = EIO;
    return -1;
  }
  if (renames_until_failure > 0)
    --renames_until_failure;
  using Function = int (*)(const char *, const char *);
  static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "rename"));
  return real(from, to);
}

namespace {

namespace fs = std::filesystem;
using namespace veltro::host;
using namespace veltro::test;
using testing::HasSubstr;

class AppInstallerFaults : public testing::Test {
protected:
  AppInstallerFaults() {
    fs::remove_all(device_root());
    can_exchange = true;
    renames_until_failure = -1;
    bundle_ = lay_bundle(source_.path() / "Chat.app", "chat");
  }

  static long folders_in(const std::string &folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
  }

  /// Installs a second version, whose bundle has another name.
  std::string install_second() {
    return install_app(lay_bundle(source_.path() / "Talk.app", "chat"));
  }

  static std::string installed_name() {
    const AppRecord app = installed_app("chat");
    return app != nullptr ? fs::path(app->bundle_path).filename().string() : "none";
  }

  ScratchFolder source_;
  fs::path bundle_;
};

TEST_F(AppInstallerFaults, ReplacesWithoutAnExchange) {
  ASSERT_EQ(install_app(bundle_), "");
  can_exchange = false;
  EXPECT_EQ(install_second(), "");
  EXPECT_EQ(installed_name(), "Talk.app");
  EXPECT_EQ(folders_in(bundle_containers_folder()), 1);
}

TEST_F(AppInstallerFaults, KeepsTheOldAppWhereNoRenameWorks) {
  ASSERT_EQ(install_app(bundle_), "");
  can_exchange = false;
  for (const int renames : {0, 1}) {
    renames_until_failure = renames;
    EXPECT_THAT(install_second(), HasSubstr("Input/output error")) << renames;
    EXPECT_EQ(installed_name(), "Chat.app") << renames;
    EXPECT_EQ(folders_in(bundle_containers_folder()), 1) << renames;
  }
}

TEST_F(AppInstallerFaults, LeavesNothingWhereTheLastStepFails) {
  for (const int renames : {0, 1}) {
    renames_until_failure = renames;
    EXPECT_THAT(install_app(bundle_), HasSubstr("Input/output error")) << renames;
    EXPECT_EQ(installed_name(), "none") << renames;
    EXPECT_EQ(folders_in(bundle_containers_folder()), 0) << renames;
  }
  renames_until_failure = -1;
  EXPECT_EQ(install_app(bundle_), "");
  EXPECT_EQ(folders_in(data_containers_folder()), 1);
}

TEST_F(AppInstallerFaults, SaysWhereAnAppIsOnlyHalfRemoved) {
  ASSERT_EQ(install_app(bundle_), "");
  renames_until_failure = 0;
  EXPECT_THAT(remove_app("chat"), HasSubstr("Input/output error"));
  EXPECT_EQ(installed_name(), "Chat.app");
  renames_until_failure = 1;
  EXPECT_THAT(remove_app("chat"), HasSubstr(data_containers_folder()));
  EXPECT_EQ(installed_name(), "none") << "its data is left for the next installation";
  EXPECT_EQ(install_app(bundle_), "");
  EXPECT_EQ(folders_in(data_containers_folder()), 1);
}

} // namespace
