// -timeIntervalSinceDate: with nil. GNUstep raises; on the device a missing date counts as zero
// seconds, like every message to nil.

#include "frameworks/Foundation/replace_method.hpp"

#import <Foundation/Foundation.h>

namespace veltro::host {
namespace {

using Method = NSTimeInterval (*)(NSDate *, SEL, NSDate *);
constinit Method gnustep_method = nullptr;

NSTimeInterval time_interval_since_date(NSDate *self, SEL selector, NSDate *date) {
  return date != nil ? gnustep_method(self, selector, date) : [self timeIntervalSinceReferenceDate];
}

} // namespace
} // namespace veltro::host

VH_AT_LOAD(VHNilDatePatches) {
  using namespace veltro::host;
  gnustep_method = replace_method(NSClassFromString(@"NSGDate"),
                                  "timeIntervalSinceDate:", &time_interval_since_date);
}
