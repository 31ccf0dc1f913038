// The item functions against the real keychain: identity, matching, limits, results and statuses.

#include "platform/frameworks/Security/item.hpp"
#include "support/scratch.hpp"

#include <array>
#include <climits>
#include <cmath>
#include <gtest/gtest.h>
#include <string>

namespace veltro::test {
namespace {

class SecItem : public testing::Test {
protected:
  void SetUp() override { std::filesystem::remove_all(device_root()); }
};

NSDictionary *changes(CFStringRef key, id value) {
  return [NSMutableDictionary dictionaryWithObject:value forKey:(id)key];
}

OSStatus update(Entries *entries, CFStringRef key, id value) {
  return test::update(entries, (Entries *)changes(key, value));
}

TEST(SecConstants, AreTheKeysOfTheDevice) {
  const std::pair<CFStringRef, NSString *> constants[] = {
      {kSecClass, @"class"},
      {kSecClassGenericPassword, @"genp"},
      {kSecAttrAccessGroup, @"agrp"},
      {kSecAttrAccessible, @"pdmn"},
      {kSecAttrAccount, @"acct"},
      {kSecAttrComment, @"icmt"},
      {kSecAttrCreationDate, @"cdat"},
      {kSecAttrCreator, @"crtr"},
      {kSecAttrDescription, @"desc"},
      {kSecAttrGeneric, @"gena"},
      {kSecAttrIsInvisible, @"invi"},
      {kSecAttrIsNegative, @"nega"},
      {kSecAttrLabel, @"labl"},
      {kSecAttrModificationDate, @"mdat"},
      {kSecAttrService, @"svce"},
      {kSecAttrSynchronizable, @"sync"},
      {kSecAttrSynchronizableAny, @"syna"},
      {kSecAttrType, @"type"},
      {kSecAttrAccessibleWhenUnlocked, @"ak"},
      {kSecAttrAccessibleAfterFirstUnlock, @"ck"},
      {kSecAttrAccessibleAlways, @"dk"},
      {kSecAttrAccessibleWhenPasscodeSetThisDeviceOnly, @"akpu"},
      {kSecAttrAccessibleWhenUnlockedThisDeviceOnly, @"aku"},
      {kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly, @"cku"},
      {kSecAttrAccessibleAlwaysThisDeviceOnly, @"dku"},
      {kSecValueData, @"v_Data"},
      {kSecMatchLimit, @"m_Limit"},
      {kSecMatchLimitOne, @"m_LimitOne"},
      {kSecMatchLimitAll, @"m_LimitAll"},
      {kSecReturnData, @"r_Data"},
      {kSecReturnAttributes, @"r_Attributes"},
      {kSecReturnRef, @"r_Ref"},
      {kSecReturnPersistentRef, @"r_PersistentRef"},
  };
  for (const auto &[constant, value] : constants)
    EXPECT_TRUE([(id)constant isEqualToString:value]) << [value UTF8String];
}

TEST(SecBase, HasTheStatusesOfTheDevice) {
  EXPECT_EQ(errSecSuccess, 0);
  EXPECT_EQ(errSecUnimplemented, -4);
  EXPECT_EQ(errSecParam, -50);
  EXPECT_EQ(errSecAllocate, -108);
  EXPECT_EQ(errSecNotAvailable, -25291);
  EXPECT_EQ(errSecAuthFailed, -25293);
  EXPECT_EQ(errSecDuplicateItem, -25299);
  EXPECT_EQ(errSecItemNotFound, -25300);
  EXPECT_EQ(errSecInteractionNotAllowed, -25308);
  EXPECT_EQ(errSecDecode, -26275);
}

TEST_F(SecItem, GivesBackWhatWasAdded) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
}

TEST_F(SecItem, KeepsAnEmptySecretAndOneWithAnyBytes) {
  ASSERT_EQ(add(@"mail", @"empty", ""), errSecSuccess);
  NSData *const empty = secret(item(@"mail", @"empty"));
  EXPECT_NE(empty, nil);
  EXPECT_EQ([empty length], 0U);

  NSMutableData *const every = [NSMutableData data];
  for (int value = 0; value < 256; ++value) {
    const auto byte = static_cast<unsigned char>(value);
    [every appendBytes:&byte length:1];
  }
  ASSERT_EQ(test::add(with(item(@"mail", @"every"), kSecValueData, every)), errSecSuccess);
  EXPECT_TRUE([secret(item(@"mail", @"every")) isEqual:every]);
}

TEST_F(SecItem, KeepsALargeSecret) {
  NSMutableData *const large = [NSMutableData dataWithLength:300'000];
  static_cast<char *>([large mutableBytes])[299'999] = 'x';
  ASSERT_EQ(test::add(with(item(@"mail", @"large"), kSecValueData, large)), errSecSuccess);
  EXPECT_TRUE([secret(item(@"mail", @"large")) isEqual:large]);
}

TEST_F(SecItem, AddedWithoutASecretHasAnEmptyOne) {
  ASSERT_EQ(test::add(item(@"mail", @"ann")), errSecSuccess);
  EXPECT_EQ([secret(item(@"mail", @"ann")) length], 0U);
}

TEST_F(SecItem, TellsNamesApartByEveryByte) {
  unichar zero[] = {'a', 0, 'b'};
  NSString *const with_zero = [NSString stringWithCharacters:zero length:3];
  ASSERT_EQ(add(@"s", with_zero, "zero"), errSecSuccess);
  ASSERT_EQ(add(@"s", @"a", "a"), errSecSuccess);
  ASSERT_EQ(add(@"s", @"A", "capital"), errSecSuccess);
  ASSERT_EQ(add(@"s", @"a ", "space"), errSecSuccess);
  ASSERT_EQ(add(@"s", @"\u00e9", "accent"), errSecSuccess);
  ASSERT_EQ(add(@"s", @"' OR 1=1 --", "quote"), errSecSuccess);
  EXPECT_TRUE([secret(item(@"s", with_zero)) isEqual:bytes("zero")]);
  EXPECT_TRUE([secret(item(@"s", @"a")) isEqual:bytes("a")]);
  EXPECT_TRUE([secret(item(@"s", @"A")) isEqual:bytes("capital")]);
  EXPECT_TRUE([secret(item(@"s", @"a ")) isEqual:bytes("space")]);
  EXPECT_TRUE([secret(item(@"s", @"\u00e9")) isEqual:bytes("accent")]);
  EXPECT_TRUE([secret(item(@"s", @"' OR 1=1 --")) isEqual:bytes("quote")]);
  EXPECT_TRUE([[attributes(item(@"s", with_zero)) objectForKey:@"acct"] isEqual:with_zero]);
}

TEST_F(SecItem, GivesBackNamesOfAnyLetterAndLength) {
  NSMutableArray *const names =
      [NSMutableArray arrayWithObjects:@"\u00e9", @"\u00e8", @"ab\u00e9", @"\U0001F511", nil];
  for (const NSUInteger length :
       {0UL, 1UL, 250UL, 251UL, 252UL, 253UL, 254UL, 255UL, 256UL, 257UL, 1000UL})
    [names addObject:[@"" stringByPaddingToLength:length withString:@"x" startingAtIndex:0]];
  for (NSString *const name in names)
    ASSERT_EQ(add(@"s", name, [name UTF8String]), errSecSuccess);
  for (NSString *const name in names) {
    EXPECT_TRUE([secret(item(@"s", name)) isEqual:bytes([name UTF8String])]);
    EXPECT_TRUE([[attributes(item(@"s", name)) objectForKey:@"acct"] isEqual:name]);
  }
}

TEST_F(SecItem, ASecondOneOfTheSameIdentityIsADuplicate) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  EXPECT_EQ(add(@"mail", @"ann", "two"), errSecDuplicateItem);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
  // What is no part of the identity does not make another item.
  EXPECT_EQ(test::add(with(item(@"mail", @"ann"), kSecAttrLabel, @"label")), errSecDuplicateItem);
  EXPECT_EQ(test::add(with(item(@"mail", @"ann"), kSecAttrSynchronizable, no())),
            errSecDuplicateItem);
  EXPECT_EQ(
      test::add(with(item(@"mail", @"ann"), kSecAttrAccessible, (id)kSecAttrAccessibleAlways)),
      errSecDuplicateItem);
}

TEST_F(SecItem, EveryMemberOfTheIdentityMakesAnotherItem) {
  ASSERT_EQ(test::add(item(@"mail", @"ann")), errSecSuccess);
  EXPECT_EQ(test::add(item(@"mail", @"bob")), errSecSuccess);
  EXPECT_EQ(test::add(item(@"news", @"ann")), errSecSuccess);
  EXPECT_EQ(test::add(with(item(@"mail", @"ann"), kSecAttrAccessGroup, @"group")), errSecSuccess);
  EXPECT_EQ(test::add(with(item(@"mail", @"ann"), kSecAttrSynchronizable, yes())), errSecSuccess);
  EXPECT_EQ(test::add(item(@"mail", nil)), errSecSuccess);
  EXPECT_EQ(test::add(item(nil, @"ann")), errSecSuccess);
  EXPECT_EQ(test::add(item(nil, nil)), errSecSuccess);
  EXPECT_EQ(test::add(item(nil, nil)), errSecDuplicateItem);
  EXPECT_EQ(
      [list(with(item(nil, nil), kSecAttrSynchronizable, (id)kSecAttrSynchronizableAny)) count],
      8U);
}

TEST_F(SecItem, WithoutTheFlagOnlyUnsynchronisedItemsMatch) {
  ASSERT_EQ(add(@"mail", @"ann", "local"), errSecSuccess);
  Entries *const synchronised = with(item(@"mail", @"ann"), kSecAttrSynchronizable, yes());
  ASSERT_EQ(test::add(with(synchronised, kSecValueData, bytes("cloud"))), errSecSuccess);

  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("local")]);
  EXPECT_TRUE(
      [secret(with(item(@"mail", @"ann"), kSecAttrSynchronizable, no())) isEqual:bytes("local")]);
  EXPECT_TRUE([secret(synchronised) isEqual:bytes("cloud")]);
  EXPECT_EQ([list(item(@"mail", @"ann")) count], 1U);
  EXPECT_EQ([list(synchronised) count], 1U);
  Entries *const any =
      with(item(@"mail", @"ann"), kSecAttrSynchronizable, (id)kSecAttrSynchronizableAny);
  EXPECT_EQ([list(any) count], 2U);

