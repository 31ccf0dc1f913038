// CALayer as the backing of a view. Follows Apple's CALayer class reference; sublayers, contents,
// transforms, borders, shadows, masks and animations are left out.

#import <QuartzCore/CALayer.h>

#include "frameworks/QuartzCore/layer_drawing.h"

@implementation CALayer

@synthesize delegate = _delegate;
@synthesize cornerRadius = _cornerRadius;
@synthesize masksToBounds = _masksToBounds;

- (void)renderInContext:(CGContextRef)context {
  // A layer that somebody kept draws nothing once its view is gone.
  if (context != nullptr && [_delegate respondsToSelector:@selector(vh_drawInContext:)])
    [static_cast<id<VHLayerDrawing>>(_delegate) vh_drawInContext:context];
}

@end
