// The strings that UIKit and ChatKit bring, and the folders that a device root is given.
#import <ChatKit/ChatKit.h>

#include "machine/root/system_files.hpp"
#include "support/app_bundles.hpp"

#include <cstdlib>
#include <gtest/gtest.h>
#include <set>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace veltro::test;
using veltro::host::provide_system_folder;
using veltro::host::system_files;

class SystemFolders : public testing::Test {
protected:
  SystemFolders() {
    fs::remove_all(device_root());
    unsetenv("LANGUAGE");
  }

  static constexpr const char *kChatKit = "/System/Library/PrivateFrameworks/ChatKit.framework";

  static fs::path frameworks() { return device_root() / "System/Library/PrivateFrameworks"; }

  static std::set<std::string> keys(const fs::path &table) {
    NSDictionary *strings =
        [[NSString stringWithContentsOfFile:[NSString stringWithUTF8String:table.c_str()]
                                   encoding:NSUTF8StringEncoding
                                      error:nullptr] propertyListFromStringsFileFormat];
    std::set<std::string> found;
    for (NSString *key in strings) {
      found.insert([key UTF8String]);
      EXPECT_GT([[strings objectForKey:key] length], 0U) << table << [key UTF8String];
    }
    return found;
  }
};

TEST_F(SystemFolders, ChatKitHasABundle) {
  NSBundle *bundle = CKFrameworkBundle();
  EXPECT_STREQ([[bundle bundlePath] UTF8String], (frameworks() / "ChatKit.framework").c_str());
  EXPECT_TRUE([[bundle bundleIdentifier] isEqual:@"com.apple.ChatKit"]);
  EXPECT_TRUE([[bundle localizedStringForKey:@"SEND" value:nil table:@"ChatKit"] isEqual:@"Send"]);
  setenv("LANGUAGE", "ja", 1);
  EXPECT_TRUE([[bundle localizedStringForKey:@"SEND" value:nil table:@"ChatKit"] isEqual:@"送信"]);
}

TEST_F(SystemFolders, EveryLanguageHasEveryLabel) {
  CKFrameworkBundle();
  [NSBundle bundleWithIdentifier:@"com.apple.UIKit"];
  const fs::path chat = frameworks() / "ChatKit.framework";
  const fs::path uikit = device_root() / "System/Library/Frameworks/UIKit.framework";
  const std::set<std::string> chat_keys = keys(chat / "en.lproj/ChatKit.strings");
  const std::set<std::string> uikit_keys = keys(uikit / "en.lproj/Localizable.strings");
  EXPECT_GE(chat_keys.size(), 12U);
  EXPECT_GE(uikit_keys.size(), 12U);
  for (const char *language : {"de", "fr", "es", "ar", "zh-Hans", "ja"}) {
    const std::string folder = std::string(language) + ".lproj";
    EXPECT_EQ(keys(chat / folder / "ChatKit.strings"), chat_keys) << language;
    EXPECT_EQ(keys(uikit / folder / "Localizable.strings"), uikit_keys) << language;
  }
}

TEST_F(SystemFolders, AFolderThatIsThereStaysAsItIs) {
  write_file(frameworks() / "ChatKit.framework/ChatKit.strings", "SEND = \"my own\";");
  EXPECT_TRUE([[CKFrameworkBundle() localizedStringForKey:@"SEND" value:nil
                                                    table:@"ChatKit"] isEqual:@"my own"]);
  EXPECT_FALSE(fs::exists(frameworks() / "ChatKit.framework/Info.plist"));
}

TEST_F(SystemFolders, AreLaidDownWholly) {
  provide_system_folder(kChatKit);
  std::size_t files = 0;
  for (const auto &file : system_files())
    if (file.path.starts_with(kChatKit)) {
      EXPECT_EQ(fs::file_size(device_root().string() + std::string(file.path)), file.text.size());
      ++files;
    }
  EXPECT_EQ(files, 8U);
  EXPECT_EQ(std::distance(fs::directory_iterator(frameworks()), fs::directory_iterator()), 1)
      << "nothing else is left there";
}

TEST_F(SystemFolders, AreLaidDownByOneOfSeveralProcesses) {
  std::vector<pid_t> children;
  for (int number = 0; number < 4; ++number) {
    const pid_t child = fork();
    if (child == 0) {
      provide_system_folder(kChatKit);
      _exit(fs::exists(frameworks() / "ChatKit.framework/ja.lproj/ChatKit.strings") ? 0 : 1);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(frameworks()), fs::directory_iterator()), 1);
}

TEST_F(SystemFolders, AreMissingWhereTheyCannotBeLaidDown) {
  write_file(device_root() / "System", "a file");
  EXPECT_EQ(CKFrameworkBundle(), nil);
  EXPECT_EQ([NSBundle bundleWithIdentifier:@"com.apple.UIKit"], nil);
  fs::remove_all(device_root());
  write_file(device_root(), "a file");
  EXPECT_EQ(CKFrameworkBundle(), nil);
}

} // namespace
