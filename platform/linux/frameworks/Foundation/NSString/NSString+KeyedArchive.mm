// The text "$null" in keyed archives, which GNUstep cannot tell from the null reference. The device
// writes it as an object of class NSString with the key NS.string; NSKeyedUnarchiver+Objects.mm
// reads that form.

#import <Foundation/Foundation.h>

/// Stands for NSString while that text is archived. Archived under the name NSString.
@interface VHArchivedString : NSObject
@end

@implementation VHArchivedString

+ (void)initialize {
  if (self == [VHArchivedString class])
    [NSKeyedArchiver setClassName:@"NSString" forClass:self];
}

@end

@implementation NSString (VHKeyedArchive)

- (Class)classForKeyedArchiver {
  const Class coded = [self classForCoder];
  return coded == [NSString class] && [self isEqualToString:@"$null"] ? [VHArchivedString class]
                                                                      : coded;
}

@end
