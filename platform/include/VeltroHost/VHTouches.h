// What only Linux has: a finger on the screen. The library never calls this; tools and tests do.
#pragma once

#import <UIKit/UIView.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Taps on `view` at `point` of its own coordinates. An alert that shows is dismissed by the button
/// there, as on the device: its delegate is told of the click first. YES where there was something
/// to tap on.
BOOL VHTap(UIView *view, CGPoint point);

#ifdef __cplusplus
}
#endif
