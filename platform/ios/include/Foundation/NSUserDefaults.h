#pragma once

#include <Foundation/NSObject.h>

@interface NSUserDefaults : NSObject
+ (NSUserDefaults *)standardUserDefaults;
- (NSDictionary *)persistentDomainForName:(NSString *)name;
- (void)setPersistentDomain:(NSDictionary *)domain forName:(NSString *)name;
@end
