// The contexts that a thread draws into, in a stack of its own.
#pragma once

#include <CoreGraphics/CGContext.h>
#include <CoreGraphics/CGGeometry.h>

#import <Foundation/Foundation.h>

@class UIImage;

#ifdef __cplusplus
extern "C" {
#endif

/// The context on top of this thread's stack, or null.
CGContextRef UIGraphicsGetCurrentContext(void);
/// Keeps `context` on the stack.
void UIGraphicsPushContext(CGContextRef context);
/// Takes the top off the stack; nothing happens where the stack is empty.
void UIGraphicsPopContext(void);

/// A context of `size` points at scale 1, not opaque.
void UIGraphicsBeginImageContext(CGSize size);
/// A context of `size` points at `scale`, or at the main screen's where that is 0. Its pixels are
/// `size` times scale, rounded up; transparent, or black if `opaque`. A size or scale of which
/// there is no bitmap (zero, negative, not finite, more than 32767 pixels wide or high, more than
/// memory holds) leaves the thread with a null context until UIGraphicsEndImageContext.
void UIGraphicsBeginImageContextWithOptions(CGSize size, BOOL opaque, CGFloat scale);
/// What is drawn so far (autoreleased); nil where the top of the stack is no image context.
UIImage *UIGraphicsGetImageFromCurrentImageContext(void);
/// Takes the image context off the stack; nothing happens where the top is none.
void UIGraphicsEndImageContext(void);

/// Fills `rect` of the current context with its fill colour.
void UIRectFill(CGRect rect);

#ifdef __cplusplus
}
#endif
