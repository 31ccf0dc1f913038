// Keyed archives of dates in the device's form: an object of class NSDate with the key NS.time, the
// seconds since 2001 in UTC. GNUstep writes a property list's date instead, whose readers elsewhere
// do not expect one. Both forms are read, by GNUstep itself.

#import <Foundation/Foundation.h>

/// Stands for NSDate while one is archived: GNUstep writes an object of its own property list types
/// as it stands, and knows them by their class. Archived under the name NSDate.
@interface VHArchivedDate : NSObject
@end

@implementation VHArchivedDate

+ (void)initialize {
  if (self == [VHArchivedDate class])
    [NSKeyedArchiver setClassName:@"NSDate" forClass:self];
}

@end

@implementation NSDate (VHKeyedArchive)

- (Class)classForKeyedArchiver {
  const Class coded = [self classForCoder];
  return coded == [NSDate class] ? [VHArchivedDate class] : coded;
}

@end
