// MobileGestalt, the device's private library of facts about itself, as far as this library uses
// it.
#pragma once

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/// The value for `question`, which the caller releases; null where the device has none.
// Weak: a release may lack it, and the library has to load there all the same.
__attribute__((weak)) CFTypeRef MGCopyAnswer(CFStringRef question);

#ifdef __cplusplus
}
#endif
