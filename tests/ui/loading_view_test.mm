#import <QuartzCore/QuartzCore.h>
#import <veltro/ZLTLoadingView.h>

#include <gtest/gtest.h>

namespace {

ZLTLoadingView *view_of(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  return [[[ZLTLoadingView alloc] initWithFrame:CGRectMake(x, y, width, height)] autorelease];
}

UIActivityIndicatorView *spinner_of(UIView *view) {
  return [[view subviews] objectAtIndex:0];
}

UILabel *label_of(UIView *view) {
  return [[view subviews] objectAtIndex:1];
}

void expect_rect(CGRect rect, CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  EXPECT_EQ(rect.origin.x, x);
  EXPECT_EQ(rect.origin.y, y);
  EXPECT_EQ(rect.size.width, width);
  EXPECT_EQ(rect.size.height, height);
}

TEST(LoadingView, HoldsASpinnerAndThenACaption) {
  ZLTLoadingView *const view = view_of(0, 0, 100, 100);
  ASSERT_EQ([[view subviews] count], 2U);
  EXPECT_TRUE([spinner_of(view) isKindOfClass:[UIActivityIndicatorView class]]);
  EXPECT_TRUE([label_of(view) isKindOfClass:[UILabel class]]);
}

TEST(LoadingView, PlacesThem) {
  ZLTLoadingView *const view = view_of(0, 0, 100, 100);
  expect_rect([spinner_of(view) frame], 38, 28, 24, 24);
  expect_rect([label_of(view) frame], 0, 76, 100, 20);
}

TEST(LoadingView, PlacesThemByTheSizeOnly) {
  ZLTLoadingView *const view = view_of(50, 60, 100, 100);
  expect_rect([view frame], 50, 60, 100, 100);
  expect_rect([spinner_of(view) frame], 38, 28, 24, 24);
  expect_rect([label_of(view) frame], 0, 76, 100, 20);
}

TEST(LoadingView, ClampsNothingInAPanelTooSmall) {
  expect_rect([spinner_of(view_of(0, 0, 40, 30)) frame], 8, -7, 24, 24);
  ZLTLoadingView *const view = view_of(0, 0, 0, 0);
  ASSERT_NE(view, nil);
  expect_rect([spinner_of(view) frame], -12, -22, 24, 24);
  expect_rect([label_of(view) frame], 0, -24, 0, 20);
}

TEST(LoadingView, DoesNotFollowALaterFrame) {
  ZLTLoadingView *const view = view_of(0, 0, 100, 100);
  [view setFrame:CGRectMake(0, 0, 300, 200)];
  [view layoutIfNeeded];
  expect_rect([spinner_of(view) frame], 38, 28, 24, 24);
  expect_rect([label_of(view) frame], 0, 76, 100, 20);
}

TEST(LoadingView, IsATranslucentBlackRoundedPanel) {
  ZLTLoadingView *const view = view_of(0, 0, 100, 100);
  CGFloat white = 1;
  CGFloat alpha = 0;
  ASSERT_TRUE([[view backgroundColor] getWhite:&white alpha:&alpha]);
  EXPECT_EQ(white, 0);
  EXPECT_EQ(alpha, static_cast<CGFloat>(0.8));
  EXPECT_EQ([[view layer] cornerRadius], 5);
  EXPECT_TRUE([[view layer] masksToBounds]);
}

TEST(LoadingView, TurnsAWhiteSpinnerFromTheStart) {
  UIActivityIndicatorView *const spinner = spinner_of(view_of(0, 0, 100, 100));
  EXPECT_EQ([spinner activityIndicatorViewStyle], UIActivityIndicatorViewStyleWhite);
  EXPECT_TRUE([spinner isAnimating]);
  EXPECT_FALSE([spinner isHidden]);
}

TEST(LoadingView, WritesTheCaptionInWhite) {
  UILabel *const label = label_of(view_of(0, 0, 100, 100));
  CGFloat white = 0;
  CGFloat alpha = 0;
  ASSERT_TRUE([[label textColor] getWhite:&white alpha:&alpha]);
  EXPECT_EQ(white, 1);
  EXPECT_EQ(alpha, static_cast<CGFloat>(0.98));
  EXPECT_EQ([label textAlignment], NSTextAlignmentCenter);
  EXPECT_TRUE([[label font] isEqual:[UIFont systemFontOfSize:12]]);
  EXPECT_FALSE([[label font] isEqual:[UIFont boldSystemFontOfSize:12]]);
  EXPECT_EQ([label numberOfLines], 1);
}

TEST(LoadingView, ShowsTheKeyWhereTheHostHasNoTextForIt) {
  EXPECT_STREQ([[label_of(view_of(0, 0, 100, 100)) text] UTF8String], "Loading..");
}

TEST(LoadingView, OwnsItsSubviewsOnlyThroughTheTree) {
  ZLTLoadingView *const view = [[ZLTLoadingView alloc] initWithFrame:CGRectMake(0, 0, 100, 100)];
  UIActivityIndicatorView *spinner = nil;
  @autoreleasepool {
    spinner = [spinner_of(view) retain];
  }
  EXPECT_EQ([spinner superview], view);
  [view release];
  EXPECT_EQ([spinner superview], nil);
  EXPECT_EQ([spinner retainCount], 1U);
  [spinner release];
}

} // namespace
