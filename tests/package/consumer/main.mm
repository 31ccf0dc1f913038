#import <UIKit/UIKit.h>
#import <veltro/veltro.h>

#include <cstdio>

extern "C" void *_Block_copy(const void *block);
extern "C" void _Block_release(const void *block);

/// Whether a block on the heap holds what it captures, whichever blocks runtimes are linked.
bool blocks_retain() {
  NSObject *const object = [[[NSObject alloc] init] autorelease];
  void *const block = _Block_copy((const void *)^{
    [object self];
  });
  const bool retained = [object retainCount] == 2;
  _Block_release(block);
  return retained && [object retainCount] == 1;
}

int main() {
  @autoreleasepool {
    std::printf("release %s, class %s, blocks %s\n",
                [[[UIDevice currentDevice] systemVersion] UTF8String],
                [NSStringFromClass([ZLTUtils class]) UTF8String],
                blocks_retain() ? "retain" : "do not retain");
  }
  return 0;
}
