// The application's own and the global domain of NSUserDefaults, which GNUstep keeps in files under
// the user's home. It takes a file that does not read for an empty one, and replaces it with what
// was set since: the old file is kept under another name.

#import <Foundation/Foundation.h>

#include "frameworks/Foundation/replace_method.hpp"
#include "machine/property_lists/corrupt_file.hpp"

#include <objc/runtime.h>

namespace {

BOOL (*gnustep_synchronize)(id, SEL);

/// An object that a domain of GNUstep's holds in the variable `name`.
id held(id domain, const char *name) {
  const Ivar variable = class_getInstanceVariable(object_getClass(domain), name);
  return variable != nullptr ? object_getIvar(domain, variable) : nil;
}

bool has_changes(id domain) {
  return [held(domain, "added") count] + [held(domain, "modified") count] +
             [held(domain, "removed") count] !=
         0;
}

bool is_corrupt(NSString *path) {
  NSData *const data = path != nil ? [NSData dataWithContentsOfFile:path] : nil;
  if (data == nil)
    return false;
  id const list = [NSPropertyListSerialization propertyListWithData:data
                                                            options:NSPropertyListImmutable
                                                             format:nullptr
                                                              error:nullptr];
  return ![list isKindOfClass:[NSDictionary class]];
}

BOOL synchronize(id self, SEL selector) {
  NSString *const path = held(self, "path");
  if (is_corrupt(path)) {
    const char *const file = [path fileSystemRepresentation];
    veltro::host::log_corrupt_file(file);
    if (has_changes(self) && !veltro::host::quarantine_file(file))
      return NO;
  }
  return gnustep_synchronize(self, selector);
}

} // namespace

VH_AT_LOAD(VHOwnDomains) {
  gnustep_synchronize =
      veltro::host::replace_method(objc_getClass("GSPersistentDomain"), "synchronize", synchronize);
}
