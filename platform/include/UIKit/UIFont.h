#pragma once

#include <CoreGraphics/CGBase.h>

#import <Foundation/Foundation.h>

/// A font, which never changes. The system's font is Liberation Sans, which measures as
/// Helvetica does; the machine's sans-serif fonts stand in for what it lacks.
@interface UIFont : NSObject <NSCopying> {
  NSString *_fontName;
  CGFloat _pointSize;
}
+ (UIFont *)systemFontOfSize:(CGFloat)size;
+ (UIFont *)boldSystemFontOfSize:(CGFloat)size;
/// The family's name and weight.
@property (nonatomic, readonly, retain) NSString *fontName;
/// In points.
@property (nonatomic, readonly) CGFloat pointSize;
/// From one line's baseline to the next, in points.
@property (nonatomic, readonly) CGFloat lineHeight;
@end
