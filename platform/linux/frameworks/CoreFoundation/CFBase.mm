// CFRetain, CFRelease and the default allocator. Follows Apple's CFBase reference; allocators of
// one's own, type identifiers, CFEqual, CFHash and descriptions are left out.

#include <CoreFoundation/CFBase.h>

#import <Foundation/Foundation.h>

#include <cstdlib>

namespace {

// As on the device: a null object is the caller's mistake, and ends the process where it is made.
id checked(CFTypeRef object) {
  if (object == nullptr)
    std::abort();
  return static_cast<id>(const_cast<void *>(object));
}

} // namespace

extern "C" {

const CFAllocatorRef kCFAllocatorDefault = nullptr;

CFTypeRef CFRetain(CFTypeRef object) {
  return [checked(object) retain];
}

void CFRelease(CFTypeRef object) {
  [checked(object) release];
}

} // extern "C"
