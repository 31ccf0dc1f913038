// The two booleans of Core Foundation, which are Foundation's. CFNumber is left out.

#include <CoreFoundation/CFNumber.h>

#import <Foundation/Foundation.h>

CFBooleanRef kCFBooleanTrue;
CFBooleanRef kCFBooleanFalse;

/// Fills in the booleans. A message needs the runtime to know this file's selectors, which it does
/// in +load and not yet in a C++ initialiser.
@interface VHBooleans : NSObject
@end

@implementation VHBooleans

+ (void)load {
  @autoreleasepool {
    kCFBooleanTrue = reinterpret_cast<CFBooleanRef>([[NSNumber numberWithBool:YES] retain]);
    kCFBooleanFalse = reinterpret_cast<CFBooleanRef>([[NSNumber numberWithBool:NO] retain]);
  }
}

@end
