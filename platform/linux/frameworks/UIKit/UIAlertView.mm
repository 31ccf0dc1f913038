// UIAlertView: contents, layout, showing and dismissing. Follows Apple's class reference; text
// fields, alert styles and the animations are left out.

#import <QuartzCore/CALayer.h>
#import <UIKit/UIColor.h>
#import <UIKit/UIFont.h>
#import <UIKit/UILabel.h>
#import <UIKit/UIScreen.h>

#include "frameworks/UIKit/alert_buttons.h"
#include "frameworks/UIKit/alert_style.hpp"

#include <algorithm>
#include <cmath>
#include <cstdarg>

namespace {

using veltro::host::alert_style;
using veltro::host::AlertStyle;

/// Above and below an accessory view.
constexpr CGFloat kAccessoryGap = 12;

} // namespace

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
  if (sel_isEqual(selector, @selector(_setAccessoryView:)) && !alert_style().light)
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
  [self addSubview:view];
}

- (NSInteger)addButtonWithTitle:(NSString *)title {
  [_buttonTitles addObject:[NSString stringWithString:title != nil ? title : @""]];
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

/// Adds text in the middle of its lines, on nothing.
- (UILabel *)addLabel:(NSString *)text font:(UIFont *)font color:(UIColor *)color {
  UILabel *const label = [[[UILabel alloc] initWithFrame:CGRectZero] autorelease];
  [label setBackgroundColor:nil];
  [label setFont:font];
  [label setText:text];
  [label setTextColor:color];
  [label setTextAlignment:NSTextAlignmentCenter];
  [_labels addObject:label];
  [self addSubview:label];
  return label;
}

/// Adds `text`, where there is any, at `top` and as high as it must be. Returns where it ends.
- (CGFloat)addText:(NSString *)text font:(UIFont *)font top:(CGFloat)top {
  if ([text length] == 0)
    return top;
  const AlertStyle style = alert_style();
  UILabel *const label = [self addLabel:text
                                   font:font
                                  color:style.light ? [UIColor blackColor] : [UIColor whiteColor]];
  [label setNumberOfLines:0];
  const CGFloat width = style.width - 2 * style.text_margin;
  const CGFloat height = [label sizeThatFits:CGSizeMake(width, 0)].height;
  [label setFrame:CGRectMake(style.text_margin, top, width, height)];
  return top + height;
}

/// Adds the buttons below `top`: two beside each other, any other number below one another, the one
/// that cancels last. Returns where the last of them ends.
- (CGFloat)addButtonsBelow:(CGFloat)top {
  const AlertStyle style = alert_style();
  UIColor *const color =
      style.light ? [UIColor colorWithRed:0 green:0.478 blue:1 alpha:1] : [UIColor whiteColor];
  const NSInteger count = [self numberOfButtons];
  const bool beside = count == 2;
  const CGFloat inner = style.width - 2 * style.button_margin;
  const CGFloat width = beside ? (inner - style.button_gap) / 2 : inner;
  CGFloat bottom = top;
  for (NSInteger index = 0; index < count; ++index) {
    NSInteger row = _cancelButtonIndex >= 0 && index > _cancelButtonIndex ? index - 1 : index;
    if (index == _cancelButtonIndex)
      row = count - 1;
    const auto column_step = static_cast<CGFloat>(beside ? index : 0);
    const auto row_step = static_cast<CGFloat>(beside ? 0 : row);
    UIFont *const font = !style.light || index == _cancelButtonIndex
                             ? [UIFont boldSystemFontOfSize:style.button_size]
                             : [UIFont systemFontOfSize:style.button_size];
    UILabel *const button = [self addLabel:[self buttonTitleAtIndex:index] font:font color:color];
    [button setFrame:CGRectMake(style.button_margin + column_step * (width + style.button_gap),
                                top + row_step * (style.button_height + style.button_gap), width,
                                style.button_height)];
    [button setTag:index + 1];
    bottom = std::max(bottom, CGRectGetMaxY([button frame]));
  }
  return bottom;
}

/// Places title, message, accessory view and buttons from the top, and the alert in the middle of
/// the screen.
- (void)build {
  const AlertStyle style = alert_style();
  // An alert may be shown again, with other contents.
  for (UILabel *label in _labels)
    [label removeFromSuperview];
  [_labels removeAllObjects];
  CGFloat bottom = [self addText:_title
                            font:[UIFont boldSystemFontOfSize:style.title_size]
                             top:style.text_top];
  if ([_title length] != 0 && [_message length] != 0)
    bottom += style.text_gap;
  bottom = [self addText:_message font:[UIFont systemFontOfSize:style.message_size] top:bottom];
  if (_accessoryView != nil) {
    const CGRect frame = [_accessoryView frame];
    const CGFloat x = frame.origin.x != 0 ? frame.origin.x : (style.width - frame.size.width) / 2;
    bottom += kAccessoryGap;
    [_accessoryView setFrame:CGRectMake(x, bottom, frame.size.width, frame.size.height)];
    bottom += frame.size.height + kAccessoryGap;
  } else {
    // Space for what was added as a plain subview, where it was put.
    for (UIView *view in [self subviews])
      bottom = std::max(bottom, CGRectGetMaxY([view frame]));
    bottom += style.below_text;
  }
  // Buttons stand on the grid of pixels, whatever is above them.
  bottom = [self addButtonsBelow:std::ceil(bottom)] + style.below_buttons;
  [self setBackgroundColor:style.light ? [UIColor colorWithWhite:0.97 alpha:0.97] : nil];
  [[self layer] setCornerRadius:style.light ? style.corner_radius : 0];
  [[self layer] setMasksToBounds:style.light];
  const CGRect screen = [[UIScreen mainScreen] bounds];
  [self setFrame:CGRectMake((screen.size.width - style.width) / 2,
                            (screen.size.height - bottom) / 2, style.width, bottom)];
}

- (NSInteger)buttonIndexAtPoint:(CGPoint)point {
  for (UILabel *label in _labels)
    if ([label tag] > 0 && CGRectContainsPoint([label frame], point))
      return [label tag] - 1;
  return -1;
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
  if (!_visible || _dismissing)
    return;
  _dismissing = YES;
  if ([_delegate respondsToSelector:@selector(alertView:willDismissWithButtonIndex:)])
    [_delegate alertView:self willDismissWithButtonIndex:index];
  _dismissing = _visible = NO;
  [self removeFromSuperview];
  if ([_delegate respondsToSelector:@selector(alertView:didDismissWithButtonIndex:)])
    [_delegate alertView:self didDismissWithButtonIndex:index];
  [self autorelease];
}

@end
