#include "machine/apps/app_installer.hpp"

#include "machine/apps/app_registry.hpp"
#include "support/app_bundles.hpp"
#include "support/captured_log.hpp"

#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace veltro::host;
using namespace veltro::test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

std::string contents(const fs::path &path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

std::vector<std::string> names_in(const fs::path &folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto &entry : fs::directory_iterator(folder, error))
    names.push_back(entry.path().filename());
  return names;
}

class AppInstaller : public testing::Test {
protected:
  AppInstaller() {
    fs::remove_all(device_root());
    installed_apps();
    clear_log();
  }

  /// A bundle to install, outside the root.
  fs::path bundle(const std::string &name = "Chat.app", const std::string &identifier = "chat") {
    return lay_bundle(source_.path() / name, identifier);
  }

  static void expect_nothing_installed() {
    EXPECT_THAT(installed_apps(), IsEmpty());
    EXPECT_THAT(names_in(bundle_containers_folder()), IsEmpty());
    EXPECT_THAT(names_in(data_containers_folder()), IsEmpty());
  }

  ScratchFolder source_;
};

TEST_F(AppInstaller, LaysAnAppDownInTheDevicesLayout) {
  ASSERT_EQ(install_app(bundle()), "");
  const AppRecord app = installed_app("chat");
  ASSERT_NE(app, nullptr);
  EXPECT_EQ(app->type, AppType::user);
  EXPECT_EQ(fs::path(app->bundle_path).filename(), "Chat.app");
  EXPECT_EQ(fs::path(app->container_path).parent_path(), bundle_containers_folder());
  EXPECT_THAT(
      fs::path(app->container_path).filename().string(),
      testing::MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}"));
  for (const char *part : {"Documents", "Library/Caches", "Library/Preferences", "tmp"})
    EXPECT_TRUE(fs::is_directory(fs::path(app->data_path) / part)) << part;
  EXPECT_EQ(fs::status(app->data_path).permissions(), fs::perms(0700));
  EXPECT_EQ(fs::status(app->container_path).permissions(), fs::perms(0755));
  EXPECT_THAT(contents(fs::path(app->container_path) / kContainerMetadataFile),
              HasSubstr("<string>chat</string>"));
  EXPECT_THAT(logged_lines(), IsEmpty());
}

TEST_F(AppInstaller, CopiesAllOfTheBundle) {
  const fs::path source = bundle();
  write_file(source / "de.lproj/Localizable.strings", "\"a\" = \"b\";");
  write_file(source / "empty", "");
  fs::create_directories(source / "folder");
  fs::create_symlink("empty", source / "link");
  ASSERT_EQ(install_app(source), "");
  const fs::path copy = installed_app("chat")->bundle_path;
  EXPECT_EQ(contents(copy / "de.lproj/Localizable.strings"), "\"a\" = \"b\";");
  EXPECT_TRUE(fs::is_regular_file(copy / "empty"));
  EXPECT_TRUE(fs::is_directory(copy / "folder"));
  EXPECT_EQ(fs::read_symlink(copy / "link"), "empty");
  EXPECT_EQ(access((copy / "Chat").c_str(), X_OK), 0);
  EXPECT_TRUE(fs::exists(source / "Chat")) << "the source stays";
}

TEST_F(AppInstaller, ReplacesAnAppAndKeepsItsData) {
  ASSERT_EQ(install_app(bundle()), "");
  const AppRecord before = installed_app("chat");
  write_file(fs::path(before->data_path) / "Documents/note", "kept");
  fs::remove_all(source_.path() / "Chat.app");
  const fs::path renamed = bundle("Talk.app");
  ASSERT_EQ(install_app(renamed), "");
  const AppRecord after = installed_app("chat");
  EXPECT_EQ(fs::path(after->bundle_path).filename(), "Talk.app");
  EXPECT_EQ(after->data_path, before->data_path);
  EXPECT_EQ(contents(fs::path(after->data_path) / "Documents/note"), "kept");
  EXPECT_EQ(names_in(bundle_containers_folder()).size(), 1U);
  EXPECT_EQ(names_in(data_containers_folder()).size(), 1U);
  EXPECT_EQ(installed_apps().size(), 1U);
  EXPECT_THAT(logged_lines(), IsEmpty()) << "there is no moment with two of them";
}

TEST_F(AppInstaller, InstallsAnInstalledAppOverItself) {
  ASSERT_EQ(install_app(bundle()), "");
  ASSERT_EQ(install_app(installed_app("chat")->bundle_path), "");
  EXPECT_NE(installed_app("chat"), nullptr);
  EXPECT_EQ(names_in(bundle_containers_folder()).size(), 1U);
}

