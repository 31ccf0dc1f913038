// Drawing a tree of views into a context.

#import <QuartzCore/CALayer.h>
#import <UIKit/UIColor.h>
#import <UIKit/UIGraphics.h>
#import <UIKit/UIView.h>

#include "frameworks/CoreGraphics/context.hpp"
#include "frameworks/QuartzCore/layer_drawing.h"

namespace veltro::host {
namespace {

/// As on the device: what is as pale as this is not drawn.
constexpr CGFloat kVisibleAlpha = 0.01;

void draw_view(UIView *view, CGContextRef context);

/// Makes the view's shape the context's path.
void add_shape(UIView *view, CGContextRef context) {
  CGContextBeginPath(context);
  if (cairo_t *const cairo = cairo_of(context))
    add_rounded_rect(cairo, [view bounds], [[view layer] cornerRadius]);
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
  for (UIView *subview in [view subviews]) {
    const CGPoint at = [subview frame].origin;
    const CGPoint origin = [subview bounds].origin;
    CGContextSaveGState(context);
    CGContextTranslateCTM(context, at.x - origin.x, at.y - origin.y);
    draw_view(subview, context);
    CGContextRestoreGState(context);
  }
}

/// Draws `view` and all it holds, in the view's own coordinates.
void draw_view(UIView *view, CGContextRef context) {
  if (view == nil || [view isHidden] || [view alpha] < kVisibleAlpha)
    return;
  [view layoutIfNeeded];
  CGContextSaveGState(context);
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
