#include <CoreFoundation/CoreFoundation.h>

#import <Foundation/Foundation.h>

#include <gtest/gtest.h>

namespace {

TEST(CFBase, RetainsAndReleasesObjectsOfObjectiveC) {
  NSObject *object = [[NSObject alloc] init];
  const NSUInteger count = [object retainCount];
  EXPECT_EQ(CFRetain(object), object);
  EXPECT_EQ([object retainCount], count + 1);
  CFRelease(object);
  EXPECT_EQ([object retainCount], count);
  [object release];
}

TEST(CFBaseDeathTest, RefusesNull) {
  EXPECT_DEATH(CFRetain(nullptr), "");
  EXPECT_DEATH(CFRelease(nullptr), "");
}

TEST(CFNumber, HasTheBooleansOfFoundation) {
  EXPECT_TRUE([(id)kCFBooleanTrue isEqual:[NSNumber numberWithBool:YES]]);
  EXPECT_TRUE([(id)kCFBooleanFalse isEqual:[NSNumber numberWithBool:NO]]);
}

} // namespace
