// -description of a date before the year 1, which GNUstep counts down to without end. Years
// continue below 1 as they do on the device, where 0 is 1 BC.

#include "frameworks/Foundation/replace_method.hpp"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <cmath>

namespace {

NSString *(*gnustep_method)(NSDate *, SEL);

// 400 years, after which the calendar comes again.
constexpr NSTimeInterval kCycle = 146'097 * 86'400.0;
constexpr NSTimeInterval kYear1 = -5 * kCycle;
constexpr NSTimeInterval kFarthest = -1e15; // in the year -31,686,738

NSString *description(NSDate *self, SEL selector) {
  const NSTimeInterval time = [self timeIntervalSinceReferenceDate];
  if (!(time < kYear1))
    return gnustep_method(self, selector);
  const NSTimeInterval second = std::floor(std::max(time, kFarthest));
  const double cycles = std::ceil(-second / kCycle);
  NSString *const later =
      [[NSDate dateWithTimeIntervalSinceReferenceDate:second + cycles * kCycle] description];
  return [NSString stringWithFormat:@"%04ld%@", [later intValue] - 400 * std::lround(cycles),
                                    [later substringFromIndex:4]];
}

} // namespace

VH_AT_LOAD(VHDateDescriptionPatch) {
  gnustep_method =
      veltro::host::replace_method(objc_getClass("NSGDate"), "description", description);
}
