// UIView: geometry, the tree, background, alpha, and drawing by way of its layer. Follows Apple's
// UIView class reference; transforms, autoresizing, constraints, events, animations and windows are
// left out.

#import <QuartzCore/CALayer.h>
#import <UIKit/UIColor.h>
#import <UIKit/UIGraphics.h>
#import <UIKit/UIView.h>

#include <algorithm>

@implementation UIView

@synthesize frame = _frame;
@synthesize superview = _superview;
@synthesize layer = _layer;
@synthesize backgroundColor = _backgroundColor;
@synthesize alpha = _alpha;
@synthesize hidden = _hidden;
@synthesize tag = _tag;
@synthesize autoresizingMask = _autoresizingMask;

- (instancetype)init {
  return [self initWithFrame:CGRectZero];
}

- (instancetype)initWithFrame:(CGRect)frame {
  if ((self = [super init]) != nil) {
    _frame = CGRectStandardize(frame);
    _alpha = 1;
    _subviews = [[NSMutableArray alloc] init];
    _layer = [[CALayer alloc] init];
    [_layer setDelegate:self];
  }
  return self;
}

- (void)dealloc {
  for (UIView *view in _subviews)
    view->_superview = nil;
  [_subviews release];
  [_layer setDelegate:nil];
  [_layer release];
  [_backgroundColor release];
  [super dealloc];
}

- (void)setFrame:(CGRect)frame {
  _frame = CGRectStandardize(frame);
}

- (CGRect)bounds {
  return CGRectMake(_boundsOrigin.x, _boundsOrigin.y, _frame.size.width, _frame.size.height);
}

- (void)setBounds:(CGRect)bounds {
  const CGPoint center = [self center];
  _boundsOrigin = bounds.origin;
  _frame.size = bounds.size;
  [self setCenter:center];
}

- (CGPoint)center {
  return CGPointMake(CGRectGetMidX(_frame), CGRectGetMidY(_frame));
}

- (void)setCenter:(CGPoint)center {
  _frame.origin = CGPointMake(center.x - _frame.size.width / 2, center.y - _frame.size.height / 2);
}

- (NSArray *)subviews {
  return [[_subviews copy] autorelease];
}

- (void)addSubview:(UIView *)view {
  [self insertSubview:view atIndex:static_cast<NSInteger>([_subviews count])];
}

- (void)insertSubview:(UIView *)view atIndex:(NSInteger)index {
  if (view == nil || view == self || [self isDescendantOfView:view])
    return;
  [view retain];
  [view removeFromSuperview];
  const auto count = static_cast<NSInteger>([_subviews count]);
  [_subviews insertObject:view
                  atIndex:static_cast<NSUInteger>(std::clamp<NSInteger>(index, 0, count))];
  view->_superview = self;
  [view release];
}

- (void)bringSubviewToFront:(UIView *)view {
  if ([view superview] == self)
    [self addSubview:view];
}

- (void)sendSubviewToBack:(UIView *)view {
  if ([view superview] == self)
    [self insertSubview:view atIndex:0];
}

- (void)removeFromSuperview {
  UIView *const parent = _superview;
  if (parent == nil)
    return;
  _superview = nil;
  [parent->_subviews removeObjectIdenticalTo:self];
}

- (BOOL)isDescendantOfView:(UIView *)view {
  for (UIView *step = self; step != nil; step = [step superview])
    if (step == view)
      return YES;
  return NO;
}

- (UIView *)viewWithTag:(NSInteger)tag {
  if (_tag == tag)
    return self;
  for (UIView *view in _subviews)
    if (UIView *const found = [view viewWithTag:tag])
      return found;
  return nil;
}

- (BOOL)clipsToBounds {
  return [_layer masksToBounds];
}

- (void)setClipsToBounds:(BOOL)clips {
  [_layer setMasksToBounds:clips];
}

- (void)drawRect:(CGRect)rect {
}

// Every rendering lays out and draws anew, so that nothing has to be remembered here.
- (void)setNeedsDisplay {
}

- (void)setNeedsLayout {
}

- (void)layoutIfNeeded {
  [self layoutSubviews];
}

- (void)layoutSubviews {
}

- (BOOL)drawViewHierarchyInRect:(CGRect)rect afterScreenUpdates:(BOOL)afterUpdates {
  CGContextRef context = UIGraphicsGetCurrentContext();
  if (context == nullptr)
    return NO;
  const CGSize size = [self bounds].size;
  CGContextSaveGState(context);
  CGContextTranslateCTM(context, rect.origin.x, rect.origin.y);
  if (size.width > 0 && size.height > 0)
    CGContextScaleCTM(context, rect.size.width / size.width, rect.size.height / size.height);
  [_layer renderInContext:context];
  CGContextRestoreGState(context);
  return YES;
}

@end
