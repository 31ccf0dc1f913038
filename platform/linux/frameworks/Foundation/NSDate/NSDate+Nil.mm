// -timeIntervalSinceDate: with nil. GNUstep raises; on the device a missing date counts as zero
// seconds, like every message to nil.

#include "frameworks/Foundation/replace_method.hpp"

#import <Foundation/Foundation.h>

namespace {

NSTimeInterval (*gnustep_method)(NSDate *, SEL, NSDate *);

NSTimeInterval time_interval_since_date(NSDate *self, SEL selector, NSDate *date) {
  return date != nil ? gnustep_method(self, selector, date) : [self timeIntervalSinceReferenceDate];
}

} // namespace

VH_AT_LOAD(VHNilDatePatches) {
  gnustep_method = veltro::host::replace_method(objc_getClass("NSGDate"),
                                                "timeIntervalSinceDate:", time_interval_since_date);
}
