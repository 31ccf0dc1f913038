#include "parts.h"

#import <veltro/veltro.h>

/// As on the device: a class need not define what it declares unavailable.
@interface Named : NSObject
- (instancetype)init NS_UNAVAILABLE;
- (instancetype)initWithName:(NSString *)name;
- (void)end NS_REQUIRES_SUPER;
@end

@implementation Named

- (instancetype)initWithName:(NSString *)name {
  return [super init];
}

- (void)end {
}

@end

const char *class_name(void) {
  return class_getName([ZLTUtils class]);
}
