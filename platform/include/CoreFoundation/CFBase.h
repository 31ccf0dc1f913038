// The base of Core Foundation: types, and retaining and releasing. Every Core Foundation object is
// an Objective-C object and may be cast to and from one.
#pragma once

#include <MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef const void *CFTypeRef;
typedef const struct __CFAllocator *CFAllocatorRef;
typedef const struct __CFString *CFStringRef;
typedef const struct __CFData *CFDataRef;
typedef const struct __CFDictionary *CFDictionaryRef;
typedef struct __CFDictionary *CFMutableDictionaryRef;
typedef const struct __CFArray *CFArrayRef;
typedef const struct __CFBoolean *CFBooleanRef;
typedef const struct __CFError *CFErrorRef;

typedef signed long CFIndex;
typedef unsigned long CFOptionFlags;
typedef unsigned long CFTypeID;
typedef double CFTimeInterval;
typedef double CFAbsoluteTime;

/// The default allocator, which is the null reference.
extern const CFAllocatorRef kCFAllocatorDefault;

/// Retains `object`, which must not be null, and returns it.
CFTypeRef CFRetain(CFTypeRef object);

/// Releases `object`, which must not be null.
void CFRelease(CFTypeRef object);

#ifdef __cplusplus
}
#endif
