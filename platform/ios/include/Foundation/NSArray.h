#pragma once

#include <Foundation/NSObject.h>

@interface NSArray : NSObject <NSCopying, NSMutableCopying, NSSecureCoding>
@property (readonly) NSUInteger count;
+ (instancetype)arrayWithObjects:(const id[])objects count:(NSUInteger)count;
+ (instancetype)arrayWithObjects:(id)first, ... __attribute__((sentinel(0, 1)));
- (id)objectAtIndex:(NSUInteger)index;
- (id)objectAtIndexedSubscript:(NSUInteger)index;
- (void)enumerateObjectsUsingBlock:(void (^)(id object, NSUInteger index, BOOL *stop))block;
@end

@interface NSMutableArray : NSArray
+ (instancetype)array;
- (void)addObject:(id)object;
@end
