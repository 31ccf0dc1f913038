// What the library asks of the platform for apps and labels, and in what order: the platform's
// methods are replaced by ones that take notes.
#import <ChatKit/ChatKit.h>
#import <veltro/ZLTUtils+Apps.h>

#include "support/captured_log.hpp"

#include <gmock/gmock.h>
#include <objc/runtime.h>
#include <string>
#include <vector>

namespace {

std::vector<std::string> notes;
id proxy; // what applicationProxyForIdentifier: returns
NSBundle *by_identifier;
NSBundle *by_path;
BOOL loaded;
NSBundle *chat_kit;
NSString *chat_kit_string;
NSString *couria_string;

std::string written(id object) {
  return object != nil ? [[object description] UTF8String] : "nil";
}

void note(const std::string &call) {
  notes.push_back(call);
}

id find_proxy(id /*self*/, SEL /*command*/, NSString *identifier) {
  note("applicationProxyForIdentifier:" + written(identifier));
  return proxy;
}

id find_by_identifier(id /*self*/, SEL /*command*/, NSString *identifier) {
  note("bundleWithIdentifier:" + written(identifier));
  return by_identifier;
}

id find_by_path(id /*self*/, SEL /*command*/, NSString *path) {
  note("bundleWithPath:" + written(path));
  return by_path;
}

} // namespace

extern "C" NSBundle *CKFrameworkBundle(void) {
  note("CKFrameworkBundle");
  return chat_kit;
}

/// A record that returns what a test gave it.
@interface FakeProxy : NSObject {
  id _type;
  id _value;
}
+ (FakeProxy *)proxyOfType:(id)type value:(id)value;
@end

@implementation FakeProxy
+ (FakeProxy *)proxyOfType:(id)type value:(id)value {
  FakeProxy *fake = [[[FakeProxy alloc] init] autorelease];
  fake->_type = type;
  fake->_value = value;
  return fake;
}
- (id)applicationType {
  note("applicationType");
  return _type;
}
- (id)bundleContainerURL {
  note("bundleContainerURL");
  return _value;
}
- (id)dataContainerURL {
  note("dataContainerURL");
  return _value;
}
- (id)bundleExecutable {
  note("bundleExecutable");
  return _value;
}
@end

/// A bundle that returns what a test gave it.
@interface FakeBundle : NSObject
@end

@implementation FakeBundle
- (BOOL)isLoaded {
  note("isLoaded");
  return loaded;
}
- (BOOL)load {
  note("load");
  return YES;
}
- (NSString *)localizedStringForKey:(NSString *)key
                              value:(NSString *)value
                              table:(NSString *)table {
  note("string " + written(key) + ", " + written(value) + ", " + written(table));
  return (NSBundle *)self == chat_kit ? chat_kit_string : couria_string;
}
@end

/// A receiver that is not ZLTUtils itself.
@interface OtherUtils : ZLTUtils
@end

@implementation OtherUtils
+ (NSString *)applicationInstalledDirectory:(NSString *)identifier {
  note("subclass asked for " + written(identifier));
  return @"/subclass";
}
@end

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AppsContract : public testing::Test {
protected:
  AppsContract() {
    replace("LSApplicationProxy", "applicationProxyForIdentifier:", (IMP)(void (*)())find_proxy);
    replace("NSBundle", "bundleWithIdentifier:", (IMP)(void (*)())find_by_identifier);
    replace("NSBundle", "bundleWithPath:", (IMP)(void (*)())find_by_path);
    notes.clear();
    proxy = nil;
    by_identifier = by_path = chat_kit = nil;
    chat_kit_string = couria_string = nil;
    loaded = NO;
    veltro::test::clear_log();
  }
  ~AppsContract() override {
    for (const auto &[method, before] : replaced_)
      method_setImplementation(method, before);
    EXPECT_THAT(veltro::test::logged_lines(), IsEmpty());
  }

  void replace(const char *name, const char *selector, IMP implementation) {
    Method method =
        class_getInstanceMethod(object_getClass(objc_getClass(name)), sel_registerName(selector));
    replaced_.emplace_back(method, method_setImplementation(method, implementation));
  }

  static NSBundle *new_bundle() { return (NSBundle *)[[[FakeBundle alloc] init] autorelease]; }

private:
  std::vector<std::pair<Method, IMP>> replaced_;
};

