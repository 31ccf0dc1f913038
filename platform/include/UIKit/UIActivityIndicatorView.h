#pragma once

#import <UIKit/UIView.h>

typedef NS_ENUM(NSInteger, UIActivityIndicatorViewStyle) {
  UIActivityIndicatorViewStyleWhiteLarge = 0,
  UIActivityIndicatorViewStyleWhite = 1,
  UIActivityIndicatorViewStyleGray = 2,
};

/// A spinner: twelve spokes, of which each is paler than the one before. It turns once a second.
@interface UIActivityIndicatorView : UIView {
  UIActivityIndicatorViewStyle _style;
  BOOL _hidesWhenStopped;
  BOOL _animating;
  NSTimeInterval _started;
}
/// Sized for the style: 37 points for the large one, 20 for the others.
- (instancetype)initWithActivityIndicatorStyle:(UIActivityIndicatorViewStyle)style;
/// White for initWithFrame:. The spokes keep the style's size in whatever frame.
@property (nonatomic) UIActivityIndicatorViewStyle activityIndicatorViewStyle;
/// YES at first: a spinner that is stopped is hidden.
@property (nonatomic) BOOL hidesWhenStopped;
- (void)startAnimating;
- (void)stopAnimating;
- (BOOL)isAnimating;
@end
