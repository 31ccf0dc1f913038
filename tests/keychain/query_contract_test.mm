// What the query hands to the keychain, attribute by attribute, and what it makes of the results.

#include "keychain/recorded_calls.hpp"
#include "support/replaced_method.hpp"

#import <Foundation/NSFoundationVersionNumber.h>
#import <veltro/veltro.h>

#include <cmath>
#include <gtest/gtest.h>
#include <initializer_list>

namespace veltro::test {
namespace {

class Query : public testing::Test {
protected:
  void SetUp() override {
    reset_calls();
    NSFoundationVersionNumber = 1280.25;
    query_ = [[[ZLTKeyChainQuery alloc] init] autorelease];
  }

  void name_item() {
    [query_ setService:@"mail"];
    [query_ setAccount:@"ann"];
  }

  ZLTKeyChainQuery *query_ = nil;
};

NSData *bytes(const char *text) {
  return [NSData dataWithBytes:text length:strlen(text)];
}

NSDictionary *dictionary(NSArray *keys, NSArray *values) {
  return [NSDictionary dictionaryWithObjects:values forKeys:keys];
}

id yes() {
  return [NSNumber numberWithBool:YES];
}

id no() {
  return [NSNumber numberWithBool:NO];
}

bool raises(NSString *name, void (^block)()) {
  @try {
    block();
  } @catch (NSException *exception) {
    return [[exception name] isEqual:name];
  }
  return false;
}

#define EXPECT_CALL_WAS(call, name, expected)                                                      \
  do {                                                                                             \
    EXPECT_EQ((call).function, name);                                                              \
    EXPECT_TRUE([(call).dictionary isEqual:(expected)])                                            \
        << [[(call).dictionary description] UTF8String];                                           \
  } while (false)

TEST_F(Query, StartsEmpty) {
  EXPECT_EQ([query_ account], nil);
  EXPECT_EQ([query_ service], nil);
  EXPECT_EQ([query_ label], nil);
  EXPECT_EQ([query_ accessGroup], nil);
  EXPECT_EQ([query_ passwordData], nil);
  EXPECT_EQ([query_ password], nil);
  EXPECT_EQ([query_ passwordObject], nil);
  EXPECT_EQ([query_ synchronizationMode], ZLTKeyChainQuerySynchronizationModeAny);
}

TEST_F(Query, HasAFieldForEachPropertyButTheDerivedOnes) {
  Class const type = [ZLTKeyChainQuery class];
  for (const char *name :
       {"_account", "_service", "_label", "_accessGroup", "_synchronizationMode", "_passwordData"})
    EXPECT_NE(class_getInstanceVariable(type, name), nullptr) << name;
  for (const char *name : {"_password", "_passwordObject"})
    EXPECT_EQ(class_getInstanceVariable(type, name), nullptr) << name;
  EXPECT_EQ([type superclass], [NSObject class]);
}

TEST_F(Query, TheModeIs64BitsWideAndUnsigned) {
  static_assert(sizeof(ZLTKeyChainQuerySynchronizationMode) == 8);
  static_assert(ZLTKeyChainQuerySynchronizationModeAny == 0);
  static_assert(ZLTKeyChainQuerySynchronizationModeNo == 1);
  static_assert(ZLTKeyChainQuerySynchronizationModeYes == 2);
  const auto largest = static_cast<ZLTKeyChainQuerySynchronizationMode>(~0ULL);
  [query_ setSynchronizationMode:largest];
  EXPECT_EQ([query_ synchronizationMode], largest);
  EXPECT_GT(static_cast<unsigned long long>([query_ synchronizationMode]), 0ULL);
}

TEST_F(Query, CopiesItsStringsAndItsSecret) {
  NSMutableString *const text = [NSMutableString stringWithString:@"text"];
  NSMutableData *const data = [NSMutableData dataWithBytes:"data" length:4];
  [query_ setAccount:text];
  [query_ setService:text];
  [query_ setLabel:text];
  [query_ setAccessGroup:text];
  [query_ setPasswordData:data];
  [text setString:@"changed"];
  [data setLength:0];
  EXPECT_TRUE([[query_ account] isEqual:@"text"]);
  EXPECT_TRUE([[query_ service] isEqual:@"text"]);
  EXPECT_TRUE([[query_ label] isEqual:@"text"]);
  EXPECT_TRUE([[query_ accessGroup] isEqual:@"text"]);
  EXPECT_TRUE([[query_ passwordData] isEqual:bytes("data")]);
}

TEST_F(Query, TheDictionaryOfNothingHasClassAndSynchronisation) {
  EXPECT_TRUE([[query_ query] isEqual:dictionary(@[ @"class", @"sync" ], @[ @"genp", @"syna" ])]);
}

TEST_F(Query, TheDictionaryHasWhatIsSet) {
  name_item();
  [query_ setAccessGroup:@"group"];
  [query_ setLabel:@"label"];
  [query_ setPassword:@"secret"];
  EXPECT_TRUE([[query_ query] isEqual:dictionary(@[ @"class", @"svce", @"acct", @"agrp", @"sync" ],
                                                 @[ @"genp", @"mail", @"ann", @"group", @"syna" ])])
      << "label and secret belong to saving";
}

TEST_F(Query, EmptyStringsArePassedOn) {
  [query_ setService:@""];
  [query_ setAccount:@""];
  [query_ setAccessGroup:@""];
  EXPECT_TRUE([[query_ query] isEqual:dictionary(@[ @"class", @"svce", @"acct", @"agrp", @"sync" ],
                                                 @[ @"genp", @"", @"", @"", @"syna" ])]);
}

TEST_F(Query, TheDictionaryIsNewAndMutableEachTime) {
  NSMutableDictionary *const first = [query_ query];
  [first setObject:@"x" forKey:@"more"];
  EXPECT_EQ([[query_ query] objectForKey:@"more"], nil);
  name_item();
  EXPECT_TRUE([[[query_ query] objectForKey:@"svce"] isEqual:@"mail"]);
}

NSUInteger capacity = 0;

id note_capacity(id type, SEL /*selector*/, NSUInteger wanted) {
  capacity = wanted;
  return [[[type alloc] init] autorelease];
}

TEST_F(Query, TheDictionaryIsMadeForThreeObjects) {
  const ReplacedMethod replaced(
      class_getClassMethod([NSMutableDictionary class], @selector(dictionaryWithCapacity:)),
      note_capacity);
  EXPECT_EQ([[query_ query] count], 2U);
  EXPECT_EQ(capacity, 3U);
}

TEST_F(Query, TheModeDecidesTheFlag) {
  [query_ setSynchronizationMode:ZLTKeyChainQuerySynchronizationModeNo];
  EXPECT_TRUE([[[query_ query] objectForKey:@"sync"] isEqual:no()]);
  [query_ setSynchronizationMode:ZLTKeyChainQuerySynchronizationModeYes];
  EXPECT_TRUE([[[query_ query] objectForKey:@"sync"] isEqual:yes()]);
  [query_ setSynchronizationMode:ZLTKeyChainQuerySynchronizationModeAny];
  EXPECT_TRUE([[[query_ query] objectForKey:@"sync"] isEqual:@"syna"]);
}

TEST_F(Query, OtherModesRaise) {
  name_item();
  [query_ setPassword:@"secret"];
  for (const unsigned long long value : {3ULL, 1ULL << 32, ~0ULL}) {
    [query_ setSynchronizationMode:static_cast<ZLTKeyChainQuerySynchronizationMode>(value)];
    ZLTKeyChainQuery *const query = query_;
    EXPECT_TRUE(raises(NSInvalidArgumentException, ^{
      [query query];
    }));
    EXPECT_TRUE(raises(NSInvalidArgumentException, ^{
      [query save:nullptr];
    }));
    EXPECT_TRUE(raises(NSInvalidArgumentException, ^{
      [query fetchAll:nullptr];
    }));
    NSFoundationVersionNumber = 993.0;
    EXPECT_FALSE(raises(NSInvalidArgumentException, ^{
      [query query];
    })) << "nobody asks before";
    NSFoundationVersionNumber = 1280.25;
  }
  EXPECT_TRUE(calls.empty());
}

TEST_F(Query, SynchronisationIsAvailableBeyondTheFloorOf993) {
  const std::pair<double, BOOL> cases[] = {
      {0, NO},        {992.0, NO}, {993.0, NO}, {993.99, NO},    {994.0, YES}, {1047.2, YES},
      {1280.25, YES}, {-1, NO},    {NAN, NO},   {INFINITY, YES}, {994.5, YES}};
  for (const auto &[number, available] : cases) {
    NSFoundationVersionNumber = number;
    EXPECT_EQ([ZLTKeyChainQuery isSynchronizationAvailable], available) << number;
    EXPECT_EQ([[query_ query] objectForKey:@"sync"] != nil, available != NO) << number;
  }
}

TEST_F(Query, SavesByDeletingAndAdding) {
  name_item();
  [query_ setPasswordData:bytes("secret")];
  EXPECT_TRUE([query_ save:nullptr]);
  ASSERT_EQ(calls.size(), 2U);
  NSArray *const keys = @[ @"class", @"svce", @"acct", @"sync" ];
  NSArray *const values = @[ @"genp", @"mail", @"ann", @"syna" ];
  EXPECT_CALL_WAS(calls[0], "SecItemDelete", dictionary(keys, values));
  EXPECT_CALL_WAS(calls[1], "SecItemAdd",
                  dictionary([keys arrayByAddingObject:@"v_Data"],
                             [values arrayByAddingObject:bytes("secret")]));
  EXPECT_FALSE(calls[1].wants_result);
}

TEST_F(Query, SavesLabelAndGroup) {
  name_item();
  [query_ setPasswordData:bytes("secret")];
  [query_ setLabel:@"label"];
  [query_ setAccessGroup:@"group"];
  [query_ setSynchronizationMode:ZLTKeyChainQuerySynchronizationModeYes];
  EXPECT_TRUE([query_ save:nullptr]);
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_CALL_WAS(calls[0], "SecItemDelete",
                  dictionary(@[ @"class", @"svce", @"acct", @"agrp", @"sync" ],
                             @[ @"genp", @"mail", @"ann", @"group", yes() ]));
  EXPECT_CALL_WAS(
      calls[1], "SecItemAdd",
      dictionary(@[ @"class", @"svce", @"acct", @"agrp", @"sync", @"v_Data", @"labl" ],
                 @[ @"genp", @"mail", @"ann", @"group", yes(), bytes("secret"), @"label" ]));
}

TEST_F(Query, SavesAnEmptySecret) {
  name_item();
  [query_ setPasswordData:[NSData data]];
  EXPECT_TRUE([query_ save:nullptr]);
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_TRUE([[calls[1].dictionary objectForKey:@"v_Data"] isEqual:[NSData data]]);
}

TEST_F(Query, SavesOnWhenThereWasNothingToDelete) {
  name_item();
  [query_ setPassword:@"secret"];
  result_of_delete = errSecItemNotFound;
  NSError *error = nil;
  EXPECT_TRUE([query_ save:&error]);
  EXPECT_EQ(error, nil);
  result_of_delete = errSecInteractionNotAllowed;
  EXPECT_TRUE([query_ save:&error]);
  EXPECT_EQ(error, nil);
}

TEST_F(Query, ASaveThatFailsReportsTheAddition) {
  name_item();
  [query_ setPassword:@"secret"];
  result_of_delete = errSecItemNotFound;
  result_of_add = errSecDuplicateItem;
  NSError *error = nil;
  EXPECT_FALSE([query_ save:&error]);
  EXPECT_EQ([error code], errSecDuplicateItem);
  EXPECT_FALSE([query_ save:nullptr]);
}

TEST_F(Query, Deletes) {
  name_item();
  NSError *error = nil;
  EXPECT_TRUE([query_ deleteItem:&error]);
  EXPECT_EQ(error, nil);
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_CALL_WAS(
      calls[0], "SecItemDelete",
      dictionary(@[ @"class", @"svce", @"acct", @"sync" ], @[ @"genp", @"mail", @"ann", @"syna" ]));
  result_of_delete = errSecItemNotFound;
  EXPECT_FALSE([query_ deleteItem:nullptr]);
  EXPECT_FALSE([query_ deleteItem:&error]);
  EXPECT_EQ([error code], errSecItemNotFound);
}

TEST_F(Query, Fetches) {
  name_item();
  NSMutableData *const secret = [NSMutableData dataWithBytes:"secret" length:6];
  const NSUInteger held = [secret retainCount];
  found = secret;
  NSError *error = nil;
  EXPECT_TRUE([query_ fetch:&error]);
  EXPECT_EQ(error, nil);
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_CALL_WAS(calls[0], "SecItemCopyMatching",
                  dictionary(@[ @"class", @"svce", @"acct", @"sync", @"r_Data", @"m_Limit" ],
                             @[ @"genp", @"mail", @"ann", @"syna", yes(), @"m_LimitOne" ]));
  EXPECT_TRUE(calls[0].wants_result);
  EXPECT_TRUE(calls[0].result_was_null);
  EXPECT_EQ([secret retainCount], held) << "the result was not released";
  [secret setLength:0];
  EXPECT_TRUE([[query_ passwordData] isEqual:bytes("secret")]) << "not a copy";
}

TEST_F(Query, AFetchGoesThroughTheSetter) {
  name_item();
  found = bytes("secret");
  static id stored = nil;
  stored = nil;
  const auto store = +[](id, SEL, id data) { stored = data; };
  const ReplacedMethod replaced(
      class_getInstanceMethod([ZLTKeyChainQuery class], @selector(setPasswordData:)), store);
  EXPECT_TRUE([query_ fetch:nullptr]);
  EXPECT_TRUE([stored isEqual:bytes("secret")]);
}

TEST_F(Query, AFetchThatFailsLeavesTheSecret) {
  name_item();
  [query_ setPassword:@"before"];
  result_of_search = errSecItemNotFound;
  NSError *error = nil;
  EXPECT_FALSE([query_ fetch:&error]);
  EXPECT_EQ([error code], errSecItemNotFound);
  EXPECT_FALSE([query_ fetch:nullptr]);
  EXPECT_TRUE([[query_ password] isEqual:@"before"]);
}

TEST_F(Query, Lists) {
  NSMutableArray *const items = [NSMutableArray arrayWithObject:@"item"];
  found = items;
  const NSUInteger held = [items retainCount];
  NSError *error = nil;
  NSAutoreleasePool *const pool = [[NSAutoreleasePool alloc] init];
  EXPECT_EQ([query_ fetchAll:&error], items);
  [pool drain];
  EXPECT_EQ([items retainCount], held) << "the result was not released";
  EXPECT_EQ(error, nil);
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_CALL_WAS(calls[0], "SecItemCopyMatching",
                  dictionary(@[ @"class", @"sync", @"r_Attributes", @"m_Limit" ],
                             @[ @"genp", @"syna", yes(), @"m_LimitAll" ]));
  EXPECT_TRUE(calls[0].result_was_null);

  name_item();
  [query_ setAccessGroup:@"group"];
  [query_ fetchAll:nullptr];
  EXPECT_CALL_WAS(
      calls[1], "SecItemCopyMatching",
      dictionary(@[ @"class", @"svce", @"acct", @"agrp", @"sync", @"r_Attributes", @"m_Limit" ],
                 @[ @"genp", @"mail", @"ann", @"group", @"syna", yes(), @"m_LimitAll" ]));
}

TEST_F(Query, AListingThatFailsIsNil) {
  result_of_search = errSecItemNotFound;
  NSError *error = nil;
  EXPECT_EQ([query_ fetchAll:&error], nil);
  EXPECT_EQ([error code], errSecItemNotFound);
  EXPECT_EQ([query_ fetchAll:nullptr], nil);
}

TEST_F(Query, AResultThatCameWithAFailureIsNoSecret) {
  name_item();
  [query_ setPassword:@"before"];
  NSMutableData *const data = [NSMutableData dataWithBytes:"secret" length:6];
  const NSUInteger held = [data retainCount];
  found = data;
  result_of_search = errSecDecode;
  returns_though_it_fails = true;
  EXPECT_FALSE([query_ fetch:nullptr]);
  EXPECT_TRUE([[query_ password] isEqual:@"before"]);
  EXPECT_EQ([data retainCount], held);
}

TEST_F(Query, AResultThatCameWithAFailureIsListedWhereNobodyHearsOfIt) {
  found = @[ @"item" ];
  result_of_search = errSecDecode;
  returns_though_it_fails = true;
  NSError *error = nil;
  EXPECT_EQ([query_ fetchAll:&error], nil);
  EXPECT_EQ([error code], errSecDecode);
  EXPECT_EQ([query_ fetchAll:nullptr], found);
}

TEST_F(Query, MissingPropertiesNeverReachTheKeychain) {
  const auto expect_refusal = [&](BOOL (^operation)(NSError **)) {
    NSError *error = nil;
    EXPECT_FALSE(operation(&error));
    EXPECT_EQ([error code], -1001);
    EXPECT_TRUE([[error domain] isEqual:@"com.norvane.veltro"]);
    EXPECT_TRUE([[error localizedDescription] isEqual:@"ZLTKeyChainErrorBadArguments"]);
    EXPECT_FALSE(operation(nullptr));
  };
  ZLTKeyChainQuery *const query = query_;
  const auto save = ^(NSError **error) {
    return [query save:error];
  };
  const auto remove = ^(NSError **error) {
    return [query deleteItem:error];
  };
  const auto fetch = ^(NSError **error) {
    return [query fetch:error];
  };

  for (NSArray *const names in @[ @[ @"", @"" ], @[ @"mail", @"" ], @[ @"", @"ann" ] ]) {
    NSString *const service = [names objectAtIndex:0];
    NSString *const account = [names objectAtIndex:1];
    [query setService:[service length] > 0 ? service : nil];
    [query setAccount:[account length] > 0 ? account : nil];
    [query setPassword:@"secret"];
    expect_refusal(save);
    expect_refusal(remove);
    expect_refusal(fetch);
  }
  name_item();
  [query setPasswordData:nil];
  expect_refusal(save);
  EXPECT_TRUE(calls.empty());
}

TEST_F(Query, NothingIsStoredWhereNothingFailed) {
  name_item();
  [query_ setPassword:@"secret"];
  found = bytes("secret");
  NSError *const marker = [NSError errorWithDomain:@"d" code:1 userInfo:nil];
  NSError *error = marker;
  EXPECT_TRUE([query_ save:&error]);
  EXPECT_TRUE([query_ deleteItem:&error]);
  EXPECT_TRUE([query_ fetch:&error]);
  [query_ fetchAll:&error];
  EXPECT_EQ(error, marker);
}

TEST_F(Query, ThePasswordIsTheSecretAsUTF8) {
  [query_ setPassword:@"gr\u00fc\u00df \U0001F511"];
  EXPECT_TRUE([[query_ passwordData] isEqual:bytes("gr\u00fc\u00df \U0001F511")]);
  EXPECT_TRUE([[query_ password] isEqual:@"gr\u00fc\u00df \U0001F511"]);
  [query_ setPassword:@""];
  EXPECT_NE([query_ passwordData], nil);
  EXPECT_EQ([[query_ passwordData] length], 0U);
  EXPECT_EQ([query_ password], nil);
  [query_ setPassword:nil];
  EXPECT_EQ([query_ passwordData], nil);
  [query_ setPasswordData:bytes("\xff\xfe")];
  EXPECT_EQ([query_ password], nil);
}

TEST_F(Query, TheObjectIsTheSecretAsAKeyedArchive) {
  NSDictionary *const object = dictionary(@[ @"a", @"b" ], @[ @1, @[ @"x", bytes("y") ] ]);
  [query_ setPasswordObject:object];
  EXPECT_TRUE([[query_ passwordData] isEqual:[NSKeyedArchiver archivedDataWithRootObject:object]]);
  EXPECT_TRUE([(id)[query_ passwordObject] isEqual:object]);
  EXPECT_EQ(memcmp([[query_ passwordData] bytes], "bplist00", 8), 0);
  [query_ setPasswordData:[NSData data]];
  EXPECT_EQ([query_ passwordObject], nil);
  [query_ setPasswordData:nil];
  EXPECT_EQ([query_ passwordObject], nil);
}

int unarchived = 0;

id note_unarchiving(id /*self*/, SEL /*selector*/, NSData * /*data*/) {
  ++unarchived;
  return @"object";
}

TEST_F(Query, NobodyUnarchivesAnEmptySecret) {
  const ReplacedMethod replaced(
      class_getClassMethod([NSKeyedUnarchiver class], @selector(unarchiveObjectWithData:)),
      note_unarchiving);
  for (NSData *const data : std::initializer_list<NSData *>{nil, [NSData data]}) {
    [query_ setPasswordData:data];
    EXPECT_EQ([query_ passwordObject], nil);
  }
  EXPECT_EQ(unarchived, 0);
  [query_ setPasswordData:bytes("x")];
  EXPECT_TRUE([(id)[query_ passwordObject] isEqual:@"object"]);
  EXPECT_EQ(unarchived, 1);
}

TEST_F(Query, AnArchiveOfNothingIsASecret) {
  [query_ setPasswordObject:nil];
  EXPECT_TRUE([[query_ passwordData] isEqual:[NSKeyedArchiver archivedDataWithRootObject:nil]]);
  EXPECT_GT([[query_ passwordData] length], 0U);
  EXPECT_EQ([query_ passwordObject], nil);
}

TEST_F(Query, ReleasesWhatItHolds) {
  NSString *const text = [NSString stringWithFormat:@"long enough that it is an object %d", 1];
  NSData *const data = bytes("long enough that it is an object of its own");
  ZLTKeyChainQuery *const query = [[ZLTKeyChainQuery alloc] init];
  [query setPasswordData:data];
  const NSUInteger held = [data retainCount];
  const NSUInteger held_text = [text retainCount];
  [query setAccount:text];
  [query setService:text];
  [query setLabel:text];
  [query setAccessGroup:text];
  EXPECT_EQ([text retainCount], held_text + 4) << "the copy of what does not change is itself";
  [query release];
  EXPECT_EQ([data retainCount], held - 1);
  EXPECT_EQ([text retainCount], held_text);
}

TEST(ErrorWithCode, IsNilForSuccess) {
  EXPECT_EQ([ZLTKeyChainQuery errorWithCode:0], nil);
}

TEST(ErrorWithCode, HasTheStatusAndTheBareKeyWithoutATable) {
  const std::pair<OSStatus, NSString *> table[] = {
      {-4, @"errSecUnimplemented"},
      {-50, @"errSecParam"},
      {-108, @"errSecAllocate"},
      {-1001, @"ZLTKeyChainErrorBadArguments"},
      {-25291, @"errSecNotAvailable"},
      {-25293, @"errSecAuthFailed"},
      {-25299, @"errSecDuplicateItem"},
      {-25300, @"errSecItemNotFound"},
      {-25308, @"errSecInteractionNotAllowed"},
      {-26275, @"errSecDecode"},
      {-1, @"errSecDefault"},
      {1, @"errSecDefault"},
      {-34, @"errSecDefault"},
      {-25292, @"errSecDefault"},
      {INT32_MIN, @"errSecDefault"},
      {INT32_MAX, @"errSecDefault"},
  };
  for (const auto &[status, key] : table) {
    NSError *const error = [ZLTKeyChainQuery errorWithCode:status];
    EXPECT_EQ([error code], status);
    EXPECT_TRUE([[error domain] isEqual:kZLTKeyChainErrorDomain]);
    EXPECT_TRUE([[error userInfo] isEqual:dictionary(@[ NSLocalizedDescriptionKey ], @[ key ])])
        << status << " " << [[[error userInfo] description] UTF8String];
  }
}

struct Lookup {
  NSBundle *bundle;
  NSString *key, *value, *table;
};
Lookup lookup;
NSString *translation = nil;

NSString *look_up(id bundle, SEL /*selector*/, NSString *key, NSString *value, NSString *table) {
  lookup = {bundle, key, value, table};
  return translation;
}

NSBundle *main_bundle = nil;

id return_main_bundle(id /*self*/, SEL /*selector*/) {
  return main_bundle;
}

bool error_was_made = false;
NSDictionary *given_information = nil;

id error_made(Class /*self*/, SEL /*selector*/, NSString *domain, NSInteger code,
              NSDictionary *information) {
  error_was_made = true;
  given_information = information;
  return [[[NSError alloc] initWithDomain:domain code:code userInfo:information] autorelease];
}

TEST(ErrorWithCode, LooksItsTextUpInTheMainBundlesTable) {
  main_bundle = [NSBundle bundleWithPath:@"/"];
  ASSERT_NE(main_bundle, nil);
  ASSERT_NE(main_bundle, [NSBundle mainBundle]);
  const ReplacedMethod replaced_bundle(
      class_getClassMethod([NSBundle class], @selector(mainBundle)), return_main_bundle);
  const ReplacedMethod replaced(
      class_getInstanceMethod([NSBundle class], @selector(localizedStringForKey:value:table:)),
      look_up);
  translation = @"Nothing there.";
  NSError *error = [ZLTKeyChainQuery errorWithCode:errSecItemNotFound];
  EXPECT_EQ(lookup.bundle, main_bundle);
  EXPECT_TRUE([lookup.key isEqual:@"errSecItemNotFound"]);
  EXPECT_TRUE([lookup.value isEqual:@""]);
  EXPECT_TRUE([lookup.table isEqual:@"ZLTKeyChain"]);
  EXPECT_TRUE([[error userInfo]
      isEqual:dictionary(@[ NSLocalizedDescriptionKey ], @[ @"Nothing there." ])]);
  translation = nil;
  {
    const ReplacedMethod recorded(
        class_getClassMethod([NSError class], @selector(errorWithDomain:code:userInfo:)),
        error_made);
    error = [ZLTKeyChainQuery errorWithCode:errSecItemNotFound];
  }
  ASSERT_TRUE(error_was_made);
  EXPECT_EQ(given_information, nil) << "none, where an empty one would do";
  EXPECT_EQ([error code], errSecItemNotFound);
}

} // namespace
} // namespace veltro::test

