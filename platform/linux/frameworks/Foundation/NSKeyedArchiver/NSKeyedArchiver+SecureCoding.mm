// NSSecureCoding of Foundation's own classes, none of which GNUstep declares, and
// requiresSecureCoding of NSKeyedArchiver, which GNUstep remembers and does not enforce: an object
// whose class does not support secure coding is refused. Follows Apple's NSSecureCoding and
// NSKeyedArchiver references.

#import "frameworks/Foundation/NSKeyedArchiver/secure_coding.hpp"
#include "frameworks/Foundation/replace_method.hpp"

#include <dlfcn.h>
#include <objc/runtime.h>

namespace veltro::host {
namespace {

const void *object_file_of(IMP method) {
  Dl_info info{};
  return dladdr(reinterpret_cast<void *>(method), &info) != 0 ? info.dli_fbase : nullptr;
}

/// Whether a class's method is not its superclass's; metaclasses are given for class methods.
bool overrides(Class owner, Class parent, SEL selector) {
  return class_getMethodImplementation(owner, selector) !=
         class_getMethodImplementation(parent, selector);
}

id (*encode_object)(id, SEL, id, BOOL);

id encode_checked(id self, SEL selector, id object, BOOL conditional) {
  if (object != nil && [self requiresSecureCoding] &&
      !supports_secure_coding([object classForCoder]))
    [NSException raise:NSInvalidArchiveOperationException
                format:@"Secure coding is required and class '%@' does not support it.",
                       [object classForCoder]];
  // GNUstep leaves `_enc` at the record of an object that raises, and then releases it twice.
  static const Ivar current = class_getInstanceVariable([NSKeyedArchiver class], "_enc");
  const id outer = object_getIvar(self, current);
  @try {
    return encode_object(self, selector, object, conditional);
  } @finally {
    object_setIvar(self, current, outer);
  }
}

} // namespace

bool supports_secure_coding(Class candidate) {
  if (![candidate respondsToSelector:@selector(supportsSecureCoding)] ||
      ![candidate supportsSecureCoding])
    return false;
  for (Class owner = candidate; owner != Nil; owner = class_getSuperclass(owner)) {
    const Class parent = class_getSuperclass(owner);
    if (overrides(object_getClass(owner), object_getClass(parent), @selector(supportsSecureCoding)))
      return true;
    if (overrides(owner, parent, @selector(initWithCoder:)))
      return foundation_decodes(owner);
  }
  return false;
}

bool foundation_decodes(Class candidate) {
  return object_file_of(class_getMethodImplementation(candidate, @selector(initWithCoder:))) ==
         object_file_of(class_getMethodImplementation([NSArray class], @selector(initWithCoder:)));
}

} // namespace veltro::host

VH_AT_LOAD(VHSecureCoding) {
  using namespace veltro::host;
  const auto yes = +[](Class, SEL) -> BOOL { return YES; };
  for (const char *name :
       {"NSArray",    "NSAttributedString", "NSCalendar",   "NSCharacterSet", "NSData",
        "NSDate",     "NSDateComponents",   "NSDictionary", "NSError",        "NSIndexPath",
        "NSIndexSet", "NSLocale",           "NSNull",       "NSOrderedSet",   "NSSet",
        "NSString",   "NSTimeZone",         "NSURL",        "NSURLRequest",   "NSUUID",
        "NSValue"})
    class_addMethod(object_getClass(objc_getClass(name)), sel_registerName("supportsSecureCoding"),
                    reinterpret_cast<IMP>(reinterpret_cast<void (*)()>(yes)), "C@:");
  encode_object = replace_method(objc_getClass("NSKeyedArchiver"),
                                 "_encodeObject:conditional:", encode_checked);
}
