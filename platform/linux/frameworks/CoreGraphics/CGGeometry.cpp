// Rectangles. Follows Apple's CGGeometry reference; CGVector, CGRectDivide and the dictionary
// representations are left out.

#include <CoreGraphics/CGGeometry.h>

#include <algorithm>
#include <cmath>

extern "C" {

const CGPoint CGPointZero = {0, 0};
const CGSize CGSizeZero = {0, 0};
const CGRect CGRectZero = {{0, 0}, {0, 0}};
const CGRect CGRectNull = {{INFINITY, INFINITY}, {0, 0}};

CGRect CGRectStandardize(CGRect rect) {
  if (CGRectIsNull(rect))
    return CGRectNull;
  return {{CGRectGetMinX(rect), CGRectGetMinY(rect)},
          {CGRectGetWidth(rect), CGRectGetHeight(rect)}};
}

CGFloat CGRectGetMinX(CGRect rect) {
  return std::min(rect.origin.x, rect.origin.x + rect.size.width);
}

CGFloat CGRectGetMidX(CGRect rect) {
  return rect.origin.x + rect.size.width / 2;
}

CGFloat CGRectGetMaxX(CGRect rect) {
  return std::max(rect.origin.x, rect.origin.x + rect.size.width);
}

CGFloat CGRectGetMinY(CGRect rect) {
  return std::min(rect.origin.y, rect.origin.y + rect.size.height);
}

CGFloat CGRectGetMidY(CGRect rect) {
  return rect.origin.y + rect.size.height / 2;
}

CGFloat CGRectGetMaxY(CGRect rect) {
  return std::max(rect.origin.y, rect.origin.y + rect.size.height);
}

CGFloat CGRectGetWidth(CGRect rect) {
  return std::abs(rect.size.width);
}

CGFloat CGRectGetHeight(CGRect rect) {
  return std::abs(rect.size.height);
}

bool CGRectEqualToRect(CGRect one, CGRect other) {
  one = CGRectStandardize(one);
  other = CGRectStandardize(other);
  return CGPointEqualToPoint(one.origin, other.origin) && CGSizeEqualToSize(one.size, other.size);
}

bool CGRectIsNull(CGRect rect) {
  return rect.origin.x == INFINITY || rect.origin.y == INFINITY;
}

bool CGRectIsEmpty(CGRect rect) {
  return CGRectIsNull(rect) || rect.size.width == 0 || rect.size.height == 0;
}

CGRect CGRectInset(CGRect rect, CGFloat dx, CGFloat dy) {
  const CGRect inset = {{CGRectGetMinX(rect) + dx, CGRectGetMinY(rect) + dy},
                        {CGRectGetWidth(rect) - 2 * dx, CGRectGetHeight(rect) - 2 * dy}};
  return inset.size.width < 0 || inset.size.height < 0 ? CGRectNull : CGRectStandardize(inset);
}

CGRect CGRectOffset(CGRect rect, CGFloat dx, CGFloat dy) {
  return CGRectStandardize({{rect.origin.x + dx, rect.origin.y + dy}, rect.size});
}

CGRect CGRectIntegral(CGRect rect) {
  if (CGRectIsNull(rect))
    return CGRectNull;
  const CGFloat x = std::floor(CGRectGetMinX(rect));
  const CGFloat y = std::floor(CGRectGetMinY(rect));
  return {{x, y}, {std::ceil(CGRectGetMaxX(rect)) - x, std::ceil(CGRectGetMaxY(rect)) - y}};
}

CGRect CGRectIntersection(CGRect one, CGRect other) {
  const CGFloat x = std::max(CGRectGetMinX(one), CGRectGetMinX(other));
  const CGFloat y = std::max(CGRectGetMinY(one), CGRectGetMinY(other));
  const CGFloat width = std::min(CGRectGetMaxX(one), CGRectGetMaxX(other)) - x;
  const CGFloat height = std::min(CGRectGetMaxY(one), CGRectGetMaxY(other)) - y;
  // Not so where one is null, which is at infinity.
  return width >= 0 && height >= 0 ? CGRectMake(x, y, width, height) : CGRectNull;
}

CGRect CGRectUnion(CGRect one, CGRect other) {
  if (CGRectIsNull(one))
    return CGRectStandardize(other);
  if (CGRectIsNull(other))
    return CGRectStandardize(one);
  const CGFloat x = std::min(CGRectGetMinX(one), CGRectGetMinX(other));
  const CGFloat y = std::min(CGRectGetMinY(one), CGRectGetMinY(other));
  return {{x, y},
          {std::max(CGRectGetMaxX(one), CGRectGetMaxX(other)) - x,
           std::max(CGRectGetMaxY(one), CGRectGetMaxY(other)) - y}};
}

bool CGRectIntersectsRect(CGRect one, CGRect other) {
  return !CGRectIsEmpty(CGRectIntersection(one, other));
}

bool CGRectContainsPoint(CGRect rect, CGPoint point) {
  return !CGRectIsNull(rect) && point.x >= CGRectGetMinX(rect) && point.x < CGRectGetMaxX(rect) &&
         point.y >= CGRectGetMinY(rect) && point.y < CGRectGetMaxY(rect);
}

bool CGRectContainsRect(CGRect outer, CGRect inner) {
  return CGRectEqualToRect(CGRectUnion(outer, inner), outer);
}

} // extern "C"
