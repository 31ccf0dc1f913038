// Where the parts of an alert stand.
#pragma once

#import <UIKit/UIAlertView.h>

@interface UIAlertView (Layout)
/// Places title, message, accessory view and buttons from the top, and the alert in the middle of
/// the screen.
- (void)build;
/// The button that stands at `point` of the alert as it was built; -1 where none does.
- (NSInteger)buttonIndexAtPoint:(CGPoint)point;
@end