  EXPECT_EQ(test::remove(item(@"mail", @"ann")), errSecSuccess);
  EXPECT_EQ([list(any) count], 1U);
  EXPECT_EQ(test::remove(item(@"mail", @"ann")), errSecItemNotFound);
  EXPECT_EQ(test::remove(any), errSecSuccess);
  EXPECT_EQ(status_of_search(any), errSecItemNotFound);
}

TEST_F(SecItem, AnyDeletesBoth) {
  ASSERT_EQ(test::add(item(@"mail", @"ann")), errSecSuccess);
  ASSERT_EQ(test::add(with(item(@"mail", @"ann"), kSecAttrSynchronizable, yes())), errSecSuccess);
  Entries *const any =
      with(item(@"mail", @"ann"), kSecAttrSynchronizable, (id)kSecAttrSynchronizableAny);
  EXPECT_EQ(test::remove(any), errSecSuccess);
  EXPECT_EQ(list(any), nil);
}

TEST_F(SecItem, AddedWithAnyIsNotSynchronised) {
  ASSERT_EQ(
      test::add(with(item(@"mail", @"ann"), kSecAttrSynchronizable, (id)kSecAttrSynchronizableAny)),
      errSecSuccess);
  NSDictionary *const found = attributes(item(@"mail", @"ann"));
  EXPECT_TRUE([[found objectForKey:@"sync"] isEqual:no()]);
  EXPECT_EQ(test::add(item(@"mail", @"ann")), errSecDuplicateItem);
}

