// Drawing a tree of views into a context.

#import <QuartzCore/CALayer.h>
#import <UIKit/UIColor.h>
#import <UIKit/UIGraphics.h>
#import <UIKit/UIView.h>

#include "frameworks/CoreGraphics/context.hpp"

namespace veltro::host {
namespace {

/// As on the device: what is as pale as this is not drawn.
constexpr CGFloat kVisibleAlpha = 0.01;

void draw_view(UIView *view, CGPoint at, CGContextRef context);

/// Makes the view's shape the context's path.
void add_shape(UIView *view, CGContextRef context) {
  rounded_rect(cairo_of(context), [view bounds], [[view layer] cornerRadius]);
}

void draw_content(UIView *view, CGContextRef context) {
  const CGRect bounds = [view bounds];
  if (UIColor *const color = [view backgroundColor]) {
    CGContextSetFillColorWithColor(context, [color CGColor]);
    add_shape(view, context);
    CGContextFillPath(context);
  }
  if ([view clipsToBounds]) {
    add_shape(view, context);
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
    cairo_t *const cairo = cairo_of(context);
    cairo_pop_group_to_source(cairo);
    cairo_paint_with_alpha(cairo, [view alpha]);
  } else {
    draw_content(view, context);
  }
  CGContextRestoreGState(context);
}

} // namespace
} // namespace veltro::host

@implementation UIView (VHLayerDrawing)

- (void)vh_drawInContext:(CGContextRef)context {
  veltro::host::draw_view(self, CGPointZero, context);
}

@end
