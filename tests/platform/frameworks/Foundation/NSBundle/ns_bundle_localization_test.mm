// NSBundle's strings tables, in the language of the environment.
#import <Foundation/Foundation.h>

#include "support/app_bundles.hpp"

#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>

namespace {

namespace fs = std::filesystem;
using namespace veltro::test;

class Localization : public testing::Test {
protected:
  Localization() {
    fs::remove_all(device_root());
    write_file(path() / "Info.plist", info_plist("strings", "Strings"));
    set_language("");
    unsetenv("LANG");
    unsetenv("LC_ALL");
  }

  static fs::path path() { return device_root() / "Library/Strings.bundle"; }
  static void set_language(const char *names) { setenv("LANGUAGE", names, 1); }

  static void lay_table(const std::string &file, const std::string &strings) {
    write_file(path() / file, strings);
  }

  static NSBundle *bundle() {
    return [NSBundle bundleWithPath:[NSString stringWithUTF8String:path().c_str()]];
  }

  static std::string string(NSString *key, NSString *value = nil, NSString *table = nil) {
    NSString *found = [bundle() localizedStringForKey:key value:value table:table];
    return found != nil ? [found UTF8String] : "(nil)";
  }
};

TEST_F(Localization, FindsAStringInTheDefaultTableOrAnother) {
  lay_table("en.lproj/Localizable.strings", "\"key\" = \"default\";");
  lay_table("en.lproj/Other.strings", "\"key\" = \"other\";");
  EXPECT_EQ(string(@"key"), "default");
  EXPECT_EQ(string(@"key", nil, @""), "default");
  EXPECT_EQ(string(@"key", nil, @"Localizable"), "default");
  EXPECT_EQ(string(@"key", nil, @"Other"), "other");
}

TEST_F(Localization, PassesOverAFolderWhoseNameIsNoText) {
  lay_table("\xff.lproj/Localizable.strings", "\"key\" = \"of no language\";");
  lay_table("de.lproj/Localizable.strings", "\"key\" = \"deutsch\";");
  set_language("de:\xff");
  EXPECT_EQ(string(@"key"), "deutsch");
  EXPECT_TRUE([[bundle() localizations] isEqual:[NSArray arrayWithObject:@"de"]]);
  EXPECT_TRUE([[bundle() preferredLocalizations] isEqual:[NSArray arrayWithObject:@"de"]]);
}

TEST_F(Localization, ReturnsTheKeyOrTheValueForAMissingString) {
  lay_table("en.lproj/Localizable.strings", "\"key\" = \"label\"; \"empty\" = \"\";");
  for (NSString *table : {(NSString *)nil, @"NoTable"}) {
    EXPECT_EQ(string(@"missing", nil, table), "missing");
    EXPECT_EQ(string(@"missing", @"", table), "missing");
    EXPECT_EQ(string(@"missing", @"value", table), "value");
  }
  EXPECT_EQ(string(@"empty", @"value"), "") << "an empty string is a string";
}

TEST_F(Localization, ReturnsTheValueForNoKey) {
  EXPECT_EQ(string(nil), "");
  EXPECT_EQ(string(nil, @"value"), "value");
}

TEST_F(Localization, ChoosesTheLanguageOfTheEnvironment) {
  for (const char *language : {"en", "de", "fr", "zh-Hans", "pt-BR"})
    lay_table(std::string(language) + ".lproj/Localizable.strings",
              "key = \"" + std::string(language) + "\";");
  const std::pair<const char *, const char *> expected[]{
      {"", "en"},           {"de", "de"},    {"de_AT", "de"}, {"fr_FR.UTF-8", "fr"},
      {"zh_CN", "zh-Hans"}, {"zh_TW", "en"}, {"pt", "pt-BR"}, {"sv", "en"},
      {"sv:fr:de", "fr"},   {"C", "en"},     {"DE", "de"},
  };
  for (const auto &[language, result] : expected) {
    set_language(language);
    EXPECT_EQ(string(@"key"), result) << language;
  }
}

TEST_F(Localization, KnowsTheOldNamesOfLanguages) {
  lay_table("German.lproj/Localizable.strings", "key = deutsch;");
  lay_table("zh_CN.lproj/Localizable.strings", "key = chinese;");
  set_language("de");
  EXPECT_EQ(string(@"key"), "deutsch");
  set_language("zh-Hans");
  EXPECT_EQ(string(@"key"), "chinese");
}

TEST_F(Localization, FallsBackToTheDevelopmentRegion) {
  write_file(path() / "Info.plist", plist(plist_entry("CFBundleDevelopmentRegion", "fr")));
  lay_table("fr.lproj/Localizable.strings", "key = fr;");
  lay_table("en.lproj/Localizable.strings", "key = en;");
  lay_table("de.lproj/Other.strings", "key = de;");
  set_language("ja");
  EXPECT_EQ(string(@"key"), "fr");
  set_language("de");
  EXPECT_EQ(string(@"key"), "fr") << "German has no such table";
  EXPECT_EQ(string(@"key", nil, @"Other"), "de");
}

TEST_F(Localization, FallsBackToTheBaseLocalization) {
  lay_table("Base.lproj/Localizable.strings", "key = base;");
  set_language("de");
  EXPECT_EQ(string(@"key"), "base");
}

TEST_F(Localization, ReadsOneTableOnly) {
  lay_table("de.lproj/Localizable.strings", "other = andere;");
  lay_table("en.lproj/Localizable.strings", "key = english;");
  set_language("de");
  EXPECT_EQ(string(@"key"), "key") << "a key that the language lacks is not taken from another";
}

TEST_F(Localization, PrefersATableOfNoLanguage) {
  lay_table("Localizable.strings", "key = everywhere;");
  lay_table("de.lproj/Localizable.strings", "key = de;");
  set_language("de");
  EXPECT_EQ(string(@"key"), "everywhere");
}

TEST_F(Localization, ListsWhatIsThereAndWhatIsPreferred) {
  for (const char *language : {"en", "de", "fr"})
    fs::create_directories(path() / (std::string(language) + ".lproj"));
  NSArray *all = [NSArray arrayWithObjects:@"de", @"en", @"fr", nil];
  EXPECT_TRUE([[bundle() localizations] isEqual:all]);
  set_language("fr:ja");
  NSArray *preferred = [NSArray arrayWithObjects:@"fr", @"en", nil];
  EXPECT_TRUE([[bundle() preferredLocalizations] isEqual:preferred]);
}

TEST_F(Localization, ReadsEveryFormOfATable) {
  lay_table("Comment.strings", "/* one */ \"key\" = \"a \\\"quoted\\\"\\n\\U00e9\"; // two\n");
  EXPECT_EQ(string(@"key", nil, @"Comment"), "a \"quoted\"\né");
  lay_table("Bom.strings", "\xEF\xBB\xBF\"key\" = \"ü\";");
  EXPECT_EQ(string(@"key", nil, @"Bom"), "ü");
  lay_table("Xml.strings", plist(plist_entry("key", "aus XML")));
  EXPECT_EQ(string(@"key", nil, @"Xml"), "aus XML");

  NSDictionary *strings = [NSDictionary dictionaryWithObject:@"binär" forKey:@"key"];
  NSData *binary = [NSPropertyListSerialization dataWithPropertyList:strings
                                                              format:NSPropertyListBinaryFormat_v1_0
                                                             options:0
                                                               error:nullptr];
  [binary writeToFile:[NSString stringWithUTF8String:(path() / "Binary.strings").c_str()]
           atomically:NO];
  EXPECT_EQ(string(@"key", nil, @"Binary"), "binär");

  NSData *wide = [@"\"key\" = \"日本語\";" dataUsingEncoding:NSUTF16StringEncoding];
  [wide writeToFile:[NSString stringWithUTF8String:(path() / "Wide.strings").c_str()]
         atomically:NO];
  EXPECT_EQ(string(@"key", nil, @"Wide"), "日本語");
}

TEST_F(Localization, PassesOverWhatIsNoTable) {
  lay_table("Broken.strings", "\"key\" = ");
  EXPECT_EQ(string(@"key", nil, @"Broken"), "key");
  lay_table("Bytes.strings", "\xC3\x28\xFF\xFE");
  EXPECT_EQ(string(@"key", nil, @"Bytes"), "key");
  lay_table("Empty.strings", "");
  EXPECT_EQ(string(@"key", nil, @"Empty"), "key");
  lay_table("Truncated.strings", "<?xml version=\"1.0\"?><plist><dict><key>key</key><string>te");
  EXPECT_EQ(string(@"key", nil, @"Truncated"), "key");
  lay_table("Magic.strings", "bplist00\xd1\x01\x02Skeydtext");
  EXPECT_EQ(string(@"key", nil, @"Magic"), "key");
  lay_table("Number.strings", plist("<key>key</key><integer>1</integer>"));
  EXPECT_EQ(string(@"key", nil, @"Number"), "key");
  fs::create_directories(path() / "Folder.strings");
  EXPECT_EQ(string(@"key", nil, @"Folder"), "key");
  ASSERT_EQ(mkfifo((path() / "Pipe.strings").c_str(), 0600), 0);
  EXPECT_EQ(string(@"key", nil, @"Pipe"), "key");
}

TEST_F(Localization, SeesATableThatComesChangesAndGoes) {
  EXPECT_EQ(string(@"key"), "key");
  lay_table("en.lproj/Localizable.strings", "key = one;");
  EXPECT_EQ(string(@"key"), "one");
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_EQ(string(@"key"), "one");
  lay_table("en.lproj/Localizable.strings", "key = two;");
  EXPECT_EQ(string(@"key"), "two");
  fs::remove(path() / "en.lproj/Localizable.strings");
  EXPECT_EQ(string(@"key"), "key");
}

TEST_F(Localization, StandsSeveralThreads) {
  lay_table("en.lproj/Localizable.strings", "key = label;");
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number)
    threads.emplace_back([] {
      @autoreleasepool {
        for (int round = 0; round < 200; ++round)
          EXPECT_EQ(string(@"key"), "label");
      }
    });
  for (std::thread &thread : threads)
    thread.join();
}

} // namespace
