// GNUstep's <Foundation/NSObjCRuntime.h>, with what it leaves empty or out of the attributes that
// source for the device puts on its methods.
#pragma once

#include_next <Foundation/NSObjCRuntime.h>

#undef NS_UNAVAILABLE
#define NS_UNAVAILABLE __attribute__((unavailable))
#ifndef NS_REQUIRES_SUPER
#define NS_REQUIRES_SUPER __attribute__((objc_requires_super))
#endif
