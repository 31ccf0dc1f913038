// Dates and the text "$null" in keyed archives, in the device's form.
//
// - A date is an object of class NSDate with the key NS.time, the seconds since 2001 in UTC.
// GNUstep
//   writes a property list's date instead, whose readers elsewhere do not expect one. Both forms
//   are read, by GNUstep itself.
// - The text "$null", which GNUstep cannot tell from the null reference, is an object of class
//   NSString with the key NS.string; NSKeyedUnarchiver+Objects.mm reads that form.

#import <Foundation/Foundation.h>

// GNUstep writes an object of its own property list types as it stands, and knows them by their
// class: each of these stands for one while it is archived, and is archived under its name.
// A class has no parentheses around its name. NOLINTBEGIN(bugprone-macro-parentheses)
#define VH_ARCHIVED_AS(name, archived)                                                             \
  @interface name : NSObject                                                                       \
  @end                                                                                             \
  @implementation name                                                                             \
  +(void)initialize {                                                                              \
    if (self == [name class])                                                                      \
      [NSKeyedArchiver setClassName:archived forClass:self];                                       \
  }                                                                                                \
  @end
// NOLINTEND(bugprone-macro-parentheses)

VH_ARCHIVED_AS(VHArchivedDate, @"NSDate")
VH_ARCHIVED_AS(VHArchivedString, @"NSString")

@implementation NSDate (VHKeyedArchive)

- (Class)classForKeyedArchiver {
  const Class coded = [self classForCoder];
  return coded == [NSDate class] ? [VHArchivedDate class] : coded;
}

@end

@implementation NSString (VHKeyedArchive)

- (Class)classForKeyedArchiver {
  const Class coded = [self classForCoder];
  return coded == [NSString class] && [self isEqualToString:@"$null"] ? [VHArchivedString class]
                                                                      : coded;
}

@end
