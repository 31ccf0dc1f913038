// Starting other apps, private to the system: no SDK declares it.
#pragma once

#import <UIKit/UIApplication.h>

@interface UIApplication (Launching)
/// Starts the app with that bundle identifier, in the background where `suspended` is YES. Whether
/// it runs when the call returns; an app that runs already is left as it is.
- (BOOL)launchApplicationWithIdentifier:(NSString *)identifier suspended:(BOOL)suspended;
@end
