// NSBundle as the device has it: paths of the device, frameworks by identifier, the flat layout.
#import <Foundation/Foundation.h>

#include "support/app_bundles.hpp"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using namespace veltro::test;

NSString *text(const fs::path &path) {
  return [NSString stringWithUTF8String:path.c_str()];
}

std::string path_of(NSBundle *bundle) {
  return bundle != nil ? [[bundle bundlePath] UTF8String] : "";
}

class Bundles : public testing::Test {
protected:
  Bundles() {
    fs::remove_all(device_root());
    fs::create_directories(device_root());
  }

  static fs::path lay_framework(const std::string &name, const std::string &identifier,
                                const fs::path &root = device_root()) {
    const fs::path framework = root / "System/Library/Frameworks" / (name + ".framework");
    write_file(framework / "Info.plist", plist(plist_entry("CFBundleIdentifier", identifier)));
    return framework;
  }

  /// Builds an object that a process can link; false where there is no compiler.
  static bool compile(const fs::path &to, const char *options,
                      const char *code = "int main(void) { return 0; }\n") {
    const std::string source = (scratch() / "code.c").string();
    write_file(source, code);
    return system(("clang-19 " + std::string(options) + " -o '" + to.string() + "' " + source)
                      .c_str()) == 0;
  }
};

TEST_F(Bundles, ADevicePathLiesUnderTheRoot) {
  const fs::path bundle = device_root() / "Library/PreferenceBundles/Some.bundle";
  write_file(bundle / "Info.plist", info_plist("some", "Some"));
  EXPECT_EQ(path_of([NSBundle bundleWithPath:@"/Library/PreferenceBundles/Some.bundle"]), bundle);
  EXPECT_EQ(path_of([[[NSBundle alloc] initWithPath:@"/Library/PreferenceBundles/Some.bundle"]
                autorelease]),
            bundle);
}

TEST_F(Bundles, APathUnderTheRootStays) {
  const fs::path bundle = device_root() / "Library/Some.bundle";
  write_file(bundle / "Info.plist", info_plist("some", "Some"));
  EXPECT_EQ(path_of([NSBundle bundleWithPath:text(bundle)]), bundle);
}

TEST_F(Bundles, AnyOtherPathIsThisMachines) {
  const ScratchFolder elsewhere;
  EXPECT_EQ(path_of([NSBundle bundleWithPath:text(elsewhere.path())]), elsewhere.path());
  fs::create_directories(device_root() / "usr");
  EXPECT_EQ(path_of([NSBundle bundleWithPath:@"/usr"]), device_root() / "usr")
      << "the device's own comes first";
}

TEST_F(Bundles, ThereIsNoneWithoutAFolder) {
  write_file(device_root() / "Library/File.bundle", "");
  EXPECT_EQ([NSBundle bundleWithPath:@"/Library/File.bundle"], nil);
  EXPECT_EQ([NSBundle bundleWithPath:@"/Library/None.bundle"], nil);
  EXPECT_EQ([NSBundle bundleWithPath:@""], nil);
  EXPECT_EQ([NSBundle bundleWithPath:nil], nil);
}

TEST_F(Bundles, AFolderThatComesLaterIsSeen) {
  const fs::path parent = device_root() / "Library";
  fs::create_directories(parent);
  EXPECT_NE([NSBundle bundleWithPath:text(parent)], nil);
  const fs::path bundle = parent / "Late.bundle";
  EXPECT_EQ([NSBundle bundleWithPath:text(bundle)], nil);
  write_file(bundle / "Info.plist", info_plist("late", "Late"));
  EXPECT_EQ(path_of([NSBundle bundleWithPath:text(bundle)]), bundle);
  EXPECT_TRUE([[[NSBundle bundleWithPath:text(bundle)] bundleIdentifier] isEqual:@"late"]);
}

TEST_F(Bundles, AFolderThatGoesIsMissed) {
  const fs::path bundle = device_root() / "Library/Gone.bundle";
  write_file(bundle / "Info.plist", info_plist("gone", "Gone"));
  NSBundle *before = [NSBundle bundleWithPath:text(bundle)];
  ASSERT_NE(before, nil);
  EXPECT_EQ([NSBundle bundleWithIdentifier:@"gone"], before);
  fs::remove_all(bundle);
  EXPECT_EQ([NSBundle bundleWithPath:text(bundle)], nil);
  EXPECT_EQ([NSBundle bundleWithIdentifier:@"gone"], nil);
}

