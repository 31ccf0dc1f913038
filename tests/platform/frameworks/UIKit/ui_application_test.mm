#import <UIKit/UIKit.h>

#include "support/captured_log.hpp"
#include "support/idle_apps.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using testing::ElementsAre;
using veltro::test::eventually;
using veltro::test::IdleApp;
using veltro::test::logged_lines;

bool launch(const std::string &identifier) {
  return [[UIApplication sharedApplication]
             launchApplicationWithIdentifier:[NSString stringWithUTF8String:identifier.c_str()]
                                   suspended:YES] == YES;
}

TEST(UIApplication, IsOneObject) {
  EXPECT_NE([UIApplication sharedApplication], nil);
  EXPECT_EQ([UIApplication sharedApplication], [UIApplication sharedApplication]);
}

TEST(UIApplication, LaunchesAnAppInItsHome) {
  veltro::test::clear_log();
  const IdleApp app("org.example.idle", "Idle");
  setenv("VELTRO_TEST_KEPT", "the rest of the environment", 1);
  EXPECT_TRUE(launch("org.example.idle"));
  auto described = app.description();
  EXPECT_EQ(described["home"], app.home().string());
  EXPECT_EQ(described["root"], veltro::test::device_root().string());
  EXPECT_EQ(described["kept"], "the rest of the environment");
  EXPECT_TRUE(logged_lines().empty());
}

TEST(UIApplication, StartsNoSecondProcess) {
  const IdleApp app("org.example.idle", "Idle");
  EXPECT_TRUE(launch("org.example.idle"));
  const pid_t first = app.process();
  EXPECT_TRUE(launch("org.example.idle"));
  EXPECT_EQ(app.processes(), std::vector{first});
}

TEST(UIApplication, StartsOneProcessHoweverManyThreadsAsk) {
  const IdleApp app("org.example.idle", "Idle");
  std::vector<std::thread> threads;
  std::atomic<int> launched = 0;
  for (int i = 0; i < 6; ++i)
    threads.emplace_back([&launched] {
      @autoreleasepool {
        launched += launch("org.example.idle") ? 1 : 0;
      }
    });
  for (std::thread &thread : threads)
    thread.join();
  EXPECT_EQ(launched, 6);
  EXPECT_EQ(app.processes().size(), 1U);
}

TEST(UIApplication, StartsAnAppAgainThatHasEnded) {
  const IdleApp app("org.example.idle", "Idle");
  EXPECT_TRUE(launch("org.example.idle"));
  const pid_t first = app.process();
  kill(first, SIGKILL);
  EXPECT_TRUE(eventually([&] { return app.processes().empty(); }));
  EXPECT_TRUE(launch("org.example.idle"));
  EXPECT_NE(app.process(), first);
}

TEST(UIApplication, LaunchesByIdentifiersOfEveryKind) {
  for (const char *identifier :
       {"a/b", "..", "...", "org.example.\xc3\xbc\xe2\x82\xac", "with space"}) {
    const IdleApp app(identifier, "Idle");
    EXPECT_TRUE(launch(identifier)) << identifier;
    EXPECT_NE(app.process(), 0) << identifier;
  }
}

TEST(UIApplication, GivesASystemAppTheHomeOfTheUser) {
  namespace fs = std::filesystem;
  const fs::path root = veltro::test::device_root();
  const fs::path bundle = veltro::test::lay_system_app("org.example.system", "System");
  veltro::test::write_script(bundle / "System", "#!/bin/sh\necho \"$HOME\" >\"$HOME/home\"\n");
  EXPECT_TRUE(launch("org.example.system"));
  EXPECT_TRUE(eventually([&] { return fs::exists(root / "var/mobile/home"); }));
}

TEST(UIApplication, SaysNoToAnAppThatIsNotInstalled) {
  veltro::test::clear_log();
  EXPECT_FALSE(launch("org.example.unknown"));
  EXPECT_THAT(logged_lines(), ElementsAre("App not launched: org.example.unknown: no such app"));
  EXPECT_TRUE(veltro::test::lines_of_nslog().empty());
}

TEST(UIApplication, SaysNoToNoIdentifier) {
  EXPECT_EQ([[UIApplication sharedApplication] launchApplicationWithIdentifier:nil suspended:YES],
            NO);
}

TEST(UIApplication, SaysNoWhereThereIsNothingToStart) {
  veltro::test::clear_log();
  const std::filesystem::path bundle = veltro::test::lay_system_app("org.example.broken", "Broken");
  chmod((bundle / "Broken").c_str(), 0644);
  EXPECT_FALSE(launch("org.example.broken"));
  std::filesystem::remove(bundle / "Broken");
  EXPECT_FALSE(launch("org.example.broken"));
  veltro::test::write_file(
      bundle / "Info.plist",
      veltro::test::plist(veltro::test::plist_entry("CFBundleIdentifier", "org.example.nothing")));
  EXPECT_FALSE(launch("org.example.nothing"));
  EXPECT_THAT(logged_lines(),
              ElementsAre("App not launched: org.example.broken: Permission denied",
                          "App not launched: org.example.broken: No such file or directory",
                          "App not launched: org.example.nothing: the app names no executable"));
}

TEST(UIApplication, SaysYesToAnAppThatEndsAtOnce) {
  veltro::test::lay_system_app("org.example.short", "Short");
  EXPECT_TRUE(launch("org.example.short"));
}

} // namespace