TEST_F(AppInstaller, TakesIdentifiersAsTheyStand) {
  for (const char *identifier : {"../../escape", "a/b", "日本語.アプリ", "a &lt; b"}) {
    ASSERT_EQ(install_app(bundle("Odd.app", identifier)), "") << identifier;
    EXPECT_EQ(installed_apps().size(), 1U);
    const std::string taken = installed_apps().front()->identifier;
    EXPECT_NE(installed_app(taken)->data_path, "");
    EXPECT_EQ(remove_app(taken), "");
    expect_nothing_installed();
  }
}

TEST_F(AppInstaller, RemovesAnAppWithItsData) {
  ASSERT_EQ(install_app(bundle()), "");
  ASSERT_EQ(install_app(bundle("Other.app", "other")), "");
  EXPECT_EQ(remove_app("chat"), "");
  EXPECT_EQ(installed_app("chat"), nullptr);
  EXPECT_NE(installed_app("other"), nullptr);
  EXPECT_EQ(names_in(bundle_containers_folder()).size(), 1U);
  EXPECT_EQ(names_in(data_containers_folder()).size(), 1U);
  EXPECT_THAT(remove_app("chat"), HasSubstr("no app is installed"));
}

TEST_F(AppInstaller, RemovesAnAppWithoutData) {
  lay_bundle(bundle_containers_folder() + "/U1/Chat.app", "chat");
  EXPECT_EQ(remove_app("chat"), "");
  expect_nothing_installed();
}

TEST_F(AppInstaller, LeavesSystemAppsAsTheyAre) {
  const fs::path system = lay_system_app("chat", "Chat");
  EXPECT_EQ(install_app(bundle()), "chat is a system app");
  EXPECT_EQ(remove_app("chat"), "chat is a system app");
  EXPECT_EQ(installed_app("chat")->bundle_path, system);
  EXPECT_THAT(names_in(bundle_containers_folder()), IsEmpty());
}

// What is wrong with a bundle is said, and nothing of it stays.

TEST_F(AppInstaller, RefusesABrokenInfoPlist) {
  const fs::path source = bundle();
  fs::remove(source / "Info.plist");
  EXPECT_EQ(install_app(source), "Info.plist: No such file or directory");
  write_file(source / "Info.plist", "garbage");
  EXPECT_EQ(install_app(source), "Info.plist: not a property list with a dictionary");
  write_file(source / "Info.plist", plist(plist_entry("CFBundleExecutable", "Chat")));
  EXPECT_EQ(install_app(source), "Info.plist: no CFBundleIdentifier");
  write_file(source / "Info.plist", plist(plist_entry("CFBundleIdentifier", "chat")));
  EXPECT_EQ(install_app(source), "Info.plist: no CFBundleExecutable");
  write_file(source / "Info.plist", info_plist("chat", "/bin/sh"));
  EXPECT_EQ(install_app(source), "Info.plist: CFBundleExecutable is no file name");
  expect_nothing_installed();
}

TEST_F(AppInstaller, RefusesAnExecutableThatIsNone) {
  const fs::path source = bundle();
  fs::permissions(source / "Chat", fs::perms(0644));
  EXPECT_EQ(install_app(source), "executable Chat: not an executable file");
  fs::remove(source / "Chat");
  EXPECT_EQ(install_app(source), "executable Chat: No such file or directory");
  fs::create_directories(source / "Chat");
  EXPECT_EQ(install_app(source), "executable Chat: not an executable file");
  expect_nothing_installed();
}

TEST_F(AppInstaller, RefusesWhatIsNoBundle) {
  write_file(source_.path() / "File.app", "");
  EXPECT_EQ(install_app(source_.path() / "File.app"), "not a folder");
  EXPECT_EQ(install_app(source_.path() / "None.app"), "No such file or directory");
  EXPECT_EQ(install_app(bundle("Chat.bundle")), "the folder's name does not end in .app");
  EXPECT_EQ(install_app(bundle(".Chat.app")), "the folder's name is hidden");
  EXPECT_NE(install_app(""), "");
  EXPECT_NE(install_app("/"), "");
  expect_nothing_installed();
}

TEST_F(AppInstaller, LeavesNothingOfABundleThatCannotBeCopied) {
  const fs::path source = bundle();
  ASSERT_EQ(mkfifo((source / "pipe").c_str(), 0600), 0);
  EXPECT_THAT(install_app(source), StartsWith("cannot copy " + source.string()));
  expect_nothing_installed();
}

TEST_F(AppInstaller, LeavesTheInstalledAppWhereTheNewOneCannotBeCopied) {
  ASSERT_EQ(install_app(bundle()), "");
  const std::string before = installed_app("chat")->bundle_path;
  ASSERT_EQ(mkfifo((source_.path() / "Chat.app/pipe").c_str(), 0600), 0);
  EXPECT_THAT(install_app(source_.path() / "Chat.app"), StartsWith("cannot copy "));
  EXPECT_EQ(installed_app("chat")->bundle_path, before);
  EXPECT_EQ(names_in(bundle_containers_folder()).size(), 1U);
}

// Roots that cannot be used.

