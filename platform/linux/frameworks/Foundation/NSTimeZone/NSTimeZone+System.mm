// +systemTimeZone: the zone that TZ names or spells, as everywhere on Linux, before those that
// GNUstep looks for: a file of the time-zone database, a file by its path, or a rule such as
// "CET-1CEST,M3.5.0,M10.5.0/3".

#include "frameworks/Foundation/NSTimeZone/time_zone_rules.hpp"
#include "frameworks/Foundation/NSTimeZone/zone_rules.hpp"
#include "frameworks/Foundation/replace_method.hpp"
#include "machine/text/utf8.hpp"

#import <Foundation/Foundation.h>

#include <cmath>
#include <cstdlib>
#include <mutex>
#include <span>
#include <unistd.h>

@implementation VHRuleTimeZone

- (instancetype)initWithRule:(NSString *)rule {
  _rule = [rule copy];
  return self;
}

- (void)dealloc {
  [_rule release];
  [super dealloc];
}

- (NSString *)name {
  return _rule;
}

- (NSInteger)secondsFromGMTForDate:(NSDate *)date {
  const auto time = static_cast<veltro::host::UnixTime>(std::floor([date timeIntervalSince1970]));
  return veltro::host::rules_of(self, date)->offset_at(time);
}

- (BOOL)isDaylightSavingTimeForDate:(NSDate *)date {
  return NO;
}

- (NSString *)abbreviationForDate:(NSDate *)date {
  const NSInteger seconds = [self secondsFromGMTForDate:date];
  return [[NSTimeZone timeZoneForSecondsFromGMT:seconds] abbreviationForDate:date];
}

@end

namespace veltro::host {
namespace {

using Method = NSTimeZone *(*)(Class, SEL);
constinit Method gnustep_method = nullptr;

std::mutex mutex;
NSTimeZone *spelled_zone = nil; ///< the last one that TZ spelled

/// Nil for a file that GNUstep would raise at.
NSTimeZone *zone_of_file(NSString *path) {
  NSData *const data = [NSData dataWithContentsOfFile:path];
  const auto *const bytes = static_cast<const std::uint8_t *>([data bytes]);
  if (!ZoneRules::parsed(std::span(bytes, [data length])))
    return nil;
  return [[[NSTimeZone alloc] initWithName:path data:data] autorelease];
}

NSTimeZone *zone_of_rule(NSString *rule) {
  if (!ZoneRules::spelled([rule UTF8String]))
    return nil;
  const std::lock_guard lock(mutex);
  if (![[spelled_zone name] isEqualToString:rule]) {
    [spelled_zone autorelease];
    spelled_zone = [[VHRuleTimeZone alloc] initWithRule:rule];
  }
  return spelled_zone;
}

NSTimeZone *system_time_zone(Class self, SEL selector) {
  const char *name = std::getenv("TZ");
  if (name != nullptr && *name == ':')
    ++name;
  NSString *const text = name != nullptr ? [NSString stringWithUTF8String:name] : nil;
  NSTimeZone *zone = nil;
  if ([text length] != 0) {
    if ([text hasPrefix:@"/"])
      zone = zone_of_file(text);
    // GNUstep does not free what it had made for a name that it does not find.
    else if (access(("/usr/share/zoneinfo/" + utf8_of(text)).c_str(), F_OK) != 0)
      zone = zone_of_rule(text);
    if (zone == nil)
      zone = [NSTimeZone timeZoneWithName:text];
  }
  return zone != nil ? zone : gnustep_method(self, selector);
}

} // namespace
} // namespace veltro::host

VH_AT_LOAD(VHSystemTimeZonePatches) {
  using namespace veltro::host;
  gnustep_method =
      replace_class_method(objc_getClass("NSTimeZone"), "systemTimeZone", &system_time_zone);
}
