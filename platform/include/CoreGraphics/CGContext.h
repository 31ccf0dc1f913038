// Drawing. A context belongs to one thread at a time. Every function takes a null context, does
// nothing with it and returns zero. What has a number that is not finite is left out, and so are
// arcs with a radius or an angle beyond 1e9, and ellipses as great.
//
// A bitmap context of Core Graphics has its origin at the bottom left, y upwards, and a unit of a
// pixel; a context of UIKit has its origin at the top left, y downwards, and a unit of a point.
#pragma once

#include <CoreGraphics/CGAffineTransform.h>
#include <CoreGraphics/CGColor.h>
#include <CoreGraphics/CGGeometry.h>
#include <CoreGraphics/CGImage.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct CGContext *CGContextRef;

typedef enum CGLineCap : int32_t {
  kCGLineCapButt,
  kCGLineCapRound,
  kCGLineCapSquare,
} CGLineCap;

typedef enum CGLineJoin : int32_t {
  kCGLineJoinMiter,
  kCGLineJoinRound,
  kCGLineJoinBevel,
} CGLineJoin;

typedef enum CGInterpolationQuality : int32_t {
  kCGInterpolationDefault = 0,
  kCGInterpolationNone = 1,
  kCGInterpolationLow = 2,
  kCGInterpolationMedium = 4,
  kCGInterpolationHigh = 3,
} CGInterpolationQuality;

typedef enum CGBlendMode : int32_t {
  kCGBlendModeNormal = 0,
  kCGBlendModeClear = 16,
  kCGBlendModeCopy = 17,
} CGBlendMode;

CGContextRef CGContextRetain(CGContextRef context);
void CGContextRelease(CGContextRef context);

// The graphics state: transform, clip, colours, line, blending and interpolation.
void CGContextSaveGState(CGContextRef context);
/// Without a state saved, nothing happens.
void CGContextRestoreGState(CGContextRef context);

// The transform from the drawing's coordinates to the bitmap's. Through a transform without an
// inverse (a scale of 0 or beyond 1e9) nothing is drawn until it is restored.
void CGContextScaleCTM(CGContextRef context, CGFloat sx, CGFloat sy);
void CGContextTranslateCTM(CGContextRef context, CGFloat tx, CGFloat ty);
void CGContextRotateCTM(CGContextRef context, CGFloat angle);
void CGContextConcatCTM(CGContextRef context, CGAffineTransform transform);
CGAffineTransform CGContextGetCTM(CGContextRef context);

// The current path. It is no part of the graphics state, and what paints it or clips to it empties
// it.
void CGContextBeginPath(CGContextRef context);
void CGContextMoveToPoint(CGContextRef context, CGFloat x, CGFloat y);
void CGContextAddLineToPoint(CGContextRef context, CGFloat x, CGFloat y);
void CGContextAddCurveToPoint(CGContextRef context, CGFloat cp1x, CGFloat cp1y, CGFloat cp2x,
                              CGFloat cp2y, CGFloat x, CGFloat y);
void CGContextAddRect(CGContextRef context, CGRect rect);
void CGContextAddEllipseInRect(CGContextRef context, CGRect rect);
/// An arc around (x, y) from `start_angle` to `end_angle`, in radians from the x axis towards the y
/// axis, joined by a line to the current point. `clockwise` 1 sweeps with falling angle and 0 with
/// rising, which is the direction on paper where y points upwards; in a context of UIKit the arc
/// looks the other way round.
void CGContextAddArc(CGContextRef context, CGFloat x, CGFloat y, CGFloat radius,
                     CGFloat start_angle, CGFloat end_angle, int clockwise);
void CGContextClosePath(CGContextRef context);
bool CGContextIsPathEmpty(CGContextRef context);
/// In the drawing's coordinates; `CGRectNull` where the path is empty.
CGRect CGContextGetPathBoundingBox(CGContextRef context);

// Painting the current path.
void CGContextFillPath(CGContextRef context);
void CGContextEOFillPath(CGContextRef context);
void CGContextStrokePath(CGContextRef context);

// Painting without the current path.
void CGContextFillRect(CGContextRef context, CGRect rect);
void CGContextFillEllipseInRect(CGContextRef context, CGRect rect);
void CGContextStrokeRect(CGContextRef context, CGRect rect);
void CGContextStrokeEllipseInRect(CGContextRef context, CGRect rect);
/// Makes `rect` transparent.
void CGContextClearRect(CGContextRef context, CGRect rect);
/// Draws the image over `rect`, its first row where y is greatest.
void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image);

// The clip, which can only shrink, until it is restored.
void CGContextClip(CGContextRef context);
void CGContextEOClip(CGContextRef context);
void CGContextClipToRect(CGContextRef context, CGRect rect);
CGRect CGContextGetClipBoundingBox(CGContextRef context);

// Colours and lines. The colours are black at first, the line is 1 wide.
void CGContextSetFillColorWithColor(CGContextRef context, CGColorRef color);
void CGContextSetStrokeColorWithColor(CGContextRef context, CGColorRef color);
void CGContextSetRGBFillColor(CGContextRef context, CGFloat red, CGFloat green, CGFloat blue,
                              CGFloat alpha);
void CGContextSetRGBStrokeColor(CGContextRef context, CGFloat red, CGFloat green, CGFloat blue,
                                CGFloat alpha);
void CGContextSetGrayFillColor(CGContextRef context, CGFloat gray, CGFloat alpha);
void CGContextSetGrayStrokeColor(CGContextRef context, CGFloat gray, CGFloat alpha);
/// Weakens everything drawn from now on; 1 at first.
void CGContextSetAlpha(CGContextRef context, CGFloat alpha);
void CGContextSetBlendMode(CGContextRef context, CGBlendMode mode);
void CGContextSetLineWidth(CGContextRef context, CGFloat width);
void CGContextSetLineCap(CGContextRef context, CGLineCap cap);
void CGContextSetLineJoin(CGContextRef context, CGLineJoin join);
void CGContextSetShouldAntialias(CGContextRef context, bool should_antialias);
void CGContextSetInterpolationQuality(CGContextRef context, CGInterpolationQuality quality);

#ifdef __cplusplus
}
#endif
