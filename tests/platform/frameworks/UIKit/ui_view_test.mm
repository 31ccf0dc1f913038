#import <QuartzCore/QuartzCore.h>
#import <UIKit/UIKit.h>

#include <gtest/gtest.h>

@interface CountedView : UIView {
@public
  int *deaths;
}
@end

@implementation CountedView
- (void)dealloc {
  ++*deaths;
  [super dealloc];
}
@end

namespace {

UIView *view_of(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  return [[[UIView alloc] initWithFrame:CGRectMake(x, y, width, height)] autorelease];
}

void expect_rect(CGRect rect, CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  EXPECT_EQ(rect.origin.x, x);
  EXPECT_EQ(rect.origin.y, y);
  EXPECT_EQ(rect.size.width, width);
  EXPECT_EQ(rect.size.height, height);
}

TEST(View, StartsPlain) {
  UIView *const view = [[[UIView alloc] init] autorelease];
  expect_rect([view frame], 0, 0, 0, 0);
  EXPECT_EQ([view alpha], 1);
  EXPECT_FALSE([view isHidden]);
  EXPECT_FALSE([view clipsToBounds]);
  EXPECT_EQ([view backgroundColor], nil);
  EXPECT_EQ([view superview], nil);
  EXPECT_EQ([[view subviews] count], 0U);
  EXPECT_EQ([view tag], 0);
  EXPECT_EQ([view autoresizingMask], UIViewAutoresizingNone);
  ASSERT_NE([view layer], nil);
  EXPECT_EQ([[view layer] delegate], view);
  EXPECT_EQ([[view layer] cornerRadius], 0);
}

TEST(View, KeepsFrameBoundsAndCenterTogether) {
  UIView *const view = view_of(10, 20, 100, 50);
  expect_rect([view bounds], 0, 0, 100, 50);
  EXPECT_EQ([view center].x, 60);
  EXPECT_EQ([view center].y, 45);

  [view setCenter:CGPointMake(50, 25)];
  expect_rect([view frame], 0, 0, 100, 50);

  // About its centre.
  [view setBounds:CGRectMake(5, 6, 60, 30)];
  expect_rect([view bounds], 5, 6, 60, 30);
  expect_rect([view frame], 20, 10, 60, 30);

  [view setFrame:CGRectMake(1, 2, 3, 4)];
  expect_rect([view bounds], 5, 6, 3, 4);
}

TEST(View, MakesFramesPositive) {
  expect_rect([view_of(10, 10, -4, -6) frame], 6, 4, 4, 6);
  UIView *const view = view_of(0, 0, 1, 1);
  [view setFrame:CGRectMake(10, 10, -4, -6)];
  expect_rect([view frame], 6, 4, 4, 6);
}

class ViewTree : public testing::Test {
protected:
  ViewTree() {
    for (UIView *view : {first, second, third})
      [root addSubview:view];
  }

  void expect_order(UIView *one, UIView *two, UIView *three) {
    NSArray *const expected = [NSArray arrayWithObjects:one, two, three, nil];
    EXPECT_TRUE([[root subviews] isEqual:expected]);
  }

