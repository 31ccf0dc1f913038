#pragma once

#include "frameworks/Foundation/NSTimeZone/zone_rules.hpp"

#import <Foundation/Foundation.h>

#include <memory>

/// A zone that nothing but a rule describes; the rule is its name.
@interface VHRuleTimeZone : NSTimeZone {
  NSString *_rule;
}
- (instancetype)initWithRule:(NSString *)rule;
@end

namespace veltro::host {

/// The offsets of `zone`, read from its time-zone file's bytes once and kept. A zone without such
/// bytes has those of its rule, or always the offset that it has at `date`. Any
/// thread.
std::shared_ptr<const ZoneRules> rules_of(NSTimeZone *zone, NSDate *date);

} // namespace veltro::host
