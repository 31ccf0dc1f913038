// Where the buttons of an alert stand.
#pragma once

#import <UIKit/UIAlertView.h>

@interface UIAlertView (VHButtons)
/// The button that stands at `point` of the alert as it was built; -1 where none does.
- (NSInteger)buttonIndexAtPoint:(CGPoint)point;
@end
