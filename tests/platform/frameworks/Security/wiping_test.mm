// Whether buffers that held a key or a secret are overwritten before they are freed.

#include "platform/frameworks/Security/keychain.hpp"

#include <algorithm>
#include <string>
#include <vector>

namespace {

/// What was overwritten, as it was before.
std::vector<std::string> wiped;

} // namespace

extern "C" void sodium_memzero(void *bytes, size_t length) {
  if (length > 0)
    wiped.emplace_back(static_cast<const char *>(bytes), length);
  explicit_bzero(bytes, length);
}

namespace veltro::test {
namespace {

class Wiping : public Keychain {
protected:
  void SetUp() override {
    Keychain::SetUp();
    ASSERT_EQ(add(@"mail", @"ann", "first secret"), errSecSuccess);
    ASSERT_EQ(add(@"mail", @"bob", "second secret"), errSecSuccess);
    wiped.clear();
  }

  static std::ptrdiff_t times_wiped(const std::string &bytes) {
    return std::ranges::count(wiped, bytes);
  }
};

TEST_F(Wiping, TheMasterKeyGoesWhenItWasMadeAndWhenItWasRead) {
  const std::string key = contents(paths().key);
  let_go();
  wiped.clear();
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecSuccess);
  EXPECT_EQ(times_wiped(key), 1);
  EXPECT_EQ(times_wiped(key + '\0'), 1) << "the buffer that it was read into";

  let_go();
  files::remove_all(device_root());
  wiped.clear();
  ASSERT_EQ(add(@"mail", @"ann", "x"), errSecSuccess);
  EXPECT_EQ(times_wiped(contents(paths().key)), 2) << "made, and read";
}

TEST_F(Wiping, TheWorkingKeysGoWithTheKeychain) {
  const std::string key = contents(paths().key);
  keychain::MasterKey master;
  std::ranges::copy(key, master.begin());
  std::string secrets;
  std::string attributes;
  {
    const keychain::Keys keys(master);
    secrets.assign(keys.secrets.begin(), keys.secrets.end());
    attributes.assign(keys.attributes.begin(), keys.attributes.end());
  }
  let_go(); // which opens another one
  EXPECT_EQ(times_wiped(secrets), 2);
  EXPECT_EQ(times_wiped(attributes), 2);
}

TEST_F(Wiping, ASecretThatWasOpenedForAnUpdateGoes) {
  EXPECT_EQ(update(item(@"mail", @"ann"), with([Entries dictionary], kSecAttrLabel, @"label")),
            errSecSuccess);
  EXPECT_EQ(times_wiped("first secret"), 1);
}

TEST_F(Wiping, WhatIsHandedOverStays) {
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("first secret")]);
  EXPECT_EQ(times_wiped("first secret"), 0);
}

TEST_F(Wiping, AnswersGoThatNobodyGets) {
  tamper("UPDATE genp SET sealed = zeroblob(60) WHERE acct = 'bob'");
  for (const bool with_attributes : {false, true}) {
    wiped.clear();
    Entries *const query = with(with(item(@"mail", nil), kSecReturnData, yes()),
                                kSecReturnAttributes, with_attributes ? yes() : no());
    EXPECT_EQ(status_of_search(with(query, kSecMatchLimit, (id)kSecMatchLimitAll)), errSecDecode);
    EXPECT_EQ(times_wiped("first secret"), 1);
  }
}

} // namespace
} // namespace veltro::test
