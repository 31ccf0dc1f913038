#pragma once

#include <Foundation/NSObjCRuntime.h>

typedef struct _NSZone NSZone;

@class NSCoder, NSDictionary, NSMutableDictionary, NSString;

@protocol NSObject
- (BOOL)isEqual:(id)object;
@property (readonly) NSUInteger hash;
- (Class)class;
- (id)performSelector:(SEL)selector;
- (id)performSelector:(SEL)selector withObject:(id)object;
- (BOOL)isKindOfClass:(Class)aClass;
- (BOOL)respondsToSelector:(SEL)selector;
- (instancetype)retain;
- (oneway void)release;
- (instancetype)autorelease;
@property (readonly, copy) NSString *description;
@end

@protocol NSCopying
- (id)copyWithZone:(NSZone *)zone;
@end

@protocol NSMutableCopying
- (id)mutableCopyWithZone:(NSZone *)zone;
@end

@protocol NSCoding
- (void)encodeWithCoder:(NSCoder *)coder;
- (instancetype)initWithCoder:(NSCoder *)coder;
@end

@protocol NSSecureCoding <NSCoding>
+ (BOOL)supportsSecureCoding;
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject> {
  Class isa;
}
+ (instancetype)new;
+ (instancetype)alloc;
+ (Class)class;
- (instancetype)init;
- (void)dealloc;
- (id)copy;
- (id)mutableCopy;
@end
