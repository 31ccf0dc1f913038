#pragma once

#include <Foundation/NSObject.h>

@class NSData;

@interface NSCoder : NSObject
- (void)encodeObject:(id)object forKey:(NSString *)key;
- (id)decodeObjectForKey:(NSString *)key;
- (id)decodeObjectOfClass:(Class)aClass forKey:(NSString *)key;
@end

@interface NSKeyedArchiver : NSCoder
+ (NSData *)archivedDataWithRootObject:(id)root;
@end

@interface NSKeyedUnarchiver : NSCoder
+ (id)unarchiveObjectWithData:(NSData *)data;
@end
