// Affine transforms: x' = a x + c y + tx, y' = b x + d y + ty.
#pragma once

#include <CoreGraphics/CGGeometry.h>

#ifdef __cplusplus
extern "C" {
#endif

struct CGAffineTransform {
  CGFloat a, b, c, d;
  CGFloat tx, ty;
};
typedef struct CGAffineTransform CGAffineTransform;

extern const CGAffineTransform CGAffineTransformIdentity;

static inline CGAffineTransform CGAffineTransformMake(CGFloat a, CGFloat b, CGFloat c, CGFloat d,
                                                      CGFloat tx, CGFloat ty) {
  CGAffineTransform transform = {a, b, c, d, tx, ty};
  return transform;
}

CGAffineTransform CGAffineTransformMakeTranslation(CGFloat tx, CGFloat ty);
CGAffineTransform CGAffineTransformMakeScale(CGFloat sx, CGFloat sy);
/// `angle` in radians, from the x axis towards the y axis.
CGAffineTransform CGAffineTransformMakeRotation(CGFloat angle);
// These apply the new step before `transform`.
CGAffineTransform CGAffineTransformTranslate(CGAffineTransform transform, CGFloat tx, CGFloat ty);
CGAffineTransform CGAffineTransformScale(CGAffineTransform transform, CGFloat sx, CGFloat sy);
CGAffineTransform CGAffineTransformRotate(CGAffineTransform transform, CGFloat angle);
/// `first`, and then `second`.
CGAffineTransform CGAffineTransformConcat(CGAffineTransform first, CGAffineTransform second);
/// The inverse, or `transform` itself where it has none.
CGAffineTransform CGAffineTransformInvert(CGAffineTransform transform);
bool CGAffineTransformIsIdentity(CGAffineTransform transform);
bool CGAffineTransformEqualToTransform(CGAffineTransform one, CGAffineTransform other);
CGPoint CGPointApplyAffineTransform(CGPoint point, CGAffineTransform transform);
CGSize CGSizeApplyAffineTransform(CGSize size, CGAffineTransform transform);
/// The smallest rectangle that holds the transformed corners.
CGRect CGRectApplyAffineTransform(CGRect rect, CGAffineTransform transform);

#ifdef __cplusplus
}
#endif
