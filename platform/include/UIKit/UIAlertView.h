#pragma once

#import <UIKit/UIView.h>

@class UIAlertView;

@protocol UIAlertViewDelegate <NSObject>
@optional
/// The user tapped on a button; the dismissal follows.
- (void)alertView:(UIAlertView *)alert clickedButtonAtIndex:(NSInteger)index;
- (void)willPresentAlertView:(UIAlertView *)alert;
- (void)didPresentAlertView:(UIAlertView *)alert;
- (void)alertView:(UIAlertView *)alert willDismissWithButtonIndex:(NSInteger)index;
- (void)alertView:(UIAlertView *)alert didDismissWithButtonIndex:(NSInteger)index;
@end

/// A modal alert. It is laid out when it is shown, as the release that this machine plays lays
/// alerts out.
@interface UIAlertView : UIView {
  NSString *_title;
  NSString *_message;
  id _delegate;
  NSMutableArray *_buttonTitles;
  NSInteger _cancelButtonIndex;
  UIView *_accessoryView;
  NSMutableArray *_labels;
  BOOL _visible;
  BOOL _dismissing;
}
- (instancetype)initWithTitle:(NSString *)title
                      message:(NSString *)message
                     delegate:(id)delegate
            cancelButtonTitle:(NSString *)cancel
            otherButtonTitles:(NSString *)others, ... __attribute__((sentinel(0, 1)));
@property (nonatomic, copy) NSString *title;
@property (nonatomic, copy) NSString *message;
/// Not retained.
@property (nonatomic, assign) id delegate;
/// Returns the new button's index. nil makes a button with an empty title.
- (NSInteger)addButtonWithTitle:(NSString *)title;
- (NSString *)buttonTitleAtIndex:(NSInteger)index;
@property (nonatomic, readonly) NSInteger numberOfButtons;
/// -1 where there is none.
@property (nonatomic) NSInteger cancelButtonIndex;
@property (nonatomic, readonly, getter=isVisible) BOOL visible;
- (void)show;
/// Takes the alert away and tells the delegate; without effect on one that is not showing.
- (void)dismissWithClickedButtonIndex:(NSInteger)index animated:(BOOL)animated;
@end