TEST_F(SecItem, MatchesOnEveryAttributeThatAQueryGives) {
  NSDate *const born = [NSDate dateWithTimeIntervalSinceReferenceDate:1234.5678];
  Entries *full = with(item(@"mail", @"ann"), kSecAttrLabel, @"Label");
  full = with(full, kSecAttrDescription, @"Description");
  full = with(full, kSecAttrComment, @"Comment");
  full = with(full, kSecAttrGeneric, bytes("generic"));
  full = with(full, kSecAttrCreator, [NSNumber numberWithUnsignedInt:0xFFFFFFFF]);
  full = with(full, kSecAttrType, [NSNumber numberWithInt:-7]);
  full = with(full, kSecAttrIsInvisible, yes());
  full = with(full, kSecAttrIsNegative, no());
  full = with(full, kSecAttrAccessGroup, @"group");
  full = with(full, kSecAttrAccessible, (id)kSecAttrAccessibleAlways);
  full = with(full, kSecAttrCreationDate, born);
  full = with(full, kSecAttrModificationDate, [born dateByAddingTimeInterval:1]);
  ASSERT_EQ(test::add(full), errSecSuccess);
  ASSERT_EQ(test::add(item(@"other", @"item")), errSecSuccess);

  const std::pair<CFStringRef, id> others[] = {
      {kSecAttrService, @"Mail"},
      {kSecAttrAccount, @"an"},
      {kSecAttrLabel, @"label"},
      {kSecAttrDescription, @"description"},
      {kSecAttrComment, @""},
      {kSecAttrGeneric, bytes("gen")},
      {kSecAttrCreator, [NSNumber numberWithInt:-1]},
      {kSecAttrType, [NSNumber numberWithInt:7]},
      {kSecAttrIsInvisible, no()},
      {kSecAttrIsNegative, yes()},
      {kSecAttrAccessGroup, @"default"},
      {kSecAttrAccessible, (id)kSecAttrAccessibleWhenUnlocked},
      {kSecAttrCreationDate, [NSDate dateWithTimeIntervalSinceReferenceDate:1234.5679]},
      {kSecAttrModificationDate, born},
      {kSecAttrSynchronizable, yes()},
  };
  EXPECT_EQ(status_of_search(full), errSecSuccess);
  for (const auto &[key, value] : others) {
    if ([full objectForKey:(id)key] != nil)
      EXPECT_EQ(status_of_search(with(item(nil, nil), key, [full objectForKey:(id)key])),
                errSecSuccess)
          << [(id)key UTF8String];
    EXPECT_EQ(status_of_search(with(full, key, value)), errSecItemNotFound) << [(id)key UTF8String];
  }
}

