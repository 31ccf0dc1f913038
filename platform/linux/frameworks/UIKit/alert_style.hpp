// The measures of the alerts of each release, in points.
#pragma once

#include <CoreGraphics/CGGeometry.h>

namespace veltro::host {

struct AlertStyle {
  /// Light with hairlines between plain buttons, as from iOS 7 on; before, a glossy dark blue panel
  /// with a rim and raised buttons.
  bool light;
  CGFloat width;
  CGFloat corner_radius;
  /// The text's distance from the top and from the sides, and the message's from the title.
  CGFloat text_top;
  CGFloat text_margin;
  CGFloat text_gap;
  CGFloat title_size;
  CGFloat message_size;
  /// Between the text and what is below it.
  CGFloat below_text;
  CGFloat button_size;
  CGFloat button_height;
  /// The buttons' distance from the sides and from each other, beside and above one another.
  CGFloat button_margin = 0;
  CGFloat button_gap = 0;
  /// Below the last button, and below the text where there is none.
  CGFloat below_buttons = 0;
};

/// The style of the release that this machine plays.
AlertStyle alert_style();

} // namespace veltro::host
