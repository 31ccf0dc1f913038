// Dates and the text "$null" in keyed archives, in the device's form.
//
// - A date is an object of class NSDate with the key NS.time, the seconds since 2001 in UTC.
//   GNUstep writes a property list's date instead. It reads both forms.
// - The text "$null", which GNUstep cannot tell from the null reference, is an object of class
//   NSString with the key NS.string; NSKeyedUnarchiver+Objects.mm reads that form.

#import <Foundation/Foundation.h>

#include <objc/runtime.h>

namespace {

/// A class that stands for one of Foundation's while an object is archived: GNUstep writes objects
/// of the property list's own classes as they stand.
Class archived_as(NSString *name, const char *stand_in) {
  const Class made = objc_allocateClassPair([NSObject class], stand_in, 0);
  objc_registerClassPair(made);
  [NSKeyedArchiver setClassName:name forClass:made];
  return made;
}

} // namespace

@implementation NSDate (VHKeyedArchive)

- (Class)classForKeyedArchiver {
  static const Class archived = archived_as(@"NSDate", "VHArchivedDate");
  const Class coded = [self classForCoder];
  return coded == [NSDate class] ? archived : coded;
}

@end

@implementation NSString (VHKeyedArchive)

- (Class)classForKeyedArchiver {
  static const Class archived = archived_as(@"NSString", "VHArchivedString");
  const Class coded = [self classForCoder];
  return coded == [NSString class] && [self isEqualToString:@"$null"] ? archived : coded;
}

@end
