#pragma once

#include "view_options.hpp"

#import <UIKit/UIKit.h>

namespace veltro::tool {

/// Shows the view in a window of its own, live, until the window is closed or a tap on a button
/// dismisses the alert; prints the title of that button. Returns the exit status.
int show_in_window(const ViewOptions &options, CGSize size);

} // namespace veltro::tool
