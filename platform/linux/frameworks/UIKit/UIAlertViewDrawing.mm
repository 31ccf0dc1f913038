// What an alert draws behind its text, in the style of each release.

#import <UIKit/UIAlertView.h>
#import <UIKit/UIGraphics.h>
#import <UIKit/UIScreen.h>

#include "frameworks/CoreGraphics/context.hpp"
#include "frameworks/UIKit/alert_style.hpp"

#include <initializer_list>
#include <numbers>
#include <utility>

namespace {

using veltro::host::rounded_rect;

/// How far the shadow reaches; it falls downwards.
constexpr int kShadowReach = 4;
constexpr double kShadowDrop = 2;
constexpr double kRimWidth = 2;
/// The gloss ends in an arc, which is lowest in the middle of the panel.
constexpr double kGlossHeight = 32;
constexpr double kGlossRadius = 560;
constexpr double kButtonRadius = 6;

/// Fills the path with white of the alphas at those shares of the way down `rect`.
void lighten(cairo_t *cairo, CGRect rect, std::initializer_list<std::pair<double, double>> stops) {
  cairo_pattern_t *const light =
      cairo_pattern_create_linear(0, CGRectGetMinY(rect), 0, CGRectGetMaxY(rect));
  for (const auto &[offset, alpha] : stops)
    cairo_pattern_add_color_stop_rgba(light, offset, 1, 1, 1, alpha);
  cairo_set_source(cairo, light);
  cairo_pattern_destroy(light);
  cairo_fill(cairo);
}

/// A line `width` wide along the inner side of the rounded rectangle's edge.
void stroke_inside(cairo_t *cairo, CGRect rect, double radius, double width, double level,
                   double alpha) {
  rounded_rect(cairo, CGRectInset(rect, width / 2, width / 2), radius - width / 2);
  cairo_set_line_width(cairo, width);
  cairo_set_source_rgba(cairo, level, level, level, alpha);
  cairo_stroke(cairo);
}

/// One pixel thick: above each button, and between two that stand beside each other.
void draw_hairlines(cairo_t *cairo, const std::vector<CGRect> &buttons) {
  const double thickness = 1 / [[UIScreen mainScreen] scale];
  // One path, so that nothing is darker where the lines meet.
  for (const CGRect &button : buttons) {
    cairo_rectangle(cairo, button.origin.x, button.origin.y, button.size.width, thickness);
    if (button.origin.x > 0)
      cairo_rectangle(cairo, button.origin.x, button.origin.y, thickness, button.size.height);
  }
  cairo_set_source_rgba(cairo, 0, 0, 0, 0.2);
  cairo_fill(cairo);
}

/// The dark panel within `bounds`, which its shadow needs some of, with its rim and its gloss.
void draw_panel(veltro::host::Context &context, CGRect bounds, CGFloat corner_radius) {
  cairo_t *const cairo = context.cairo();
  CGRect panel = CGRectInset(bounds, kShadowReach, kShadowReach);
  panel.size.height -= kShadowDrop;
  // Of shapes above one another, each somewhat smaller: the shadow fades outwards.
  for (int reach = kShadowReach; reach > 0; --reach) {
    const CGRect shape = CGRectInset(panel, -reach, -reach);
    rounded_rect(cairo, CGRectOffset(shape, 0, kShadowDrop), corner_radius + reach);
    cairo_set_source_rgba(cairo, 0, 0, 0, 0.1);
    cairo_fill(cairo);
  }

  rounded_rect(cairo, panel, corner_radius);
  veltro::host::use_color(context, {0.07, 0.15, 0.34, 0.92});
  cairo_fill(cairo);

  const double top = CGRectGetMinY(panel);
  cairo_save(cairo);
  rounded_rect(cairo, CGRectInset(panel, kRimWidth, kRimWidth), corner_radius - kRimWidth);
  cairo_clip(cairo);
  cairo_arc(cairo, CGRectGetMidX(panel), top + kGlossHeight - kGlossRadius, kGlossRadius, 0,
            std::numbers::pi);
  cairo_close_path(cairo);
  lighten(cairo, {{0, top}, {0, kGlossHeight}}, {{0, 0.5}, {1, 0.14}});
  cairo_restore(cairo);

  stroke_inside(cairo, CGRectInset(panel, -1, -1), corner_radius + 1, 1, 0, 0.4);
  stroke_inside(cairo, panel, corner_radius, kRimWidth, 1, 0.8);
}

/// A raised button, on the panel.
void draw_raised_button(cairo_t *cairo, CGRect frame, bool darker) {
  // Light falls on the edge below the outline, and again below the button.
  stroke_inside(cairo, CGRectOffset(frame, 0, 1), kButtonRadius, 1, 1, 0.18);
  rounded_rect(cairo, frame, kButtonRadius);
  if (darker)
    lighten(cairo, frame, {{0, 0.24}, {0.5, 0.12}, {0.5, 0.03}, {1, 0.1}});
  else
    lighten(cairo, frame, {{0, 0.42}, {0.5, 0.27}, {0.5, 0.18}, {1, 0.28}});
  stroke_inside(cairo, frame, kButtonRadius, 1, 0, 0.5);
}

} // namespace

@implementation UIAlertView (Drawing)

- (void)drawRect:(CGRect)rect {
  veltro::host::Context *const context = veltro::host::context_of(UIGraphicsGetCurrentContext());
  if (!_visible || context == nullptr)
    return;
  cairo_t *const cairo = context->cairo();
  std::vector<CGRect> buttons;
  for (UIView *label in _labels)
    if ([label tag] > 0)
      buttons.push_back([label frame]);
  const veltro::host::AlertStyle style = veltro::host::alert_style();
  if (style.light) {
    draw_hairlines(cairo, buttons);
    return;
  }
  draw_panel(*context, rect, style.corner_radius);
  // The left one of two, else the cancel button, unless it is the only one.
  const NSInteger darker = buttons.size() == 2 ? 0 : buttons.size() > 2 ? _cancelButtonIndex : -1;
  for (std::size_t index = 0; index < buttons.size(); ++index)
    draw_raised_button(cairo, buttons[index], std::cmp_equal(index, darker));
}

@end
