// +systemTimeZone: the zone that TZ names or spells, as everywhere on Linux, before those that
// GNUstep looks for: a file of the time-zone database, a file by its path, or a rule such as
// "CET-1CEST,M3.5.0,M10.5.0/3".

#include "frameworks/Foundation/replace_method.hpp"
#include "frameworks/Foundation/time_zone_file.hpp"
#include "frameworks/Foundation/zone_rules.hpp"

#import <Foundation/Foundation.h>

#include <cstdlib>
#include <span>

namespace veltro::host {
namespace {

using Method = NSTimeZone *(*)(Class, SEL);
constinit Method gnustep_method = nullptr;

/// Nil for a file that GNUstep would raise at.
NSData *data_spelled_by(NSString *text) {
  if ([text hasPrefix:@"/"]) {
    NSData *const data = [NSData dataWithContentsOfFile:text];
    const auto *const bytes = static_cast<const std::uint8_t *>([data bytes]);
    return ZoneRules::parsed(std::span(bytes, [data length])) ? data : nil;
  }
  const auto file = time_zone_file([text UTF8String]);
  return file ? [NSData dataWithBytes:file->data() length:file->size()] : nil;
}

/// GNUstep keeps the zone, and finds it by this name from then on.
NSTimeZone *zone_spelled_by(NSString *text) {
  NSData *const data = data_spelled_by(text);
  return data != nil ? [[[NSTimeZone alloc] initWithName:text data:data] autorelease] : nil;
}

NSTimeZone *system_time_zone(Class self, SEL selector) {
  const char *name = std::getenv("TZ");
  if (name != nullptr && *name == ':')
    ++name;
  NSString *const text = name != nullptr ? [NSString stringWithUTF8String:name] : nil;
  NSTimeZone *zone = nil;
  if ([text length] != 0) {
    zone = [NSTimeZone timeZoneWithName:text];
    if (zone == nil)
      zone = zone_spelled_by(text);
  }
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
