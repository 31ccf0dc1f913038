// What was patched in one class stays in that class: others that are sent the same message, as the
// first that they are ever sent, have their own method.

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>
#include <objc/runtime.h>

@interface VTFresh : NSObject
@end

@implementation VTFresh
- (id)initWithContentsOfFile:(NSString *)path {
  return (self = [super init]);
}
- (NSString *)calendarIdentifier {
  return @"mine";
}
- (id)copyWithZone:(NSZone *)zone {
  return @"a copy";
}
@end

@interface VTFreshToo : VTFresh
@end
@implementation VTFreshToo
@end

@interface VTFreshThree : VTFresh
@end
@implementation VTFreshThree
@end

namespace {

TEST(ReplacedMethods, AreNotThoseOfAClassThatIsSentItsFirstMessage) {
  id const file =
      [NSAllocateObject(objc_getClass("VTFresh"), 0, nullptr) initWithContentsOfFile:@"x"];
  EXPECT_NE(file, nil);
  id const calendar = NSAllocateObject(objc_getClass("VTFreshToo"), 0, nullptr);
  EXPECT_TRUE([[calendar calendarIdentifier] isEqual:@"mine"]);
  id const copied = NSAllocateObject(objc_getClass("VTFreshThree"), 0, nullptr);
  EXPECT_TRUE([[copied copyWithZone:nullptr] isEqual:@"a copy"]);
  [file release];
  [calendar release];
  [copied release];
}

} // namespace
