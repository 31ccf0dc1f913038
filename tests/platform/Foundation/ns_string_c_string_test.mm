#import <Foundation/Foundation.h>

#include <gtest/gtest.h>

namespace {

NSString *street() {
  return [NSString stringWithUTF8String:"Stra\xc3\x9f"
                                        "e"];
}

TEST(CStringUsingEncoding, AnswersNullForWhatDoesNotFit) {
  EXPECT_EQ([street() cStringUsingEncoding:NSASCIIStringEncoding], nullptr);
  EXPECT_EQ(
      [[NSMutableString stringWithString:street()] cStringUsingEncoding:NSASCIIStringEncoding],
      nullptr);
  EXPECT_EQ([@"Straße" cStringUsingEncoding:NSASCIIStringEncoding], nullptr);
  EXPECT_EQ([[street() substringFromIndex:2] cStringUsingEncoding:NSASCIIStringEncoding], nullptr);
  EXPECT_EQ([[NSString stringWithUTF8String:"\xf0\x9f\x98\x80"]
                cStringUsingEncoding:NSISOLatin1StringEncoding],
            nullptr);
}

TEST(CStringUsingEncoding, AnswersWhatFits) {
  EXPECT_STREQ([@"Strasse" cStringUsingEncoding:NSASCIIStringEncoding], "Strasse");
  EXPECT_STREQ(
      [[NSMutableString stringWithString:@"Strasse"] cStringUsingEncoding:NSASCIIStringEncoding],
      "Strasse");
  EXPECT_STREQ([street() cStringUsingEncoding:NSUTF8StringEncoding], "Stra\xc3\x9f"
                                                                     "e");
  EXPECT_STREQ([@"" cStringUsingEncoding:NSASCIIStringEncoding], "");
}

} // namespace
