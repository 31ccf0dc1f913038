// -description of a date before the year 1, which GNUstep counts down to without end. Years
// continue below 1 as they do on the device, where 0 is 1 BC.

#include "frameworks/Foundation/replace_method.hpp"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace {

NSString *(*gnustep_method)(NSDate *, SEL);

constexpr NSTimeInterval kYear1 = -63'113'904'000;
constexpr NSTimeInterval kFarthest = -1e15; // in the year -31,686,738

NSString *description(NSDate *self, SEL selector) {
  const NSTimeInterval time = [self timeIntervalSinceReferenceDate];
  if (!(time < kYear1))
    return gnustep_method(self, selector);
  using namespace std::chrono;
  const seconds since_2001(std::llround(std::floor(std::max(time, kFarthest))));
  // The calendar comes again every 400 years.
  constexpr days kCycle{146'097};
  const auto cycles = floor<days>(since_2001) / kCycle - 1;
  const auto moment = sys_days{January / 1 / 2001} + since_2001 - cycles * kCycle;
  const year_month_day date(floor<days>(moment));
  const hh_mm_ss clock(moment - floor<days>(moment));
  return [NSString stringWithFormat:@"%04lld-%02u-%02u %02lld:%02lld:%02lld +0000",
                                    static_cast<long long>(int{date.year()} + 400 * cycles),
                                    unsigned{date.month()}, unsigned{date.day()},
                                    static_cast<long long>(clock.hours().count()),
                                    static_cast<long long>(clock.minutes().count()),
                                    static_cast<long long>(clock.seconds().count())];
}

} // namespace

VH_AT_LOAD(VHDateDescriptionPatch) {
  gnustep_method =
      veltro::host::replace_method(objc_getClass("NSGDate"), "description", description);
}
