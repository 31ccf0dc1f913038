#pragma once

#include <Foundation/NSObject.h>

@class NSData;

typedef NSUInteger NSStringEncoding;
enum : NSStringEncoding { NSASCIIStringEncoding = 1, NSUTF8StringEncoding = 4 };

@interface NSString : NSObject <NSCopying, NSMutableCopying, NSSecureCoding>
@property (readonly) NSUInteger length;
@property (readonly) float floatValue;
@property (readonly) const char *UTF8String;
+ (instancetype)string;
+ (instancetype)stringWithString:(NSString *)string;
+ (instancetype)stringWithFormat:(NSString *)format,
                                 ... __attribute__((format(__NSString__, 1, 2)));
+ (instancetype)stringWithCString:(const char *)bytes encoding:(NSStringEncoding)encoding;
- (instancetype)initWithData:(NSData *)data encoding:(NSStringEncoding)encoding;
- (instancetype)initWithBytesNoCopy:(void *)bytes
                             length:(NSUInteger)length
                           encoding:(NSStringEncoding)encoding
                       freeWhenDone:(BOOL)freeWhenDone;
- (const char *)cStringUsingEncoding:(NSStringEncoding)encoding;
- (NSData *)dataUsingEncoding:(NSStringEncoding)encoding;
- (BOOL)isEqualToString:(NSString *)other;
- (NSComparisonResult)caseInsensitiveCompare:(NSString *)other;
- (NSRange)rangeOfString:(NSString *)part;
@end

@interface NSConstantString : NSString
@end
