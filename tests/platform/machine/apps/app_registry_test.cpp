#include "machine/apps/app_registry.hpp"

#include "support/app_bundles.hpp"
#include "support/captured_log.hpp"

#include <gmock/gmock.h>
#include <thread>

namespace {

namespace fs = std::filesystem;
using namespace veltro::host;
using namespace veltro::test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class AppRegistry : public testing::Test {
protected:
  AppRegistry() {
    fs::remove_all(device_root());
    fs::create_directories(device_root());
    installed_apps(); // drops the previous test's bundles, which lay at the same paths
    clear_log();
  }

  static std::vector<std::string> identifiers() {
    std::vector<std::string> names;
    for (const AppRecord &app : installed_apps())
      names.push_back(app->identifier);
    return names;
  }
};

TEST_F(AppRegistry, KnowsASystemAppByItsPlace) {
  const fs::path bundle = lay_system_app("com.example.Clock", "Clock");
  const AppRecord app = installed_app("com.example.Clock");
  ASSERT_NE(app, nullptr);
  EXPECT_EQ(app->identifier, "com.example.Clock");
  EXPECT_EQ(app->type, AppType::system);
  EXPECT_EQ(app->bundle_path, bundle);
  EXPECT_EQ(app->container_path, "");
  EXPECT_EQ(app->data_path, "");
  EXPECT_EQ(app->executable, "Clock");
  EXPECT_EQ(app->executable_path(), bundle / "Clock");
  EXPECT_EQ(app->name, "Clock");
  EXPECT_EQ(app->version, "7");
}

TEST_F(AppRegistry, KnowsAUserAppAndItsContainers) {
  const fs::path bundle = lay_user_app("org.example.chat", "Chat", "11111111-AAAA");
  const AppRecord app = installed_app("org.example.chat");
  ASSERT_NE(app, nullptr);
  EXPECT_EQ(app->type, AppType::user);
  EXPECT_EQ(app->bundle_path, bundle);
  EXPECT_EQ(app->container_path, bundle.parent_path());
  EXPECT_EQ(app->data_path, device_root() / "var/mobile/Containers/Data/Application/11111111-AAAA");
}

TEST_F(AppRegistry, HasNothingForAnUnknownOrEmptyIdentifier) {
  lay_system_app("com.example.Clock", "Clock");
  EXPECT_EQ(installed_app("com.example.Clocks"), nullptr);
  EXPECT_EQ(installed_app("com.example"), nullptr);
  EXPECT_EQ(installed_app(""), nullptr);
}

TEST_F(AppRegistry, TakesIdentifiersAsTheyStand) {
  for (const std::string odd : {"../../etc", "a/b", "..", ".", "日本語.アプリ", "with space"}) {
    lay_user_app(odd, "Odd", "ODD");
    const AppRecord app = installed_app(odd);
    ASSERT_NE(app, nullptr) << odd;
    EXPECT_EQ(app->identifier, odd);
  }
}

TEST_F(AppRegistry, ListsTheAppsByIdentifier) {
  EXPECT_THAT(identifiers(), IsEmpty());
  lay_user_app("b.user", "User", "U1");
  lay_system_app("c.system", "System");
  lay_system_app("a.system", "Another");
  EXPECT_THAT(identifiers(), ElementsAre("a.system", "b.user", "c.system"));
}

TEST_F(AppRegistry, HasNothingWithoutARoot) {
  fs::remove_all(device_root());
  EXPECT_THAT(identifiers(), IsEmpty());
  EXPECT_EQ(installed_app("a"), nullptr);
  write_file(device_root(), "a file in the root's place");
  EXPECT_THAT(identifiers(), IsEmpty());
  EXPECT_EQ(installed_app("a"), nullptr);
  EXPECT_THAT(logged_lines(), IsEmpty());
}

TEST_F(AppRegistry, FollowsTheEnvironmentToAnotherRoot) {
  lay_system_app("one", "One");
  EXPECT_THAT(identifiers(), ElementsAre("one"));
  const ScratchFolder other;
  lay_system_app("two", "Two", other.path());
  setenv("VELTRO_ROOT", other.path().c_str(), 1);
  EXPECT_EQ(installed_app("one"), nullptr);
  EXPECT_THAT(identifiers(), ElementsAre("two"));
  setenv("VELTRO_ROOT", device_root().c_str(), 1);
  EXPECT_NE(installed_app("one"), nullptr);
}

TEST_F(AppRegistry, TakesARootRelativeToTheCurrentFolder) {
  lay_system_app("one", "One");
  const fs::path before = fs::current_path();
  fs::current_path(scratch());
  setenv("VELTRO_ROOT", "root/", 1);
  const AppRecord app = installed_app("one");
  setenv("VELTRO_ROOT", device_root().c_str(), 1);
  fs::current_path(before);
  ASSERT_NE(app, nullptr);
  EXPECT_EQ(app->bundle_path, device_root() / "Applications/One.app");
}

// What changes on the disk is seen by the very next lookup.

TEST_F(AppRegistry, SeesAnAppThatComesAndGoes) {
  EXPECT_EQ(installed_app("one"), nullptr);
  const fs::path bundle = lay_user_app("one", "One", "U1");
  EXPECT_NE(installed_app("one"), nullptr);
  fs::remove_all(bundle.parent_path());
  EXPECT_EQ(installed_app("one"), nullptr);
  lay_user_app("one", "One", "U2");
  EXPECT_NE(installed_app("one"), nullptr);
}

TEST_F(AppRegistry, SeesABundleLaidDownStepByStep) {
  const fs::path containers = device_root() / "var/mobile/Containers/Bundle/Application";
  fs::create_directories(containers / "U1");
  EXPECT_EQ(installed_app("one"), nullptr);
  fs::create_directories(containers / "U1/One.app");
  EXPECT_EQ(installed_app("one"), nullptr);
  write_file(containers / "U1/One.app/Info.plist", info_plist("one", "One"));
  EXPECT_NE(installed_app("one"), nullptr);
}

TEST_F(AppRegistry, SeesAnInfoPlistThatChanges) {
  const fs::path bundle = lay_user_app("one", "One", "U1");
  EXPECT_NE(installed_app("one"), nullptr);
  write_file(bundle / "Info.plist", info_plist("two", "One"));
  EXPECT_EQ(installed_app("one"), nullptr);
  EXPECT_NE(installed_app("two"), nullptr);
  write_file(bundle / "Info.plist", info_plist("six", "One"));
  EXPECT_NE(installed_app("six"), nullptr);
}

TEST_F(AppRegistry, SeesADataContainerThatComesLater) {
  lay_bundle(device_root() / "var/mobile/Containers/Bundle/Application/U1/One.app", "one");
  EXPECT_EQ(installed_app("one")->data_path, "");
  const fs::path container = device_root() / "var/mobile/Containers/Data/Application/D1";
  fs::create_directories(container);
  EXPECT_EQ(installed_app("one")->data_path, "");
  lay_data_container("one", "D1");
  EXPECT_EQ(installed_app("one")->data_path, container);
  lay_data_container("two", "D1");
  EXPECT_EQ(installed_app("one")->data_path, "");
}

TEST_F(AppRegistry, SeesChangesAfterTheFoldersAreStable) {
  const fs::path bundle = lay_user_app("one", "One", "U1");
  lay_system_app("other", "Other");
  for (const char *identifier : {"two", "three"}) {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_NE(installed_app("other"), nullptr);
    EXPECT_EQ(installed_app(identifier), nullptr);
    write_file(bundle / "Info.plist", info_plist(identifier, "One"));
    EXPECT_NE(installed_app(identifier), nullptr);
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_THAT(identifiers(), ElementsAre("other", "three"));
  fs::rename(bundle, bundle.parent_path() / "Renamed.app");
  EXPECT_EQ(installed_app("three")->bundle_path, bundle.parent_path() / "Renamed.app");
}

// Broken bundles.

struct BrokenBundle {
  const char *name;
  std::string info;
  const char *complaint;
};

class AppRegistryBroken : public AppRegistry, public testing::WithParamInterface<BrokenBundle> {};

TEST_P(AppRegistryBroken, IsLeftOutWithOneLine) {
  lay_system_app("good.system", "Good");
  lay_user_app("good.user", "Good", "U2");
  const fs::path broken = device_root() / "var/mobile/Containers/Bundle/Application/U1/Bad.app";
  write_file(broken / "Info.plist", GetParam().info);
  for (int round = 0; round < 3; ++round)
    EXPECT_THAT(identifiers(), ElementsAre("good.system", "good.user"));
  EXPECT_EQ(installed_app("bad"), nullptr);
  EXPECT_THAT(logged_lines(),
              ElementsAre("App bundle left out: " + broken.string() + ": " + GetParam().complaint));
}

INSTANTIATE_TEST_SUITE_P(
    Infos, AppRegistryBroken,
    testing::Values(BrokenBundle{"Empty", "", "Info.plist: not a property list with a dictionary"},
                    BrokenBundle{"Garbage", "<plist><dict><key>",
                                 "Info.plist: not a property list with a dictionary"},
                    BrokenBundle{"Binary", std::string("bplist00\xff\xff\x00\x01", 12),
                                 "Info.plist: not a property list with a dictionary"},
                    BrokenBundle{"AString", "<plist version=\"1.0\"><string>bad</string></plist>",
                                 "Info.plist: not a property list with a dictionary"},
                    BrokenBundle{"NoIdentifier", plist(plist_entry("CFBundleExecutable", "Bad")),
                                 "Info.plist: no CFBundleIdentifier"},
                    BrokenBundle{"EmptyIdentifier", plist(plist_entry("CFBundleIdentifier", "")),
                                 "Info.plist: no CFBundleIdentifier"},
                    BrokenBundle{"NumberForIdentifier",
                                 plist("<key>CFBundleIdentifier</key><integer>3</integer>"),
                                 "Info.plist: no CFBundleIdentifier"},
                    BrokenBundle{"ExecutableElsewhere", info_plist("bad", "../../sh"),
                                 "Info.plist: CFBundleExecutable is no file name"},
                    BrokenBundle{"ExecutableIsParent", info_plist("bad", ".."),
                                 "Info.plist: CFBundleExecutable is no file name"}),
    [](const auto &info) { return info.param.name; });

TEST_F(AppRegistry, LeavesOutABundleWhoseIdentifierIsHalfACharacter) {
  using namespace std::string_literals;
  // A well-formed binary property list; the identifier is half a surrogate pair, which has no
  // UTF-8.
  write_file(device_root() / "Applications/Half.app/Info.plist",
             "bplist00\xd1\x01\x02\x5f\x10\x12"
             "CFBundleIdentifier\x61\xd8\x00\x08\x0b\x20"s +
                 "\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x03\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x23"s);
  EXPECT_THAT(identifiers(), IsEmpty());
  EXPECT_THAT(logged_lines(), ElementsAre(HasSubstr("Info.plist: no CFBundleIdentifier")));
}

TEST_F(AppRegistry, ReadsAnInfoPlistThatBeginsWithAnEmptyLine) {
  write_file(device_root() / "Applications/Late.app/Info.plist", "\n" + info_plist("late", "Late"));
  EXPECT_THAT(identifiers(), ElementsAre("late"));
}

TEST_F(AppRegistry, LeavesOutABundleWithoutInfoPlist) {
  fs::create_directories(device_root() / "Applications/Bad.app");
  lay_system_app("good", "Good");
  EXPECT_THAT(identifiers(), ElementsAre("good"));
  EXPECT_THAT(logged_lines(),
              ElementsAre(HasSubstr("Bad.app: Info.plist: No such file or directory")));
}

TEST_F(AppRegistry, LeavesOutAFileInTheBundlesPlaceAndALinkToNowhere) {
  write_file(device_root() / "Applications/Bad.app", "");
  fs::create_symlink("/nowhere", device_root() / "Applications/Link.app");
  lay_system_app("good", "Good");
  EXPECT_THAT(identifiers(), ElementsAre("good"));
  EXPECT_THAT(logged_lines(), ElementsAre(HasSubstr("Bad.app"), HasSubstr("Link.app")));
}

TEST_F(AppRegistry, NeverWaitsForAnInfoPlistThatIsNoFile) {
  fs::create_directories(device_root() / "Applications/Folder.app/Info.plist");
  fs::create_directories(device_root() / "Applications/Pipe.app");
  ASSERT_EQ(mkfifo((device_root() / "Applications/Pipe.app/Info.plist").c_str(), 0600), 0);
  fs::create_directories(device_root() / "Applications/Huge.app");
  write_file(device_root() / "Applications/Huge.app/Info.plist", "");
  fs::resize_file(device_root() / "Applications/Huge.app/Info.plist", (16 << 20) + 1);
  EXPECT_THAT(identifiers(), IsEmpty());
  EXPECT_THAT(logged_lines(), ElementsAre(HasSubstr("Folder.app: Info.plist: not a file"),
                                          HasSubstr("Huge.app: Info.plist: too large"),
                                          HasSubstr("Pipe.app: Info.plist: not a file")));
}

TEST_F(AppRegistry, TakesABundleBackWhenItIsRepaired) {
  const fs::path bundle = device_root() / "Applications/Bad.app";
  write_file(bundle / "Info.plist", "garbage");
  EXPECT_EQ(installed_app("good"), nullptr);
  write_file(bundle / "Info.plist", info_plist("good", "Bad"));
  EXPECT_NE(installed_app("good"), nullptr);
  write_file(bundle / "Info.plist", "garbage");
  EXPECT_EQ(installed_app("good"), nullptr);
  EXPECT_EQ(logged_lines().size(), 2U);
}

TEST_F(AppRegistry, KeepsTheFirstOfTwoAppsWithOneIdentifier) {
  const fs::path user = lay_user_app("twice", "User", "U1");
  const fs::path system = lay_system_app("twice", "System");
  EXPECT_EQ(installed_app("twice")->bundle_path, system);
  EXPECT_THAT(identifiers(), ElementsAre("twice"));
  EXPECT_THAT(logged_lines(),
              ElementsAre(HasSubstr("User.app: has the identifier of " + system.string())));
  fs::remove_all(system);
  EXPECT_EQ(installed_app("twice")->bundle_path, user);
}

TEST_F(AppRegistry, KeepsTheFirstOfTwoAppsInOneContainer) {
  const fs::path one = lay_user_app("one", "One", "U1");
  EXPECT_NE(installed_app("one"), nullptr);
  lay_user_app("two", "Two", "U1");
  EXPECT_EQ(installed_app("two"), nullptr);
  EXPECT_THAT(identifiers(), ElementsAre("one"));
  EXPECT_THAT(logged_lines(), ElementsAre(HasSubstr("Two.app: its container holds another app")));
  fs::remove_all(one);
  EXPECT_NE(installed_app("two"), nullptr);
}

TEST_F(AppRegistry, TakesABundleBesideABrokenOne) {
  const fs::path container = device_root() / "var/mobile/Containers/Bundle/Application/U1";
  write_file(container / "Bad.app/Info.plist", "garbage");
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_EQ(installed_app("good"), nullptr);
  lay_bundle(container / "Good.app", "good");
  EXPECT_NE(installed_app("good"), nullptr);
}

TEST_F(AppRegistry, PassesOverWhatIsNoBundle) {
  write_file(device_root() / "Applications/README", "");
  lay_bundle(device_root() / "Applications/Tool.bundle", "tool");
  lay_bundle(device_root() / "Applications/.Hidden.app", "hidden");
  lay_bundle(device_root() / "var/mobile/Containers/Bundle/Application/.staging/One.app", "staged");
  EXPECT_THAT(identifiers(), IsEmpty());
  EXPECT_THAT(logged_lines(), IsEmpty());
}

TEST_F(AppRegistry, NamesAnAppAsItsInfoPlistDoes) {
  const fs::path bundle = lay_system_app("one", "Folder");
  const std::string identifier = plist_entry("CFBundleIdentifier", "one");
  write_file(bundle / "Info.plist", plist(identifier));
  EXPECT_EQ(installed_app("one")->name, "Folder");
  EXPECT_EQ(installed_app("one")->executable, "");
  EXPECT_EQ(installed_app("one")->executable_path(), "");
  EXPECT_EQ(installed_app("one")->version, "");
  write_file(bundle / "Info.plist", plist(identifier + plist_entry("CFBundleName", "Name")));
  EXPECT_EQ(installed_app("one")->name, "Name");
  write_file(bundle / "Info.plist", plist(identifier + plist_entry("CFBundleName", "Name") +
                                          plist_entry("CFBundleDisplayName", "Shown") +
                                          plist_entry("CFBundleShortVersionString", "1.2")));
  EXPECT_EQ(installed_app("one")->name, "Shown");
  EXPECT_EQ(installed_app("one")->version, "1.2");
}

TEST_F(AppRegistry, StandsLookupsOnSeveralThreadsWhileAppsComeAndGo) {
  lay_system_app("steady", "Steady");
  std::vector<std::thread> threads;
  std::atomic<int> missed = 0;
  for (int number = 0; number < 3; ++number)
    threads.emplace_back([&missed] {
      for (int round = 0; round < 200; ++round) {
        missed += installed_app("steady") == nullptr;
        installed_apps();
      }
    });
  for (int round = 0; round < 20; ++round)
    fs::remove_all(lay_user_app("fleeting", "Fleeting", "U1").parent_path());
  for (std::thread &thread : threads)
    thread.join();
  EXPECT_EQ(missed, 0);
  EXPECT_EQ(installed_app("fleeting"), nullptr);
}

} // namespace
