// Strings that hold half a surrogate pair, as when an emoji is cut in two.

#import <Foundation/Foundation.h>
#import <GNUstepBase/Unicode.h>

#include <gtest/gtest.h>
#include <vector>

namespace {

using Characters = std::vector<unichar>;

Characters characters_of(NSString *text) {
  Characters characters([text length]);
  [text getCharacters:characters.data() range:NSMakeRange(0, characters.size())];
  return characters;
}

NSString *string_of(const Characters &characters) {
  return [NSString stringWithCharacters:characters.data() length:characters.size()];
}

const Characters kTexts[] = {{0xD83D}, {0xDE00, 'a'}, {'a', 0xD83D, 'b'}, {0xDE00, 0xD83D}};

TEST(HalfASurrogatePair, IsKeptByEveryKindOfString) {
  for (const Characters &characters : kTexts) {
    NSString *const text = string_of(characters);
    EXPECT_EQ(characters_of(text), characters);
    EXPECT_EQ(characters_of([[text mutableCopy] autorelease]), characters);
    EXPECT_EQ(characters_of([NSMutableString stringWithCharacters:characters.data()
                                                           length:characters.size()]),
              characters);
    Characters longer = characters;
    longer.push_back('!');
    EXPECT_EQ(characters_of([text stringByAppendingString:@"!"]), longer);
    EXPECT_TRUE([text isEqual:string_of(characters)]);
    EXPECT_FALSE([text isEqual:string_of(longer)]);
  }
}

TEST(HalfASurrogatePair, IsLeftOfAnEmoji) {
  NSString *const text = @"hi\U0001F600x";
  EXPECT_EQ(characters_of([text substringToIndex:3]), (Characters{'h', 'i', 0xD83D}));
  EXPECT_EQ(characters_of([text substringFromIndex:3]), (Characters{0xDE00, 'x'}));
}

TEST(HalfASurrogatePair, HasNoUTF8) {
  NSString *const text = string_of({'a', 0xD83D, 'b'});
  EXPECT_EQ([text dataUsingEncoding:NSUTF8StringEncoding], nil);
  NSString *const changed = [NSMutableString stringWithString:text];
  for (NSString *each in
       @[ text, changed, [text substringFromIndex:1], [[changed copy] autorelease] ]) {
    EXPECT_EQ([each cStringUsingEncoding:NSUTF8StringEncoding], nullptr);
    EXPECT_EQ([each UTF8String], nullptr);
  }
  const char bytes[] = "a\xED\xA0\xBD";
  EXPECT_EQ([NSString stringWithUTF8String:bytes], nil);
}

TEST(HalfASurrogatePair, IsArchived) {
  for (const Characters &characters : kTexts) {
    NSArray *const list = [NSArray arrayWithObjects:@"before", string_of(characters), nil];
    NSArray *const back = [NSKeyedUnarchiver
        unarchiveObjectWithData:[NSKeyedArchiver archivedDataWithRootObject:list]];
    ASSERT_EQ([back count], 2U);
    EXPECT_EQ(characters_of([back objectAtIndex:1]), characters);
  }
}

TEST(HalfASurrogatePair, StandsInTextAsAnEscape) {
  NSDictionary *const strings = [@"\"key\" = \"a\\UD83D\";" propertyListFromStringsFileFormat];
  EXPECT_EQ(characters_of([strings objectForKey:@"key"]), (Characters{'a', 0xD83D}));
  NSArray *const list = [NSArray arrayWithObject:string_of({'a', 0xD83D})];
  NSData *const xml = [NSPropertyListSerialization dataWithPropertyList:list
                                                                 format:NSPropertyListXMLFormat_v1_0
                                                                options:0
                                                                  error:nullptr];
  EXPECT_TRUE([[NSPropertyListSerialization propertyListWithData:xml
                                                         options:NSPropertyListImmutable
                                                          format:nullptr
                                                           error:nullptr] isEqual:list]);
}

TEST(Characters, AreFoundToBeNarrow) {
  struct Case {
    Characters characters;
    bool ascii;
    bool latin1;
  };
  for (const Case &each : {Case{{}, true, true}, Case{{'a', 0x7F}, true, true},
                           Case{{'a', 0x80}, false, true}, Case{{0xFF, 'a'}, false, true},
                           Case{{'a', 0x100}, false, false}, Case{{0xD83D, 'a'}, false, false}}) {
    BOOL ascii = NO;
    BOOL latin1 = NO;
    const auto length = static_cast<unsigned>(each.characters.size());
    EXPECT_EQ(GSUnicode(each.characters.data(), length, &ascii, &latin1), length);
    EXPECT_EQ(ascii == YES, each.ascii);
    EXPECT_EQ(latin1 == YES, each.latin1);
    EXPECT_EQ(GSUnicode(each.characters.data(), length, nullptr, nullptr), length);
  }
}

} // namespace
