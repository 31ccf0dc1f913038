#include "support/view_picture.hpp"

#import <VeltroHost/VHTouches.h>

#include <cstdlib>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace {

std::vector<std::string> &calls() {
  static std::vector<std::string> list;
  return list;
}

} // namespace

@interface AlertListener : NSObject <UIAlertViewDelegate>
@end

@implementation AlertListener
- (void)alertView:(UIAlertView *)alert clickedButtonAtIndex:(NSInteger)index {
  calls().push_back(([alert isVisible] ? "clicked " : "clicked unseen ") + std::to_string(index));
}
- (void)willPresentAlertView:(UIAlertView *)alert {
  calls().push_back([alert isVisible] ? "will present visible" : "will present");
}
- (void)didPresentAlertView:(UIAlertView *)alert {
  calls().push_back([alert isVisible] ? "did present" : "did present unseen");
}
- (void)alertView:(UIAlertView *)alert willDismissWithButtonIndex:(NSInteger)index {
  calls().push_back(([alert isVisible] ? "will dismiss " : "will dismiss unseen ") +
                    std::to_string(index));
}
- (void)alertView:(UIAlertView *)alert didDismissWithButtonIndex:(NSInteger)index {
  calls().push_back(([alert isVisible] ? "did dismiss visible " : "did dismiss ") +
                    std::to_string(index));
}
@end

/// Dismisses the alert again when it hears of its dismissal.
@interface EagerListener : AlertListener
@end

@implementation EagerListener
- (void)alertView:(UIAlertView *)alert willDismissWithButtonIndex:(NSInteger)index {
  [super alertView:alert willDismissWithButtonIndex:index];
  ASSERT_LT(calls().size(), 10U);
  [alert dismissWithClickedButtonIndex:index + 1 animated:NO];
}
@end

@interface UIAlertView (AccessoryView)
- (void)_setAccessoryView:(UIView *)view;
@end

namespace {

using testing::ElementsAre;
using veltro::test::Picture;
using veltro::test::picture_of;

class Alert : public testing::Test {
protected:
  Alert() { calls().clear(); }
  ~Alert() override { unsetenv("VELTRO_SYSTEM_VERSION"); }

  static UIAlertView *alert() {
    return [[[UIAlertView alloc] initWithTitle:@"Title"
                                       message:@"A message"
                                      delegate:nil
                             cancelButtonTitle:nil
                             otherButtonTitles:nil] autorelease];
  }

