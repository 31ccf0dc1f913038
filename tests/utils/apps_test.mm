// Where installed apps lie, and opening their bundles, on a device root laid down by hand.
#import <veltro/ZLTUtils+Apps.h>

#include "support/app_bundles.hpp"
#include "support/captured_log.hpp"

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;
using namespace veltro::test;

class Apps : public testing::Test {
protected:
  Apps() {
    fs::remove_all(device_root());
    fs::create_directories(device_root());
    unsetenv("LANGUAGE");
    clear_log();
  }
};

TEST_F(Apps, FindsTheContainersAndTheExecutableOfAUserApp) {
  const fs::path bundle = lay_user_app("org.example.chat", "Chat", "U1");
  EXPECT_STREQ([[ZLTUtils applicationInstalledDirectory:@"org.example.chat"] UTF8String],
               bundle.parent_path().c_str());
  EXPECT_STREQ([[ZLTUtils applicationDataContainerDirectory:@"org.example.chat"] UTF8String],
               (device_root() / "var/mobile/Containers/Data/Application/U1").c_str());
  EXPECT_STREQ([[ZLTUtils appExecutableName:@"org.example.chat"] UTF8String], "Chat");
}

TEST_F(Apps, ReturnsAnyGetterByName) {
  lay_user_app("org.example.chat", "Chat", "U1");
  EXPECT_TRUE([[ZLTUtils appRelatedDirectory:@"org.example.chat" selector:@"applicationIdentifier"]
      isEqual:@"org.example.chat"]);
  EXPECT_TRUE([[[ZLTUtils appRelatedDirectory:@"org.example.chat" selector:@"bundleURL"]
      lastPathComponent] isEqual:@"Chat.app"]);
}

TEST_F(Apps, KnowsNothingOfASystemApp) {
  lay_system_app("com.example.clock", "Clock");
  lay_data_container("com.example.clock", "D1");
  EXPECT_EQ([ZLTUtils applicationInstalledDirectory:@"com.example.clock"], nil);
  EXPECT_EQ([ZLTUtils applicationDataContainerDirectory:@"com.example.clock"], nil);
  EXPECT_EQ([ZLTUtils appExecutableName:@"com.example.clock"], nil);
  EXPECT_EQ([ZLTUtils bundleForIdentifier:@"com.example.clock"], nil);
}

TEST_F(Apps, KnowsNothingOfAnUnknownIdentifier) {
  lay_user_app("org.example.chat", "Chat", "U1");
  for (NSString *identifier : {@"org.example", @"", @"../U1", @"org.example.chat/",
                               @"org.example.chät", (NSString *)nil}) {
    EXPECT_EQ([ZLTUtils applicationInstalledDirectory:identifier], nil);
    EXPECT_EQ([ZLTUtils applicationDataContainerDirectory:identifier], nil);
    EXPECT_EQ([ZLTUtils appExecutableName:identifier], nil);
    EXPECT_EQ([ZLTUtils bundleForIdentifier:identifier], nil);
    EXPECT_EQ([ZLTUtils localizedLabel:identifier table:nil key:@"key"], nil);
  }
  EXPECT_THAT(logged_lines(), testing::IsEmpty());
}

TEST_F(Apps, HasNoDataContainerWhereThereIsNone) {
  lay_bundle(device_root() / "var/mobile/Containers/Bundle/Application/U1/Chat.app", "chat");
  EXPECT_EQ([ZLTUtils applicationDataContainerDirectory:@"chat"], nil);
  EXPECT_STREQ([[ZLTUtils appExecutableName:@"chat"] UTF8String], "Chat");
}

TEST_F(Apps, OpensAUserAppsContainerAndLoadsIt) {
  const fs::path bundle = lay_user_app("org.example.chat", "Chat", "U1");
  NSBundle *opened = [ZLTUtils bundleForIdentifier:@"org.example.chat"];
  EXPECT_STREQ([[opened bundlePath] UTF8String], bundle.parent_path().c_str());
  EXPECT_TRUE([opened isLoaded]);
}

TEST_F(Apps, OpensABundleThatTheSystemFindsWithoutLoadingIt) {
  const fs::path framework = device_root() / "System/Library/PrivateFrameworks/Private.framework";
  write_file(framework / "Info.plist", info_plist("com.example.private", "Private"));
  NSBundle *opened = [ZLTUtils bundleForIdentifier:@"com.example.private"];
  EXPECT_STREQ([[opened bundlePath] UTF8String], framework.c_str());
  EXPECT_FALSE([opened isLoaded]);
}

