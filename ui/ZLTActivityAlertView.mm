#import <Foundation/NSFoundationVersionNumber.h>
#import <veltro/ZLTActivityAlertView.h>

#include "ui/alert_layout.hpp"
#include "utils/owned.hpp"

@interface UIAlertView (AccessoryView)
/// Private, and there from iOS 7 on: to be sent only after a respondsToSelector: test.
- (void)_setAccessoryView:(UIView *)view;
@end

namespace {

/// A spinner that the caller owns.
UIActivityIndicatorView *make_spinner(CGFloat x, CGFloat y) {
  return [[UIActivityIndicatorView alloc] initWithFrame:CGRectMake(x, y, 30, 30)];
}

/// Up to iOS 6.1. The spinner is never started, on purpose: with the platform's default of hiding
/// what is stopped, alerts there have always looked plain.
void add_as_subview(UIAlertView *alert) {
  const veltro::Owned spinner(make_spinner(125, 85));
  [alert addSubview:spinner.get()];
  [spinner.get() setActivityIndicatorViewStyle:UIActivityIndicatorViewStyleWhiteLarge];
}

/// Up to iOS 7.1.
UIActivityIndicatorView *add_as_accessory(UIAlertView *alert) {
  UIActivityIndicatorView *const spinner = make_spinner(125, 100);
  [alert _setAccessoryView:spinner];
  return spinner;
}

/// After iOS 7.1. The spinner's left edge, not its middle, is at the container's middle: alerts
/// have always looked so.
UIActivityIndicatorView *add_in_container(UIAlertView *alert) {
  const veltro::Owned container([[UIView alloc] initWithFrame:CGRectMake(0, 0, 250, 50)]);
  UIActivityIndicatorView *const spinner = make_spinner(125, 0);
  [container.get() addSubview:spinner];
  [alert _setAccessoryView:container.get()];
  return spinner;
}

} // namespace

@implementation ZLTActivityAlertView

- (id)initWithFrame:(CGRect)frame {
  self = [super initWithFrame:frame];
  if (self == nil)
    return nil;
  const veltro::AlertLayout layout = veltro::alert_layout(NSFoundationVersionNumber);
  if (layout == veltro::AlertLayout::subview) {
    add_as_subview(self);
    return self;
  }
  UIActivityIndicatorView *added = nil;
  if ([self respondsToSelector:@selector(_setAccessoryView:)])
    added =
        layout == veltro::AlertLayout::accessory ? add_as_accessory(self) : add_in_container(self);
  const veltro::Owned spinner(added);
  [spinner.get() setActivityIndicatorViewStyle:UIActivityIndicatorViewStyleGray];
  [spinner.get() startAnimating];
  return self;
}

- (void)close {
  [self dismissWithClickedButtonIndex:0 animated:YES];
}

@end
