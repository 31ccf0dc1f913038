// Protocols named by @protocol(…). clang lists those of a file in a category of a class that it
// expects nobody to have; GCC's runtime makes protocols usable when it adds a category to its
// class. With the class there, conformsToProtocol: is right also where no class of the file adopts
// them.

#import <Foundation/Foundation.h>

// The compiler's name. NOLINTNEXTLINE(bugprone-reserved-identifier)
@interface __ObjC_Protocol_Holder_Ugly_Hack : NSObject
@end

@implementation __ObjC_Protocol_Holder_Ugly_Hack
@end
