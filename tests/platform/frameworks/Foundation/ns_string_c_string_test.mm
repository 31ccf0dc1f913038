#import <Foundation/Foundation.h>

#include <gtest/gtest.h>
#include <string>

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

// A megabyte and more takes a way of its own.

TEST(StringWithCString, CopiesMegabytes) {
  for (const std::size_t length : {(1U << 20) - 1, 1U << 20, (1U << 20) + 1, 9U << 20}) {
    std::string text(length, 'a');
    text.back() = 'z';
    NSString *const string = [NSString stringWithCString:text.c_str()
                                                encoding:NSASCIIStringEncoding];
    ASSERT_EQ([string length], length);
    text[0] = 'b';
    EXPECT_EQ([string characterAtIndex:0], 'a') << "of its own";
    EXPECT_EQ([string characterAtIndex:length - 1], 'z');
    NSData *const bytes = [string dataUsingEncoding:NSASCIIStringEncoding];
    EXPECT_EQ([bytes length], length);
  }
}

TEST(StringWithCString, CopiesMegabytesIntoAStringThatChanges) {
  const std::string text(2U << 20, 'a');
  NSMutableString *const string = [NSMutableString stringWithCString:text.c_str()
                                                            encoding:NSASCIIStringEncoding];
  [string appendString:@"b"];
  EXPECT_EQ([string length], text.size() + 1);
  EXPECT_EQ([string characterAtIndex:text.size()], 'b');
}

TEST(StringWithCString, TakesMegabytesInTheirEncoding) {
  std::string text(2U << 20, 'a');
  text[5] = '\xe4';
  EXPECT_EQ([[NSString stringWithCString:text.c_str()
                                encoding:NSISOLatin1StringEncoding] characterAtIndex:5],
            0xe4);
  EXPECT_EQ([NSString stringWithCString:text.c_str() encoding:NSASCIIStringEncoding], nil);
}

} // namespace
