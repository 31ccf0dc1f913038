#import <ChatKit/ChatKit.h>
#import <veltro/ZLTUtils+Apps.h>

#include <dispatch/dispatch.h>
#include <objc/runtime.h>
#include <stdint.h>

namespace {

NSString *const kCouriaSettings = @"/Library/PreferenceBundles/CouriaPreferences.bundle";

} // namespace

/// What an entry given to idetifierIndex:identifier: returns, whatever its class.
@protocol ZLTLabelledEntry
- (NSDictionary *)properties;
@end

@implementation ZLTUtils (Apps)

// The class is private and is not linked: it is looked up and messaged by name at every call, so
// that a system without it yields nil.
+ (id)appRelatedDirectory:(NSString *)identifier selector:(NSString *)selector {
  id proxies = objc_getClass("LSApplicationProxy");
  id proxy = [proxies performSelector:@selector(applicationProxyForIdentifier:)
                           withObject:identifier];
  if (![[proxy performSelector:@selector(applicationType)] isEqual:@"User"])
    return nil;
  id value = [proxy performSelector:NSSelectorFromString(selector)];
  return [value isKindOfClass:[NSURL class]] ? [value path] : value;
}

+ (NSString *)applicationInstalledDirectory:(NSString *)identifier {
  return [self appRelatedDirectory:identifier selector:@"bundleContainerURL"];
}

+ (NSString *)applicationDataContainerDirectory:(NSString *)identifier {
  return [self appRelatedDirectory:identifier selector:@"dataContainerURL"];
}

+ (NSString *)appExecutableName:(NSString *)identifier {
  return [self appRelatedDirectory:identifier selector:@"bundleExecutable"];
}

+ (NSBundle *)bundleForIdentifier:(NSString *)identifier {
  NSBundle *bundle = [NSBundle bundleWithIdentifier:identifier];
  if (bundle != nil)
    return bundle;
  // ZLTUtils and not self, on purpose: a subclass that returns other directories does not change
  // which bundle is opened.
  NSString *directory = [ZLTUtils applicationInstalledDirectory:identifier];
  if (directory == nil)
    return nil;
  bundle = [NSBundle bundleWithPath:directory];
  if (![bundle isLoaded])
    [bundle load];
  return bundle;
}

+ (NSString *)localizedLabel:(NSString *)identifier table:(NSString *)table key:(NSString *)key {
  return [[self bundleForIdentifier:identifier] localizedStringForKey:key value:key table:table];
}

+ (NSString *)localizedLabelFromUIKit:(NSString *)key {
  return [self localizedLabel:@"com.apple.UIKit" table:nil key:key];
}

+ (NSString *)couriaLocalizedString:(NSString *)key {
  NSBundle *const chat_kit = CKFrameworkBundle != nullptr ? CKFrameworkBundle() : nil;
  NSString *string = [chat_kit localizedStringForKey:key value:nil table:@"ChatKit"];
  if ([string isEqualToString:key])
    string = [[NSBundle bundleWithPath:kCouriaSettings] localizedStringForKey:key
                                                                        value:nil
                                                                        table:nil];
  return string;
}

+ (NSDateFormatter *)dateFormatter {
  static NSDateFormatter *formatter;
  static dispatch_once_t once;
  dispatch_once(&once, ^{
    formatter = [[NSDateFormatter alloc] init];
  });
  return formatter;
}

+ (int)idetifierIndex:(NSArray *)entries identifier:(NSString *)identifier {
  // From the end: of several entries with one label callers rely on the last.
  for (int32_t left = (int32_t)[entries count]; left > 0; --left) {
    id<ZLTLabelledEntry> entry = [entries objectAtIndex:(NSUInteger)(left - 1)];
    NSString *label = [[entry properties] objectForKey:@"label"];
    if (label != nil && identifier != nil &&
        [label caseInsensitiveCompare:identifier] == NSOrderedSame)
      return left - 1;
  }
  return -1;
}

@end
