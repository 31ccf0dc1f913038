#pragma once

#include <Foundation/NSObject.h>

@interface NSDictionary : NSObject <NSCopying, NSMutableCopying, NSSecureCoding>
@property (readonly) NSUInteger count;
+ (instancetype)dictionary;
+ (instancetype)dictionaryWithObject:(id)object forKey:(id<NSCopying>)key;
+ (instancetype)dictionaryWithObjects:(const id[])objects
                              forKeys:(const id<NSCopying>[])keys
                                count:(NSUInteger)count;
+ (instancetype)dictionaryWithObjectsAndKeys:(id)first, ... __attribute__((sentinel(0, 1)));
- (id)objectForKey:(id)key;
- (id)objectForKeyedSubscript:(id)key;
@end

@interface NSMutableDictionary : NSDictionary
+ (instancetype)dictionaryWithCapacity:(NSUInteger)capacity;
- (void)setObject:(id)object forKey:(id<NSCopying>)key;
- (void)setObject:(id)object forKeyedSubscript:(id<NSCopying>)key;
- (void)setValue:(id)value forKey:(NSString *)key;
@end
