// Foundation's readers of property lists, given what is none.

#import <Foundation/Foundation.h>

#include "support/captured_log.hpp"
#include "support/scratch.hpp"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

std::string repeated(const std::string &text, int times) {
  std::string all;
  for (int time = 0; time < times; ++time)
    all += text;
  return all;
}

const std::string kXmlStart = "<?xml version=\"1.0\"?><plist version=\"1.0\">";

TEST(XmlList, NeedsNoDeclarationAtTheVeryStart) {
  const std::string type = "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">";
  // What brackets nest in the old format of text says nothing here.
  const std::string brackets = repeated("(", 1000);
  const std::string list = "<plist version=\"1.0\"><dict><key>\xC3\xA4</key><string>" + brackets +
                           "</string></dict></plist>";
  NSDictionary *const expected = @{@"ä" : [NSString stringWithUTF8String:brackets.c_str()]};
  const std::string file = veltro::test::scratch() / "list";
  NSString *const path = [NSString stringWithUTF8String:file.c_str()];
  const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
  const std::string texts[] = {declaration + type + list,
                               list,
                               type + list,
                               " \r\n\t" + declaration + list,
                               "\xEF\xBB\xBF" + declaration + list,
                               "\xEF\xBB\xBF\n" + list,
                               "<!-- one -->" + list,
                               "\n<!-- one -->\n<!-- another -->" + type + list};
  for (const std::string &text : texts) {
    NSPropertyListFormat format = NSPropertyListOpenStepFormat;
    NSDictionary *const found = [NSPropertyListSerialization
        propertyListWithData:[NSData dataWithBytes:text.data() length:text.size()]
                     options:NSPropertyListImmutable
                      format:&format
                       error:nullptr];
    EXPECT_TRUE([found isEqual:expected]) << text;
    EXPECT_EQ(format, NSPropertyListXMLFormat_v1_0) << text;
    EXPECT_TRUE([[[NSString stringWithUTF8String:text.c_str()] propertyList] isEqual:expected])
        << text;
    std::ofstream(file) << text;
    EXPECT_TRUE([[NSDictionary dictionaryWithContentsOfFile:path] isEqual:expected]) << text;
  }
}

TEST(XmlList, HoldsTheTextOfSections) {
  NSString *const list = @"<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                         @"<key><![CDATA[a<b]]></key>"
                         @"<string>one <![CDATA[<ä&amp;>]]> two<![CDATA[]]></string>"
                         @"<key>brackets</key><string><![CDATA[]]]]><![CDATA[>]]></string>"
                         @"<key>number</key><integer><![CDATA[5]]></integer></dict></plist>";
  NSDictionary *const expected =
      @{@"a<b" : @"one <ä&amp;> two",
        @"brackets" : @"]]>",
        @"number" : @5};
  EXPECT_TRUE([[list propertyList] isEqual:expected]);
}

struct Damaged {
  const char *name;
  std::string bytes;
};

void PrintTo(const Damaged &damaged, std::ostream *stream) {
  *stream << damaged.name;
}

class DamagedList : public testing::TestWithParam<Damaged> {
protected:
  [[nodiscard]] static NSData *data() {
    return [NSData dataWithBytes:GetParam().bytes.data() length:GetParam().bytes.size()];
  }
};

INSTANTIATE_TEST_SUITE_P(
    Lists, DamagedList,
    testing::Values(Damaged{"Zeros", std::string(100, '\0')}, Damaged{"Magic", "bplist00"},
                    Damaged{"MagicAndOnes", "bplist00" + std::string(50, '\xff')},
                    Damaged{"Ring",
                            std::string("bplist00\xA1\0\x08\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x01"
                                        "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0a",
                                        43)},
                    Damaged{"Text", ") nothing ("}, Damaged{"DeepText", repeated("(", 1 << 20)},
                    Damaged{"DeepTextThatEnds", repeated("(", 100000) + repeated(")", 100000)},
                    Damaged{"DeepStrings", "\"a\" = " + repeated("(", 1 << 20)},
                    Damaged{"DeepXml", kXmlStart + repeated("<array>", 100000) +
                                           repeated("</array>", 100000) + "</plist>"},
                    Damaged{"TruncatedXml", kXmlStart + "<dict><key>a</key><str"}),
    [](const testing::TestParamInfo<Damaged> &info) { return std::string(info.param.name); });

TEST_P(DamagedList, IsNilAndAnError) {
  NSError *error = nil;
  EXPECT_EQ([NSPropertyListSerialization propertyListWithData:data()
                                                      options:NSPropertyListImmutable
                                                       format:nullptr
                                                        error:&error],
            nil);
  EXPECT_NE([[error localizedDescription] length], 0U);
  EXPECT_EQ([NSPropertyListSerialization propertyListWithData:data()
                                                      options:NSPropertyListMutableContainers
                                                       format:nullptr
                                                        error:nullptr],
            nil);
  NSString *description = nil;
  EXPECT_EQ([NSPropertyListSerialization propertyListFromData:data()
                                             mutabilityOption:NSPropertyListImmutable
                                                       format:nullptr
                                             errorDescription:&description],
            nil);
  EXPECT_NE([description length], 0U);
}

