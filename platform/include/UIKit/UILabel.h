#pragma once

#import <UIKit/UIView.h>

@class UIFont;

typedef NS_ENUM(NSInteger, NSTextAlignment) {
  NSTextAlignmentLeft = 0,
  NSTextAlignmentCenter = 1,
  NSTextAlignmentRight = 2,
};

/// Text that is only read.
@interface UILabel : UIView {
  NSString *_text;
  UIFont *_font;
  UIColor *_textColor;
  NSTextAlignment _textAlignment;
  NSInteger _numberOfLines;
}
@property (nonatomic, copy) NSString *text;
/// The system's font of 17 points at first, and again where it is set to nil.
@property (nonatomic, retain) UIFont *font;
/// Black at first, and again where it is set to nil.
@property (nonatomic, retain) UIColor *textColor;
/// Left at first. Text written from right to left keeps its own direction within its lines.
@property (nonatomic) NSTextAlignment textAlignment;
/// 1 at first; 0 for as many as fit. What does not fit ends in an ellipsis.
@property (nonatomic) NSInteger numberOfLines;
- (CGSize)sizeThatFits:(CGSize)size;
@end
