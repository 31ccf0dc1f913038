#import <Foundation/NSFoundationVersionNumber.h>
#import <veltro/ZLTActivityAlertView.h>

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <objc/runtime.h>
#include <string>

namespace {

UIView *accessory = nil;
NSInteger dismissed_index = -1;
int dismissals = 0;
BOOL dismissed_animated = NO;

template <typename Function> void replace(const char *selector, Function replacement) {
  method_setImplementation(class_getInstanceMethod([UIAlertView class], sel_registerName(selector)),
                           reinterpret_cast<IMP>(reinterpret_cast<void *>(replacement)));
}

void keep_accessory(id /*self*/, SEL /*selector*/, UIView *view) {
  accessory = [[view retain] autorelease];
}

void keep_dismissal(id /*self*/, SEL /*selector*/, NSInteger index, BOOL animated) {
  ++dismissals;
  dismissed_index = index;
  dismissed_animated = animated;
}

ZLTActivityAlertView *alert_on(double foundation_version) {
  NSFoundationVersionNumber = foundation_version;
  accessory = nil;
  replace("_setAccessoryView:", &keep_accessory);
  return [[[ZLTActivityAlertView alloc] initWithFrame:CGRectMake(0, 0, 280, 140)] autorelease];
}

void expect_rect(CGRect rect, CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  EXPECT_EQ(rect.origin.x, x);
  EXPECT_EQ(rect.origin.y, y);
  EXPECT_EQ(rect.size.width, width);
  EXPECT_EQ(rect.size.height, height);
}

void expect_subview_layout(double foundation_version) {
  ZLTActivityAlertView *const alert = alert_on(foundation_version);
  ASSERT_EQ([[alert subviews] count], 1U);
  UIActivityIndicatorView *const spinner = [[alert subviews] objectAtIndex:0];
  expect_rect([spinner frame], 125, 85, 30, 30);
  EXPECT_EQ([spinner activityIndicatorViewStyle], UIActivityIndicatorViewStyleWhiteLarge);
  EXPECT_FALSE([spinner isAnimating]);
  EXPECT_TRUE([spinner isHidden]);
  EXPECT_EQ(accessory, nil);
}

TEST(ActivityAlert, HasAStillSpinnerAsSubviewUpToIOS6) {
  expect_subview_layout(993.0);
  expect_subview_layout(992.0);
  expect_subview_layout(std::nan(""));
}

void expect_accessory_layout(double foundation_version) {
  ZLTActivityAlertView *const alert = alert_on(foundation_version);
  EXPECT_EQ([[alert subviews] count], 0U);
  ASSERT_TRUE([accessory isKindOfClass:[UIActivityIndicatorView class]]);
  auto *const spinner = (UIActivityIndicatorView *)accessory;
  expect_rect([spinner frame], 125, 100, 30, 30);
  EXPECT_EQ([spinner activityIndicatorViewStyle], UIActivityIndicatorViewStyleGray);
  EXPECT_TRUE([spinner isAnimating]);
}

TEST(ActivityAlert, HasTheSpinnerAsAccessoryViewUpToIOS7_1) {
  expect_accessory_layout(993.01);
  expect_accessory_layout(1047.25);
}

TEST(ActivityAlert, HasTheSpinnerInAContainerAfterIOS7_1) {
  ZLTActivityAlertView *const alert = alert_on(1047.26);
  EXPECT_EQ([[alert subviews] count], 0U);
  ASSERT_NE(accessory, nil);
  EXPECT_EQ([accessory class], [UIView class]);
  expect_rect([accessory frame], 0, 0, 250, 50);
  ASSERT_EQ([[accessory subviews] count], 1U);
  UIActivityIndicatorView *const spinner = [[accessory subviews] objectAtIndex:0];
  expect_rect([spinner frame], 125, 0, 30, 30);
  EXPECT_EQ([spinner activityIndicatorViewStyle], UIActivityIndicatorViewStyleGray);
  EXPECT_TRUE([spinner isAnimating]);
}

TEST(ActivityAlert, HasNoSpinnerWhereThereIsNoAccessoryView) {
  setenv("VELTRO_SYSTEM_VERSION", "6.1", 1);
  for (const double version : {993.01, 1047.25, 1047.26}) {
    ZLTActivityAlertView *const alert = alert_on(version);
    ASSERT_NE(alert, nil);
    EXPECT_EQ([[alert subviews] count], 0U);
    EXPECT_EQ(accessory, nil);
  }
}

TEST(ActivityAlert, ClosesAsIfButton0HadBeenClicked) {
  ZLTActivityAlertView *const alert = alert_on(1280.25);
  replace("dismissWithClickedButtonIndex:animated:", &keep_dismissal);
  dismissals = 0;
  [alert close];
  EXPECT_EQ(dismissals, 1);
  EXPECT_EQ(dismissed_index, 0);
  EXPECT_TRUE(dismissed_animated);
}

TEST(ActivityAlert, TakesItsContentsFromTheCaller) {
  NSFoundationVersionNumber = 1280.25;
  ZLTActivityAlertView *const alert =
      [[[ZLTActivityAlertView alloc] initWithTitle:@"Sending"
                                           message:@"One moment"
                                          delegate:nil
                                 cancelButtonTitle:@"Cancel"
                                 otherButtonTitles:@"Retry", nil] autorelease];
  EXPECT_STREQ([[alert title] UTF8String], "Sending");
  EXPECT_EQ([alert numberOfButtons], 2);
  EXPECT_STREQ([[alert buttonTitleAtIndex:1] UTF8String], "Retry");
}

TEST(ActivityAlert, ReturnsNilWhereTheSuperclassDoes) {
  id (*const nothing)(id, SEL, CGRect) = [](id self, SEL, CGRect) -> id {
    [self release];
    return nil;
  };
  replace("initWithFrame:", nothing);
  EXPECT_EQ([[ZLTActivityAlertView alloc] initWithFrame:CGRectZero], nil);
}

} // namespace
