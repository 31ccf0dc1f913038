// What the facade asks of its queries and hands to the keychain.

#include "keychain/recorded_calls.hpp"
#include "support/replaced_method.hpp"

#import <Foundation/NSFoundationVersionNumber.h>
#import <veltro/veltro.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

std::vector<std::pair<char, CFTypeRef>> counting;

} // namespace

extern "C" {

CFTypeRef CFRetain(CFTypeRef object) {
  counting.emplace_back('+', object);
  static const auto real = reinterpret_cast<CFTypeRef (*)(CFTypeRef)>(dlsym(RTLD_NEXT, "CFRetain"));
  return real(object);
}

void CFRelease(CFTypeRef object) {
  counting.emplace_back('-', object);
  static const auto real = reinterpret_cast<void (*)(CFTypeRef)>(dlsym(RTLD_NEXT, "CFRelease"));
  real(object);
}

} // extern "C"

namespace veltro::test {
namespace {

class Facade : public testing::Test {
protected:
  void SetUp() override {
    reset_calls();
    NSFoundationVersionNumber = 1280.25;
  }
};

NSData *bytes(const char *text) {
  return [NSData dataWithBytes:text length:strlen(text)];
}

std::vector<std::string> functions() {
  std::vector<std::string> names;
  for (const Call &call : calls)
    names.push_back(call.function);
  return names;
}

using Names = std::vector<std::string>;

TEST(FacadeConstants, HaveTheirValues) {
  EXPECT_TRUE([kZLTKeyChainErrorDomain isEqual:@"com.norvane.veltro"]);
  EXPECT_TRUE([kZLTKeyChainAccountKey isEqual:@"acct"]);
  EXPECT_TRUE([kZLTKeyChainCreatedAtKey isEqual:@"cdat"]);
  EXPECT_TRUE([kZLTKeyChainClassKey isEqual:@"labl"]);
  EXPECT_TRUE([kZLTKeyChainDescriptionKey isEqual:@"desc"]);
  EXPECT_TRUE([kZLTKeyChainLabelKey isEqual:@"labl"]);
  EXPECT_TRUE([kZLTKeyChainLastModifiedKey isEqual:@"mdat"]);
  EXPECT_TRUE([kZLTKeyChainWhereKey isEqual:@"svce"]);
  EXPECT_TRUE([kZLTKeyChainClassKey isEqual:kZLTKeyChainLabelKey]);
  static_assert(ZLTKeyChainErrorBadArguments == -1001);
}

TEST_F(Facade, ReadsAPassword) {
  found = bytes("secret");
  NSError *error = nil;
  EXPECT_TRUE([[ZLTKeyChain passwordForService:@"mail" account:@"ann"] isEqual:@"secret"]);
  EXPECT_TRUE([[ZLTKeyChain passwordForService:@"mail" account:@"ann"
                                         error:&error] isEqual:@"secret"]);
  EXPECT_EQ(error, nil);
  EXPECT_EQ(functions(), Names({"SecItemCopyMatching", "SecItemCopyMatching"}));
  for (const Call &call : calls) {
    EXPECT_EQ([call.dictionary count], 6U);
    EXPECT_TRUE([[call.dictionary objectForKey:@"svce"] isEqual:@"mail"]);
    EXPECT_TRUE([[call.dictionary objectForKey:@"acct"] isEqual:@"ann"]);
    EXPECT_TRUE([[call.dictionary objectForKey:@"sync"] isEqual:@"syna"]);
  }
}

TEST_F(Facade, ReadsNothingFromNoPassword) {
  NSError *error = nil;
  result_of_search = errSecItemNotFound;
  EXPECT_EQ([ZLTKeyChain passwordForService:@"mail" account:@"ann"], nil);
  EXPECT_EQ([ZLTKeyChain passwordForService:@"mail" account:@"ann" error:&error], nil);
  EXPECT_EQ([error code], errSecItemNotFound);

  result_of_search = errSecSuccess;
  for (NSData *const data in @[ [NSData data], bytes("\xff") ]) {
    found = data;
    error = nil;
    EXPECT_EQ([ZLTKeyChain passwordForService:@"mail" account:@"ann" error:&error], nil);
    EXPECT_EQ(error, nil);
  }
}

TEST_F(Facade, StoresAPassword) {
  NSError *error = nil;
  EXPECT_TRUE([ZLTKeyChain setPassword:@"gr\u00fc\u00df" forService:@"mail" account:@"ann"]);
  EXPECT_TRUE([ZLTKeyChain setPassword:@"" forService:@"mail" account:@"ann" error:&error]);
  EXPECT_EQ(error, nil);
  EXPECT_EQ(functions(), Names({"SecItemDelete", "SecItemAdd", "SecItemDelete", "SecItemAdd"}));
  EXPECT_TRUE([[calls[1].dictionary objectForKey:@"v_Data"] isEqual:bytes("gr\u00fc\u00df")]);
  EXPECT_TRUE([[calls[3].dictionary objectForKey:@"v_Data"] isEqual:[NSData data]]);
  EXPECT_EQ([calls[1].dictionary count], 5U) << "neither label, group nor accessibility";
  result_of_add = errSecInteractionNotAllowed;
  EXPECT_FALSE([ZLTKeyChain setPassword:@"x" forService:@"mail" account:@"ann"]);
  EXPECT_FALSE([ZLTKeyChain setPassword:@"x" forService:@"mail" account:@"ann" error:&error]);
  EXPECT_EQ([error code], errSecInteractionNotAllowed);
}

TEST_F(Facade, DeletesAPassword) {
  NSError *error = nil;
  EXPECT_TRUE([ZLTKeyChain deletePasswordForService:@"mail" account:@"ann"]);
  EXPECT_TRUE([ZLTKeyChain deletePasswordForService:@"mail" account:@"ann" error:&error]);
  EXPECT_EQ(error, nil);
  EXPECT_EQ(functions(), Names({"SecItemDelete", "SecItemDelete"}));
  EXPECT_EQ([calls[0].dictionary count], 4U);
  result_of_delete = errSecItemNotFound;
  EXPECT_FALSE([ZLTKeyChain deletePasswordForService:@"mail" account:@"ann"]);
  EXPECT_FALSE([ZLTKeyChain deletePasswordForService:@"mail" account:@"ann" error:&error]);
  EXPECT_EQ([error code], errSecItemNotFound);
}

TEST_F(Facade, ListsAccounts) {
  found = @[ @"item" ];
  NSError *error = nil;
  EXPECT_EQ([ZLTKeyChain allAccounts], found);
  EXPECT_EQ([ZLTKeyChain allAccounts:&error], found);
  EXPECT_EQ([ZLTKeyChain accountsForService:nil], found);
  EXPECT_EQ([ZLTKeyChain accountsForService:nil error:&error], found);
  for (const Call &call : calls) {
    EXPECT_EQ([call.dictionary objectForKey:@"svce"], nil);
    EXPECT_EQ([call.dictionary objectForKey:@"acct"], nil);
    EXPECT_TRUE([[call.dictionary objectForKey:@"m_Limit"] isEqual:@"m_LimitAll"]);
  }
  calls.clear();
  EXPECT_EQ([ZLTKeyChain accountsForService:@"mail"], found);
  EXPECT_EQ([ZLTKeyChain accountsForService:@"mail" error:&error], found);
  EXPECT_EQ(error, nil);
  for (const Call &call : calls) {
    EXPECT_TRUE([[call.dictionary objectForKey:@"svce"] isEqual:@"mail"]);
    EXPECT_EQ([call.dictionary objectForKey:@"acct"], nil);
  }
  result_of_search = errSecItemNotFound;
  EXPECT_EQ([ZLTKeyChain allAccounts], nil);
  EXPECT_EQ([ZLTKeyChain accountsForService:@"mail"], nil);
  EXPECT_EQ([ZLTKeyChain allAccounts:&error], nil);
  EXPECT_EQ([error code], errSecItemNotFound);
}

TEST_F(Facade, RefusesMissingNames) {
  const auto expect_refusal = [](BOOL succeeded, NSError *error) {
    EXPECT_FALSE(succeeded);
    EXPECT_EQ([error code], ZLTKeyChainErrorBadArguments);
  };
  for (const auto &[service, account] :
       {std::pair<NSString *, NSString *>{nil, @"ann"}, {@"mail", nil}, {nil, nil}}) {
    NSError *error = nil;
    EXPECT_EQ([ZLTKeyChain passwordForService:service account:account error:&error], nil);
    expect_refusal(NO, error);
    error = nil;
    expect_refusal([ZLTKeyChain deletePasswordForService:service account:account error:&error],
                   error);
    error = nil;
    expect_refusal([ZLTKeyChain setPassword:@"x" forService:service account:account error:&error],
                   error);
    EXPECT_EQ([ZLTKeyChain passwordForService:service account:account], nil);
    EXPECT_FALSE([ZLTKeyChain deletePasswordForService:service account:account]);
    EXPECT_FALSE([ZLTKeyChain setPassword:@"x" forService:service account:account]);
  }
  NSError *error = nil;
  expect_refusal([ZLTKeyChain setPassword:nil forService:@"mail" account:@"ann" error:&error],
                 error);
  EXPECT_TRUE(calls.empty());
}

std::vector<std::string> order;

template <int Name> void note(id /*self*/, SEL selector, id /*value*/) {
  order.emplace_back(sel_getName(selector));
}

BOOL note_operation(id /*self*/, SEL selector, NSError ** /*error*/) {
  order.emplace_back(sel_getName(selector));
  return YES;
}

TEST_F(Facade, SetsServiceAccountAndPasswordInThisOrder) {
  Class const query = [ZLTKeyChainQuery class];
  const ReplacedMethod service(class_getInstanceMethod(query, @selector(setService:)), note<0>);
  const ReplacedMethod account(class_getInstanceMethod(query, @selector(setAccount:)), note<1>);
  const ReplacedMethod password(class_getInstanceMethod(query, @selector(setPassword:)), note<2>);
  const ReplacedMethod save(class_getInstanceMethod(query, @selector(save:)), note_operation);
  const ReplacedMethod fetch(class_getInstanceMethod(query, @selector(fetch:)), note_operation);
  const ReplacedMethod remove(class_getInstanceMethod(query, @selector(deleteItem:)),
                              note_operation);
  [ZLTKeyChain setPassword:@"x" forService:@"mail" account:@"ann"];
  EXPECT_EQ(order, Names({"setService:", "setAccount:", "setPassword:", "save:"}));
  order.clear();
  [ZLTKeyChain passwordForService:@"mail" account:@"ann"];
  EXPECT_EQ(order, Names({"setService:", "setAccount:", "fetch:"}));
  order.clear();
  [ZLTKeyChain deletePasswordForService:@"mail" account:@"ann"];
  EXPECT_EQ(order, Names({"setService:", "setAccount:", "deleteItem:"}));
}

std::vector<NSError **> wanted_errors;

template <typename Result>
Result note_read(id, SEL selector, NSString *, NSString *, NSError **error) {
  order.emplace_back(sel_getName(selector));
  wanted_errors.push_back(error);
  return {};
}

BOOL note_store(id, SEL selector, NSString *, NSString *, NSString *, NSError **error) {
  return note_read<BOOL>(nil, selector, nil, nil, error);
}

NSArray *note_listing(id, SEL selector, NSString *service, NSError **error) {
  EXPECT_EQ(service, nil);
  return note_read<NSArray *>(nil, selector, nil, nil, error);
}

NSArray *note_all(id, SEL selector, NSError **error) {
  return note_read<NSArray *>(nil, selector, nil, nil, error);
}

TEST_F(Facade, TheShortFormsCallTheLongOnesWithoutAnError) {
  const auto method = [](SEL selector) {
    return class_getClassMethod([ZLTKeyChain class], selector);
  };
  const ReplacedMethod read(method(@selector(passwordForService:account:error:)),
                            note_read<NSString *>);
  const ReplacedMethod remove(method(@selector(deletePasswordForService:account:error:)),
                              note_read<BOOL>);
  const ReplacedMethod store(method(@selector(setPassword:forService:account:error:)), note_store);
  const ReplacedMethod listing(method(@selector(accountsForService:error:)), note_listing);
  order.clear();
  NSError *error = nil;
  [ZLTKeyChain passwordForService:@"mail" account:@"ann"];
  [ZLTKeyChain deletePasswordForService:@"mail" account:@"ann"];
  [ZLTKeyChain setPassword:@"x" forService:@"mail" account:@"ann"];
  [ZLTKeyChain accountsForService:nil];
  [ZLTKeyChain allAccounts:&error];
  {
    const ReplacedMethod all(method(@selector(allAccounts:)), note_all);
    [ZLTKeyChain allAccounts];
  }
  EXPECT_EQ(order,
            Names({"passwordForService:account:error:", "deletePasswordForService:account:error:",
                   "setPassword:forService:account:error:", "accountsForService:error:",
                   "accountsForService:error:", "allAccounts:"}));
  EXPECT_EQ(wanted_errors,
            std::vector<NSError **>({nullptr, nullptr, nullptr, nullptr, &error, nullptr}));
}

// One test, since the setting lives as long as the process and cannot be cleared.
TEST_F(Facade, AppliesTheAccessibilityToEverySaveOnceItIsSet) {
  const auto saved = [] {
    calls.clear();
    EXPECT_TRUE([ZLTKeyChain setPassword:@"x" forService:@"mail" account:@"ann"]);
    return [calls.at(1).dictionary objectForKey:@"pdmn"];
  };
  if ([ZLTKeyChain accessibilityType] == nullptr)
    EXPECT_EQ(saved(), nil);

  NSString *const first = [[NSMutableString alloc] initWithString:@"ck"];
  NSString *const second = [[NSMutableString alloc] initWithString:@"ak"];
  [ZLTKeyChain setAccessibilityType:(CFTypeRef)first];
  EXPECT_EQ([ZLTKeyChain accessibilityType], (CFTypeRef)first) << "retained, not copied";
  EXPECT_TRUE([saved() isEqual:@"ck"]);
  EXPECT_EQ([calls.at(0).dictionary objectForKey:@"pdmn"], nil) << "deleting goes without";

  using Counting = std::vector<std::pair<char, CFTypeRef>>;
  counting.clear();
  [ZLTKeyChain setAccessibilityType:(CFTypeRef)second];
  EXPECT_EQ(counting, Counting({{'+', (CFTypeRef)second}, {'-', (CFTypeRef)first}}));

  // The very value that is held already, which has no other owner.
  [second release];
  counting.clear();
  [ZLTKeyChain setAccessibilityType:(CFTypeRef)second];
  EXPECT_EQ(counting, Counting({{'+', (CFTypeRef)second}, {'-', (CFTypeRef)second}}));
  EXPECT_EQ([second retainCount], 1U);
  EXPECT_TRUE([saved() isEqual:@"ak"]);
  [first release];

  [ZLTKeyChain setAccessibilityType:kSecAttrAccessibleAlways];
  EXPECT_EQ([ZLTKeyChain accessibilityType], kSecAttrAccessibleAlways);
}

TEST(FacadeDeathTest, TheAccessibilityCannotBeCleared) {
  EXPECT_DEATH([ZLTKeyChain setAccessibilityType:nullptr], "");
}

} // namespace
} // namespace veltro::test