TEST_F(Bundles, APathIsItsOwnBundleWhateverItsIdentifier) {
  const fs::path one = device_root() / "Library/One.bundle";
  const fs::path two = device_root() / "Library/Two.bundle";
  for (const fs::path &bundle : {one, two})
    write_file(bundle / "Info.plist", info_plist("same", "Same"));
  write_file(two / "Localizable.strings", "key = two;");
  NSBundle *first = [NSBundle bundleWithPath:text(one)];
  NSBundle *second = [NSBundle bundleWithPath:text(two)];
  EXPECT_EQ(path_of(first), one);
  EXPECT_EQ(path_of(second), two);
  EXPECT_TRUE([[second bundleIdentifier] isEqual:@"same"]);
  EXPECT_TRUE([[second localizedStringForKey:@"key" value:nil table:nil] isEqual:@"two"]);
}

TEST_F(Bundles, TheMainBundleIsThere) {
  EXPECT_NE([NSBundle mainBundle], nil);
  EXPECT_EQ([NSBundle mainBundle], [NSBundle mainBundle]);
  EXPECT_TRUE([[NSBundle mainBundle] load]);
  EXPECT_TRUE([[[NSBundle mainBundle] localizedStringForKey:@"key" value:nil
                                                      table:nil] isEqual:@"key"]);
}

// By identifier.

TEST_F(Bundles, TheSystemsFrameworksAreFoundByIdentifier) {
  NSBundle *uikit = [NSBundle bundleWithIdentifier:@"com.apple.UIKit"];
  EXPECT_EQ(path_of(uikit), device_root() / "System/Library/Frameworks/UIKit.framework");
  EXPECT_EQ([NSBundle bundleWithIdentifier:@"com.apple.UIKit"], uikit);
  EXPECT_TRUE([[uikit bundleIdentifier] isEqual:@"com.apple.UIKit"]);
  EXPECT_FALSE([uikit isLoaded]);
  EXPECT_EQ(path_of([NSBundle bundleWithIdentifier:@"com.apple.ChatKit"]),
            device_root() / "System/Library/PrivateFrameworks/ChatKit.framework");
}

TEST_F(Bundles, AFrameworkOfTheRootIsFoundAndDropped) {
  EXPECT_EQ([NSBundle bundleWithIdentifier:@"com.example.own"], nil);
  const fs::path framework = lay_framework("Own", "com.example.own");
  EXPECT_EQ(path_of([NSBundle bundleWithIdentifier:@"com.example.own"]), framework);
  fs::remove_all(framework);
  EXPECT_EQ([NSBundle bundleWithIdentifier:@"com.example.own"], nil);
}

TEST_F(Bundles, AFrameworkThatChangesItsIdentifierIsSeen) {
  lay_framework("Own", "com.example.one");
  EXPECT_NE([NSBundle bundleWithIdentifier:@"com.example.one"], nil);
  const fs::path framework = lay_framework("Own", "com.example.two");
  EXPECT_EQ(path_of([NSBundle bundleWithIdentifier:@"com.example.two"]), framework);
}

TEST_F(Bundles, AFrameworkIsFoundInTheRootOfTheMoment) {
  EXPECT_NE([NSBundle bundleWithIdentifier:@"com.apple.UIKit"], nil);
  const ScratchFolder other;
  setenv("VELTRO_ROOT", other.path().c_str(), 1);
  const std::string path = path_of([NSBundle bundleWithIdentifier:@"com.apple.UIKit"]);
  setenv("VELTRO_ROOT", device_root().c_str(), 1);
  EXPECT_EQ(path, other.path() / "System/Library/Frameworks/UIKit.framework");
}

