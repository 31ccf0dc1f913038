// UIAlertView: contents, showing and dismissing, and a layout after the release's. Follows Apple's
// class reference; text fields, alert styles, touches on buttons and the animations are left out.

#import <QuartzCore/CALayer.h>
#import <UIKit/UIAlertView.h>
#import <UIKit/UIColor.h>
#import <UIKit/UIFont.h>
#import <UIKit/UILabel.h>
#import <UIKit/UIScreen.h>

#include "Host/release.hpp"

#include <algorithm>
#include <cstdarg>

namespace {

/// From iOS 7 on alerts are light and have a slot for a view; before, they are dark blue.
bool is_light_release() {
  return veltro::host::foundation_version_number(veltro::host::system_version()) >= 1047.0;
}

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

@interface UIAlertView (Layout)
- (void)addLabel:(UILabel *)label;
- (void)build;
@end

@implementation UIAlertView

@synthesize title = _title;
@synthesize message = _message;
@synthesize delegate = _delegate;
@synthesize cancelButtonIndex = _cancelButtonIndex;
@synthesize visible = _visible;

- (instancetype)initWithFrame:(CGRect)frame {
  if ((self = [super initWithFrame:frame]) != nil) {
    _buttonTitles = [[NSMutableArray alloc] init];
    _labels = [[NSMutableArray alloc] init];
    _cancelButtonIndex = -1;
  }
  return self;
}

- (instancetype)initWithTitle:(NSString *)title
                      message:(NSString *)message
                     delegate:(id)delegate
            cancelButtonTitle:(NSString *)cancel
            otherButtonTitles:(NSString *)others, ... {
  if ((self = [self initWithFrame:CGRectZero]) == nil)
    return nil;
  _title = [title copy];
  _message = [message copy];
  _delegate = delegate;
  if (cancel != nil)
    _cancelButtonIndex = [self addButtonWithTitle:cancel];
  va_list rest;
  va_start(rest, others);
  for (NSString *other = others; other != nil; other = va_arg(rest, NSString *))
    [self addButtonWithTitle:other];
  va_end(rest);
  return self;
}

- (void)dealloc {
  [_title release];
  [_message release];
  [_buttonTitles release];
  [_labels release];
  [_accessoryView release];
  [super dealloc];
}

- (BOOL)respondsToSelector:(SEL)selector {
  if (sel_isEqual(selector, @selector(_setAccessoryView:)) && !is_light_release())
    return NO;
  return [super respondsToSelector:selector];
}

/// The slot below the message. The view keeps its size and its x within the alert's width, and its
/// y is the alert's to choose.
- (void)_setAccessoryView:(UIView *)view {
  [view retain];
  [_accessoryView removeFromSuperview];
  [_accessoryView release];
  _accessoryView = view;
  if (view != nil)
    [self addSubview:view];
}

- (NSInteger)addButtonWithTitle:(NSString *)title {
  [_buttonTitles addObject:[[title copy] autorelease]];
  return static_cast<NSInteger>([_buttonTitles count]) - 1;
}

- (NSString *)buttonTitleAtIndex:(NSInteger)index {
  if (index < 0 || index >= [self numberOfButtons])
    return nil;
  return [_buttonTitles objectAtIndex:static_cast<NSUInteger>(index)];
}

- (NSInteger)numberOfButtons {
  return static_cast<NSInteger>([_buttonTitles count]);
}

- (void)show {
  if (_visible)
    return;
  // What shows stays until it is dismissed, whoever else holds it.
  [self retain];
  if ([_delegate respondsToSelector:@selector(willPresentAlertView:)])
    [_delegate willPresentAlertView:self];
  [self build];
  _visible = YES;
  if ([_delegate respondsToSelector:@selector(didPresentAlertView:)])
    [_delegate didPresentAlertView:self];
}

- (void)dismissWithClickedButtonIndex:(NSInteger)index animated:(BOOL)animated {
  (void)animated;
  if (!_visible)
    return;
  if ([_delegate respondsToSelector:@selector(alertView:willDismissWithButtonIndex:)])
    [_delegate alertView:self willDismissWithButtonIndex:index];
  _visible = NO;
  [self removeFromSuperview];
  if ([_delegate respondsToSelector:@selector(alertView:didDismissWithButtonIndex:)])
    [_delegate alertView:self didDismissWithButtonIndex:index];
  [self autorelease];
}

@end

@implementation UIAlertView (Layout)

- (void)addLabel:(UILabel *)label {
  [_labels addObject:label];
  [self addSubview:label];
}

/// Places title, message, accessory view and buttons from the top, and the alert in the middle of
/// the screen.
- (void)build {
  const bool light = is_light_release();
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

@end