TEST_F(AppsContract, AUserAppsGetterIsAskedAfterItsType) {
  proxy = [FakeProxy proxyOfType:@"User" value:@"as it is"];
  EXPECT_EQ([ZLTUtils appRelatedDirectory:@"an.app" selector:@"bundleExecutable"], @"as it is");
  EXPECT_THAT(notes, ElementsAre("applicationProxyForIdentifier:an.app", "applicationType",
                                 "bundleExecutable"));
}

TEST_F(AppsContract, AURLBecomesItsPath) {
  proxy = [FakeProxy proxyOfType:@"User" value:[NSURL fileURLWithPath:@"/var/a folder"]];
  EXPECT_TRUE([[ZLTUtils appRelatedDirectory:@"an.app"
                                    selector:@"dataContainerURL"] isEqual:@"/var/a folder"]);
}

TEST_F(AppsContract, AnyOtherValueStaysAsItIs) {
  NSNumber *number = [NSNumber numberWithInt:7];
  proxy = [FakeProxy proxyOfType:@"User" value:number];
  EXPECT_EQ([ZLTUtils appRelatedDirectory:@"an.app" selector:@"bundleContainerURL"], number);
  proxy = [FakeProxy proxyOfType:@"User" value:nil];
  EXPECT_EQ([ZLTUtils appRelatedDirectory:@"an.app" selector:@"bundleContainerURL"], nil);
}

TEST_F(AppsContract, AnyOtherTypeIsNoUserApp) {
  NSString *url = @"never asked for";
  for (id type :
       {(id) @"System", (id) @"user", (id) @"", (id)[NSNumber numberWithInt:1], (id)nil}) {
    notes.clear();
    proxy = [FakeProxy proxyOfType:type value:url];
    EXPECT_EQ([ZLTUtils appRelatedDirectory:@"an.app" selector:@"bundleContainerURL"], nil);
    EXPECT_THAT(notes, ElementsAre("applicationProxyForIdentifier:an.app", "applicationType"));
  }
}

TEST_F(AppsContract, NoProxyIsNoUserApp) {
  EXPECT_EQ([ZLTUtils appRelatedDirectory:@"an.app" selector:@"bundleContainerURL"], nil);
  EXPECT_THAT(notes, ElementsAre("applicationProxyForIdentifier:an.app"));
}

TEST_F(AppsContract, TheTypeMayBeAnyStringThatReadsUser) {
  proxy = [FakeProxy proxyOfType:[NSMutableString stringWithString:@"User"] value:@"value"];
  EXPECT_EQ([ZLTUtils appExecutableName:@"an.app"], @"value");
}

TEST_F(AppsContract, TheDirectoriesAreGettersOfTheProxy) {
  proxy = [FakeProxy proxyOfType:@"User" value:@"value"];
  [ZLTUtils applicationInstalledDirectory:@"a"];
  [ZLTUtils applicationDataContainerDirectory:@"b"];
  [ZLTUtils appExecutableName:@"c"];
  EXPECT_THAT(
      notes, ElementsAre("applicationProxyForIdentifier:a", "applicationType", "bundleContainerURL",
                         "applicationProxyForIdentifier:b", "applicationType", "dataContainerURL",
                         "applicationProxyForIdentifier:c", "applicationType", "bundleExecutable"));
}

TEST_F(AppsContract, TheRegistryIsAskedEveryTime) {
  proxy = [FakeProxy proxyOfType:@"User" value:@"first"];
  EXPECT_EQ([ZLTUtils appExecutableName:@"an.app"], @"first");
  proxy = [FakeProxy proxyOfType:@"User" value:@"second"];
  EXPECT_EQ([ZLTUtils appExecutableName:@"an.app"], @"second");
}

TEST_F(AppsContract, ABundleFoundByIdentifierIsReturnedAsItIs) {
  by_identifier = new_bundle();
  EXPECT_EQ([ZLTUtils bundleForIdentifier:@"an.app"], by_identifier);
  EXPECT_THAT(notes, ElementsAre("bundleWithIdentifier:an.app"));
}

TEST_F(AppsContract, ABundleFoundByPathIsLoaded) {
  proxy = [FakeProxy proxyOfType:@"User" value:[NSURL fileURLWithPath:@"/containers/U1"]];
  by_path = new_bundle();
  EXPECT_EQ([ZLTUtils bundleForIdentifier:@"an.app"], by_path);
  EXPECT_THAT(notes,
              ElementsAre("bundleWithIdentifier:an.app", "applicationProxyForIdentifier:an.app",
                          "applicationType", "bundleContainerURL", "bundleWithPath:/containers/U1",
                          "isLoaded", "load"));
}

