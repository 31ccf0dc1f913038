#pragma once

#import <Foundation/Foundation.h>

@interface UIApplication : NSObject
/// The one application object of the process.
+ (UIApplication *)sharedApplication;
@end

#import <UIKit/UIApplication+Launching.h>