TEST_F(SecItem, AttributesHaveTheirDocumentedTypes) {
  NSDate *const before = [NSDate date];
  Entries *entries = with(item(@"mail", @"ann"), kSecAttrLabel, @"Label");
  entries = with(entries, kSecAttrGeneric, bytes("generic"));
  entries = with(entries, kSecAttrCreator, [NSNumber numberWithUnsignedInt:0xFFFFFFFF]);
  entries = with(entries, kSecAttrIsInvisible, yes());
  ASSERT_EQ(test::add(with(entries, kSecValueData, bytes("secret"))), errSecSuccess);
  NSDate *const after = [NSDate date];

  NSDictionary *const found = attributes(item(@"mail", @"ann"));
  NSDictionary *const expected = [NSDictionary
      dictionaryWithObjectsAndKeys:@"mail", @"svce", @"ann", @"acct", @"default", @"agrp", @"ak",
                                   @"pdmn", no(), @"sync", @"Label", @"labl", bytes("generic"),
                                   @"gena", [NSNumber numberWithUnsignedInt:0xFFFFFFFF], @"crtr",
                                   yes(), @"invi", [found objectForKey:@"cdat"], @"cdat",
                                   [found objectForKey:@"mdat"], @"mdat", nil];
  EXPECT_TRUE([found isEqual:expected]) << [[found description] UTF8String];
  for (NSString *const key in @[ @"cdat", @"mdat" ]) {
    NSDate *const date = [found objectForKey:key];
    ASSERT_TRUE([date isKindOfClass:[NSDate class]]);
    EXPECT_GE([date timeIntervalSinceDate:before], -0.001);
    EXPECT_LE([date timeIntervalSinceDate:after], 0.001);
  }
}

TEST_F(SecItem, ListedAttributesFindTheirItemAgain) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  Entries *const again = [Entries dictionaryWithDictionary:attributes(item(@"mail", @"ann"))];
  [again setObject:(id)kSecClassGenericPassword forKey:(id)kSecClass];
  EXPECT_TRUE([secret(again) isEqual:bytes("one")]);
  EXPECT_EQ(test::remove(again), errSecSuccess);
  EXPECT_EQ(test::add(again), errSecSuccess);
  EXPECT_EQ(status_of_search(again), errSecSuccess);
}

TEST_F(SecItem, KeepsTheAccessibility) {
  for (const CFStringRef accessible :
       {kSecAttrAccessibleWhenUnlocked, kSecAttrAccessibleAfterFirstUnlock,
        kSecAttrAccessibleAlways, kSecAttrAccessibleWhenPasscodeSetThisDeviceOnly,
        kSecAttrAccessibleWhenUnlockedThisDeviceOnly,
        kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly, kSecAttrAccessibleAlwaysThisDeviceOnly}) {
    NSString *const account = (id)accessible;
    ASSERT_EQ(test::add(with(item(@"mail", account), kSecAttrAccessible, (id)accessible)),
              errSecSuccess);
    EXPECT_TRUE([[attributes(item(@"mail", account)) objectForKey:@"pdmn"] isEqual:account]);
  }
}

TEST_F(SecItem, ReturnsTheShapeThatIsAskedFor) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  ASSERT_EQ(add(@"mail", @"bob", "two"), errSecSuccess);
  Entries *const all = item(@"mail", nil);
  OSStatus status = 0;

  CFTypeRef untouched = (CFTypeRef) @"left";
  EXPECT_EQ(SecItemCopyMatching((CFDictionaryRef)all, &untouched), errSecSuccess);
  EXPECT_EQ(untouched, nullptr);
  EXPECT_EQ(SecItemCopyMatching((CFDictionaryRef)with(all, kSecReturnData, yes()), nullptr),
            errSecSuccess);

  EXPECT_TRUE([search(with(all, kSecReturnData, yes()), status) isKindOfClass:[NSData class]]);
  id returned = search(with(all, kSecReturnAttributes, yes()), status);
  EXPECT_TRUE([returned isKindOfClass:[NSDictionary class]]);
  EXPECT_EQ([returned objectForKey:@"v_Data"], nil);
  returned = search(with(with(all, kSecReturnAttributes, yes()), kSecReturnData, yes()), status);
  EXPECT_TRUE([[returned objectForKey:@"v_Data"] isKindOfClass:[NSData class]]);
  EXPECT_NE([returned objectForKey:@"acct"], nil);
  returned = search(with(with(all, kSecReturnAttributes, no()), kSecReturnData, yes()), status);
  EXPECT_TRUE([returned isKindOfClass:[NSData class]]);

  Entries *const every = with(all, kSecMatchLimit, (id)kSecMatchLimitAll);
  returned = search(with(every, kSecReturnData, yes()), status);
  EXPECT_EQ([returned count], 2U);
  EXPECT_TRUE([returned containsObject:bytes("one")]);
  EXPECT_TRUE([returned containsObject:bytes("two")]);
  returned = search(with(every, kSecReturnAttributes, yes()), status);
  EXPECT_EQ([returned count], 2U);
  EXPECT_TRUE([[returned lastObject] isKindOfClass:[NSDictionary class]]);
  returned = search(with(with(every, kSecReturnAttributes, yes()), kSecReturnData, yes()), status);
  EXPECT_EQ([returned count], 2U);
  for (NSDictionary *const found in returned)
    EXPECT_TRUE([[found objectForKey:@"v_Data"]
        isEqual:secret(item(@"mail", [found objectForKey:@"acct"]))]);
  returned = search(with(every, kSecReturnData, no()), status);
  EXPECT_EQ(status, errSecSuccess);
  EXPECT_EQ(returned, nil);
}

