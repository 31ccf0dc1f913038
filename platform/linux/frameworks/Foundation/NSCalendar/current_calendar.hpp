#pragma once

#import <Foundation/Foundation.h>

namespace veltro::host {

/// `calendar` itself; for the autoupdating calendar one with the settings of the moment
/// (autoreleased). Nobody may change the answer: threads share it.
NSCalendar *settled(NSCalendar *calendar);

} // namespace veltro::host
