// The forms of unarchiving that report an error instead of raising, which GNUstep does not have.
// Follows Apple's NSKeyedUnarchiver and NSCoder references.

#import <VeltroHost/NSKeyedArchiving+Device.h>

namespace {

void report(NSError **error, NSInteger code, NSString *reason) {
  if (error != nullptr)
    *error =
        [NSError errorWithDomain:NSCocoaErrorDomain
                            code:code
                        userInfo:[NSDictionary dictionaryWithObject:reason
                                                             forKey:NSLocalizedDescriptionKey]];
}

/// What `decode` returns; nil and an error where it raises.
template <typename Decode> id decoded(NSError **error, Decode decode) {
  @try {
    return decode();
  } @catch (NSException *exception) {
    report(error, NSCoderReadCorruptError, [exception reason]);
    return nil;
  }
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
  return decoded(error, [&] { return [self decodeObjectForKey:key]; });
}

- (id)decodeTopLevelObjectOfClass:(Class)expected forKey:(NSString *)key error:(NSError **)error {
  return [self decodeTopLevelObjectOfClasses:[NSSet setWithObject:expected] forKey:key error:error];
}

- (id)decodeTopLevelObjectOfClasses:(NSSet *)expected
                             forKey:(NSString *)key
                              error:(NSError **)error {
  return decoded(error, [&] { return [self decodeObjectOfClasses:expected forKey:key]; });
}

@end