TEST_F(SecItem, EachItemOfAListingHasItsOwnValues) {
  const std::array<const char *, 3> generics{"x", "x", "y"};
  const std::array<int, 3> types{1, 2, 2};
  const std::array<BOOL, 3> invisible{NO, NO, YES};
  const std::array<double, 3> born{10, 20, 20};
  const std::array<double, 3> changed{10, 20, 30};
  for (std::size_t at = 0; at < born.size(); ++at) {
    Entries *entries = item(@"mail", [NSString stringWithFormat:@"%zu", at]);
    entries = with(entries, kSecAttrGeneric, bytes(generics[at]));
    entries = with(entries, kSecAttrType, [NSNumber numberWithInt:types[at]]);
    entries = with(entries, kSecAttrIsInvisible, [NSNumber numberWithBool:invisible[at]]);
    entries = with(entries, kSecAttrCreationDate,
                   [NSDate dateWithTimeIntervalSinceReferenceDate:born[at]]);
    entries = with(entries, kSecAttrModificationDate,
                   [NSDate dateWithTimeIntervalSinceReferenceDate:changed[at]]);
    ASSERT_EQ(test::add(entries), errSecSuccess);
  }
  NSArray *const items = list(item(@"mail", nil));
  ASSERT_EQ([items count], born.size());
  for (NSDictionary *const found in items) {
    const auto at = static_cast<std::size_t>([[found objectForKey:@"acct"] intValue]);
    EXPECT_TRUE([[found objectForKey:@"gena"] isEqual:bytes(generics[at])]) << at;
    EXPECT_EQ([[found objectForKey:@"type"] intValue], types[at]) << at;
    EXPECT_EQ([[found objectForKey:@"invi"] boolValue], invisible[at]) << at;
    EXPECT_EQ([[found objectForKey:@"cdat"] timeIntervalSinceReferenceDate], born[at]) << at;
    EXPECT_EQ([[found objectForKey:@"mdat"] timeIntervalSinceReferenceDate], changed[at]) << at;
  }
}

TEST_F(SecItem, CountsUpToTheLimit) {
  for (int at = 0; at < 5; ++at)
    ASSERT_EQ(test::add(item(@"mail", [NSString stringWithFormat:@"%d", at])), errSecSuccess);
  Entries *const query = with(item(@"mail", nil), kSecReturnAttributes, yes());
  OSStatus status = 0;
  const auto counted = [&](id limit) { return search(with(query, kSecMatchLimit, limit), status); };
  EXPECT_TRUE([counted((id)kSecMatchLimitOne) isKindOfClass:[NSDictionary class]]);
  EXPECT_TRUE([counted([NSNumber numberWithInt:1]) isKindOfClass:[NSDictionary class]]);
  EXPECT_EQ([counted([NSNumber numberWithInt:3]) count], 3U);
  EXPECT_EQ([counted([NSNumber numberWithInt:99]) count], 5U);
  EXPECT_EQ([counted([NSNumber numberWithUnsignedInt:UINT_MAX]) count], 5U);
  EXPECT_EQ([counted([NSNumber numberWithLong:LONG_MAX]) count], 5U);
  EXPECT_EQ([counted([NSNumber numberWithUnsignedLong:ULONG_MAX]) count], 5U);
  EXPECT_EQ([counted((id)kSecMatchLimitAll) count], 5U);
}

