// requiresSecureCoding of NSKeyedArchiver, which GNUstep remembers and does not enforce: an object
// whose class does not support secure coding is refused. Its form that reports an error returns nil
// for everything where secure coding is required, and reports none. Follows Apple's NSKeyedArchiver
// reference.

#import "frameworks/Foundation/NSKeyedArchiver/secure_coding.hpp"
#include "frameworks/Foundation/replace_method.hpp"

#import <VeltroHost/NSKeyedArchiving+Device.h>

namespace {

using EncodeObject = id (*)(id, SEL, id, BOOL);
EncodeObject encode_object;

id encode_checked(id self, SEL selector, id object, BOOL conditional) {
  if (object != nil && [self requiresSecureCoding] &&
      !veltro::host::supports_secure_coding([object classForCoder]))
    [NSException raise:NSInvalidArchiveOperationException
                format:@"Secure coding is required and class '%@' does not support it.",
                       [object classForCoder]];
  return encode_object(self, selector, object, conditional);
}

id archived_data(id /*self*/, SEL /*selector*/, id object, BOOL secure, NSError **error) {
  NSMutableData *const data = [NSMutableData data];
  NSKeyedArchiver *const archiver =
      [[[NSKeyedArchiver alloc] initForWritingWithMutableData:data] autorelease];
  @try {
    [archiver setRequiresSecureCoding:secure];
    [archiver encodeObject:object forKey:@"root"];
    [archiver finishEncoding];
    return data;
  } @catch (NSException *exception) {
    if (error != nullptr)
      *error =
          [NSError errorWithDomain:NSCocoaErrorDomain
                              code:NSCoderInvalidValueError
                          userInfo:[NSDictionary dictionaryWithObject:[exception reason]
                                                               forKey:NSLocalizedDescriptionKey]];
    return nil;
  }
}

} // namespace

VH_AT_LOAD(VHSecureArchiving) {
  const Class archiver = objc_getClass("NSKeyedArchiver");
  encode_object =
      veltro::host::replace_method(archiver, "_encodeObject:conditional:", encode_checked);
  veltro::host::replace_class_method(
      archiver, "archivedDataWithRootObject:requiringSecureCoding:error:", archived_data);
}