TEST_F(AppsContract, ALoadedBundleIsNotLoadedAgain) {
  proxy = [FakeProxy proxyOfType:@"User" value:@"/containers/U1"];
  by_path = new_bundle();
  loaded = YES;
  EXPECT_EQ([ZLTUtils bundleForIdentifier:@"an.app"], by_path);
  EXPECT_EQ(notes.back(), "isLoaded");
}

TEST_F(AppsContract, WithoutADirectoryNoBundleIsMade) {
  EXPECT_EQ([ZLTUtils bundleForIdentifier:@"an.app"], nil);
  EXPECT_THAT(notes,
              ElementsAre("bundleWithIdentifier:an.app", "applicationProxyForIdentifier:an.app"));
}

TEST_F(AppsContract, ADirectoryWithoutABundleIsNoBundle) {
  proxy = [FakeProxy proxyOfType:@"User" value:@"/containers/U1"];
  EXPECT_EQ([ZLTUtils bundleForIdentifier:@"an.app"], nil);
  EXPECT_EQ(notes.back(), "bundleWithPath:/containers/U1");
}

TEST_F(AppsContract, TheDirectoryIsZLTUtilsOwnWhoeverIsAsked) {
  proxy = [FakeProxy proxyOfType:@"User" value:@"/containers/U1"];
  by_path = new_bundle();
  EXPECT_EQ([OtherUtils bundleForIdentifier:@"an.app"], by_path);
  EXPECT_THAT(notes, testing::Not(testing::Contains("subclass asked for an.app")));
  EXPECT_THAT(notes, testing::Contains("bundleWithPath:/containers/U1"));
}

TEST_F(AppsContract, ALabelHasItsKeyForDefault) {
  by_identifier = new_bundle();
  couria_string = @"label";
  EXPECT_EQ([ZLTUtils localizedLabel:@"an.app" table:@"Table" key:@"key"], @"label");
  EXPECT_EQ([ZLTUtils localizedLabel:@"an.app" table:nil key:@"key"], @"label");
  EXPECT_EQ([ZLTUtils localizedLabelFromUIKit:@"Done"], @"label");
  EXPECT_THAT(notes, ElementsAre("bundleWithIdentifier:an.app", "string key, key, Table",
                                 "bundleWithIdentifier:an.app", "string key, key, nil",
                                 "bundleWithIdentifier:com.apple.UIKit", "string Done, Done, nil"));
}

TEST_F(AppsContract, ChatKitsStringIsEnough) {
  chat_kit = new_bundle();
  by_path = new_bundle();
  chat_kit_string = @"chat kit's";
  EXPECT_EQ([ZLTUtils couriaLocalizedString:@"KEY"], @"chat kit's");
  EXPECT_THAT(notes, ElementsAre("CKFrameworkBundle", "string KEY, nil, ChatKit"));
}

TEST_F(AppsContract, TheKeyFromChatKitSendsOnToCouria) {
  chat_kit = new_bundle();
  by_path = new_bundle();
  chat_kit_string = [NSMutableString stringWithString:@"KEY"];
  couria_string = @"couria's";
  EXPECT_EQ([ZLTUtils couriaLocalizedString:@"KEY"], @"couria's");
  EXPECT_THAT(notes,
              ElementsAre("CKFrameworkBundle", "string KEY, nil, ChatKit",
                          "bundleWithPath:/Library/PreferenceBundles/CouriaPreferences.bundle",
                          "string KEY, nil, nil"));
}

TEST_F(AppsContract, WithoutCouriaTheKeyIsNotEnough) {
  chat_kit = new_bundle();
  chat_kit_string = @"KEY";
  EXPECT_EQ([ZLTUtils couriaLocalizedString:@"KEY"], nil);
}

TEST_F(AppsContract, WithoutChatKitCouriaIsNotAsked) {
  by_path = new_bundle();
  couria_string = @"couria's";
  EXPECT_EQ([ZLTUtils couriaLocalizedString:@"KEY"], nil);
  EXPECT_THAT(notes, ElementsAre("CKFrameworkBundle"));
}

} // namespace
