#pragma once

#include <CoreGraphics/CoreGraphics.h>

#import <Foundation/Foundation.h>

@class CALayer, UIColor;

typedef NSUInteger UIViewAutoresizing;
enum : NSUInteger { UIViewAutoresizingNone = 0 };

/// A rectangle that shows something and holds other views. Main thread only.
@interface UIView : NSObject {
  CGRect _frame;
  CGPoint _boundsOrigin;
  UIView *_superview;
  NSMutableArray *_subviews;
  CALayer *_layer;
  UIColor *_backgroundColor;
  CGFloat _alpha;
  BOOL _hidden;
  NSInteger _tag;
  UIViewAutoresizing _autoresizingMask;
}
- (instancetype)initWithFrame:(CGRect)frame;

/// In the superview's coordinates, in points.
@property (nonatomic) CGRect frame;
/// In the view's own coordinates; a new size keeps the centre.
@property (nonatomic) CGRect bounds;
/// The middle of the frame.
@property (nonatomic) CGPoint center;

@property (nonatomic, readonly) UIView *superview;
/// From back to front.
@property (nonatomic, readonly, copy) NSArray *subviews;
- (void)addSubview:(UIView *)view;
- (void)insertSubview:(UIView *)view atIndex:(NSInteger)index;
- (void)bringSubviewToFront:(UIView *)view;
- (void)sendSubviewToBack:(UIView *)view;
- (void)removeFromSuperview;
- (BOOL)isDescendantOfView:(UIView *)view;
- (UIView *)viewWithTag:(NSInteger)tag;

@property (nonatomic, readonly, retain) CALayer *layer;
/// nil, which is none, at first.
@property (nonatomic, copy) UIColor *backgroundColor;
/// 1 at first.
@property (nonatomic) CGFloat alpha;
@property (nonatomic, getter=isHidden) BOOL hidden;
/// The layer's masksToBounds.
@property (nonatomic) BOOL clipsToBounds;
@property (nonatomic) NSInteger tag;
/// Kept, and not acted upon.
@property (nonatomic) UIViewAutoresizing autoresizingMask;

/// To be overridden: draws the view's own content in the current context.
- (void)drawRect:(CGRect)rect;
- (void)setNeedsDisplay;
- (void)setNeedsLayout;
- (void)layoutIfNeeded;
/// To be overridden: places the subviews.
- (void)layoutSubviews;
/// Draws the view and all it holds into the current context; YES where there is one.
- (BOOL)drawViewHierarchyInRect:(CGRect)rect afterScreenUpdates:(BOOL)afterUpdates;
@end
