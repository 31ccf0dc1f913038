// The forms of archiving and unarchiving that report an error instead of raising. GNUstep does not
// have the latter; its former returns nil for everything where secure coding is required, and
// reports none. Follows Apple's NSKeyedArchiver, NSKeyedUnarchiver and NSCoder references.

#include "frameworks/Foundation/replace_method.hpp"

#import <VeltroHost/NSKeyedArchiving+Device.h>

namespace {

void report(NSError **error, NSInteger code, NSString *reason) {
  if (error != nullptr)
    *error = [NSError errorWithDomain:NSCocoaErrorDomain
                                 code:code
                             userInfo:@{NSLocalizedDescriptionKey : reason}];
}

/// What `work` returns; nil and an error where it raises.
template <typename Work> id unless_raised(NSError **error, NSInteger code, Work work) {
  @try {
    return work();
  } @catch (NSException *exception) {
    report(error, code, [exception reason]);
    return nil;
  }
}

id archived_data(id /*self*/, SEL /*selector*/, id object, BOOL secure, NSError **error) {
  NSMutableData *const data = [NSMutableData data];
  NSKeyedArchiver *const archiver =
      [[[NSKeyedArchiver alloc] initForWritingWithMutableData:data] autorelease];
  return unless_raised(error, NSCoderInvalidValueError, [&] {
    [archiver setRequiresSecureCoding:secure];
    [archiver encodeObject:object forKey:@"root"];
    [archiver finishEncoding];
    return data;
  });
}

/// The root object of `data`, of the classes given where secure coding is required.
id root_object(NSData *data, BOOL secure, NSSet *expected, NSError **error) {
  NSKeyedUnarchiver *unarchiver = [NSKeyedUnarchiver alloc];
  @try {
    unarchiver = [[unarchiver initForReadingWithData:data] autorelease];
  } @catch (NSException *exception) {
    [unarchiver release];
    report(error, NSCoderReadCorruptError, [exception reason]);
    return nil;
  }
  if (unarchiver == nil || ![unarchiver containsValueForKey:@"root"]) {
    report(error, unarchiver == nil ? NSCoderReadCorruptError : NSCoderValueNotFoundError,
           @"The data is not the archive of an object.");
    return nil;
  }
  [unarchiver setRequiresSecureCoding:secure];
  return secure ? [unarchiver decodeTopLevelObjectOfClasses:expected forKey:@"root" error:error]
                : [unarchiver decodeTopLevelObjectForKey:@"root" error:error];
}

} // namespace

VH_AT_LOAD(VHArchivingErrors) {
  veltro::host::replace_class_method(
      objc_getClass("NSKeyedArchiver"),
      "archivedDataWithRootObject:requiringSecureCoding:error:", archived_data);
}

@implementation NSKeyedUnarchiver (VHDevice)

+ (id)unarchiveTopLevelObjectWithData:(NSData *)data error:(NSError **)error {
  return root_object(data, NO, nil, error);
}

+ (id)unarchivedObjectOfClass:(Class)expected fromData:(NSData *)data error:(NSError **)error {
  return [self unarchivedObjectOfClasses:[NSSet setWithObject:expected] fromData:data error:error];
}

+ (id)unarchivedObjectOfClasses:(NSSet *)expected fromData:(NSData *)data error:(NSError **)error {
  return root_object(data, YES, expected, error);
}

- (id)decodeTopLevelObjectForKey:(NSString *)key error:(NSError **)error {
  return unless_raised(error, NSCoderReadCorruptError,
                       [&] { return [self decodeObjectForKey:key]; });
}

- (id)decodeTopLevelObjectOfClass:(Class)expected forKey:(NSString *)key error:(NSError **)error {
  return [self decodeTopLevelObjectOfClasses:[NSSet setWithObject:expected] forKey:key error:error];
}

- (id)decodeTopLevelObjectOfClasses:(NSSet *)expected
                             forKey:(NSString *)key
                              error:(NSError **)error {
  return unless_raised(error, NSCoderReadCorruptError,
                       [&] { return [self decodeObjectOfClasses:expected forKey:key]; });
}

@end
