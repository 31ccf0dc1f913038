// The messages that the activity alert sends to the platform, in order, and who owns what after
// them.

#import <Foundation/NSFoundationVersionNumber.h>
#import <veltro/ZLTActivityAlertView.h>

#include <cmath>
#include <gmock/gmock.h>
#include <objc/runtime.h>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> messages;
UIActivityIndicatorView *spinner = nil;
UIView *accessory = nil;
bool init_fails = false;

using Init = id (*)(id, SEL, CGRect);
using Add = void (*)(id, SEL, UIView *);
using Style = void (*)(id, SEL, NSInteger);
using Start = void (*)(id, SEL);
using Responds = BOOL (*)(id, SEL, SEL);

Init init_view;
Init init_spinner;
Init init_alert;
Add add_subview;
Style set_style;
Start start_animating;
Responds responds;

template <typename Function>
void swap(Class owner, const char *selector, Function replacement, Function &original) {
  Method const method = class_getInstanceMethod(owner, sel_registerName(selector));
  original = reinterpret_cast<Function>(reinterpret_cast<void *>(method_setImplementation(
      method, reinterpret_cast<IMP>(reinterpret_cast<void *>(replacement)))));
}

std::string text_of(CGRect rect) {
  std::string text;
  for (const CGFloat number : {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height})
    text += " " + std::to_string(std::lround(number));
  return text;
}

id recorded_init_view(id self, SEL selector, CGRect frame) {
  if ([self class] == [UIView class])
    messages.push_back("container" + text_of(frame));
  return init_view(self, selector, frame);
}

id recorded_init_spinner(id self, SEL selector, CGRect frame) {
  messages.push_back("spinner" + text_of(frame));
  return spinner = init_spinner(self, selector, frame);
}

id recorded_init_alert(id self, SEL selector, CGRect frame) {
  messages.push_back("super" + text_of(frame));
  if (!init_fails)
    return init_alert(self, selector, frame);
  [self release];
  return nil;
}

void recorded_add(id self, SEL selector, UIView *view) {
  messages.push_back(std::string(class_getName([self class])) +
                     " addSubview: " + class_getName([view class]));
  add_subview(self, selector, view);
}

void recorded_style(id self, SEL selector, NSInteger style) {
  messages.push_back("style " + std::to_string(style));
  set_style(self, selector, style);
}

void recorded_start(id self, SEL selector) {
  messages.emplace_back("start");
  start_animating(self, selector);
}

BOOL recorded_responds(id self, SEL selector, SEL asked) {
  messages.push_back(std::string("responds to ") + sel_getName(asked));
  return responds(self, selector, asked);
}

void kept_accessory(id /*self*/, SEL /*selector*/, UIView *view) {
  messages.push_back(std::string("accessory ") + class_getName([view class]));
  accessory = [view retain];
}

class ActivityAlertContract : public testing::Test {
protected:
  // Once for the whole program: a class that was used keeps what its superclass had then.
  static void SetUpTestSuite() {
    swap([UIView class], "initWithFrame:", &recorded_init_view, init_view);
    swap([UIActivityIndicatorView class], "initWithFrame:", &recorded_init_spinner, init_spinner);
    swap([UIAlertView class], "initWithFrame:", &recorded_init_alert, init_alert);
    swap([UIView class], "addSubview:", &recorded_add, add_subview);
    swap([UIActivityIndicatorView class], "setActivityIndicatorViewStyle:", &recorded_style,
         set_style);
    swap([UIActivityIndicatorView class], "startAnimating", &recorded_start, start_animating);
    swap([UIAlertView class], "respondsToSelector:", &recorded_responds, responds);
    Add original = nullptr;
    swap([UIAlertView class], "_setAccessoryView:", &kept_accessory, original);
  }
  ~ActivityAlertContract() override { [accessory release]; }

  ActivityAlertContract() {
    messages.clear();
    spinner = nil;
    accessory = nil;
    init_fails = false;
  }

  /// The caller owns it.
  static ZLTActivityAlertView *create_alert(double foundation_version) {
    NSFoundationVersionNumber = foundation_version;
    ZLTActivityAlertView *alert = nil;
    @autoreleasepool {
      alert = [[ZLTActivityAlertView alloc] initWithFrame:CGRectMake(1, 2, 280, 140)];
    }
    return alert;
  }
};

TEST_F(ActivityAlertContract, AddsASubviewUpToIOS6) {
  ZLTActivityAlertView *const alert = create_alert(993.0);
  EXPECT_THAT(messages,
              ElementsAre("super 1 2 280 140", "spinner 125 85 30 30",
                          "ZLTActivityAlertView addSubview: UIActivityIndicatorView", "style 0"));
  EXPECT_EQ([spinner retainCount], 1U);
  [alert release];
}

TEST_F(ActivityAlertContract, HandsTheSpinnerOverUpToIOS7_1) {
  ZLTActivityAlertView *const alert = create_alert(1047.25);
  EXPECT_THAT(messages, ElementsAre("super 1 2 280 140",
                                    "responds to _setAccessoryView:", "spinner 125 100 30 30",
                                    "accessory UIActivityIndicatorView", "style 2", "start"));
  EXPECT_EQ([accessory retainCount], 1U);
  [alert release];
}

TEST_F(ActivityAlertContract, HandsAContainerOverAfterIOS7_1) {
  ZLTActivityAlertView *const alert = create_alert(1280.25);
  EXPECT_THAT(messages, ElementsAre("super 1 2 280 140", "responds to _setAccessoryView:",
                                    "container 0 0 250 50", "spinner 125 0 30 30",
                                    "UIView addSubview: UIActivityIndicatorView",
                                    "accessory UIView", "style 2", "start"));
  EXPECT_EQ([accessory retainCount], 1U);
  EXPECT_EQ([spinner retainCount], 1U);
  [alert release];
}

TEST_F(ActivityAlertContract, BuildsNothingWhereTheSuperclassReturnsNil) {
  for (const double version : {993.0, 1047.25, 1280.25}) {
    init_fails = true;
    messages.clear();
    EXPECT_EQ(create_alert(version), nil);
    EXPECT_THAT(messages, ElementsAre("super 1 2 280 140"));
  }
}

TEST_F(ActivityAlertContract, ClosesWithNothingElse) {
  ZLTActivityAlertView *const alert = create_alert(1280.25);
  messages.clear();
  [alert close];
  EXPECT_THAT(messages, IsEmpty());
  EXPECT_TRUE([spinner isAnimating]);
  [alert release];
}

} // namespace