TEST_F(SecItem, DeletesAllThatMatchesUnlessLimited) {
  for (int at = 0; at < 5; ++at)
    ASSERT_EQ(test::add(item(@"mail", [NSString stringWithFormat:@"%d", at])), errSecSuccess);
  ASSERT_EQ(test::add(item(@"news", @"x")), errSecSuccess);
  EXPECT_EQ(test::remove(with(item(@"mail", nil), kSecMatchLimit, (id)kSecMatchLimitOne)),
            errSecSuccess);
  EXPECT_EQ([list(item(@"mail", nil)) count], 4U);
  EXPECT_EQ(test::remove(item(@"mail", nil)), errSecSuccess);
  EXPECT_EQ(list(item(@"mail", nil)), nil);
  EXPECT_EQ([list(item(nil, nil)) count], 1U);
}

TEST_F(SecItem, NothingThatMatchesIsNotFound) {
  const auto expect_nothing = [] {
    EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecItemNotFound);
    EXPECT_EQ(status_of_search(with(item(nil, nil), kSecMatchLimit, (id)kSecMatchLimitAll)),
              errSecItemNotFound);
    EXPECT_EQ(test::remove(item(@"mail", @"ann")), errSecItemNotFound);
    EXPECT_EQ(update(item(@"mail", @"ann"), kSecAttrLabel, @"label"), errSecItemNotFound);
  };
  expect_nothing();
  EXPECT_FALSE(std::filesystem::exists(device_root())) << "asking made a keychain";
  ASSERT_EQ(test::add(item(@"mail", @"ann")), errSecSuccess);
  ASSERT_EQ(test::remove(item(@"mail", @"ann")), errSecSuccess);
  expect_nothing();
}

TEST_F(SecItem, ReturnsWhatWasAdded) {
  Entries *const entries = with(item(@"mail", @"ann"), kSecValueData, bytes("one"));
  CFTypeRef result = nullptr;
  ASSERT_EQ(SecItemAdd((CFDictionaryRef)with(entries, kSecReturnData, yes()), &result),
            errSecSuccess);
  EXPECT_TRUE([[(id)result autorelease] isEqual:bytes("one")]);
  ASSERT_EQ(test::remove(item(@"mail", @"ann")), errSecSuccess);

  Entries *const both = with(with(entries, kSecReturnData, yes()), kSecReturnAttributes, yes());
  ASSERT_EQ(SecItemAdd((CFDictionaryRef)both, &result), errSecSuccess);
  NSMutableDictionary *const returned = [NSMutableDictionary dictionaryWithDictionary:(id)result];
  [(id)result release];
  EXPECT_TRUE([[returned objectForKey:@"v_Data"] isEqual:bytes("one")]);
  [returned removeObjectForKey:@"v_Data"];
  EXPECT_TRUE([returned isEqual:attributes(item(@"mail", @"ann"))]);

  result = (CFTypeRef) @"left";
  ASSERT_EQ(SecItemAdd((CFDictionaryRef)item(@"mail", @"bob"), &result), errSecSuccess);
  EXPECT_EQ(result, nullptr);
}

TEST_F(SecItem, UpdatesSecretAndAttributes) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  NSDictionary *const before = attributes(item(@"mail", @"ann"));
  ASSERT_EQ(update(item(@"mail", @"ann"), kSecValueData, bytes("two")), errSecSuccess);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("two")]);
  ASSERT_EQ(update(item(@"mail", @"ann"), kSecAttrAccount, @"anna"), errSecSuccess);
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecItemNotFound);
  EXPECT_TRUE([secret(item(@"mail", @"anna")) isEqual:bytes("two")]);
  NSDictionary *const after = attributes(item(@"mail", @"anna"));
  EXPECT_TRUE([[after objectForKey:@"cdat"] isEqual:[before objectForKey:@"cdat"]]);
  EXPECT_EQ([[after objectForKey:@"mdat"] compare:[before objectForKey:@"mdat"]],
            NSOrderedDescending);
  ASSERT_EQ(update(item(@"mail", @"anna"), kSecAttrSynchronizable, yes()), errSecSuccess);
  EXPECT_EQ(status_of_search(item(@"mail", @"anna")), errSecItemNotFound);
}

TEST_F(SecItem, UpdatesEveryItemThatMatchesOrNone) {
  for (NSString *const account in @[ @"a", @"b", @"c" ])
    ASSERT_EQ(add(@"mail", account, [account UTF8String]), errSecSuccess);
  ASSERT_EQ(update(item(@"mail", nil), kSecAttrLabel, @"all"), errSecSuccess);
  EXPECT_EQ([list(with(item(@"mail", nil), kSecAttrLabel, @"all")) count], 3U);
  EXPECT_TRUE([secret(item(@"mail", @"b")) isEqual:bytes("b")]);
  // Each keeps its place among the others.
  ASSERT_EQ(update(item(@"mail", @"a"), kSecAttrLabel, @"one"), errSecSuccess);
  EXPECT_TRUE([[list(item(nil, nil)) valueForKey:@"acct"] isEqual:(@[ @"a", @"b", @"c" ])]);

  // Two of one identity cannot be: the first change is undone as well.
  EXPECT_EQ(update(item(@"mail", nil), kSecAttrAccount, @"same"), errSecDuplicateItem);
  EXPECT_EQ(status_of_search(item(@"mail", @"same")), errSecItemNotFound);
  EXPECT_TRUE([secret(item(@"mail", @"a")) isEqual:bytes("a")]);
}

