// UIActivityIndicatorView, drawn as twelve spokes that fade in turn. Follows Apple's class
// reference; the colour property and the appearance proxy are left out.

#import <UIKit/UIActivityIndicatorView.h>
#import <UIKit/UIGraphics.h>

#include "frameworks/UIKit/animation_time.hpp"

#include <chrono>
#include <cmath>
#include <numbers>

namespace {

constexpr int kSpokes = 12;

/// The side of the square that the spinner fills, in points.
CGFloat side_of(UIActivityIndicatorViewStyle style) {
  return style == UIActivityIndicatorViewStyleWhiteLarge ? 37 : 20;
}

/// In seconds, which only grow.
double now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

} // namespace

std::atomic<double> veltro::host::animations_stopped_at{-1};

@implementation UIActivityIndicatorView

@synthesize activityIndicatorViewStyle = _style;
@synthesize hidesWhenStopped = _hidesWhenStopped;

- (instancetype)initWithActivityIndicatorStyle:(UIActivityIndicatorViewStyle)style {
  if ((self = [self initWithFrame:CGRectMake(0, 0, side_of(style), side_of(style))]) != nil)
    _style = style;
  return self;
}

- (instancetype)initWithFrame:(CGRect)frame {
  if ((self = [super initWithFrame:frame]) != nil) {
    _style = UIActivityIndicatorViewStyleWhite;
    _hidesWhenStopped = YES;
    [self setHidden:YES];
  }
  return self;
}

- (void)setHidesWhenStopped:(BOOL)hides {
  _hidesWhenStopped = hides;
  if (!_animating)
    [self setHidden:hides];
}

- (void)startAnimating {
  if (!_animating)
    _started = now();
  _animating = YES;
  [self setHidden:NO];
}

- (void)stopAnimating {
  _animating = NO;
  if (_hidesWhenStopped)
    [self setHidden:YES];
}

- (BOOL)isAnimating {
  return _animating;
}

- (void)drawRect:(CGRect)rect {
  CGContextRef context = UIGraphicsGetCurrentContext();
  const CGFloat radius = side_of(_style) / 2;
  const CGFloat gray = _style == UIActivityIndicatorViewStyleGray ? 0.5 : 1;
  const double stopped = veltro::host::animations_stopped_at;
  const double age = !_animating ? 0 : stopped >= 0 ? stopped : now() - _started;
  // The brightest spoke goes round once a second.
  const int first = static_cast<int>(std::fmod(std::floor(age * kSpokes), kSpokes));
  CGContextTranslateCTM(context, CGRectGetMidX(rect), CGRectGetMidY(rect));
  CGContextSetLineWidth(context, radius / 5);
  CGContextSetLineCap(context, kCGLineCapRound);
  for (int spoke = 0; spoke < kSpokes; ++spoke) {
    const int behind = (first - spoke + kSpokes) % kSpokes;
    const CGFloat alpha = 1 - static_cast<CGFloat>(behind) / kSpokes * 0.85;
    const CGFloat angle = (spoke - 3) * 2 * std::numbers::pi / kSpokes;
    CGContextSetGrayStrokeColor(context, gray, alpha);
    CGContextMoveToPoint(context, radius * 0.5 * std::cos(angle), radius * 0.5 * std::sin(angle));
    CGContextAddLineToPoint(context, radius * 0.88 * std::cos(angle),
                            radius * 0.88 * std::sin(angle));
    CGContextStrokePath(context);
  }
}

@end
