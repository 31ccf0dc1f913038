#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <veltro/ZLTUtils.h>

/// What runs on the device.
@interface ZLTUtils (ProcessTable)

/// Whether the messaging app runs: whether a process exists whose command name is "WhatsApp",
/// ignoring case. Reads the kernel's process table afresh, on the caller's thread, which may be
/// any.
/// @return YES where it runs; NO where it does not, and where the table cannot be read.
+ (BOOL)isWhatsAppRunning;

@end

#endif
