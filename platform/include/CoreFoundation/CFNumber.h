#pragma once

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/// The booleans. Not to be assigned to; they are not const because they are filled in at load time.
extern CFBooleanRef kCFBooleanTrue;
extern CFBooleanRef kCFBooleanFalse;

#ifdef __cplusplus
}
#endif
