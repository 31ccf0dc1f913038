#import <UIKit/UIKit.h>
#import <veltro/veltro.h>

#include <cstdio>

int main() {
  @autoreleasepool {
    std::printf("release %s, class %s\n", [[[UIDevice currentDevice] systemVersion] UTF8String],
                [NSStringFromClass([ZLTUtils class]) UTF8String]);
  }
  return 0;
}
