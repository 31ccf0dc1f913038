#include "frameworks/UIKit/view_drawing.h"

#import <QuartzCore/CALayer.h>
#import <UIKit/UIColor.h>
#import <UIKit/UIGraphics.h>

#include "frameworks/CoreGraphics/context.hpp"
#include "frameworks/QuartzCore/layer_drawing.h"

#include <algorithm>
#include <numbers>

namespace veltro::host {
namespace {

/// As on the device: what is as pale as this is not drawn.
constexpr CGFloat kVisibleAlpha = 0.01;

void draw_content(UIView *view, CGContextRef context) {
  const CGRect bounds = [view bounds];
  const CGFloat radius = [[view layer] cornerRadius];
  if (UIColor *const color = [view backgroundColor]) {
    CGContextSetFillColorWithColor(context, [color CGColor]);
    add_rounded_rect(context, bounds, radius);
    CGContextFillPath(context);
  }
  if ([view clipsToBounds]) {
    add_rounded_rect(context, bounds, radius);
    CGContextClip(context);
  }
  CGContextSaveGState(context);
  CGContextClipToRect(context, bounds);
  UIGraphicsPushContext(context);
  [view drawRect:bounds];
  UIGraphicsPopContext();
  CGContextRestoreGState(context);
  for (UIView *subview in [view subviews]) {
    const CGPoint at = [subview frame].origin;
    const CGPoint origin = [subview bounds].origin;
    CGContextSaveGState(context);
    CGContextTranslateCTM(context, at.x - origin.x, at.y - origin.y);
    draw_view(subview, context);
    CGContextRestoreGState(context);
  }
}

} // namespace

void add_rounded_rect(CGContextRef context, CGRect rect, CGFloat radius) {
  constexpr CGFloat right_angle = std::numbers::pi / 2;
  const CGFloat r =
      std::clamp<CGFloat>(radius, 0, std::min(CGRectGetWidth(rect), CGRectGetHeight(rect)) / 2);
  CGContextBeginPath(context);
  if (r == 0) {
    CGContextAddRect(context, rect);
    return;
  }
  const CGFloat left = CGRectGetMinX(rect) + r;
  const CGFloat right = CGRectGetMaxX(rect) - r;
  const CGFloat top = CGRectGetMinY(rect) + r;
  const CGFloat bottom = CGRectGetMaxY(rect) - r;
  CGContextAddArc(context, right, top, r, -right_angle, 0, 0);
  CGContextAddArc(context, right, bottom, r, 0, right_angle, 0);
  CGContextAddArc(context, left, bottom, r, right_angle, 2 * right_angle, 0);
  CGContextAddArc(context, left, top, r, 2 * right_angle, 3 * right_angle, 0);
  CGContextClosePath(context);
}

void draw_view(UIView *view, CGContextRef context) {
  if (view == nil || [view isHidden] || [view alpha] < kVisibleAlpha)
    return;
  [view layoutIfNeeded];
  CGContextSaveGState(context);
  if ([view alpha] < 1) {
    // The view and all it holds fade as one picture.
    cairo_push_group(context_of(context)->cairo());
    draw_content(view, context);
    cairo_t *const cairo = context_of(context)->cairo();
    cairo_pop_group_to_source(cairo);
    cairo_paint_with_alpha(cairo, [view alpha]);
  } else {
    draw_content(view, context);
  }
  CGContextRestoreGState(context);
}

} // namespace veltro::host

@interface UIView (VHLayerDrawing) <VHLayerDrawing>
@end

@implementation UIView (VHLayerDrawing)

- (void)vh_drawInContext:(CGContextRef)context {
  const CGPoint origin = [self bounds].origin;
  CGContextSaveGState(context);
  CGContextTranslateCTM(context, -origin.x, -origin.y);
  veltro::host::draw_view(self, context);
  CGContextRestoreGState(context);
}

@end
