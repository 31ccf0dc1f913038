// Dates of any time. In 32-bit processes GNUstep keeps them between the years 1 and 4001; on the
// device they are not limited.

#ifndef __LP64__

#include "frameworks/Foundation/replace_method.hpp"

#import <Foundation/Foundation.h>
#import <objc/runtime.h>

namespace veltro::host {
namespace {

using Method = NSDate *(*)(NSDate *, SEL, NSTimeInterval);
constinit Method gnustep_method = nullptr;
constinit std::ptrdiff_t seconds_offset = 0;

NSDate *init_with_time_interval(NSDate *self, SEL selector, NSTimeInterval seconds) {
  NSDate *const made = gnustep_method(self, selector, seconds);
  if (made != nil)
    *reinterpret_cast<NSTimeInterval *>(reinterpret_cast<char *>(made) + seconds_offset) = seconds;
  return made;
}

} // namespace
} // namespace veltro::host

@interface VHDateRangePatch : NSObject
@end

@implementation VHDateRangePatch

+ (void)load {
  using namespace veltro::host;
  const Class concrete = NSClassFromString(@"NSGDate");
  seconds_offset = ivar_getOffset(class_getInstanceVariable(concrete, "_seconds_since_ref"));
  gnustep_method =
      replace_method(concrete, "initWithTimeIntervalSinceReferenceDate:", &init_with_time_interval);
}

@end

#endif
