// Affine transforms. Follows Apple's CGAffineTransform reference.

#include <CoreGraphics/CGAffineTransform.h>

#include <algorithm>
#include <cmath>

extern "C" {

const CGAffineTransform CGAffineTransformIdentity = {1, 0, 0, 1, 0, 0};

CGAffineTransform CGAffineTransformMakeTranslation(CGFloat tx, CGFloat ty) {
  return {1, 0, 0, 1, tx, ty};
}

CGAffineTransform CGAffineTransformMakeScale(CGFloat sx, CGFloat sy) {
  return {sx, 0, 0, sy, 0, 0};
}

CGAffineTransform CGAffineTransformMakeRotation(CGFloat angle) {
  const CGFloat sine = std::sin(angle);
  const CGFloat cosine = std::cos(angle);
  return {cosine, sine, -sine, cosine, 0, 0};
}

CGAffineTransform CGAffineTransformTranslate(CGAffineTransform transform, CGFloat tx, CGFloat ty) {
  return CGAffineTransformConcat(CGAffineTransformMakeTranslation(tx, ty), transform);
}

CGAffineTransform CGAffineTransformScale(CGAffineTransform transform, CGFloat sx, CGFloat sy) {
  return CGAffineTransformConcat(CGAffineTransformMakeScale(sx, sy), transform);
}

CGAffineTransform CGAffineTransformRotate(CGAffineTransform transform, CGFloat angle) {
  return CGAffineTransformConcat(CGAffineTransformMakeRotation(angle), transform);
}

CGAffineTransform CGAffineTransformConcat(CGAffineTransform first, CGAffineTransform second) {
  return {first.a * second.a + first.b * second.c,
          first.a * second.b + first.b * second.d,
          first.c * second.a + first.d * second.c,
          first.c * second.b + first.d * second.d,
          first.tx * second.a + first.ty * second.c + second.tx,
          first.tx * second.b + first.ty * second.d + second.ty};
}

CGAffineTransform CGAffineTransformInvert(CGAffineTransform t) {
  const CGFloat determinant = t.a * t.d - t.b * t.c;
  if (determinant == 0 || !std::isfinite(determinant))
    return t;
  return {t.d / determinant,
          -t.b / determinant,
          -t.c / determinant,
          t.a / determinant,
          (t.c * t.ty - t.d * t.tx) / determinant,
          (t.b * t.tx - t.a * t.ty) / determinant};
}

bool CGAffineTransformIsIdentity(CGAffineTransform transform) {
  return CGAffineTransformEqualToTransform(transform, CGAffineTransformIdentity);
}

bool CGAffineTransformEqualToTransform(CGAffineTransform one, CGAffineTransform other) {
  return one.a == other.a && one.b == other.b && one.c == other.c && one.d == other.d &&
         one.tx == other.tx && one.ty == other.ty;
}

CGPoint CGPointApplyAffineTransform(CGPoint point, CGAffineTransform t) {
  return {t.a * point.x + t.c * point.y + t.tx, t.b * point.x + t.d * point.y + t.ty};
}

CGSize CGSizeApplyAffineTransform(CGSize size, CGAffineTransform t) {
  return {t.a * size.width + t.c * size.height, t.b * size.width + t.d * size.height};
}

CGRect CGRectApplyAffineTransform(CGRect rect, CGAffineTransform transform) {
  if (CGRectIsNull(rect))
    return CGRectNull;
  const CGFloat right = rect.origin.x + rect.size.width;
  const CGFloat bottom = rect.origin.y + rect.size.height;
  const CGPoint corners[] = {
      CGPointApplyAffineTransform(rect.origin, transform),
      CGPointApplyAffineTransform({right, rect.origin.y}, transform),
      CGPointApplyAffineTransform({rect.origin.x, bottom}, transform),
      CGPointApplyAffineTransform({right, bottom}, transform),
  };
  const auto [left_most, right_most] = std::ranges::minmax(corners, {}, &CGPoint::x);
  const auto [top_most, bottom_most] = std::ranges::minmax(corners, {}, &CGPoint::y);
  return {{left_most.x, top_most.y}, {right_most.x - left_most.x, bottom_most.y - top_most.y}};
}

} // extern "C"
