// Binary property lists, read back by GNUstep and by Python.

#import <Foundation/Foundation.h>

#include "frameworks/Foundation/NSPropertyListSerialization/binary_property_list.hpp"
#include "support/scratch.hpp"

#include <cstdio>
#include <gtest/gtest.h>
#include <string>

namespace {

NSData *written(id list) {
  return [NSPropertyListSerialization dataWithPropertyList:list
                                                    format:NSPropertyListBinaryFormat_v1_0
                                                   options:0
                                                     error:nullptr];
}

id back(id list) {
  return [NSPropertyListSerialization propertyListWithData:written(list)
                                                   options:NSPropertyListImmutable
                                                    format:nullptr
                                                     error:nullptr];
}

std::string read_elsewhere(id list) {
  const std::string file = (veltro::test::scratch() / "list.plist").string();
  [written(list) writeToFile:[NSString stringWithUTF8String:file.c_str()] atomically:NO];
  const std::string command =
      "PYTHONIOENCODING=utf-8 python3 '" VELTRO_SOURCE_DIR
      "/tests/platform/frameworks/Foundation/NSPropertyListSerialization/read_property_list.py' '" +
      file + "'";
  FILE *const reader = popen(command.c_str(), "r");
  std::string text;
  for (int character = 0; (character = fgetc(reader)) != EOF && character != '\n';)
    text += static_cast<char>(character);
  EXPECT_EQ(pclose(reader), 0);
  return text;
}

NSNumber *integer(long long value) {
  return [NSNumber numberWithLongLong:value];
}

TEST(BinaryPropertyList, NumbersReadElsewhere) {
  NSArray *const numbers = @[
    integer(0), integer(255), integer(256), integer(65535), integer(65536), integer(4294967295),
    integer(4294967296), integer(INT64_MAX), integer(-1), integer(INT64_MIN),
    [NSNumber numberWithUnsignedInt:UINT32_MAX], [NSNumber numberWithBool:YES],
    [NSNumber numberWithBool:NO], [NSNumber numberWithDouble:0.1], [NSNumber numberWithFloat:0.5F]
  ];
  EXPECT_EQ(read_elsewhere(numbers),
            "[0, 255, 256, 65535, 65536, 4294967295, 4294967296, 9223372036854775807, -1, "
            "-9223372036854775808, 4294967295, True, False, 0.1, 0.5]");
}

TEST(BinaryPropertyList, ValuesReadElsewhere) {
  NSArray *const values = @[
    @"", @"text", @"سلام 😀", [NSData data], [NSData dataWithBytes:"\0\xff" length:2],
    [NSDate dateWithTimeIntervalSinceReferenceDate:0], @[], @{},
    @{@"key" : @[ @"value" ]},
    @{@"CF$UID" : @300}
  ];
  EXPECT_EQ(read_elsewhere(values),
            "['', 'text', 'سلام 😀', b'', b'\\x00\\xff', datetime.datetime(2001, 1, 1, 0, 0), [], "
            "{}, {'key': ['value']}, UID(300)]");
}

TEST(BinaryPropertyList, GnustepReadsItBack) {
  NSString *const long_text = [@"" stringByPaddingToLength:70000
                                                withString:@"aé"
                                           startingAtIndex:0];
  NSMutableArray *const many = [NSMutableArray array];
  for (int index = 0; index < 300; ++index)
    [many addObject:integer(index * 1000)];
  NSDictionary *const list = @{
    @"texts" :
        @[ @"", @"fourteen chars", @"fifteen chars..", @"سلام", long_text, @"text", @"text" ],
    @"numbers" : @[
      integer(-7), integer(1LL << 40), [NSNumber numberWithDouble:-2.5],
      [NSNumber numberWithBool:YES]
    ],
    @"data" : [NSMutableData dataWithLength:100000],
    @"date" : [NSDate dateWithTimeIntervalSinceReferenceDate:-1.25],
    @"many" : many,
    @"nested" : @{@"a" : @{@"b" : @[
      @{@"c" : @[]}
    ]}}
  };
  EXPECT_TRUE([back(list) isEqual:list]);
  for (id root in @[ @"text", integer(5), [NSData data], @[], @{} ])
    EXPECT_TRUE([back(root) isEqual:root]) << [[root description] UTF8String];
}

TEST(BinaryPropertyList, MoreObjectsThanTwoBytesCount) {
  NSMutableArray *const many = [NSMutableArray array];
  for (int index = 0; index < 70000; ++index)
    [many addObject:[NSString stringWithFormat:@"%d", index]];
  EXPECT_TRUE([back(many) isEqual:many]);
}

TEST(BinaryPropertyList, EqualTextsAndIntegersAreWrittenOnce) {
  const NSUInteger once = [written(@[ @"the same text", integer(1LL << 40) ]) length];
  const NSUInteger twice = [written(@[
    @"the same text", integer(1LL << 40), [NSMutableString stringWithString:@"the same text"],
    integer(1LL << 40)
  ]) length];
  EXPECT_EQ(twice, once + 2);
}

TEST(BinaryPropertyList, BothOfFoundationsMethodsWriteIt) {
  NSString *description = nil;
  NSData *const older =
      [NSPropertyListSerialization dataFromPropertyList:@[ @"a" ]
                                                 format:NSPropertyListBinaryFormat_v1_0
                                       errorDescription:&description];
  EXPECT_TRUE([older isEqual:veltro::host::binary_property_list(@[ @"a" ])]);
  EXPECT_TRUE([written(@[ @"a" ]) isEqual:older]);
}

TEST(BinaryPropertyList, OtherFormatsStayGnusteps) {
  NSData *const data =
      [NSPropertyListSerialization dataFromPropertyList:@[ @"a" ]
                                                 format:NSPropertyListXMLFormat_v1_0
                                       errorDescription:nullptr];
  NSString *const text = [[[NSString alloc] initWithData:data
                                                encoding:NSUTF8StringEncoding] autorelease];
  EXPECT_TRUE([text hasPrefix:@"<?xml"]);
}

TEST(BinaryPropertyList, OtherObjectsAreRefused) {
  EXPECT_EQ(veltro::host::binary_property_list([NSNull null]), nil);
  EXPECT_EQ(veltro::host::binary_property_list(@[ [NSNull null] ]), nil);
  EXPECT_EQ(veltro::host::binary_property_list(@{@5 : @"value"}), nil);
  EXPECT_EQ(veltro::host::binary_property_list(nil), nil);
}

} // namespace
