// Drawing a tree of views into a context.
#pragma once

#import <UIKit/UIView.h>

namespace veltro::host {

/// Draws `view` and all it holds, in the view's own coordinates.
void draw_view(UIView *view, CGContextRef context);

/// Makes a rounded rectangle the context's path; `radius` is cut to half the shorter side.
void add_rounded_rect(CGContextRef context, CGRect rect, CGFloat radius);

} // namespace veltro::host
