// How an alert looks on the release that this machine plays.
#pragma once

#import <UIKit/UIAlertView.h>

@interface UIAlertView (Layout)
/// Whether the release's alerts are light and have a slot for a view, as from iOS 7 on; before,
/// they are dark blue.
+ (BOOL)isLight;
/// Places title, message, accessory view and buttons from the top, and the alert in the middle of
/// the screen.
- (void)build;
/// The button that stands at `point` of the alert as it was built; -1 where none does.
- (NSInteger)buttonIndexAtPoint:(CGPoint)point;
@end
