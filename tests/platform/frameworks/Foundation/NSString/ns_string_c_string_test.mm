#import <Foundation/Foundation.h>

#include <cstring>
#include <gtest/gtest.h>
#include <objc/runtime.h>
#include <set>
#include <string>

/// A string of a class that the platform does not know.
@interface VTText : NSString {
  const char *text_;
}
- (id)initWithText:(const char *)text;
@end

@implementation VTText
- (id)initWithText:(const char *)text {
  if ((self = [super init]) != nil)
    text_ = text;
  return self;
}
- (NSUInteger)length {
  return std::strlen(text_);
}
- (unichar)characterAtIndex:(NSUInteger)index {
  return static_cast<unichar>(text_[index]);
}
@end

namespace {

NSString *street() {
  return [NSString stringWithUTF8String:"Stra\xc3\x9f"
                                        "e"];
}

TEST(CStringUsingEncoding, ReturnsNullForWhatDoesNotFit) {
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

TEST(CStringUsingEncoding, LooksBehindAZero) {
  const unichar fits[] = {'a', 0, 'b'};
  const unichar does_not[] = {'a', 0, 0xe9};
  EXPECT_STREQ([[NSString stringWithCharacters:fits
                                        length:3] cStringUsingEncoding:NSASCIIStringEncoding],
               "a");
  EXPECT_EQ([[NSString stringWithCharacters:does_not
                                     length:3] cStringUsingEncoding:NSASCIIStringEncoding],
            nullptr);
}

TEST(CStringUsingEncoding, ReturnsWhatFits) {
  EXPECT_STREQ([@"Strasse" cStringUsingEncoding:NSASCIIStringEncoding], "Strasse");
  EXPECT_STREQ(
      [[NSMutableString stringWithString:@"Strasse"] cStringUsingEncoding:NSASCIIStringEncoding],
      "Strasse");
  EXPECT_STREQ([street() cStringUsingEncoding:NSUTF8StringEncoding], "Stra\xc3\x9f"
                                                                     "e");
  EXPECT_STREQ([@"" cStringUsingEncoding:NSASCIIStringEncoding], "");
}

TEST(CStringUsingEncoding, ReturnsAsciiOfEveryKindOfString) {
  NSString *const wide = [[street() stringByAppendingString:@"!"] substringFromIndex:5];
  NSString *const narrow =
      [@"a long text that is not held inside the object itself, cut in the middle"
          substringFromIndex:62];
  EXPECT_STREQ([wide cStringUsingEncoding:NSASCIIStringEncoding], "e!");
  EXPECT_STREQ([narrow cStringUsingEncoding:NSASCIIStringEncoding], "the middle");
  EXPECT_STREQ([[[[VTText alloc] initWithText:"of its own"] autorelease]
                   cStringUsingEncoding:NSASCIIStringEncoding],
               "of its own");
}

TEST(CStringUsingEncoding, ReturnsBytesThatAreTheCallersOnly) {
  NSMutableString *const text = [NSMutableString stringWithString:@"before"];
  const char *const bytes = [text cStringUsingEncoding:NSASCIIStringEncoding];
  [text setString:@"after!"];
  EXPECT_STREQ(bytes, "before");
}

/// The first `length` letters of "abc" in every way that a string can be held.
NSArray *ways_to_hold(std::size_t length) {
  const char *const texts[] = {"", "a", "ab", "abc"};
  NSString *const literals[] = {@"", @"a", @"ab", @"abc"};
  const char *const text = texts[length];
  NSString *const narrow = [NSString stringWithUTF8String:text];
  const std::string tail(80, 'x');
  NSString *const long_narrow = [narrow stringByAppendingFormat:@"%s", tail.c_str()];
  NSString *const euro = [NSString stringWithUTF8String:"\xe2\x82\xac"];
  NSString *const long_wide = [long_narrow stringByAppendingString:euro];
  NSMutableString *const once_wide = [NSMutableString stringWithString:euro];
  [once_wide setString:narrow];
  const unichar characters[] = {'a', 'b', 'c'};
  NSMutableArray *const all = [NSMutableArray
      arrayWithObjects:literals[length], narrow, [NSString stringWithFormat:@"%s", text],
                       [NSMutableString stringWithUTF8String:text],
                       [[[NSMutableString stringWithUTF8String:text] copy] autorelease], once_wide,
                       [[once_wide copy] autorelease], [long_narrow substringToIndex:length],
                       [long_wide substringToIndex:length],
                       [NSString stringWithCharacters:characters length:length],
                       [[[VTText alloc] initWithText:text] autorelease], nil];
  for (const NSStringEncoding encoding :
       {NSASCIIStringEncoding, NSISOLatin1StringEncoding, NSUTF8StringEncoding})
    [all addObject:[[[NSString alloc] initWithBytesNoCopy:strdup(text)
                                                   length:length
                                                 encoding:encoding
                                             freeWhenDone:YES] autorelease]];
  return all;
}

TEST(CStringUsingEncoding, ReturnsTheShortestTextsOfEveryClass) {
  const char *const expected[] = {"", "a", "ab", "abc"};
  std::set<std::string> classes;
  for (std::size_t length = 0; length < std::size(expected); ++length)
    for (NSString *string in ways_to_hold(length)) {
      classes.insert(class_getName([string class]));
      SCOPED_TRACE(std::to_string(length) + " letters in a " + class_getName([string class]));
      for (const NSStringEncoding encoding :
           {NSASCIIStringEncoding, NSUTF8StringEncoding, NSISOLatin1StringEncoding})
        EXPECT_STREQ([string cStringUsingEncoding:encoding], expected[length]) << encoding;
      EXPECT_STREQ([string UTF8String], expected[length]);
      NSData *const bytes = [string dataUsingEncoding:NSUTF8StringEncoding];
      EXPECT_EQ(std::string(static_cast<const char *>([bytes bytes]), [bytes length]),
                expected[length]);
    }
  EXPECT_GE(classes.size(), 8U) << "of the cluster";
}

} // namespace
