// Protocols named in a file none of whose classes adopts them: this one has no class at all.

#import <Foundation/Foundation.h>

#include <gtest/gtest.h>
#include <objc/runtime.h>

@protocol VHNobodysProtocol
@end

namespace {

TEST(Protocols, AreThoseThatOtherFilesAdopt) {
  EXPECT_EQ([NSString conformsToProtocol:@protocol(NSCopying)], YES);
  EXPECT_EQ([@"text" conformsToProtocol:@protocol(NSCopying)], YES);
  EXPECT_EQ(class_conformsToProtocol([NSDate class], @protocol(NSCoding)), YES);
  EXPECT_EQ([NSObject conformsToProtocol:@protocol(NSCopying)], NO);
  EXPECT_EQ([NSString conformsToProtocol:@protocol(VHNobodysProtocol)], NO);
}

TEST(Protocols, AreFoundByName) {
  ASSERT_NE(objc_getProtocol("VHNobodysProtocol"), nullptr);
  EXPECT_STREQ(protocol_getName(objc_getProtocol("VHNobodysProtocol")), "VHNobodysProtocol");
  EXPECT_TRUE(protocol_isEqual(objc_getProtocol("NSCopying"), @protocol(NSCopying)));
}

} // namespace
