// +currentLocale: the locale that the user default AppleLocale names at that moment, as on the
// device; where it names none, GNUstep's, which is the environment's at the first call.

#include "frameworks/Foundation/replace_method.hpp"

#import <Foundation/Foundation.h>

#include <mutex>

namespace {

NSLocale *(*gnustep_method)(Class, SEL);

std::mutex mutex;
NSLocale *chosen = nil;

NSLocale *current_locale(Class self, SEL selector) {
  NSString *name = [[NSUserDefaults standardUserDefaults] stringForKey:@"AppleLocale"];
  if ([name length] == 0)
    return gnustep_method(self, selector);
  const std::lock_guard lock(mutex);
  if (![[chosen localeIdentifier] isEqualToString:name]) {
    [chosen release];
    chosen = [[NSLocale alloc] initWithLocaleIdentifier:name];
  }
  return [[chosen retain] autorelease];
}

} // namespace

VH_AT_LOAD(VHCurrentLocalePatches) {
  gnustep_method = veltro::host::replace_class_method(objc_getClass("NSLocale"), "currentLocale",
                                                      current_locale);
}
