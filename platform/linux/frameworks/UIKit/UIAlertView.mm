// UIAlertView: contents, showing and dismissing. Follows Apple's class reference; text fields,
// alert styles and the animations are left out.

#include "frameworks/UIKit/alert_layout.h"
#include "frameworks/UIKit/alert_style.hpp"

#include <cstdarg>

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
  if (sel_isEqual(selector, @selector(_setAccessoryView:)) && !veltro::host::alert_style().light)
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
