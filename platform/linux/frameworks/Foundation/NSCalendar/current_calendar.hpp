#pragma once

#import <Foundation/Foundation.h>

namespace veltro::host {

/// `calendar` itself; for the autoupdating calendar one with the settings of the moment
/// (autoreleased). Nobody may change it: threads share it.
NSCalendar *snapshot_of(NSCalendar *calendar);

} // namespace veltro::host
