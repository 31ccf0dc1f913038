// The messages that the loading view sends to the platform, in order.

#import <QuartzCore/QuartzCore.h>
#import <veltro/ZLTLoadingView.h>

#include <gtest/gtest.h>
#include <objc/runtime.h>
#include <string>
#include <vector>

namespace {

std::vector<std::string> messages;

using Setter = void (*)(id, SEL, id);
using Getter = id (*)(id, SEL);
using Localize = NSString *(*)(id, SEL, NSString *, NSString *, NSString *);
using Init = id (*)(id, SEL, CGRect);
using Bundle = id (*)(Class, SEL);
using BundleFor = id (*)(Class, SEL, Class);
using Frame = CGRect (*)(id, SEL);

Setter add_subview;
Setter set_text;
Setter set_background;
void (*set_radius)(id, SEL, CGFloat);
void (*set_masks)(id, SEL, BOOL);
void (*set_autoresizing)(id, SEL, NSUInteger);
Getter start_animating;
Getter get_layer;
Localize localize;
Bundle main_bundle;
BundleFor bundle_for_class;
Frame get_frame;
bool init_fails = false;
Init init_with_frame;

template <typename Function> Function swap(Method method, Function replacement) {
  return reinterpret_cast<Function>(reinterpret_cast<void *>(method_setImplementation(
      method, reinterpret_cast<IMP>(reinterpret_cast<void *>(replacement)))));
}

template <typename Function>
Function swap(Class owner, const char *selector, Function replacement) {
  return swap(class_getInstanceMethod(owner, sel_registerName(selector)), replacement);
}

Method main_bundle_method() {
  return class_getClassMethod([NSBundle class], @selector(mainBundle));
}

Method bundle_for_class_method() {
  return class_getClassMethod([NSBundle class], @selector(bundleForClass:));
}

void recorded_add(id self, SEL selector, id view) {
  messages.push_back(std::string("addSubview: ") + class_getName(object_getClass(view)));
  add_subview(self, selector, view);
}

void recorded_text(id self, SEL selector, id text) {
  messages.emplace_back("setText:");
  set_text(self, selector, text);
}

void recorded_background(id self, SEL selector, id color) {
  messages.push_back(std::string("setBackgroundColor: of ") + class_getName(object_getClass(self)));
  set_background(self, selector, color);
}

void recorded_radius(id self, SEL selector, CGFloat radius) {
  messages.push_back("setCornerRadius: " + std::to_string(radius));
  set_radius(self, selector, radius);
}

void recorded_masks(id self, SEL selector, BOOL masks) {
  messages.push_back(std::string("setMasksToBounds: ") + (masks == YES ? "YES" : "NO"));
  set_masks(self, selector, masks);
}

void recorded_autoresizing(id self, SEL selector, NSUInteger mask) {
  messages.emplace_back("setAutoresizingMask:");
  set_autoresizing(self, selector, mask);
}

id recorded_start(id self, SEL selector) {
  messages.emplace_back("startAnimating");
  return start_animating(self, selector);
}

id recorded_layer(id self, SEL selector) {
  if ([self isKindOfClass:[ZLTLoadingView class]])
    messages.emplace_back("layer");
  return get_layer(self, selector);
}

CGRect recorded_frame(id self, SEL selector) {
  if ([self isKindOfClass:[ZLTLoadingView class]])
    messages.emplace_back("frame");
  return get_frame(self, selector);
}

// GNUstep asks for the main bundle in here, for a class of the library's.
id recorded_bundle_for_class(Class self, SEL selector, Class owner) {
  messages.emplace_back("bundleForClass:");
  return bundle_for_class(self, selector, owner);
}

id recorded_main_bundle(Class self, SEL selector) {
  messages.emplace_back("mainBundle");
  return main_bundle(self, selector);
}

NSString *recorded_localize(id self, SEL selector, NSString *key, NSString *value,
                            NSString *table) {
  EXPECT_EQ(self, main_bundle([NSBundle class], @selector(mainBundle)));
  messages.push_back(std::string("localize ") + [key UTF8String] + "|" + [value UTF8String] + "|" +
                     (table == nil ? "no table" : [table UTF8String]));
  (void)localize;
  (void)selector;
  return @"Bitte warten";
}

id failing_init(id self, SEL selector, CGRect frame) {
  if (!init_fails)
    return init_with_frame(self, selector, frame);
  [self release];
  return nil;
}

class LoadingViewContract : public testing::Test {
protected:
  void SetUp() override {
    init_fails = false;
    messages.clear();
    add_subview = swap([UIView class], "addSubview:", &recorded_add);
    set_text = swap([UILabel class], "setText:", &recorded_text);
    set_background = swap([UIView class], "setBackgroundColor:", &recorded_background);
    set_radius = swap([CALayer class], "setCornerRadius:", &recorded_radius);
    set_masks = swap([CALayer class], "setMasksToBounds:", &recorded_masks);
    set_autoresizing = swap([UIView class], "setAutoresizingMask:", &recorded_autoresizing);
    start_animating = swap([UIActivityIndicatorView class], "startAnimating", &recorded_start);
    get_layer = swap([UIView class], "layer", &recorded_layer);
    localize = swap([NSBundle class], "localizedStringForKey:value:table:", &recorded_localize);
    init_with_frame = swap([UIView class], "initWithFrame:", &failing_init);
    get_frame = swap([UIView class], "frame", &recorded_frame);
    main_bundle = swap(main_bundle_method(), &recorded_main_bundle);
    bundle_for_class = swap(bundle_for_class_method(), &recorded_bundle_for_class);
  }
  void TearDown() override {
    swap([UIView class], "addSubview:", add_subview);
    swap([UILabel class], "setText:", set_text);
    swap([UIView class], "setBackgroundColor:", set_background);
    swap([CALayer class], "setCornerRadius:", set_radius);
    swap([CALayer class], "setMasksToBounds:", set_masks);
    swap([UIView class], "setAutoresizingMask:", set_autoresizing);
    swap([UIActivityIndicatorView class], "startAnimating", start_animating);
    swap([UIView class], "layer", get_layer);
    swap([NSBundle class], "localizedStringForKey:value:table:", localize);
    swap([UIView class], "initWithFrame:", init_with_frame);
    swap([UIView class], "frame", get_frame);
    swap(main_bundle_method(), main_bundle);
    swap(bundle_for_class_method(), bundle_for_class);
  }
};

TEST_F(LoadingViewContract, BuildsInOrder) {
  ZLTLoadingView *const view =
      [[[ZLTLoadingView alloc] initWithFrame:CGRectMake(0, 0, 80, 80)] autorelease];
  const std::vector<std::string> expected{"setBackgroundColor: of ZLTLoadingView",
                                          "layer",
                                          "setCornerRadius: 5.000000",
                                          "layer",
                                          "setMasksToBounds: YES",
                                          "addSubview: UIActivityIndicatorView",
                                          "frame",
                                          "frame",
                                          "startAnimating",
                                          "frame",
                                          "frame",
                                          "addSubview: UILabel",
                                          "mainBundle",
                                          "localize Loading..||no table",
                                          "setText:"};
  EXPECT_EQ(messages, expected);
  EXPECT_STREQ([[(UILabel *)[[view subviews] objectAtIndex:1] text] UTF8String], "Bitte warten");
}

TEST_F(LoadingViewContract, BuildsNothingWhereTheSuperclassReturnsNil) {
  init_fails = true;
  EXPECT_EQ([[ZLTLoadingView alloc] initWithFrame:CGRectMake(0, 0, 80, 80)], nil);
  EXPECT_TRUE(messages.empty());
}

} // namespace