TEST_F(Bundles, BrokenFrameworksDoNotHideOthers) {
  write_file(device_root() / "System/Library/Frameworks/Bad.framework/Info.plist", "garbage");
  fs::create_directories(device_root() / "System/Library/Frameworks/Empty.framework");
  const fs::path framework = lay_framework("Own", "com.example.own");
  EXPECT_EQ(path_of([NSBundle bundleWithIdentifier:@"com.example.own"]), framework);
  EXPECT_EQ([NSBundle bundleWithIdentifier:@""], nil) << "theirs is none, not an empty one";
  NSString *const half = [[NSString stringWithUTF8String:"\xF0\x9F\x98\x80"] substringToIndex:1];
  EXPECT_EQ([NSBundle bundleWithIdentifier:half], nil) << "what has no UTF-8 names none either";
}

TEST_F(Bundles, AppsAreNotFoundByIdentifier) {
  lay_user_app("org.example.chat", "Chat", "U1");
  lay_system_app("com.example.clock", "Clock");
  EXPECT_EQ([NSBundle bundleWithIdentifier:@"org.example.chat"], nil);
  EXPECT_EQ([NSBundle bundleWithIdentifier:@"com.example.clock"], nil);
  EXPECT_EQ([NSBundle bundleWithIdentifier:@""], nil);
  EXPECT_EQ([NSBundle bundleWithIdentifier:nil], nil);
}

TEST_F(Bundles, ABundleOfThisProcessIsFoundByIdentifier) {
  const fs::path app = lay_system_app("com.example.clock", "Clock");
  NSBundle *bundle = [NSBundle bundleWithPath:text(app)];
  EXPECT_EQ([NSBundle bundleWithIdentifier:@"com.example.clock"], bundle);
}

// The flat layout.

TEST_F(Bundles, TheFlatLayoutIsUnderstood) {
  const fs::path app = lay_system_app("com.example.clock", "Clock");
  NSBundle *bundle = [NSBundle bundleWithPath:text(app)];
  EXPECT_TRUE([[[bundle infoDictionary] objectForKey:@"CFBundleName"] isEqual:@"Clock"]);
  EXPECT_TRUE([[bundle objectForInfoDictionaryKey:@"CFBundleVersion"] isEqual:@"7"]);
  EXPECT_STREQ([[bundle resourcePath] UTF8String], app.c_str());
  EXPECT_STREQ([[bundle executablePath] UTF8String], (app / "Clock").c_str());
}

TEST_F(Bundles, ABrokenInfoPlistIsNone) {
  const fs::path bundle = device_root() / "Library/Bad.bundle";
  write_file(bundle / "Info.plist", "<garbage");
  NSBundle *bad = [NSBundle bundleWithPath:text(bundle)];
  EXPECT_EQ(path_of(bad), bundle);
  EXPECT_EQ([bad bundleIdentifier], nil);
}

TEST_F(Bundles, GNUstepsLayoutIsStillUnderstood) {
  const fs::path bundle = device_root() / "Library/Old.bundle";
  write_file(bundle / "Resources/Info-gnustep.plist", "{ CFBundleIdentifier = old; }");
  write_file(bundle / "Resources/English.lproj/Localizable.strings", "key = label;");
  NSBundle *old = [NSBundle bundleWithPath:text(bundle)];
  EXPECT_STREQ([[old resourcePath] UTF8String], (bundle / "Resources").c_str());
  EXPECT_TRUE([[old bundleIdentifier] isEqual:@"old"]);
  EXPECT_TRUE([[old localizedStringForKey:@"key" value:nil table:nil] isEqual:@"label"]);
}

// Loading. What was loaded stays for the process, so every test has a bundle of its own.

TEST_F(Bundles, ABundleWithoutAnExecutableCountsAsLoaded) {
  const fs::path folder = device_root() / "Library/Plain";
  fs::create_directories(folder);
  NSBundle *bundle = [NSBundle bundleWithPath:text(folder)];
  EXPECT_FALSE([bundle isLoaded]);
  EXPECT_TRUE([bundle load]);
  EXPECT_TRUE([bundle isLoaded]);
  EXPECT_TRUE([bundle load]);
}

TEST_F(Bundles, AnAppCountsAsLoaded) {
  const fs::path script = lay_system_app("com.example.script", "Script");
  const fs::path program = lay_system_app("com.example.program", "Program");
  ASSERT_TRUE(compile(program / "Program", ""));
  for (const fs::path &app : {script, program}) {
    NSBundle *bundle = [NSBundle bundleWithPath:text(app)];
    EXPECT_TRUE([bundle load]);
    EXPECT_TRUE([bundle isLoaded]);
  }
}

