#pragma once

#include <Foundation/NSObject.h>

FOUNDATION_EXPORT NSString *const NSLocalizedDescriptionKey;

@interface NSError : NSObject <NSCopying, NSSecureCoding>
+ (instancetype)errorWithDomain:(NSString *)domain
                           code:(NSInteger)code
                       userInfo:(NSDictionary *)userInfo;
@end
