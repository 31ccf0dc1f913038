#pragma once

#include <Foundation/NSObject.h>

@interface NSThread : NSObject
+ (BOOL)isMainThread;
@end
