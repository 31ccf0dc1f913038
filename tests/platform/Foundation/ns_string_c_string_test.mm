#import <Foundation/Foundation.h>

#include <gtest/gtest.h>

/// A string of a class that the platform does not know.
@interface VTText : NSString
@end

@implementation VTText
- (NSUInteger)length {
  return 10;
}
- (unichar)characterAtIndex:(NSUInteger)index {
  return static_cast<unichar>("of its own"[index]);
}
@end

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

TEST(CStringUsingEncoding, AnswersAsciiOfEveryKindOfString) {
  NSString *const wide = [[street() stringByAppendingString:@"!"] substringFromIndex:5];
  NSString *const narrow =
      [@"a long text that is not held inside the object itself, cut in the middle"
          substringFromIndex:62];
  EXPECT_STREQ([wide cStringUsingEncoding:NSASCIIStringEncoding], "e!");
  EXPECT_STREQ([narrow cStringUsingEncoding:NSASCIIStringEncoding], "the middle");
  EXPECT_STREQ([[[VTText new] autorelease] cStringUsingEncoding:NSASCIIStringEncoding],
               "of its own");
}

TEST(CStringUsingEncoding, AnswersBytesThatAreTheCallersAlone) {
  NSMutableString *const text = [NSMutableString stringWithString:@"before"];
  const char *const bytes = [text cStringUsingEncoding:NSASCIIStringEncoding];
  [text setString:@"after!"];
  EXPECT_STREQ(bytes, "before");
}

} // namespace
