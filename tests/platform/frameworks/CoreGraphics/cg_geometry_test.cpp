#include <CoreGraphics/CoreGraphics.h>

#include <cmath>
#include <gtest/gtest.h>
#include <ostream>

// gtest looks for these beside the types.
static bool operator==(const CGRect &one, const CGRect &other) {
  return CGPointEqualToPoint(one.origin, other.origin) && CGSizeEqualToSize(one.size, other.size);
}

static void PrintTo(const CGRect &rect, std::ostream *out) {
  *out << "{{" << rect.origin.x << ", " << rect.origin.y << "}, {" << rect.size.width << ", "
       << rect.size.height << "}}";
}

namespace {

TEST(CGGeometry, TakesNegativeSizesAsTheSameRectangle) {
  const CGRect backwards = CGRectMake(10, 20, -4, -6);
  EXPECT_EQ(CGRectStandardize(backwards), CGRectMake(6, 14, 4, 6));
  EXPECT_EQ(CGRectGetMinX(backwards), 6);
  EXPECT_EQ(CGRectGetMidX(backwards), 8);
  EXPECT_EQ(CGRectGetMaxX(backwards), 10);
  EXPECT_EQ(CGRectGetMinY(backwards), 14);
  EXPECT_EQ(CGRectGetMidY(backwards), 17);
  EXPECT_EQ(CGRectGetMaxY(backwards), 20);
  EXPECT_EQ(CGRectGetWidth(backwards), 4);
  EXPECT_EQ(CGRectGetHeight(backwards), 6);
  EXPECT_TRUE(CGRectEqualToRect(backwards, CGRectMake(6, 14, 4, 6)));
  EXPECT_FALSE(CGRectEqualToRect(backwards, CGRectMake(6, 14, 4, 7)));
}

TEST(CGGeometry, KnowsEmptyAndNull) {
  EXPECT_TRUE(CGRectIsNull(CGRectNull));
  EXPECT_TRUE(CGRectIsEmpty(CGRectNull));
  EXPECT_TRUE(CGRectIsEmpty(CGRectZero));
  EXPECT_TRUE(CGRectIsEmpty(CGRectMake(1, 1, 0, 5)));
  EXPECT_FALSE(CGRectIsEmpty(CGRectMake(1, 1, -1, 5)));
  EXPECT_FALSE(CGRectIsNull(CGRectZero));
  EXPECT_TRUE(CGPointEqualToPoint(CGPointZero, CGPointMake(0, 0)));
  EXPECT_TRUE(CGSizeEqualToSize(CGSizeZero, CGSizeMake(0, 0)));
  EXPECT_TRUE(CGRectIsNull(CGRectStandardize(CGRectNull)));
  EXPECT_TRUE(CGRectIsNull(CGRectIntegral(CGRectNull)));
  EXPECT_TRUE(CGRectIsNull(CGRectOffset(CGRectNull, 1, 1)));
  EXPECT_TRUE(CGRectIsNull(CGRectInset(CGRectNull, 1, 1)));
}

TEST(CGGeometry, MovesEdges) {
  EXPECT_EQ(CGRectInset(CGRectMake(0, 0, 10, 20), 2, -3), CGRectMake(2, -3, 6, 26));
  EXPECT_TRUE(CGRectIsNull(CGRectInset(CGRectMake(0, 0, 10, 20), 6, 0)));
  EXPECT_EQ(CGRectOffset(CGRectMake(1, 2, -3, 4), 10, 20), CGRectMake(8, 22, 3, 4));
  EXPECT_EQ(CGRectIntegral(CGRectMake(0.5, -0.5, 2, 2)), CGRectMake(0, -1, 3, 3));
}

TEST(CGGeometry, IntersectsAndUnites) {
  const CGRect one = CGRectMake(0, 0, 10, 10);
  const CGRect other = CGRectMake(5, 6, 10, 10);
  const CGRect far = CGRectMake(50, 50, 1, 1);
  EXPECT_EQ(CGRectIntersection(one, other), CGRectMake(5, 6, 5, 4));
  EXPECT_TRUE(CGRectIsNull(CGRectIntersection(one, far)));
  EXPECT_TRUE(CGRectIsNull(CGRectIntersection(one, CGRectNull)));
  EXPECT_EQ(CGRectUnion(one, other), CGRectMake(0, 0, 15, 16));
  EXPECT_EQ(CGRectUnion(CGRectNull, other), other);
  EXPECT_EQ(CGRectUnion(one, CGRectNull), one);
  EXPECT_TRUE(CGRectIntersectsRect(one, other));
  EXPECT_FALSE(CGRectIntersectsRect(one, CGRectMake(10, 0, 5, 5)));
  EXPECT_FALSE(CGRectIntersectsRect(one, far));
}

TEST(CGGeometry, Contains) {
  const CGRect rect = CGRectMake(0, 0, 10, 10);
  EXPECT_TRUE(CGRectContainsPoint(rect, CGPointMake(0, 0)));
  EXPECT_FALSE(CGRectContainsPoint(rect, CGPointMake(10, 5)));
  EXPECT_FALSE(CGRectContainsPoint(CGRectNull, CGPointMake(0, 0)));
  EXPECT_TRUE(CGRectContainsRect(rect, CGRectMake(2, 2, 8, 8)));
  EXPECT_FALSE(CGRectContainsRect(rect, CGRectMake(2, 2, 9, 8)));
}

TEST(CGAffineTransform, AppliesTheNewStepFirst) {
  CGAffineTransform transform = CGAffineTransformMakeTranslation(10, 20);
  transform = CGAffineTransformScale(transform, 2, 3);
  const CGPoint point = CGPointApplyAffineTransform(CGPointMake(1, 1), transform);
  EXPECT_EQ(point.x, 12);
  EXPECT_EQ(point.y, 23);
  const CGAffineTransform other =
      CGAffineTransformConcat(CGAffineTransformMakeTranslation(1, 1), transform);
  EXPECT_TRUE(
      CGAffineTransformEqualToTransform(other, CGAffineTransformTranslate(transform, 1, 1)));
  EXPECT_EQ(CGSizeApplyAffineTransform(CGSizeMake(2, 2), transform).height, 6);
}

TEST(CGAffineTransform, RotatesFromXTowardsY) {
  const CGAffineTransform quarter = CGAffineTransformRotate(CGAffineTransformIdentity, M_PI_2);
  const CGPoint point = CGPointApplyAffineTransform(CGPointMake(1, 0), quarter);
  EXPECT_NEAR(point.x, 0, 1e-15);
  EXPECT_NEAR(point.y, 1, 1e-15);
  const CGRect box = CGRectApplyAffineTransform(CGRectMake(1, 1, 2, 4), quarter);
  EXPECT_NEAR(box.origin.x, -5, 1e-12);
  EXPECT_NEAR(box.origin.y, 1, 1e-12);
  EXPECT_NEAR(box.size.width, 4, 1e-12);
  EXPECT_NEAR(box.size.height, 2, 1e-12);
  EXPECT_TRUE(CGRectIsNull(CGRectApplyAffineTransform(CGRectNull, quarter)));
}

TEST(CGAffineTransform, InvertsWhatHasAnInverse) {
  const CGAffineTransform transform = CGAffineTransformMake(2, 1, -1, 3, 7, -9);
  const CGAffineTransform both =
      CGAffineTransformConcat(transform, CGAffineTransformInvert(transform));
  EXPECT_NEAR(both.a, 1, 1e-12);
  EXPECT_NEAR(both.b, 0, 1e-12);
  EXPECT_NEAR(both.c, 0, 1e-12);
  EXPECT_NEAR(both.d, 1, 1e-12);
  EXPECT_NEAR(both.tx, 0, 1e-12);
  EXPECT_NEAR(both.ty, 0, 1e-12);
  const CGAffineTransform flat = CGAffineTransformMakeScale(0, 2);
  EXPECT_TRUE(CGAffineTransformEqualToTransform(CGAffineTransformInvert(flat), flat));
  EXPECT_TRUE(CGAffineTransformIsIdentity(CGAffineTransformIdentity));
  EXPECT_FALSE(CGAffineTransformIsIdentity(flat));
}

} // namespace
