// The two booleans of Core Foundation, which are Foundation's. CFNumber is left out.

#include <CoreFoundation/CFNumber.h>

#import <Foundation/Foundation.h>

#include "frameworks/Foundation/replace_method.hpp"

CFBooleanRef kCFBooleanTrue;
CFBooleanRef kCFBooleanFalse;

// A message needs the runtime to know this file's selectors, which it does not yet in a C++
// initialiser.
VH_AT_LOAD(VHBooleans) {
  @autoreleasepool {
    kCFBooleanTrue = reinterpret_cast<CFBooleanRef>([[NSNumber numberWithBool:YES] retain]);
    kCFBooleanFalse = reinterpret_cast<CFBooleanRef>([[NSNumber numberWithBool:NO] retain]);
  }
}
