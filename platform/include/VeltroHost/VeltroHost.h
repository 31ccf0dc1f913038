// What only Linux has: questions about the device that this machine plays. The library never calls
// these; tools and tests do.
#pragma once

#import <Foundation/Foundation.h>

#ifdef __cplusplus
extern "C" {
#endif

/// The folder that plays the device's file system (autoreleased). It need not exist.
NSString *VHDeviceRoot(void);

/// The ids of the processes that run the app with that bundle identifier: `NSNumber`s in no order
/// (autoreleased); empty where none runs or no such app is installed.
NSArray *VHProcessesOfApp(NSString *identifier);

/// Why the app with that bundle identifier cannot be launched (autoreleased), or nil.
NSString *VHLaunchObstacle(NSString *identifier);

/// Whether this process holds an acquired process assertion on the app.
BOOL VHIsKeptAlive(NSString *identifier);

/// Stops the animations of all views at `seconds` after their start, so that the same picture can
/// be drawn again; a negative number lets them run.
void VHSetAnimationTime(double seconds);

#ifdef __cplusplus
}
#endif
