#include "parts.h"

#import <UIKit/UIKit.h>
#import <veltro/veltro.h>

#include <Block.h>
#include <cstdio>

/// Whether a block on the heap holds what it captures, whichever blocks runtimes are linked.
bool blocks_retain() {
  NSObject *const object = [[[NSObject alloc] init] autorelease];
  void (^const block)() = Block_copy(^{
    [object self];
  });
  const bool retained = [object retainCount] == 2;
  Block_release(block);
  return retained && [object retainCount] == 1;
}

/// What makes an object returns one of its class, and so takes a dot.
NSUInteger lengths() {
  return [NSString stringWithFormat:@"%d", 12].length + [NSMutableData dataWithLength:3].length +
         [NSError errorWithDomain:@"four" code:1 userInfo:nil].domain.length +
         [NSIndexSet indexSetWithIndex:9].count;
}

int main() {
  @autoreleasepool {
    if (lengths() != 10)
      return 1;
    std::printf("release %s, class %s, blocks %s, notifications %s, processes %s, %d freed\n",
                [[[UIDevice currentDevice] systemVersion] UTF8String], class_name(),
                blocks_retain() ? "retain" : "do not retain",
                notifications_arrive() ? "arrive" : "are lost", processes() ? "listed" : "missing",
                owners_freed());
  }
  return 0;
}