TEST_P(DamagedList, IsNoCollectionOfAFile) {
  const std::string file = veltro::test::scratch() / "damaged";
  std::ofstream(file) << GetParam().bytes;
  NSString *const path = [NSString stringWithUTF8String:file.c_str()];
  EXPECT_EQ([NSDictionary dictionaryWithContentsOfFile:path], nil);
  EXPECT_EQ([NSMutableArray arrayWithContentsOfFile:path], nil);
  EXPECT_EQ([NSDictionary dictionaryWithContentsOfURL:[NSURL fileURLWithPath:path]], nil);
}

/// Whether `selector` raises for the bytes as text, in one byte a character.
bool raises(NSData *data, SEL selector) {
  NSString *const text = [[[NSString alloc] initWithData:data
                                                encoding:NSISOLatin1StringEncoding] autorelease];
  @try {
    [text performSelector:selector];
  } @catch (NSException *) {
    return true;
  }
  return false;
}

TEST_P(DamagedList, IsAnExceptionAsText) {
  EXPECT_TRUE(raises(data(), @selector(propertyList)));
  EXPECT_TRUE(raises(data(), @selector(propertyListFromStringsFileFormat)));
}

TEST(ReadingPropertyLists, ReadsBinaryFilesIntoCollections) {
  const std::string file = veltro::test::scratch() / "binary";
  NSString *const path = [NSString stringWithUTF8String:file.c_str()];
  NSURL *const url = [NSURL fileURLWithPath:path];
  [[NSPropertyListSerialization dataWithPropertyList:@{@"key" : @"value"}
                                              format:NSPropertyListBinaryFormat_v1_0
                                             options:0
                                               error:nullptr] writeToFile:path atomically:NO];
  EXPECT_TRUE([[NSDictionary dictionaryWithContentsOfFile:path] isEqual:@{@"key" : @"value"}]);
  NSMutableDictionary *const changed = [NSMutableDictionary dictionaryWithContentsOfURL:url];
  [changed setObject:@"another" forKey:@"other"];
  EXPECT_EQ([changed count], 2U);
  veltro::test::clear_log();
  EXPECT_EQ([NSArray arrayWithContentsOfFile:path], nil) << "a dictionary";
  EXPECT_TRUE(veltro::test::logged_lines().empty());
  [[NSPropertyListSerialization dataWithPropertyList:@[ @1, @2 ]
                                              format:NSPropertyListBinaryFormat_v1_0
                                             options:0
                                               error:nullptr] writeToFile:path atomically:NO];
  EXPECT_TRUE([[NSArray arrayWithContentsOfFile:path] isEqual:(@[ @1, @2 ])]);
  EXPECT_EQ([NSDictionary dictionaryWithContentsOfURL:url], nil) << "an array";
}

TEST(ReadingPropertyLists, ReadsHalfASurrogatePair) {
  // "a", then the first half of an emoji; both as they are, and after a byte order mark and a zero.
  const char bytes[] = "bplist00\xA2\x01\x02\x62\0a\xD8\x3D\x64\xFE\xFF\0\0\xDE\x00N\0"
                       "\x08\x0B\x10\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x03"
                       "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x19";
  NSData *const data = [NSData dataWithBytes:bytes length:sizeof bytes - 1];
  NSArray *const list = [NSPropertyListSerialization propertyListWithData:data
                                                                  options:NSPropertyListImmutable
                                                                   format:nullptr
                                                                    error:nullptr];
  ASSERT_EQ([list count], 2U);
  const std::vector<unichar> expected[] = {{'a', 0xD83D}, {0xFEFF, 0, 0xDE00, 0x4E00}};
  for (NSUInteger at = 0; at < 2; ++at) {
    NSString *const text = [list objectAtIndex:at];
    std::vector<unichar> characters([text length]);
    [text getCharacters:characters.data() range:NSMakeRange(0, characters.size())];
    EXPECT_EQ(characters, expected[at]);
  }
  NSData *const again =
      [NSPropertyListSerialization dataWithPropertyList:list
                                                 format:NSPropertyListBinaryFormat_v1_0
                                                options:0
                                                  error:nullptr];
  EXPECT_TRUE([[NSPropertyListSerialization propertyListWithData:again
                                                         options:NSPropertyListImmutable
                                                          format:nullptr
                                                           error:nullptr] isEqual:list]);
}

TEST(ReadingPropertyLists, RefusesHalfACharacter) {
  EXPECT_EQ([[NSString alloc] initWithBytes:"\0a\xD8"
                                     length:3
                                   encoding:NSUTF16BigEndianStringEncoding],
            nil);
}

TEST(ReadingPropertyLists, ReadsTextAsBefore) {
  EXPECT_TRUE([[@"{ a = (b, c); }" propertyList] isEqual:(@{@"a" : @[ @"b", @"c" ]})]);
  EXPECT_TRUE([[@"\"a\" = \"b\";" propertyListFromStringsFileFormat] isEqual:@{@"a" : @"b"}]);
  EXPECT_EQ([@"" propertyList], nil);
}

TEST(ReadingPropertyLists, ReadsWidthsOfThreeBytes) {
  const char offsets[] = "bplist00\x51k\0\0\x08\0\0\0\0\0\0\x03\x01\0\0\0\0\0\0\0\x01"
                         "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0a";
  EXPECT_TRUE([[NSPropertyListSerialization
      propertyListWithData:[NSData dataWithBytes:offsets length:sizeof offsets - 1]
                   options:NSPropertyListImmutable
                    format:nullptr
                     error:nullptr] isEqual:@"k"]);
}

} // namespace