TEST_F(Apps, ReturnsALabelOfAnyBundle) {
  const fs::path framework = device_root() / "System/Library/Frameworks/Own.framework";
  write_file(framework / "Info.plist", info_plist("com.example.own", "Own"));
  write_file(framework / "en.lproj/Localizable.strings", "\"key\" = \"default table\";");
  write_file(framework / "en.lproj/Other.strings", "\"key\" = \"other table\";");
  EXPECT_TRUE([[ZLTUtils localizedLabel:@"com.example.own" table:nil
                                    key:@"key"] isEqual:@"default table"]);
  EXPECT_TRUE([[ZLTUtils localizedLabel:@"com.example.own" table:@"Other"
                                    key:@"key"] isEqual:@"other table"]);
  EXPECT_TRUE([[ZLTUtils localizedLabel:@"com.example.own" table:nil
                                    key:@"missing"] isEqual:@"missing"]);
  EXPECT_TRUE([[ZLTUtils localizedLabel:@"com.example.own" table:@"None"
                                    key:@"key"] isEqual:@"key"]);
}

TEST_F(Apps, ReturnsALabelOfAUserAppsContainer) {
  const fs::path bundle = lay_user_app("org.example.chat", "Chat", "U1");
  write_file(bundle.parent_path() / "en.lproj/Localizable.strings", "\"key\" = \"container\";");
  write_file(bundle / "en.lproj/Localizable.strings", "\"inner\" = \"bundle\";");
  EXPECT_TRUE([[ZLTUtils localizedLabel:@"org.example.chat" table:nil
                                    key:@"key"] isEqual:@"container"]);
  EXPECT_TRUE([[ZLTUtils localizedLabel:@"org.example.chat" table:nil
                                    key:@"inner"] isEqual:@"inner"]);
}

TEST_F(Apps, ReturnsUIKitsLabels) {
  EXPECT_TRUE([[ZLTUtils localizedLabelFromUIKit:@"Done"] isEqual:@"Done"]);
  EXPECT_TRUE([[ZLTUtils localizedLabelFromUIKit:@"no such key"] isEqual:@"no such key"]);
  setenv("LANGUAGE", "de", 1);
  EXPECT_TRUE([[ZLTUtils localizedLabelFromUIKit:@"Done"] isEqual:@"Fertig"]);
  EXPECT_TRUE([[ZLTUtils localizedLabelFromUIKit:@"no such key"] isEqual:@"no such key"]);
}

TEST_F(Apps, ReturnsNoLabelOfAnInstallationWithoutUIKit) {
  write_file(device_root() / "System", "a file where a folder should be");
  EXPECT_EQ([ZLTUtils localizedLabelFromUIKit:@"Done"], nil);
}

class CouriaLabels : public Apps {
protected:
  static void lay_couria(const std::string &strings) {
    const fs::path bundle = device_root() / "Library/PreferenceBundles/CouriaPreferences.bundle";
    write_file(bundle / "Info.plist", info_plist("com.example.couria", "CouriaPreferences"));
    write_file(bundle / "en.lproj/Localizable.strings", strings);
  }
};

TEST_F(CouriaLabels, AreChatKitsFirst) {
  lay_couria("\"REPLY\" = \"couria's\";");
  EXPECT_TRUE([[ZLTUtils couriaLocalizedString:@"REPLY"] isEqual:@"Reply"]);
  setenv("LANGUAGE", "fr", 1);
  EXPECT_TRUE([[ZLTUtils couriaLocalizedString:@"REPLY"] isEqual:@"Répondre"]);
}

TEST_F(CouriaLabels, AreCouriasWhereChatKitHasNone) {
  lay_couria("\"ONLY_COURIA\" = \"couria's\";");
  EXPECT_TRUE([[ZLTUtils couriaLocalizedString:@"ONLY_COURIA"] isEqual:@"couria's"]);
  EXPECT_TRUE([[ZLTUtils couriaLocalizedString:@"NEITHER"] isEqual:@"NEITHER"]);
}

TEST_F(CouriaLabels, AreMissingWhereBothAre) {
  EXPECT_EQ([ZLTUtils couriaLocalizedString:@"ONLY_COURIA"], nil);
}

TEST_F(CouriaLabels, AreMissingWithoutChatKit) {
  lay_couria("\"REPLY\" = \"couria's\";");
  write_file(device_root() / "System", "a file where a folder should be");
  EXPECT_EQ([ZLTUtils couriaLocalizedString:@"REPLY"], nil);
}

} // namespace
