#pragma once

#import <Foundation/Foundation.h>

namespace veltro::tool {

/// Launches the app in the background as the library's components do, and returns when that was
/// tried.
void launch_in_background(NSString *identifier);

} // namespace veltro::tool
