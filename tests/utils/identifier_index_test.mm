#import <veltro/ZLTUtils+Apps.h>

#include <gmock/gmock.h>
#include <vector>

@interface Entry : NSObject {
  NSDictionary *_properties;
}
@property (nonatomic, copy) NSDictionary *properties;
+ (Entry *)labelled:(NSString *)label;
@end

@implementation Entry
@synthesize properties = _properties;
+ (Entry *)labelled:(NSString *)label {
  Entry *entry = [[[Entry alloc] init] autorelease];
  entry.properties = [NSDictionary dictionaryWithObject:label forKey:@"label"];
  return entry;
}
- (void)dealloc {
  [_properties release];
  [super dealloc];
}
@end

/// An array of any length that returns one entry and notes which were asked for.
@interface CountedArray : NSArray {
@public
  NSUInteger _count;
  std::vector<NSUInteger> *_asked;
}
@end

@implementation CountedArray
- (NSUInteger)count {
  return _count;
}
- (id)objectAtIndex:(NSUInteger)index {
  _asked->push_back(index);
  return [Entry labelled:@"other"];
}
@end

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

NSArray *labelled(std::initializer_list<NSString *> labels) {
  NSMutableArray *entries = [NSMutableArray array];
  for (NSString *label : labels)
    [entries addObject:[Entry labelled:label]];
  return entries;
}

TEST(IdentifierIndex, IsMinusOneWhereNothingMatches) {
  EXPECT_EQ([ZLTUtils idetifierIndex:[NSArray array] identifier:@"Reply"], -1);
  EXPECT_EQ([ZLTUtils idetifierIndex:nil identifier:@"Reply"], -1);
  EXPECT_EQ([ZLTUtils idetifierIndex:labelled({@"Send", @""}) identifier:nil], -1);
  EXPECT_EQ([ZLTUtils idetifierIndex:labelled({@"Send", @"Replying", @"Repl"}) identifier:@"Reply"],
            -1);
}

TEST(IdentifierIndex, IsTheLastMatchIgnoringCase) {
  EXPECT_EQ([ZLTUtils idetifierIndex:labelled({@"Reply", @"reply"}) identifier:@"REPLY"], 1);
  EXPECT_EQ([ZLTUtils idetifierIndex:labelled({@"Reply", @"reply", @"Send"}) identifier:@"REPLY"],
            1);
  EXPECT_EQ([ZLTUtils idetifierIndex:labelled({@"Reply", @"Send"}) identifier:@"reply"], 0);
  EXPECT_EQ([ZLTUtils idetifierIndex:labelled({@"Send", @"Copy", @"Reply"}) identifier:@"reply"],
            2);
  EXPECT_EQ([ZLTUtils idetifierIndex:labelled({@"ANTWORT", @"ÜBER"}) identifier:@"über"], 1);
}

TEST(IdentifierIndex, PassesOverEntriesWithoutALabel) {
  Entry *without_properties = [[[Entry alloc] init] autorelease];
  Entry *without_label = [[[Entry alloc] init] autorelease];
  without_label.properties = [NSDictionary dictionaryWithObject:@"Reply" forKey:@"title"];
  NSArray *entries =
      [NSArray arrayWithObjects:[Entry labelled:@"Reply"], without_properties, without_label, nil];
  EXPECT_EQ([ZLTUtils idetifierIndex:entries identifier:@"Reply"], 0);
}

TEST(IdentifierIndex, CountsInThirtyTwoBits) {
  std::vector<NSUInteger> asked;
  CountedArray *entries = [[[CountedArray alloc] init] autorelease];
  entries->_asked = &asked;
  entries->_count = static_cast<NSUInteger>((std::uint64_t{1} << 32) + 2);
  EXPECT_EQ([ZLTUtils idetifierIndex:entries identifier:@"Reply"], -1);
  EXPECT_THAT(asked, ElementsAre(1, 0));
  asked.clear();
  entries->_count = NSUInteger{1} << 31;
  EXPECT_EQ([ZLTUtils idetifierIndex:entries identifier:@"Reply"], -1);
  EXPECT_THAT(asked, IsEmpty()) << "a negative count is no entries";
}

} // namespace
