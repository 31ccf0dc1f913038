#pragma once

#include <Foundation/NSObject.h>

@interface NSURL : NSObject <NSCopying, NSSecureCoding>
@property (readonly, copy) NSString *path;
@end
