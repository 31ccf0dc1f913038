// Ownership written out once for both ways to manage memory.
#include "ownership.h"
#include "parts.h"

#import <CoreFoundation/CoreFoundation.h>
#import <veltro/veltro.h>

static int freed;

@interface Owner : NSObject {
  NSString *_name;
}
- (id)initWithName:(NSString *)name;
- (NSString *)name;
@end

@implementation Owner

- (id)initWithName:(NSString *)name {
  self = [super init];
  if (self != nil)
    _name = OWN_RETAIN(name);
  return self;
}

- (NSString *)name {
  return OWN_AUTORELEASE(OWN_RETAIN(_name));
}

- (void)dealloc {
  OWN_RELEASE(_name);
  ++freed;
  OWN_SUPER_DEALLOC();
}

@end

int owners_freed(void) {
  freed = 0;
  @autoreleasepool {
    Owner *const released = [[Owner alloc] initWithName:[ZLTUtils platform]];
    Owner *const autoreleased = OWN_AUTORELEASE([[Owner alloc] initWithName:[released name]]);
    CFTypeRef owned = CFRetain((__bridge CFTypeRef)autoreleased);
    Owner *const taken = OWN_TAKE(owned);
    void (^block)(void) = OWN_COPY_BLOCK(^{
      freed += [taken name] == nil ? 1 : 0;
    });
    block();
    OWN_RELEASE_BLOCK(block);
    OWN_RELEASE(released);
  }
  return freed;
}
