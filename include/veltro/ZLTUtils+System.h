#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <veltro/ZLTUtils.h>

/// Which release the device runs and which model it is. Nothing is cached: each call asks the
/// platform. Any thread.
///
/// The release is compared as one single-precision number, the first two parts of the version.
@interface ZLTUtils (System)

/// Whether the release is 8.0 or later.
/// @return YES or NO; NO where the version does not start with a number.
+ (BOOL)isIOS8;

/// Whether the release is 8.2 or later. A release written 8.10 counts as 8.1.
/// @return YES or NO; NO where the version does not start with a number.
+ (BOOL)isIOS8_2;

/// Whether the release is 9.0 or later.
/// @return YES or NO; NO where the version does not start with a number.
+ (BOOL)isIOS9;

/// The identifier of the hardware model, such as iPhone7,2.
/// @return The identifier, autoreleased; never nil, and empty where the kernel does not tell it.
+ (NSString *)platform;

@end

#endif
