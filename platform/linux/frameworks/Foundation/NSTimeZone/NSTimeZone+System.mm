// +systemTimeZone: the zone that TZ names or spells, as everywhere on Linux, before those that
// GNUstep looks for: a file of the time-zone database, a file by its path, or a rule such as
// "CET-1CEST,M3.5.0,M10.5.0/3".

#include "frameworks/Foundation/NSTimeZone/time_zone_rules.hpp"
#include "frameworks/Foundation/replace_method.hpp"
#include "machine/device/environment.hpp"
#include "machine/text/utf8.hpp"

#import <Foundation/Foundation.h>

#include <cmath>
#include <mutex>
#include <unistd.h>

/// A zone that nothing but a rule describes; the rule is its name and its data.
@interface VHRuleTimeZone : NSTimeZone {
  NSString *_rule;
}
@end

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

- (NSData *)data {
  return [_rule dataUsingEncoding:NSUTF8StringEncoding];
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

namespace {

using veltro::host::ZoneRules;

NSTimeZone *(*gnustep_method)(Class, SEL);

std::mutex mutex;
NSTimeZone *spelled_zone = nil; ///< the last one that TZ spelled

/// Nil for a file that GNUstep would raise at.
NSTimeZone *zone_of_file(NSString *path) {
  NSData *const data = [NSData dataWithContentsOfFile:path];
  if (!ZoneRules::parsed({static_cast<const std::uint8_t *>([data bytes]), [data length]}))
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
  std::string name(veltro::host::variable("TZ"));
  if (name.starts_with(':'))
    name.erase(0, 1);
  NSString *const text = veltro::host::string_of(name);
  NSTimeZone *zone = nil;
  if (name.starts_with('/'))
    zone = zone_of_file(text);
  // GNUstep does not free what it had made for a name that it does not find.
  else if (text != nil && access(("/usr/share/zoneinfo/" + name).c_str(), F_OK) != 0)
    zone = zone_of_rule(text);
  if (zone == nil && [text length] != 0)
    zone = [NSTimeZone timeZoneWithName:text];
  return zone != nil ? zone : gnustep_method(self, selector);
}

} // namespace

VH_AT_LOAD(VHSystemTimeZonePatches) {
  gnustep_method = veltro::host::replace_class_method(objc_getClass("NSTimeZone"), "systemTimeZone",
                                                      system_time_zone);
}
