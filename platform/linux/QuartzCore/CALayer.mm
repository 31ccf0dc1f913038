// CALayer as the backing of a view. Follows Apple's CALayer class reference; sublayers, contents,
// transforms, borders, shadows, masks and animations are left out.

#import <QuartzCore/CALayer.h>

#include "UIKit/view_drawing.h"

@implementation CALayer

@synthesize delegate = _delegate;
@synthesize cornerRadius = _cornerRadius;
@synthesize masksToBounds = _masksToBounds;

- (void)renderInContext:(CGContextRef)context {
  UIView *const view = _delegate;
  // A layer that somebody kept draws nothing once its view is gone.
  if (context == nullptr || view == nil)
    return;
  const CGPoint origin = [view bounds].origin;
  CGContextSaveGState(context);
  CGContextTranslateCTM(context, -origin.x, -origin.y);
  veltro::host::draw_view(view, context);
  CGContextRestoreGState(context);
}

@end
