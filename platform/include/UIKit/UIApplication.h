#pragma once

#import <Foundation/Foundation.h>

@interface UIApplication : NSObject
/// The one application object of the process.
+ (UIApplication *)sharedApplication;
@end

@interface UIApplication (Launching)
/// Starts the app with that bundle identifier, in the background where `suspended` is YES. Whether
/// it runs when the call returns; an app that runs already is left as it is. Private to the system.
- (BOOL)launchApplicationWithIdentifier:(NSString *)identifier suspended:(BOOL)suspended;
@end
