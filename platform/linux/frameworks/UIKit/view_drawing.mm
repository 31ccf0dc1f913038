// Drawing a tree of views into a context.

#import <QuartzCore/CALayer.h>
#import <UIKit/UIColor.h>
#import <UIKit/UIGraphics.h>
#import <UIKit/UIView.h>

#include "frameworks/CoreGraphics/context.hpp"

namespace {

using veltro::host::cairo_of;
using veltro::host::rounded_rect;

void draw_view(UIView *view, CGPoint at, CGContextRef context);

void draw_content(UIView *view, CGContextRef context) {
  const CGRect bounds = [view bounds];
  const CGFloat radius = [[view layer] cornerRadius];
  if (UIColor *const color = [view backgroundColor]) {
    CGContextSetFillColorWithColor(context, [color CGColor]);
    rounded_rect(cairo_of(context), bounds, radius);
    CGContextFillPath(context);
  }
  if ([view clipsToBounds]) {
    rounded_rect(cairo_of(context), bounds, radius);
    CGContextClip(context);
  }
  CGContextSaveGState(context);
  CGContextClipToRect(context, bounds);
  UIGraphicsPushContext(context);
  [view drawRect:bounds];
  UIGraphicsPopContext();
  CGContextRestoreGState(context);
  for (UIView *subview in [view subviews])
    draw_view(subview, [subview frame].origin, context);
}

/// Draws `view` and all it holds, its bounds' origin at `at`.
void draw_view(UIView *view, CGPoint at, CGContextRef context) {
  // As on the device: what is as pale as this is not drawn.
  constexpr CGFloat kVisibleAlpha = 0.01;
  if ([view isHidden] || [view alpha] < kVisibleAlpha)
    return;
  [view layoutIfNeeded];
  const CGPoint origin = [view bounds].origin;
  CGContextSaveGState(context);
  CGContextTranslateCTM(context, at.x - origin.x, at.y - origin.y);
  if ([view alpha] < 1) {
    // The view and all it holds fade as one picture.
    cairo_push_group(cairo_of(context));
    draw_content(view, context);
    cairo_pop_group_to_source(cairo_of(context));
    cairo_paint_with_alpha(cairo_of(context), [view alpha]);
  } else {
    draw_content(view, context);
  }
  CGContextRestoreGState(context);
}

} // namespace

@implementation UIView (VHLayerDrawing)

- (void)vh_drawInContext:(CGContextRef)context {
  draw_view(self, CGPointZero, context);
}

@end