TEST_F(AppInstaller, RefusesARootThatIsAFile) {
  write_file(device_root(), "");
  EXPECT_THAT(install_app(bundle()), HasSubstr("Not a directory"));
  EXPECT_THAT(remove_app("chat"), HasSubstr("no app is installed"));
}

TEST_F(AppInstaller, RefusesAFileInTheFoldersPlace) {
  write_file(data_containers_folder(), "");
  EXPECT_THAT(install_app(bundle()), HasSubstr("cannot create " + data_containers_folder()));
  EXPECT_THAT(installed_apps(), IsEmpty());
  EXPECT_THAT(names_in(bundle_containers_folder()), IsEmpty());
}

/// Runs `action` as a user who may not write what root made; returns the child's exit status.
template <typename Action> int without_rights(Action action) {
  const pid_t child = fork();
  if (child == 0) {
    if (geteuid() == 0 && seteuid(65534) != 0)
      _exit(77);
    _exit(action() ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(AppInstaller, RefusesARootThatIsNotWritable) {
  ASSERT_EQ(install_app(bundle("Other.app", "other")), "");
  const fs::path source = bundle();
  for (const fs::path &open_to_all : {scratch(), source_.path(), source})
    fs::permissions(open_to_all, fs::perms(0755));
  fs::permissions(bundle_containers_folder(), fs::perms(0555));
  EXPECT_EQ(without_rights([&] {
              return install_app(source).starts_with("cannot write to " +
                                                     bundle_containers_folder());
            }),
            0);
  EXPECT_EQ(without_rights([&] {
              return remove_app("other").starts_with("cannot write to " +
                                                     bundle_containers_folder());
            }),
            0);
  fs::permissions(bundle_containers_folder(), fs::perms(0755));
  EXPECT_NE(installed_app("other"), nullptr);
  EXPECT_EQ(installed_app("chat"), nullptr);
}

// Several installers.

TEST_F(AppInstaller, TakesTurnsWithInstallersOfOtherProcesses) {
  const fs::path source = bundle();
  std::vector<pid_t> children;
  for (int number = 0; number < 4; ++number) {
    const pid_t child = fork();
    if (child == 0) {
      bool fine = true;
      for (int round = 0; round < 5; ++round)
        fine = install_app(source).empty() && fine;
      _exit(fine ? 0 : 1);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(installed_apps().size(), 1U);
  EXPECT_EQ(names_in(bundle_containers_folder()).size(), 1U);
  EXPECT_EQ(names_in(data_containers_folder()).size(), 1U);
}

TEST_F(AppInstaller, NeverShowsHalfAnApp) {
  const fs::path source = bundle();
  for (int number = 0; number < 50; ++number)
    write_file(source / ("file" + std::to_string(number)), "text");
  ASSERT_EQ(install_app(source), "");
  std::atomic<bool> done = false;
  std::thread installer([&] {
    for (int round = 0; round < 20; ++round)
      install_app(source);
    done = true;
  });
  int missing = 0;
  while (!done) {
    const AppRecord app = installed_app("chat");
    missing += app == nullptr || app->data_path.empty();
  }
  installer.join();
  EXPECT_EQ(missing, 0) << "an app that is replaced is there all the time";
}

TEST_F(AppInstaller, ClearsAwayWhatAKilledInstallerLeft) {
  const fs::path left = fs::path(bundle_containers_folder()) / ".installing";
  const fs::path data_left = fs::path(data_containers_folder()) / ".installing";
  lay_bundle(left / "Chat.app", "chat");
  fs::create_directories(data_left / "Documents");
  EXPECT_EQ(installed_app("chat"), nullptr) << "half installed is not installed";
  ASSERT_EQ(install_app(bundle()), "");
  EXPECT_FALSE(fs::exists(left));
  EXPECT_FALSE(fs::exists(data_left));
}

TEST_F(AppInstaller, PassesOverALeftoverThatCannotBeClearedAway) {
  const fs::path source = bundle();
  for (const fs::path &open_to_all : {scratch(), source_.path(), source})
    fs::permissions(open_to_all, fs::perms(0755));
  for (const fs::path folder : {bundle_containers_folder(), data_containers_folder()}) {
    fs::create_directories(folder);
    fs::permissions(folder, fs::perms(0777));
  }
  EXPECT_EQ(without_rights([&] {
              const fs::path left = fs::path(bundle_containers_folder()) / ".installing/left";
              write_file(left / "file", "");
              fs::permissions(left, fs::perms(0555));
              const std::string problem = install_app(source);
              fs::permissions(left, fs::perms(0755));
              return problem.empty();
            }),
            0);
  EXPECT_NE(installed_app("chat"), nullptr);
}

TEST_F(AppInstaller, TakesADataContainerThatWaitsForItsApp) {
  const fs::path data = lay_data_container("chat", "D1");
  ASSERT_EQ(install_app(bundle()), "");
  EXPECT_EQ(installed_app("chat")->data_path, data);
  EXPECT_THAT(names_in(data_containers_folder()), ElementsAre("D1"));
}

} // namespace
