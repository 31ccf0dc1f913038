#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <UIKit/UIKit.h>

/// The device's identifiers and its process table. Send these to `[UIDevice currentDevice]`.
///
/// Every method runs on the caller's thread, may be called from any thread and keeps nothing
/// between calls. Nothing is raised or logged.
@interface UIDevice (ZLT)

/// The device's unique identifier.
/// @return The identifier, autoreleased; nil where the device does not tell it.
- (NSString *)UDID;

/// The device's serial number.
/// @return The number, autoreleased; nil where the device does not tell it.
- (NSString *)serialNumber;

/// Every process of the kernel's table, read afresh, in the reverse of the kernel's order.
/// @return Dictionaries with two keys, "PROCESS_ID" (an `NSNumber` of the process id) and
/// "PROCESS_NAME" (the short command name, an `NSString` of 16 characters at most), in an
/// autoreleased array; nil where the table cannot be read.
- (NSMutableArray *)__zltRunningProcesses;

/// The id of a process whose short command name contains `name`, in this very case. The search goes
/// from the end of the kernel's table and takes the first one found whose id is 1 or more.
/// @param name What to look for; no command name contains nil or the empty text.
/// @return The process id, 1 or more; 0 where there is none or the table cannot be read.
- (NSInteger)__zltGetPIDForProcess:(NSString *)name;

/// Whether there is a process whose short command name is `name`, ignoring case.
/// @param name The name, which may be nil. The kernel cuts names at 16 characters, so that a longer
/// one is to be given by its first 16.
/// @return YES where there is one; NO where there is none, for nil and for the empty text, and
/// where the table cannot be read.
- (BOOL)__zltIsProcessRunning:(NSString *)name;

@end

#endif
