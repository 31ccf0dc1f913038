// How a layer has its view drawn, without knowing what a view is.
#pragma once

#include <CoreGraphics/CGContext.h>

#import <Foundation/Foundation.h>

/// What the delegate of a layer does so that the layer can be rendered.
@protocol VHLayerDrawing <NSObject>
/// Draws the delegate and all it holds, its bounds' origin at the context's.
- (void)vh_drawInContext:(CGContextRef)context;
@end