TEST_F(Bundles, ABundleWithoutTheExecutableThatItNamesIsNotLoaded) {
  const fs::path app = lay_system_app("com.example.clock", "Clock");
  fs::remove(app / "Clock");
  NSBundle *bundle = [NSBundle bundleWithPath:text(app)];
  EXPECT_FALSE([bundle load]);
  EXPECT_FALSE([bundle isLoaded]);
}

TEST_F(Bundles, ALoadableObjectIsLinked) {
  const fs::path app = lay_system_app("com.example.plugin", "Plugin");
  ASSERT_TRUE(compile(app / "Plugin", "-shared -fPIC"));
  NSBundle *bundle = [NSBundle bundleWithPath:text(app)];
  EXPECT_TRUE([bundle load]);
  EXPECT_TRUE([bundle isLoaded]);
}

TEST_F(Bundles, AnObjectThatCannotBeLinkedIsNotLoaded) {
  const fs::path app = lay_system_app("com.example.broken", "Broken");
  ASSERT_TRUE(compile(app / "Broken", "-shared -fPIC -Wl,-z,now",
                      "void nowhere(void); void call(void) { nowhere(); }\n"));
  NSBundle *bundle = [NSBundle bundleWithPath:text(app)];
  EXPECT_FALSE([bundle load]);
  EXPECT_FALSE([bundle isLoaded]);
}

TEST_F(Bundles, ABundleThatWasLoadedStaysSo) {
  const fs::path app = lay_system_app("com.example.stays", "Stays");
  @autoreleasepool {
    [[NSBundle bundleWithPath:text(app)] load];
  }
  EXPECT_TRUE([[NSBundle bundleWithPath:text(app)] isLoaded]);
}

TEST_F(Bundles, ALibrarysBundleIsLoadedAlready) {
  // As GNUstep finds its own bundle.
  NSBundle *const bundle = [NSBundle bundleForClass:[NSString class]];
  EXPECT_EQ([bundle principalClass], [NSObject class]);
  EXPECT_TRUE([[bundle executablePath] hasPrefix:@"/"]);
  EXPECT_TRUE([bundle load]);
  EXPECT_EQ([bundle classNamed:@"NSNoSuchClass"], Nil);
}

TEST_F(Bundles, NoClassHasANameThatIsNotAscii) {
  NSBundle *const bundle = [NSBundle bundleWithPath:text(lay_system_app("an.app", "App"))];
  EXPECT_EQ([bundle classNamed:[NSString stringWithUTF8String:"Stra\xc3\x9f"]], Nil);
  EXPECT_EQ([bundle classNamed:nil], Nil);
  EXPECT_EQ([NSBundle bundleWithIdentifier:static_cast<id>(@7)], nil);
  EXPECT_EQ([bundle classNamed:@"NSString"], Nil) << "another bundle's";
}

TEST_F(Bundles, AreListedAsLongAsTheyAreThere) {
  const fs::path app = lay_system_app("com.example.listed", "Listed");
  NSBundle *const bundle = [NSBundle bundleWithPath:text(app)];
  EXPECT_TRUE([[NSBundle allBundles] containsObject:bundle]);
  EXPECT_TRUE([[NSBundle allBundles] containsObject:[NSBundle mainBundle]]);
  fs::remove_all(app);
  EXPECT_FALSE([[NSBundle allBundles] containsObject:bundle]);
}

TEST_F(Bundles, AFolderThatBecomesALinkToItselfIsGone) {
  const fs::path folder = device_root() / "Library/Loop.bundle";
  write_file(folder / "Info.plist", info_plist("com.example.loop", "Loop"));
  NSBundle *const bundle = [NSBundle bundleWithPath:text(folder)];
  fs::remove_all(folder);
  fs::create_directory_symlink(folder, folder);
  EXPECT_EQ([NSBundle bundleWithIdentifier:@"com.example.loop"], nil);
  EXPECT_FALSE([[NSBundle allBundles] containsObject:bundle]);
}

} // namespace