  UIView *const root = view_of(0, 0, 100, 100);
  UIView *const first = view_of(0, 0, 1, 1);
  UIView *const second = view_of(0, 0, 2, 2);
  UIView *const third = view_of(0, 0, 3, 3);
};

TEST_F(ViewTree, AddsInFront) {
  expect_order(first, second, third);
  EXPECT_EQ([first superview], root);
}

TEST_F(ViewTree, AddsAgainInFrontOfItsSiblings) {
  [root addSubview:first];
  expect_order(second, third, first);
}

TEST_F(ViewTree, InsertsWhereToldAndWithinTheRange) {
  [root insertSubview:third atIndex:0];
  expect_order(third, first, second);
  [root insertSubview:third atIndex:99];
  expect_order(first, second, third);
  [root insertSubview:third atIndex:-1];
  expect_order(third, first, second);
  [root insertSubview:second atIndex:1];
  expect_order(third, second, first);
}

TEST_F(ViewTree, BringsAndSends) {
  [root bringSubviewToFront:second];
  expect_order(first, third, second);
  [root sendSubviewToBack:second];
  expect_order(second, first, third);
  UIView *const stranger = view_of(0, 0, 1, 1);
  [root bringSubviewToFront:stranger];
  [root sendSubviewToBack:stranger];
  expect_order(second, first, third);
}

TEST_F(ViewTree, MovesAViewFromItsFormerParent) {
  [second addSubview:first];
  EXPECT_EQ([first superview], second);
  EXPECT_EQ([[root subviews] count], 2U);
}

TEST_F(ViewTree, RemovesAView) {
  [second removeFromSuperview];
  EXPECT_EQ([second superview], nil);
  EXPECT_EQ([[root subviews] count], 2U);
  [second removeFromSuperview];
  EXPECT_EQ([[root subviews] count], 2U);
}

TEST_F(ViewTree, TakesNeitherNilNorItselfNorItsParents) {
  [root addSubview:nil];
  [root addSubview:root];
  [first addSubview:root];
  expect_order(first, second, third);
  EXPECT_EQ([root superview], nil);
  EXPECT_EQ([[first subviews] count], 0U);
}

TEST_F(ViewTree, KnowsDescendants) {
  [first addSubview:second];
  EXPECT_TRUE([second isDescendantOfView:root]);
  EXPECT_TRUE([second isDescendantOfView:first]);
  EXPECT_TRUE([second isDescendantOfView:second]);
  EXPECT_FALSE([second isDescendantOfView:third]);
  EXPECT_FALSE([root isDescendantOfView:second]);
}

TEST_F(ViewTree, FindsTags) {
  UIView *const deep = view_of(0, 0, 1, 1);
  [deep setTag:7];
  [second addSubview:deep];
  [third setTag:7];
  EXPECT_EQ([root viewWithTag:7], deep);
  EXPECT_EQ([third viewWithTag:7], third);
  EXPECT_EQ([root viewWithTag:8], nil);
  EXPECT_EQ([root viewWithTag:0], root);
}

TEST(View, ReturnsACopyOfItsSubviews) {
  UIView *const root = view_of(0, 0, 1, 1);
  NSArray *const before = [root subviews];
  [root addSubview:view_of(0, 0, 1, 1)];
  EXPECT_EQ([before count], 0U);
}

TEST(View, OwnsItsSubviewsAndLetsThemGo) {
  int deaths = 0;
  UIView *const root = [[UIView alloc] initWithFrame:CGRectZero];
  CountedView *const kept = [[CountedView alloc] initWithFrame:CGRectZero];
  CountedView *const owned = [[CountedView alloc] initWithFrame:CGRectZero];
  kept->deaths = &deaths;
  owned->deaths = &deaths;
  [root addSubview:kept];
  [root addSubview:owned];
  [owned release];
  EXPECT_EQ(deaths, 0);
  [root release];
  EXPECT_EQ(deaths, 1);
  EXPECT_EQ([kept superview], nil);
  [kept release];
  EXPECT_EQ(deaths, 2);
}

TEST(View, ClipsByItsLayer) {
  UIView *const view = view_of(0, 0, 1, 1);
  [view setClipsToBounds:YES];
  EXPECT_TRUE([[view layer] masksToBounds]);
  [[view layer] setMasksToBounds:NO];
  EXPECT_FALSE([view clipsToBounds]);
}

TEST(View, RedrawsWithoutBeingAsked) {
  UIView *const view = view_of(0, 0, 1, 1);
  [view setNeedsDisplay];
  [view setNeedsLayout];
  [view layoutIfNeeded];
  expect_rect([view frame], 0, 0, 1, 1);
}

} // namespace
