// CALayer as the backing of a view. Follows Apple's CALayer class reference; sublayers, contents,
// transforms, borders, shadows, masks and animations are left out.

#import <QuartzCore/CALayer.h>

/// What a view has its layer draw it by.
@interface NSObject (VHLayerDrawing)
/// Draws the delegate and all it holds, its bounds' origin at the context's.
- (void)vh_drawInContext:(CGContextRef)context;
@end

@implementation CALayer

@synthesize delegate = _delegate;
@synthesize cornerRadius = _cornerRadius;
@synthesize masksToBounds = _masksToBounds;

- (void)renderInContext:(CGContextRef)context {
  // A layer that somebody kept draws nothing once its view is gone.
  if (context != nullptr && [_delegate respondsToSelector:@selector(vh_drawInContext:)])
    [_delegate vh_drawInContext:context];
}

@end
