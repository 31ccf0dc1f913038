// Stops a file that cannot use the interface with one error, in place of a page of them.
#pragma once

#ifndef __OBJC__
#error "libveltro's headers are Objective-C: make this file Objective-C (.m) or Objective-C++ (.mm)"
#elif !defined(__APPLE__) && __has_feature(objc_arc)
#error "no ARC on Linux, whose Objective-C runtime is GCC's: leave out -fobjc-arc (see docs/arc.md)"
#else
/// Defined where the interface can be used.
#define VELTRO_LANGUAGE 1
#endif