TEST_F(SecItem, AnUpdateMakesNoSecondItemOfAnIdentity) {
  Entries *const mine = item(@"mail", @"ann");
  ASSERT_EQ(test::add(mine), errSecSuccess);
  const std::pair<CFStringRef, id> changed[] = {{kSecAttrService, @"news"},
                                                {kSecAttrAccount, @"bob"},
                                                {kSecAttrAccessGroup, @"group"},
                                                {kSecAttrSynchronizable, yes()}};
  for (const auto &[key, value] : changed) {
    ASSERT_EQ(test::add(with(mine, key, value)), errSecSuccess);
    EXPECT_EQ(update(with(mine, kSecAttrAccessGroup, @"default"), key, value), errSecDuplicateItem)
        << [(id)key UTF8String];
    ASSERT_EQ(test::remove(with(mine, key, value)), errSecSuccess);
    EXPECT_EQ(update(mine, key, value), errSecSuccess) << [(id)key UTF8String];
    EXPECT_EQ(status_of_search(mine),
              key == kSecAttrAccessGroup ? errSecSuccess : errSecItemNotFound);
    EXPECT_EQ(update(with(mine, key, value), key,
                     [attributes(with(mine, key, value)) objectForKey:(id)key]),
              errSecSuccess)
        << "to what it was";
    ASSERT_EQ(test::remove(with(mine, key, value)), errSecSuccess);
    ASSERT_EQ(test::add(mine), errSecSuccess);
  }
}

TEST_F(SecItem, RefusesMalformedQueries) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  Entries *const good = item(@"mail", @"ann");
  Entries *const classless = [Entries dictionaryWithDictionary:good];
  [classless removeObjectForKey:(id)kSecClass];
  Entries *const odd = [Entries dictionaryWithDictionary:good];
  [odd setObject:@"value" forKey:[NSNumber numberWithInt:1]];

  for (Entries *const bad :
       {classless, odd, with(good, kSecClass, @"inet"), with(good, (CFStringRef) @"none", @"x"),
        with(good, (CFStringRef) @"", @"x"),
        with(good, (CFStringRef) @"\u00e9\u00e9\u00e9\u00e9", @"x"),
        with(good, (CFStringRef) @"m_LimitAll", yes())}) {
    EXPECT_EQ(test::add(bad), errSecParam) << [[bad description] UTF8String];
    EXPECT_EQ(status_of_search(bad), errSecParam);
    EXPECT_EQ(test::remove(bad), errSecParam);
    EXPECT_EQ(update(bad, kSecAttrLabel, @"x"), errSecParam);
  }
  EXPECT_EQ(SecItemAdd(nullptr, nullptr), errSecParam);
  EXPECT_EQ(SecItemCopyMatching(nullptr, nullptr), errSecParam);
  EXPECT_EQ(SecItemDelete(nullptr), errSecParam);
  EXPECT_EQ(SecItemDelete((CFDictionaryRef) @"no dictionary"), errSecParam);
  EXPECT_EQ(SecItemUpdate((CFDictionaryRef)good, nullptr), errSecParam);

  // Keys where they have no meaning.
  EXPECT_EQ(status_of_search(with(good, kSecValueData, bytes("x"))), errSecParam);
  EXPECT_EQ(test::remove(with(good, kSecValueData, bytes("x"))), errSecParam);
  EXPECT_EQ(test::remove(with(good, kSecReturnData, yes())), errSecParam);
  EXPECT_EQ(test::add(with(good, kSecMatchLimit, (id)kSecMatchLimitOne)), errSecParam);
  EXPECT_EQ(update(good, kSecClass, (id)kSecClassGenericPassword), errSecParam);
  EXPECT_EQ(update(good, kSecMatchLimit, (id)kSecMatchLimitAll), errSecParam);
  EXPECT_EQ(update(good, kSecReturnData, yes()), errSecParam);
  EXPECT_EQ(update(good, kSecAttrSynchronizable, (id)kSecAttrSynchronizableAny), errSecParam);

  // Values that their type has but their key has not.
  EXPECT_EQ(status_of_search(with(good, kSecMatchLimit, [NSNumber numberWithInt:0])), errSecParam);
  EXPECT_EQ(status_of_search(with(good, kSecMatchLimit, [NSNumber numberWithInt:-1])), errSecParam);
  EXPECT_EQ(status_of_search(with(good, kSecMatchLimit, @"m_LimitTwo")), errSecParam);
  for (const double limit : {1.5, 0.5, -1e300, static_cast<double>(NAN), HUGE_VAL})
    EXPECT_EQ(status_of_search(with(good, kSecMatchLimit, [NSNumber numberWithDouble:limit])),
              errSecParam)
        << limit;
  EXPECT_EQ(status_of_search(with(good, kSecAttrSynchronizable, [NSNumber numberWithInt:2])),
            errSecParam);
  EXPECT_EQ(status_of_search(with(good, kSecAttrAccessible, @"xx")), errSecParam);
  EXPECT_EQ(status_of_search(with(good, kSecAttrType, [NSNumber numberWithDouble:1.5])),
            errSecParam);
  EXPECT_EQ(status_of_search(with(good, kSecAttrType, [NSNumber numberWithDouble:NAN])),
            errSecParam);
  EXPECT_EQ(status_of_search(with(good, kSecAttrType, [NSNumber numberWithDouble:1e300])),
            errSecParam);
  EXPECT_EQ(status_of_search(with(good, kSecAttrCreationDate,
                                  [NSDate dateWithTimeIntervalSinceReferenceDate:INFINITY])),
            errSecParam);
  EXPECT_TRUE([secret(good) isEqual:bytes("one")]) << "a refused call changed the item";
}

