// +systemTimeZone: the zone that TZ names, as everywhere on Linux, before those that GNUstep looks
// for. A TZ that spells a rule instead of naming a file of the time-zone database is left to
// GNUstep.

#include "Foundation/replace_method.hpp"

#import <Foundation/Foundation.h>

#include <cstdlib>

namespace veltro::host {
namespace {

using Method = NSTimeZone *(*)(Class, SEL);
constinit Method gnustep_method = nullptr;

NSTimeZone *system_time_zone(Class self, SEL selector) {
  const char *name = std::getenv("TZ");
  if (name != nullptr && *name == ':')
    ++name;
  NSTimeZone *zone = nil;
  if (name != nullptr && *name != '\0')
    zone = [NSTimeZone timeZoneWithName:[NSString stringWithUTF8String:name]];
  return zone != nil ? zone : gnustep_method(self, selector);
}

} // namespace
} // namespace veltro::host

@interface VHSystemTimeZoneMending : NSObject
@end

@implementation VHSystemTimeZoneMending

+ (void)load {
  using namespace veltro::host;
  gnustep_method =
      replace_class_method(objc_getClass("NSTimeZone"), "systemTimeZone", &system_time_zone);
}

@end
