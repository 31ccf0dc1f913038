#include "parts.h"

#import <veltro/veltro.h>

const char *class_name(void) {
  return class_getName([ZLTUtils class]);
}
