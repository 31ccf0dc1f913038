#import <veltro/ZLTUtils+System.h>

#include "utils/release.hpp"

#import <UIKit/UIKit.h>

#include <stdlib.h>
#include <sys/sysctl.h>

namespace {

bool runs_at_least(float threshold) {
  return veltro::release::is_at_least([[[UIDevice currentDevice] systemVersion] floatValue],
                                      threshold);
}

} // namespace

@implementation ZLTUtils (System)

+ (BOOL)isIOS8 {
  return runs_at_least(veltro::release::kIOS8) ? YES : NO;
}

+ (BOOL)isIOS8_2 {
  return runs_at_least(veltro::release::kIOS8_2) ? YES : NO;
}

+ (BOOL)isIOS9 {
  return runs_at_least(veltro::release::kIOS9) ? YES : NO;
}

+ (NSString *)platform {
  size_t length = 0;
  sysctlbyname("hw.machine", nullptr, &length, nullptr, 0);
  char *const model = static_cast<char *>(malloc(length));
  // No result is looked at: what cannot be read is left as the empty text that is put here first.
  const bool is_writable = length != 0 && model != nullptr;
  if (is_writable)
    *model = '\0';
  sysctlbyname("hw.machine", model, &length, nullptr, 0);
  NSString *const text = [NSString stringWithFormat:@"%s", is_writable ? model : ""];
  free(model);
  return text;
}

@end