/// A query whose class stands for itself.
@interface VTOwnQuery : ZLTKeyChainQuery
@end

@implementation VTOwnQuery
+ (BOOL)isSynchronizationAvailable {
  return NO;
}
+ (NSError *)errorWithCode:(OSStatus)code {
  return [NSError errorWithDomain:@"own" code:code userInfo:nil];
}
@end

/// A query with a dictionary and a deletion of its own.
@interface VTMarkedQuery : ZLTKeyChainQuery {
@public
  int deletions;
  bool errorWasWanted;
}
@end

@implementation VTMarkedQuery
- (NSMutableDictionary *)query {
  NSMutableDictionary *const query = [super query];
  [query setObject:@"mark" forKey:@"mark"];
  return query;
}
- (BOOL)deleteItem:(NSError **)error {
  ++deletions;
  errorWasWanted |= error != nullptr;
  veltro::test::calls.clear();
  return [super deleteItem:error];
}
@end

namespace veltro::test {
namespace {

TEST_F(Query, AsksItsOwnClass) {
  VTOwnQuery *const query = [[[VTOwnQuery alloc] init] autorelease];
  EXPECT_EQ([[query query] objectForKey:@"sync"], nil);
  NSError *error = nil;
  EXPECT_FALSE([query fetch:&error]);
  EXPECT_TRUE([[error domain] isEqual:@"own"]);
}

TEST_F(Query, EveryOperationStartsFromItsOwnDictionary) {
  VTMarkedQuery *const query = [[[VTMarkedQuery alloc] init] autorelease];
  [query setService:@"mail"];
  [query setAccount:@"ann"];
  [query setPassword:@"secret"];
  found = bytes("secret");
  [query fetch:nullptr];
  [query fetchAll:nullptr];
  EXPECT_EQ(calls.size(), 2U);
  for (const Call &call : calls)
    EXPECT_TRUE([[call.dictionary objectForKey:@"mark"] isEqual:@"mark"]) << call.function;
  [query save:nullptr];
  ASSERT_EQ(calls.size(), 2U);
  for (const Call &call : calls)
    EXPECT_TRUE([[call.dictionary objectForKey:@"mark"] isEqual:@"mark"]) << call.function;
}

TEST_F(Query, ASaveDeletesByItsOwnMethodAndHearsNoError) {
  VTMarkedQuery *const query = [[[VTMarkedQuery alloc] init] autorelease];
  [query setService:@"mail"];
  [query setAccount:@"ann"];
  NSError *error = nil;
  EXPECT_FALSE([query save:&error]);
  EXPECT_EQ(query->deletions, 0) << "nothing is deleted for a save that cannot be";
  [query setPassword:@"secret"];
  EXPECT_TRUE([query save:&error]);
  EXPECT_EQ(query->deletions, 1);
  EXPECT_FALSE(query->errorWasWanted);
}

} // namespace
} // namespace veltro::test
