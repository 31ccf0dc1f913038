#pragma once

#import <Foundation/Foundation.h>

@interface UIDevice : NSObject
/// The one device object of the process.
+ (UIDevice *)currentDevice;
/// The release of the system, such as 9.3.5.
@property (nonatomic, readonly, strong) NSString *systemVersion;
@end
