#import <MobileCoreServices/LSApplicationProxy.h>
#import <MobileCoreServices/LSApplicationWorkspace.h>

#include "support/app_bundles.hpp"

#include <gtest/gtest.h>
#include <objc/runtime.h>

namespace {

namespace fs = std::filesystem;
using namespace veltro::test;

NSURL *url(const fs::path &path) {
  return [NSURL fileURLWithPath:[NSString stringWithUTF8String:path.c_str()]];
}

class LSApplication : public testing::Test {
protected:
  LSApplication() {
    fs::remove_all(device_root());
    fs::create_directories(device_root());
  }
};

TEST_F(LSApplication, IsFoundByNameAtRunTime) {
  lay_user_app("org.example.chat", "Chat", "U1");
  id proxies = objc_getClass("LSApplicationProxy");
  ASSERT_NE(proxies, nil);
  id proxy = [proxies performSelector:@selector(applicationProxyForIdentifier:)
                           withObject:@"org.example.chat"];
  EXPECT_TRUE([[proxy performSelector:@selector(applicationType)] isEqual:@"User"]);
}

TEST_F(LSApplication, ReturnsWhatIsKnownOfAUserApp) {
  const fs::path bundle = lay_user_app("org.example.chat", "Chat", "U1");
  LSApplicationProxy *app = [LSApplicationProxy applicationProxyForIdentifier:@"org.example.chat"];
  EXPECT_TRUE([[app applicationIdentifier] isEqual:@"org.example.chat"]);
  EXPECT_TRUE([[app applicationType] isEqual:@"User"]);
  EXPECT_TRUE([[app bundleURL] isFileURL]);
  EXPECT_STREQ([[[app bundleURL] path] UTF8String], bundle.c_str());
  EXPECT_STREQ([[[app bundleContainerURL] path] UTF8String], bundle.parent_path().c_str());
  EXPECT_STREQ([[[app dataContainerURL] path] UTF8String],
               (device_root() / "var/mobile/Containers/Data/Application/U1").c_str());
  EXPECT_TRUE([[app bundleExecutable] isEqual:@"Chat"]);
  EXPECT_STREQ([[app canonicalExecutablePath] UTF8String], (bundle / "Chat").c_str());
  EXPECT_TRUE([[app localizedName] isEqual:@"Chat"]);
  EXPECT_TRUE([[app shortVersionString] isEqual:@"7"]);
}

TEST_F(LSApplication, ReturnsWhatIsKnownOfASystemApp) {
  const fs::path bundle = lay_system_app("com.example.clock", "Clock");
  write_file(bundle / "Info.plist", plist(plist_entry("CFBundleIdentifier", "com.example.clock")));
  LSApplicationProxy *app = [LSApplicationProxy applicationProxyForIdentifier:@"com.example.clock"];
  EXPECT_TRUE([[app applicationType] isEqual:@"System"]);
  EXPECT_STREQ([[[app bundleURL] path] UTF8String], bundle.c_str());
  EXPECT_EQ([app bundleContainerURL], nil);
  EXPECT_EQ([app dataContainerURL], nil);
  EXPECT_EQ([app bundleExecutable], nil);
  EXPECT_EQ([app canonicalExecutablePath], nil);
  EXPECT_EQ([app shortVersionString], nil);
}

TEST_F(LSApplication, ReadsAnInfoPlistInTheBinaryForm) {
  const fs::path bundle = lay_user_app("org.example.chat", "Chat", "U1");
  NSDictionary *info =
      [NSDictionary dictionaryWithObjectsAndKeys:@"org.example.бинарный", @"CFBundleIdentifier",
                                                 @"Chat", @"CFBundleExecutable", nil];
  NSData *data = [NSPropertyListSerialization dataWithPropertyList:info
                                                            format:NSPropertyListBinaryFormat_v1_0
                                                           options:0
                                                             error:nullptr];
  ASSERT_TRUE([data writeToFile:[NSString stringWithUTF8String:(bundle / "Info.plist").c_str()]
                     atomically:NO]);
  EXPECT_TRUE([[[LSApplicationProxy applicationProxyForIdentifier:@"org.example.бинарный"]
      bundleExecutable] isEqual:@"Chat"]);
}

TEST_F(LSApplication, HasNoRecordOfAnUnknownIdentifier) {
  EXPECT_EQ([LSApplicationProxy applicationProxyForIdentifier:@"nothing"], nil);
  EXPECT_EQ([LSApplicationProxy applicationProxyForIdentifier:@""], nil);
  EXPECT_EQ([LSApplicationProxy applicationProxyForIdentifier:nil], nil);
}

TEST_F(LSApplication, KnowsNothingWhenMadeWithoutAnIdentifier) {
  LSApplicationProxy *app = [[[LSApplicationProxy alloc] init] autorelease];
  EXPECT_EQ([app applicationIdentifier], nil);
  EXPECT_EQ([app applicationType], nil);
  EXPECT_EQ([app bundleURL], nil);
}

TEST_F(LSApplication, RecordsWhatWasInstalledWhenItWasMade) {
  const fs::path bundle = lay_user_app("org.example.chat", "Chat", "U1");
  LSApplicationProxy *app = [LSApplicationProxy applicationProxyForIdentifier:@"org.example.chat"];
  fs::remove_all(bundle);
  EXPECT_TRUE([[app bundleExecutable] isEqual:@"Chat"]);
  EXPECT_EQ([LSApplicationProxy applicationProxyForIdentifier:@"org.example.chat"], nil);
}

TEST_F(LSApplication, WorkspaceIsOneObject) {
  EXPECT_NE([LSApplicationWorkspace defaultWorkspace], nil);
  EXPECT_EQ([LSApplicationWorkspace defaultWorkspace], [LSApplicationWorkspace defaultWorkspace]);
}

TEST_F(LSApplication, WorkspaceListsInstallsAndRemoves) {
  const ScratchFolder source;
  const fs::path bundle = lay_bundle(source.path() / "Chat.app", "org.example.chat");
  LSApplicationWorkspace *workspace = [LSApplicationWorkspace defaultWorkspace];
  EXPECT_EQ([[workspace allInstalledApplications] count], 0U);
  EXPECT_TRUE([workspace installApplication:url(bundle) withOptions:nil]);
  lay_system_app("com.example.clock", "Clock");
  NSArray *identifiers =
      [[workspace allInstalledApplications] valueForKey:@"applicationIdentifier"];
  NSArray *expected = [NSArray arrayWithObjects:@"com.example.clock", @"org.example.chat", nil];
  EXPECT_TRUE([identifiers isEqual:expected]);
  EXPECT_TRUE([workspace uninstallApplication:@"org.example.chat" withOptions:nil]);
  EXPECT_FALSE([workspace uninstallApplication:@"org.example.chat" withOptions:nil]);
  EXPECT_FALSE([workspace uninstallApplication:nil withOptions:nil]);
  EXPECT_EQ([[workspace allInstalledApplications] count], 1U);
}

TEST_F(LSApplication, WorkspaceSaysWhyNot) {
  LSApplicationWorkspace *workspace = [LSApplicationWorkspace defaultWorkspace];
  NSError *error = nil;
  EXPECT_FALSE([workspace installApplication:url("/nowhere/Chat.app")
                                 withOptions:nil
                                       error:&error]);
  EXPECT_TRUE([[error domain] isEqual:LSApplicationWorkspaceErrorDomain]);
  EXPECT_TRUE([[error localizedDescription] isEqual:@"No such file or directory"]);
  EXPECT_FALSE([workspace installApplication:[NSURL URLWithString:@"http://localhost/Chat.app"]
                                 withOptions:nil
                                       error:&error]);
  EXPECT_TRUE([[error localizedDescription] isEqual:@"not a file URL"]);
  EXPECT_FALSE([workspace installApplication:nil withOptions:nil error:nullptr]);
  EXPECT_FALSE([workspace uninstallApplication:@"nothing" withOptions:nil error:&error]);
  EXPECT_TRUE([[error localizedDescription] hasPrefix:@"no app is installed"]);
}

} // namespace
