// Dates of any time. In 32-bit processes GNUstep keeps them between the years 1 and 4001; on the
// device they are not limited.

#ifndef __LP64__

#include "frameworks/Foundation/replace_method.hpp"

#import <Foundation/Foundation.h>
#import <objc/runtime.h>

namespace {

NSDate *(*gnustep_method)(NSDate *, SEL, NSTimeInterval);

NSDate *init_with_time_interval(NSDate *self, SEL selector, NSTimeInterval seconds) {
  static const std::ptrdiff_t offset =
      ivar_getOffset(class_getInstanceVariable(objc_getClass("NSGDate"), "_seconds_since_ref"));
  NSDate *const made = gnustep_method(self, selector, seconds);
  if (made != nil)
    *reinterpret_cast<NSTimeInterval *>(reinterpret_cast<char *>(made) + offset) = seconds;
  return made;
}

} // namespace

VH_AT_LOAD(VHDateRangePatch) {
  gnustep_method = veltro::host::replace_method(
      objc_getClass("NSGDate"), "initWithTimeIntervalSinceReferenceDate:", init_with_time_interval);
}

#endif
