// Text set by pango in a font of UIKit's, in points.
#pragma once

#import <UIKit/UIFont.h>

#include <pango/pangocairo.h>

namespace veltro::host {

/// A layout that its holder frees. Shaped for pictures, not for a screen's grid: nothing is hinted,
/// so that sizes do not depend on the scale.
class TextLayout {
public:
  TextLayout(NSString *text, UIFont *font);
  ~TextLayout();
  TextLayout(const TextLayout &) = delete;
  TextLayout &operator=(const TextLayout &) = delete;

  /// Breaks lines at `width` points; at most `lines` of them, 0 for as many as `height` holds. What
  /// does not fit ends in an ellipsis. A width or height that is not greater than 0 is no limit.
  void fit(double width, double height, long lines);

  /// In points.
  [[nodiscard]] double width() const;
  [[nodiscard]] double height() const;

  /// Draws with the source of `cairo` into the column at `x` that is `width` wide, from `y` down;
  /// `share` of what a line leaves free is before it, on the left whichever way it runs.
  void draw(cairo_t *cairo, double x, double y, double width, double share);

private:
  PangoContext *context_;
  PangoLayout *layout_;
};

/// From one baseline to the next, in points.
double line_height(UIFont *font);

} // namespace veltro::host