TEST_F(SecItem, OffersNoReferences) {
  ASSERT_EQ(test::add(item(@"mail", @"ann")), errSecSuccess);
  for (const CFStringRef key : {kSecReturnRef, kSecReturnPersistentRef}) {
    EXPECT_EQ(status_of_search(with(item(@"mail", @"ann"), key, yes())), errSecUnimplemented);
    EXPECT_EQ(status_of_search(with(item(@"mail", @"ann"), key, no())), errSecSuccess);
    EXPECT_EQ(test::add(with(item(@"mail", @"new"), key, yes())), errSecUnimplemented);
  }
  EXPECT_EQ(status_of_search(item(@"mail", @"new")), errSecItemNotFound);
}

// Under every key every wrong type, in every function: a status, never an exception, and nothing
// changes.
TEST_F(SecItem, RefusesWrongTypesUnderEveryKey) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  NSDictionary *const before = attributes(item(@"mail", @"ann"));
  // Half a surrogate pair, by itself and before a letter.
  const unichar pair[] = {0xD83D, 0xDE00, 'a'};
  NSString *const face = [NSString stringWithCharacters:pair length:3];
  NSArray *const values = @[
    @"text", [face substringToIndex:1], [face substringFromIndex:1], bytes("data"), [NSDate date],
    [NSNumber numberWithInt:17], [NSNumber numberWithDouble:0.5], [NSNull null], [NSArray array],
    [NSDictionary dictionary], [[[NSObject alloc] init] autorelease], [NSObject class]
  ];
  NSArray *const keys = @[
    @"class",  @"agrp",         @"pdmn",  @"acct",           @"icmt",   @"cdat",
    @"crtr",   @"desc",         @"gena",  @"invi",           @"nega",   @"labl",
    @"mdat",   @"svce",         @"sync",  @"type",           @"v_Data", @"m_Limit",
    @"r_Data", @"r_Attributes", @"r_Ref", @"r_PersistentRef"
  ];
  const auto wrong_for = [](NSString *key, id value) {
    const bool text =
        [@[ @"agrp", @"acct", @"icmt", @"desc", @"labl", @"svce" ] containsObject:key];
    const bool data = [@[ @"gena", @"v_Data" ] containsObject:key];
    const bool date = [@[ @"cdat", @"mdat" ] containsObject:key];
    const bool number = [@[ @"crtr", @"type", @"m_Limit" ] containsObject:key];
    return !((text && [value isEqual:@"text"]) || (data && [value isEqual:bytes("data")]) ||
             (date && [value isKindOfClass:[NSDate class]]) ||
             (number && [value isEqual:[NSNumber numberWithInt:17]]));
  };
  for (NSString *const key in keys)
    for (id value in values) {
      if (!wrong_for(key, value))
        continue;
      Entries *const bad = with(item(@"mail", @"ann"), (CFStringRef)key, value);
      EXPECT_EQ(test::add(bad), errSecParam) << [key UTF8String];
      EXPECT_EQ(status_of_search(bad), errSecParam) << [key UTF8String];
      EXPECT_EQ(test::remove(bad), errSecParam) << [key UTF8String];
      EXPECT_EQ(update(bad, kSecAttrLabel, @"x"), errSecParam) << [key UTF8String];
      EXPECT_EQ(update(item(@"mail", @"ann"), (CFStringRef)key, value), errSecParam)
          << [key UTF8String];
    }
  EXPECT_TRUE([attributes(item(@"mail", @"ann")) isEqual:before]);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
}

} // namespace
} // namespace veltro::test
