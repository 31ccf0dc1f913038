#pragma once

#include <CoreGraphics/CGContext.h>
#include <CoreGraphics/CGGeometry.h>

#import <Foundation/Foundation.h>

/// What a view shows. A layer belongs to its view, which is its delegate and holds it.
@interface CALayer : NSObject {
  id _delegate;
  CGFloat _cornerRadius;
  BOOL _masksToBounds;
}
/// The view; not retained.
@property (nonatomic, assign) id delegate;
/// The radius of the background's corners, in points. 0 at first.
@property (nonatomic, assign) CGFloat cornerRadius;
/// Whether what the view draws and holds is cut off at its rounded bounds. NO at first.
@property (nonatomic, assign) BOOL masksToBounds;
/// Draws the view and all it holds, its bounds' origin at the context's.
- (void)renderInContext:(CGContextRef)context;
@end
