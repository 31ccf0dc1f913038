// Text set by pango in a font of UIKit's, in points.
#pragma once

#import <UIKit/UIFont.h>

#include <CoreGraphics/CGGeometry.h>

#include <memory>
#include <pango/pangocairo.h>

namespace veltro::host {

using TextLayout = std::unique_ptr<PangoLayout, void (*)(void *)>;

/// Breaks lines at the width of `space`; at most `lines` of them, 0 for as many as its height
/// holds. What does not fit ends in an ellipsis. A width or height that is not greater than 0 is no
/// limit.
///
/// Shaped for pictures, not for a screen's grid: nothing is hinted, so that sizes do not depend on
/// the scale.
TextLayout lay_out(NSString *text, UIFont *font, CGSize space, long lines);

CGSize size_of(const TextLayout &layout);

} // namespace veltro::host
