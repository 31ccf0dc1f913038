#pragma once

#include <Foundation/NSObject.h>

@interface NSDateFormatter : NSObject
@end
