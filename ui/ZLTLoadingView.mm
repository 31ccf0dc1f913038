#import <veltro/ZLTLoadingView.h>

#include "utils/owned.hpp"

#import <QuartzCore/QuartzCore.h>

@implementation ZLTLoadingView

- (id)initWithFrame:(CGRect)frame {
  self = [super initWithFrame:frame];
  if (self == nil)
    return nil;
  [self setBackgroundColor:[[UIColor blackColor] colorWithAlphaComponent:CGFloat(0.8)]];
  [[self layer] setCornerRadius:5];
  [[self layer] setMasksToBounds:YES];

  const veltro::Owned spinner([[UIActivityIndicatorView alloc]
      initWithActivityIndicatorStyle:UIActivityIndicatorViewStyleWhite]);
  [self addSubview:spinner.get()];
  // The spinner stands in the middle of what the caption's 20 points leave; a small panel lets it
  // stick out at the top, and callers have laid out around that.
  const CGFloat x = ([self frame].size.width + -24) * CGFloat(0.5);
  const CGFloat y = (([self frame].size.height + -20) + -24) * CGFloat(0.5);
  [spinner.get() setFrame:CGRectMake(x, y, 24, 24)];
  [spinner.get() startAnimating];

  const CGFloat top = [self frame].size.height - 24;
  const veltro::Owned label(
      [[UILabel alloc] initWithFrame:CGRectMake(0, top, [self frame].size.width, 20)]);
  [label.get() setTextColor:[[UIColor whiteColor] colorWithAlphaComponent:CGFloat(0.98)]];
  [label.get() setTextAlignment:NSTextAlignmentCenter];
  [label.get() setFont:[UIFont systemFontOfSize:12]];
  [self addSubview:label.get()];
  // The host app's own bundle, so that each app says it in its words; without any, the key shows.
  [label.get() setText:[[NSBundle mainBundle] localizedStringForKey:@"Loading.."
                                                              value:@""
                                                              table:nil]];
  return self;
}

@end
