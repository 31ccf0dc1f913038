// The fixed-width names that the system's C interfaces are written in.
#pragma once

#include <stdint.h>

typedef unsigned char Boolean;
typedef uint8_t UInt8;
typedef uint32_t UInt32;
typedef uint64_t UInt64;
typedef int32_t SInt32;
typedef int64_t SInt64;
typedef SInt32 OSStatus;
