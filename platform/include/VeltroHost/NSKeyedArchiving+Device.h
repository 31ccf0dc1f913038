// The forms of unarchiving that report an error, which the device's Foundation declares and
// GNUstep's does not.
#pragma once

#import <Foundation/Foundation.h>

/// Codes in NSCocoaErrorDomain.
enum {
  NSCoderReadCorruptError = 4864,   ///< the archive cannot be read
  NSCoderValueNotFoundError = 4865, ///< the archive has no such value
  NSCoderInvalidValueError = 4866,  ///< an object may not be archived
};

/// Each returns an autoreleased object, or nil with `*error` set (unless `error` is null) where the
/// archive cannot be read or holds something else than was asked for. None raises for an archive's
/// sake.
@interface NSKeyedUnarchiver (VHDevice)

/// The root object, without requiring secure coding.
+ (id)unarchiveTopLevelObjectWithData:(NSData *)data error:(NSError **)error;

/// The root object; secure coding is required.
+ (id)unarchivedObjectOfClass:(Class)expected fromData:(NSData *)data error:(NSError **)error;
+ (id)unarchivedObjectOfClasses:(NSSet *)expected fromData:(NSData *)data error:(NSError **)error;

/// The object for `key`; nil without an error where there is no such key.
- (id)decodeTopLevelObjectForKey:(NSString *)key error:(NSError **)error;
- (id)decodeTopLevelObjectOfClass:(Class)expected forKey:(NSString *)key error:(NSError **)error;
- (id)decodeTopLevelObjectOfClasses:(NSSet *)expected
                             forKey:(NSString *)key
                              error:(NSError **)error;

@end
