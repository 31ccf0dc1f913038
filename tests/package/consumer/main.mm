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

int main() {
  @autoreleasepool {
    std::printf("release %s, class %s, blocks %s, notifications %s, processes %s, %d freed\n",
                [[[UIDevice currentDevice] systemVersion] UTF8String], class_name(),
                blocks_retain() ? "retain" : "do not retain",
                notifications_arrive() ? "arrive" : "are lost", processes() ? "listed" : "missing",
                owners_freed());
  }
  return 0;
}