  /// The text of each label of the alert, from back to front.
  static std::vector<std::string> texts(UIAlertView *alert) {
    std::vector<std::string> list;
    for (UIView *view in [alert subviews])
      if ([view isKindOfClass:[UILabel class]])
        list.emplace_back([[(UILabel *)view text] UTF8String]);
    return list;
  }
};

TEST_F(Alert, TakesItsContents) {
  AlertListener *const listener = [[[AlertListener alloc] init] autorelease];
  UIAlertView *const view = [[[UIAlertView alloc] initWithTitle:@"Title"
                                                        message:@"Message"
                                                       delegate:listener
                                              cancelButtonTitle:@"Cancel"
                                              otherButtonTitles:@"One", @"Two", nil] autorelease];
  EXPECT_STREQ([[view title] UTF8String], "Title");
  EXPECT_STREQ([[view message] UTF8String], "Message");
  EXPECT_EQ([view delegate], listener);
  EXPECT_EQ([view cancelButtonIndex], 0);
  EXPECT_EQ([view numberOfButtons], 3);
  EXPECT_STREQ([[view buttonTitleAtIndex:0] UTF8String], "Cancel");
  EXPECT_STREQ([[view buttonTitleAtIndex:2] UTF8String], "Two");
  EXPECT_EQ([view buttonTitleAtIndex:3], nil);
  EXPECT_EQ([view buttonTitleAtIndex:-1], nil);
  EXPECT_FALSE([view isVisible]);
}

TEST_F(Alert, MayBeEmpty) {
  UIAlertView *const view = [[[UIAlertView alloc] init] autorelease];
  EXPECT_EQ([view title], nil);
  EXPECT_EQ([view numberOfButtons], 0);
  EXPECT_EQ([view cancelButtonIndex], -1);
  EXPECT_EQ([view addButtonWithTitle:@"First"], 0);
  EXPECT_EQ([view addButtonWithTitle:@"Second"], 1);
  [view show];
  EXPECT_THAT(texts(view), ElementsAre("First", "Second"));
  [view dismissWithClickedButtonIndex:0 animated:NO];
}

TEST_F(Alert, MayHaveAButtonWithoutTitle) {
  UIAlertView *const view = [[[UIAlertView alloc] init] autorelease];
  EXPECT_EQ([view addButtonWithTitle:nil], 0);
  EXPECT_EQ([view addButtonWithTitle:@"Second"], 1);
  EXPECT_EQ([view numberOfButtons], 2);
  EXPECT_STREQ([[view buttonTitleAtIndex:0] UTF8String], "");
  [view show];
  [view dismissWithClickedButtonIndex:0 animated:NO];
}

TEST_F(Alert, HasNoButtonsAfterTheNilThatEndsThem) {
  EXPECT_EQ([alert() numberOfButtons], 0);
  EXPECT_EQ([alert() cancelButtonIndex], -1);
}

TEST_F(Alert, TellsItsDelegate) {
  AlertListener *const listener = [[[AlertListener alloc] init] autorelease];
  UIAlertView *const view = alert();
  [view setDelegate:listener];
  [view show];
  [view show];
  EXPECT_THAT(calls(), ElementsAre("will present", "did present"));
  calls().clear();
  [view dismissWithClickedButtonIndex:2 animated:YES];
  [view dismissWithClickedButtonIndex:2 animated:YES];
  EXPECT_THAT(calls(), ElementsAre("will dismiss 2", "did dismiss 2"));
}

TEST_F(Alert, IsDismissedOnceWhateverItsDelegateDoesMeanwhile) {
  EagerListener *const listener = [[[EagerListener alloc] init] autorelease];
  UIAlertView *const view = alert();
  [view setDelegate:listener];
  for (int round = 0; round < 2; ++round) {
    [view show];
    calls().clear();
    [view dismissWithClickedButtonIndex:0 animated:YES];
    EXPECT_THAT(calls(), ElementsAre("will dismiss 0", "did dismiss 0"));
  }
}

CGPoint middle_of(UIView *view) {
  return [view center];
}

TEST_F(Alert, IsDismissedByATapOnAButton) {
  AlertListener *const listener = [[[AlertListener alloc] init] autorelease];
  UIAlertView *const view = alert();
  [view setDelegate:listener];
  for (NSString *title in @[ @"One", @"Two", @"Three" ])
    [view addButtonWithTitle:title];
  [view show];
  NSArray *const parts = [view subviews];
  UILabel *const title = [parts objectAtIndex:0];
  UILabel *const second = [parts objectAtIndex:3];
  ASSERT_STREQ([[second text] UTF8String], "Two");
  calls().clear();
  EXPECT_FALSE(VHTap(view, middle_of(title)));
  EXPECT_FALSE(VHTap(view, CGPointMake(-1, middle_of(second).y)));
  EXPECT_TRUE([view isVisible]);
  EXPECT_THAT(calls(), ElementsAre());
  EXPECT_TRUE(VHTap(view, middle_of(second)));
  EXPECT_THAT(calls(), ElementsAre("clicked 1", "will dismiss 1", "did dismiss 1"));
  EXPECT_FALSE([view isVisible]);
  EXPECT_FALSE(VHTap(view, middle_of(second)));
  EXPECT_EQ(calls().size(), 3U);
}

TEST_F(Alert, IsTappedOnWithoutAnybodyListening) {
  UIAlertView *const view = alert();
  [view addButtonWithTitle:@"OK"];
  [view setDelegate:@"not a listener"];
  [view show];
  EXPECT_TRUE(VHTap(view, middle_of([[view subviews] lastObject])));
  EXPECT_FALSE([view isVisible]);
  EXPECT_FALSE(VHTap(nil, CGPointZero));
  EXPECT_FALSE(VHTap([[[UIView alloc] init] autorelease], CGPointZero));
}

TEST_F(Alert, AsksADelegateForNothingThatItLacks) {
  UIAlertView *const view = alert();
  [view setDelegate:@"not a listener"];
  [view show];
  EXPECT_TRUE([view isVisible]);
  [view dismissWithClickedButtonIndex:0 animated:NO];
  EXPECT_FALSE([view isVisible]);
}

TEST_F(Alert, StaysWhileItShows) {
  UIAlertView *view = nil;
  @autoreleasepool {
    view = alert();
    [view show];
  }
  EXPECT_EQ([view retainCount], 1U);
  [view dismissWithClickedButtonIndex:0 animated:NO];
}

TEST_F(Alert, ShowsEverythingOnceHoweverOften) {
  UIAlertView *const view = alert();
  [view addButtonWithTitle:@"OK"];
  for (int time = 0; time < 2; ++time) {
    [view show];
    EXPECT_THAT(texts(view), ElementsAre("Title", "A message", "OK"));
    [view dismissWithClickedButtonIndex:0 animated:NO];
  }
  [view setTitle:@"Another"];
  [view show];
  EXPECT_THAT(texts(view), ElementsAre("Another", "A message", "OK"));
  [view dismissWithClickedButtonIndex:0 animated:NO];
}

TEST_F(Alert, HasAnAccessoryViewFromTheReleaseOnThatIntroducedIt) {
  for (const auto &[release, expected] :
       {std::pair{"6.1", NO}, {"7.0", YES}, {"7.1", YES}, {"9.3.5", YES}}) {
    setenv("VELTRO_SYSTEM_VERSION", release, 1);
    EXPECT_EQ([alert() respondsToSelector:@selector(_setAccessoryView:)], expected) << release;
    EXPECT_TRUE([alert() respondsToSelector:@selector(show)]);
  }
}

TEST_F(Alert, ReplacesItsAccessoryView) {
  UIAlertView *const view = alert();
  UIView *const one = [[[UIView alloc] initWithFrame:CGRectMake(0, 0, 10, 40)] autorelease];
  UIView *const other = [[[UIView alloc] initWithFrame:CGRectMake(30, 0, 10, 60)] autorelease];
  [view _setAccessoryView:one];
  EXPECT_EQ([one superview], view);
  [view _setAccessoryView:other];
  EXPECT_EQ([one superview], nil);
  EXPECT_EQ([other superview], view);
  [view show];
  EXPECT_EQ([other frame].origin.x, 30);
  for (UIView *label in [view subviews])
    if (label != other)
      EXPECT_GE([other frame].origin.y, CGRectGetMaxY([label frame]));
  EXPECT_GE([view bounds].size.height, CGRectGetMaxY([other frame]));
  [view dismissWithClickedButtonIndex:0 animated:NO];
  [view _setAccessoryView:nil];
  EXPECT_EQ([other superview], nil);
}

TEST_F(Alert, CentersAnAccessoryViewWithoutAnX) {
  UIAlertView *const view = alert();
  UIView *const slot = [[[UIView alloc] initWithFrame:CGRectMake(0, 0, 250, 50)] autorelease];
  [view _setAccessoryView:slot];
  [view show];
  EXPECT_EQ(CGRectGetMidX([slot frame]), CGRectGetMidX([view bounds]));
  [view dismissWithClickedButtonIndex:0 animated:NO];
}

TEST_F(Alert, GrowsAroundAPlainSubview) {
  UIAlertView *const view = alert();
  UIView *const added = [[[UIView alloc] initWithFrame:CGRectMake(5, 200, 10, 10)] autorelease];
  [view addSubview:added];
  [view show];
  EXPECT_EQ([added frame].origin.y, 200);
  EXPECT_GE([view bounds].size.height, 210);
  [view dismissWithClickedButtonIndex:0 animated:NO];
}

TEST_F(Alert, StandsInTheMiddleOfTheScreen) {
  UIAlertView *const view = alert();
  [view show];
  const CGRect screen = [[UIScreen mainScreen] bounds];
  EXPECT_EQ([view center].x, CGRectGetMidX(screen));
  EXPECT_EQ([view center].y, CGRectGetMidY(screen));
  [view dismissWithClickedButtonIndex:0 animated:NO];
}

CGRect button_frame(UIAlertView *alert, NSUInteger from_end) {
  NSArray *const views = [alert subviews];
  return [[views objectAtIndex:[views count] - 1 - from_end] frame];
}

TEST_F(Alert, PutsTwoButtonsBesideEachOtherAndMoreBelow) {
  UIAlertView *const view = alert();
  [view addButtonWithTitle:@"1"];
  [view addButtonWithTitle:@"2"];
  [view show];
  EXPECT_EQ(button_frame(view, 0).origin.y, button_frame(view, 1).origin.y);
  EXPECT_EQ(button_frame(view, 0).origin.x, CGRectGetMaxX(button_frame(view, 1)));
  [view dismissWithClickedButtonIndex:0 animated:NO];
  [view addButtonWithTitle:@"3"];
  [view show];
  EXPECT_EQ(button_frame(view, 0).origin.y, CGRectGetMaxY(button_frame(view, 1)));
  EXPECT_EQ(CGRectGetMaxY(button_frame(view, 0)), [view bounds].size.height);
  [view dismissWithClickedButtonIndex:0 animated:NO];
}

TEST_F(Alert, WritesTheCancelButtonBold) {
  UIAlertView *const view = [[[UIAlertView alloc] initWithTitle:nil
                                                        message:nil
                                                       delegate:nil
                                              cancelButtonTitle:@"No"
                                              otherButtonTitles:@"Yes", nil] autorelease];
  [view show];
  UILabel *const cancel = [[view subviews] objectAtIndex:0];
  UILabel *const other = [[view subviews] objectAtIndex:1];
  EXPECT_TRUE([[cancel font] isEqual:[UIFont boldSystemFontOfSize:17]]);
  EXPECT_TRUE([[other font] isEqual:[UIFont systemFontOfSize:17]]);
  [view dismissWithClickedButtonIndex:0 animated:NO];
}

TEST_F(Alert, IsLightFromIOS7OnAndDarkBefore) {
  UIAlertView *const light = alert();
  [light show];
  const Picture light_picture = picture_of(light);
  EXPECT_GT(light_picture.at(10, 10).green, 230);
  EXPECT_EQ(light_picture.at(0, 0).alpha, 0);
  [light dismissWithClickedButtonIndex:0 animated:NO];

  setenv("VELTRO_SYSTEM_VERSION", "6.1", 1);
  UIAlertView *const dark = alert();
  [dark show];
  const Picture dark_picture = picture_of(dark);
  EXPECT_LT(dark_picture.at(10, 50).red, 40);
  EXPECT_GT(dark_picture.at(10, 50).blue, 60);
  EXPECT_GT(dark_picture.width, light_picture.width);
  [dark dismissWithClickedButtonIndex:0 animated:NO];
}

} // namespace
