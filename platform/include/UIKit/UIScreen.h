#pragma once

#include <CoreGraphics/CGGeometry.h>

#import <Foundation/Foundation.h>

@interface UIScreen : NSObject
/// The one screen of the device.
+ (UIScreen *)mainScreen;
/// Pixels a point: 1, 2 or 3.
@property (nonatomic, readonly) CGFloat scale;
/// The whole screen, in points.
@property (nonatomic, readonly) CGRect bounds;
@end
