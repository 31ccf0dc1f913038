// NSSecureCoding of Foundation's own classes, none of which GNUstep declares. Follows Apple's
// NSSecureCoding reference.

#import "frameworks/Foundation/NSKeyedArchiver/secure_coding.hpp"

#include <dlfcn.h>
#include <objc/runtime.h>

// A class has no parentheses around its name. NOLINTBEGIN(bugprone-macro-parentheses)
#define VH_SECURE_CODING(name)                                                                     \
  @implementation name (VHSecureCoding)                                                            \
  +(BOOL)supportsSecureCoding {                                                                    \
    return YES;                                                                                    \
  }                                                                                                \
  @end
// NOLINTEND(bugprone-macro-parentheses)

VH_SECURE_CODING(NSArray)
VH_SECURE_CODING(NSAttributedString)
VH_SECURE_CODING(NSCalendar)
VH_SECURE_CODING(NSCharacterSet)
VH_SECURE_CODING(NSData)
VH_SECURE_CODING(NSDate)
VH_SECURE_CODING(NSDateComponents)
VH_SECURE_CODING(NSDictionary)
VH_SECURE_CODING(NSError)
VH_SECURE_CODING(NSIndexPath)
VH_SECURE_CODING(NSIndexSet)
VH_SECURE_CODING(NSLocale)
VH_SECURE_CODING(NSNull)
VH_SECURE_CODING(NSOrderedSet)
VH_SECURE_CODING(NSSet)
VH_SECURE_CODING(NSString)
VH_SECURE_CODING(NSTimeZone)
VH_SECURE_CODING(NSURL)
VH_SECURE_CODING(NSURLRequest)
VH_SECURE_CODING(NSUUID)
VH_SECURE_CODING(NSValue)

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
