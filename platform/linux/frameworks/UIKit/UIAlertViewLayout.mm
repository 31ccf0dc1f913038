#include "frameworks/UIKit/alert_layout.h"

#import <QuartzCore/CALayer.h>
#import <UIKit/UIColor.h>
#import <UIKit/UIFont.h>
#import <UIKit/UILabel.h>
#import <UIKit/UIScreen.h>

#include "machine/device/release.hpp"

#include <algorithm>

namespace {

constexpr CGFloat kMargin = 16;
constexpr CGFloat kButtonHeight = 44;

/// A line of the alert that stands at `top`, as high as it must be.
UILabel *text_line(NSString *text, UIFont *font, CGFloat top, CGFloat width, bool light) {
  UILabel *const label = [[[UILabel alloc] initWithFrame:CGRectZero] autorelease];
  [label setBackgroundColor:nil];
  [label setFont:font];
  [label setNumberOfLines:0];
  [label setText:text];
  [label setTextColor:light ? [UIColor blackColor] : [UIColor whiteColor]];
  [label setTextAlignment:NSTextAlignmentCenter];
  const CGFloat inner = width - 2 * kMargin;
  const CGSize size = [label sizeThatFits:CGSizeMake(inner, 0)];
  [label setFrame:CGRectMake(kMargin, top, inner, size.height)];
  return label;
}

} // namespace

@implementation UIAlertView (Layout)

+ (BOOL)isLight {
  return veltro::host::foundation_version_number(veltro::host::system_version()) >= 1047.0;
}

- (void)addLabel:(UILabel *)label {
  [_labels addObject:label];
  [self addSubview:label];
}

- (void)build {
  const bool light = [UIAlertView isLight];
  const CGFloat width = light ? 270 : 284;
  CGFloat bottom = 20;
  // An alert may be shown again, with other contents.
  for (UILabel *label in _labels)
    [label removeFromSuperview];
  [_labels removeAllObjects];
  if ([_title length] != 0) {
    UILabel *const line = text_line(_title, [UIFont boldSystemFontOfSize:17], bottom, width, light);
    [self addLabel:line];
    bottom = CGRectGetMaxY([line frame]) + 4;
  }
  if ([_message length] != 0) {
    UILabel *const line =
        text_line(_message, [UIFont systemFontOfSize:light ? 13 : 15], bottom, width, light);
    [self addLabel:line];
    bottom = CGRectGetMaxY([line frame]) + 4;
  }
  if (_accessoryView != nil) {
    const CGRect frame = [_accessoryView frame];
    const CGFloat x = frame.origin.x != 0 ? frame.origin.x : (width - frame.size.width) / 2;
    [_accessoryView setFrame:CGRectMake(x, bottom + 8, frame.size.width, frame.size.height)];
    bottom += frame.size.height + 8;
  } else {
    // Room for what was added as a plain subview, where it was put.
    for (UIView *view in [self subviews])
      bottom = std::max(bottom, CGRectGetMaxY([view frame]));
  }
  bottom += 12;
  const bool beside = [self numberOfButtons] == 2;
  const CGFloat button_width = beside ? width / 2 : width;
  for (NSInteger index = 0; index < [self numberOfButtons]; ++index) {
    UIFont *const font = index == _cancelButtonIndex ? [UIFont boldSystemFontOfSize:17]
                                                     : [UIFont systemFontOfSize:17];
    UILabel *const button = [[[UILabel alloc]
        initWithFrame:CGRectMake(beside ? static_cast<CGFloat>(index) * button_width : 0, bottom,
                                 button_width, kButtonHeight)] autorelease];
    [button setBackgroundColor:nil];
    [button setFont:font];
    [button setTextAlignment:NSTextAlignmentCenter];
    [button setTextColor:light ? [UIColor colorWithRed:0 green:0.478 blue:1 alpha:1]
                               : [UIColor whiteColor]];
    [button setText:[self buttonTitleAtIndex:index]];
    [button setTag:index + 1];
    [self addLabel:button];
    if (!beside || index == 1)
      bottom += kButtonHeight;
  }
  [self setBackgroundColor:light ? [UIColor colorWithWhite:0.97 alpha:0.97]
                                 : [UIColor colorWithRed:0.07 green:0.15 blue:0.34 alpha:0.92]];
  [[self layer] setCornerRadius:light ? 7 : 12];
  [[self layer] setMasksToBounds:YES];
  const CGRect screen = [[UIScreen mainScreen] bounds];
  [self setFrame:CGRectMake((screen.size.width - width) / 2, (screen.size.height - bottom) / 2,
                            width, bottom)];
}

- (NSInteger)buttonIndexAtPoint:(CGPoint)point {
  for (UILabel *label in _labels)
    if ([label tag] > 0 && CGRectContainsPoint([label frame], point))
      return [label tag] - 1;
  return -1;
}

@end
