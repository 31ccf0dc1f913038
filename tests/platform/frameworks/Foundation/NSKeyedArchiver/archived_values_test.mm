// The form of dates and texts in keyed archives, looked at in the property list itself.

#import <Foundation/Foundation.h>

#include <gtest/gtest.h>

namespace {

NSDictionary *property_list(NSData *archive) {
  return [NSPropertyListSerialization propertyListWithData:archive
                                                   options:NSPropertyListImmutable
                                                    format:nullptr
                                                     error:nullptr];
}

NSArray *objects_of(id object) {
  NSData *const archive = [NSKeyedArchiver archivedDataWithRootObject:object];
  return [property_list(archive) objectForKey:@"$objects"];
}

NSDictionary *reference(int index) {
  return [NSDictionary dictionaryWithObject:[NSNumber numberWithInt:index] forKey:@"CF$UID"];
}

/// An archive whose root is the second of `objects`.
NSData *archive_made_of(NSArray *objects) {
  return [NSPropertyListSerialization dataWithPropertyList:@{
    @"$archiver" : @"NSKeyedArchiver",
    @"$version" : @100000,
    @"$top" : @{@"root" : reference(1)},
    @"$objects" : objects
  }
                                                    format:NSPropertyListBinaryFormat_v1_0
                                                   options:0
                                                     error:nullptr];
}

id back(id object) {
  return [NSKeyedUnarchiver
      unarchiveObjectWithData:[NSKeyedArchiver archivedDataWithRootObject:object]];
}

TEST(ArchivedDate, IsAnObjectWithSecondsSince2001) {
  NSDate *const date = [NSDate dateWithTimeIntervalSinceReferenceDate:-12.5];
  NSArray *const expected = @[
    @"$null",
    @{@"$class" : reference(2),
      @"NS.time" : @-12.5},
    @{@"$classname" : @"NSDate",
      @"$classes" : @[ @"NSDate", @"NSObject" ]}
  ];
  EXPECT_TRUE([objects_of(date) isEqual:expected]) << [[objects_of(date) description] UTF8String];
}

TEST(ArchivedDate, ComesBackToTheLastBit) {
  for (const double seconds : {0.0, 0.1, -1e9, 816951233.938989, 63113904000.0})
    EXPECT_EQ([back([NSDate dateWithTimeIntervalSinceReferenceDate:seconds])
                  timeIntervalSinceReferenceDate],
              seconds);
  EXPECT_TRUE([back([NSDate distantFuture]) isEqual:[NSDate distantFuture]]);
}

TEST(ArchivedDate, DatesShareTheirClass) {
  NSArray *const two = @[
    [NSDate dateWithTimeIntervalSinceReferenceDate:1],
    [NSDate dateWithTimeIntervalSinceReferenceDate:2]
  ];
  EXPECT_EQ([objects_of(two) count], 6U);
  EXPECT_TRUE([back(two) isEqual:two]);
}

TEST(ArchivedDate, PropertyListFormIsReadToo) {
  NSDate *const date = [NSDate dateWithTimeIntervalSinceReferenceDate:500];
  EXPECT_TRUE([[NSKeyedUnarchiver unarchiveObjectWithData:archive_made_of(@[ @"$null", date ])]
      isEqual:date]);
}

TEST(ArchivedDate, OtherKindsOfDateStayThemselves) {
  EXPECT_TRUE([back([NSCalendarDate date]) isKindOfClass:[NSCalendarDate class]]);
}

TEST(ArchivedText, NullMarkAsTextIsNoNullReference) {
  for (NSString *text in @[ @"$null", [NSMutableString stringWithString:@"$null"] ]) {
    EXPECT_TRUE([back(text) isEqual:@"$null"]);
    EXPECT_TRUE([back(@[ text, text ]) isEqual:(@[ @"$null", @"$null" ])]);
  }
  NSArray *const expected = @[
    @"$null", @{@"$class" : reference(2), @"NS.string" : @"$null"},
    @{@"$classname" : @"NSString",
      @"$classes" : @[ @"NSString", @"NSObject" ]}
  ];
  EXPECT_TRUE([objects_of(@"$null") isEqual:expected])
      << [[objects_of(@"$null") description] UTF8String];
}

TEST(ArchivedText, EveryOtherTextStandsAsItIs) {
  for (NSString *text in @[ @"", @"text", @"$nul", @"$null ", @"سلام 😀" ])
    EXPECT_TRUE([objects_of(text) isEqual:(@[ @"$null", text ])]) << [text UTF8String];
}

} // namespace
