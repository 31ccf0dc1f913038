// Points, sizes and rectangles. They are Core Graphics' own structures and not Foundation's, so
// that methods that take them are encoded as on the device.
#pragma once

#include <CoreGraphics/CGBase.h>

#ifdef __cplusplus
extern "C" {
#endif

struct CGPoint {
  CGFloat x;
  CGFloat y;
};
typedef struct CGPoint CGPoint;

struct CGSize {
  CGFloat width;
  CGFloat height;
};
typedef struct CGSize CGSize;

struct CGRect {
  CGPoint origin;
  CGSize size;
};
typedef struct CGRect CGRect;

extern const CGPoint CGPointZero;
extern const CGSize CGSizeZero;
extern const CGRect CGRectZero;
/// The rectangle that is nowhere: the result of an intersection of rectangles that do not meet.
extern const CGRect CGRectNull;

static inline CGPoint CGPointMake(CGFloat x, CGFloat y) {
  CGPoint point = {x, y};
  return point;
}

static inline CGSize CGSizeMake(CGFloat width, CGFloat height) {
  CGSize size = {width, height};
  return size;
}

static inline CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  CGRect rect = {{x, y}, {width, height}};
  return rect;
}

static inline bool CGPointEqualToPoint(CGPoint one, CGPoint other) {
  return one.x == other.x && one.y == other.y;
}

static inline bool CGSizeEqualToSize(CGSize one, CGSize other) {
  return one.width == other.width && one.height == other.height;
}

// A rectangle may have a negative width or height; what follows takes it as the same rectangle
// written from its other corner.

CGRect CGRectStandardize(CGRect rect);
CGFloat CGRectGetMinX(CGRect rect);
CGFloat CGRectGetMidX(CGRect rect);
CGFloat CGRectGetMaxX(CGRect rect);
CGFloat CGRectGetMinY(CGRect rect);
CGFloat CGRectGetMidY(CGRect rect);
CGFloat CGRectGetMaxY(CGRect rect);
CGFloat CGRectGetWidth(CGRect rect);
CGFloat CGRectGetHeight(CGRect rect);
bool CGRectEqualToRect(CGRect one, CGRect other);
bool CGRectIsNull(CGRect rect);
/// Whether `rect` is null or has no width or no height.
bool CGRectIsEmpty(CGRect rect);
/// Moves the edges inwards by `dx` and `dy`; null where nothing is left.
CGRect CGRectInset(CGRect rect, CGFloat dx, CGFloat dy);
CGRect CGRectOffset(CGRect rect, CGFloat dx, CGFloat dy);
/// The smallest rectangle of whole numbers that holds `rect`.
CGRect CGRectIntegral(CGRect rect);
CGRect CGRectIntersection(CGRect one, CGRect other);
CGRect CGRectUnion(CGRect one, CGRect other);
bool CGRectIntersectsRect(CGRect one, CGRect other);
/// Points on the left and upper edge belong to a rectangle, points on the others do not.
bool CGRectContainsPoint(CGRect rect, CGPoint point);
bool CGRectContainsRect(CGRect outer, CGRect inner);

#ifdef __cplusplus
}
#endif
