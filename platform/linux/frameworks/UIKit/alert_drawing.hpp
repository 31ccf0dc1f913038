// What an alert draws behind its text, in the style of each release. In points of the alert, with
// the source and the path of `cairo` left to nobody's use.
#pragma once

#include <CoreGraphics/CGGeometry.h>

#include <cairo.h>
#include <span>

namespace veltro::host {

/// One pixel thick: above each button, and between two that stand beside each other.
void draw_hairlines(cairo_t *cairo, std::span<const CGRect> buttons, CGFloat pixels_per_point);

/// The dark panel within `bounds`, which its shadow needs some of, with its rim and its gloss.
void draw_panel(cairo_t *cairo, CGRect bounds, CGFloat corner_radius);

/// A raised button, on the panel.
void draw_raised_button(cairo_t *cairo, CGRect frame, bool darker);

} // namespace veltro::host
