// Whether buffers that held a key or a secret are overwritten before they are freed.

#include "platform/frameworks/Security/keychain.hpp"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <sqlite3.h>
#include <string>
#include <vector>

namespace {

/// What was overwritten, as it was before.
std::vector<std::string> wiped;

bool selects_items(sqlite3_stmt *statement) {
  static const auto text_of =
      reinterpret_cast<const char *(*)(sqlite3_stmt *)>(dlsym(RTLD_NEXT, "sqlite3_sql"));
  const char *const text = text_of(statement);
  return text != nullptr && std::strstr(text, "FROM genp") != nullptr;
}

/// Items that selections still return; after that an error.
int rows_left = -1;

} // namespace

extern "C" int sqlite3_step(sqlite3_stmt *statement) {
  static const auto real =
      reinterpret_cast<int (*)(sqlite3_stmt *)>(dlsym(RTLD_NEXT, "sqlite3_step"));
  const int code = real(statement);
  if (code != SQLITE_ROW || rows_left < 0 || !selects_items(statement))
    return code;
  return rows_left-- > 0 ? code : SQLITE_IOERR_READ;
}

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
  close_keychain();
  wiped.clear();
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecSuccess);
  EXPECT_EQ(times_wiped(key + '\0'), 1) << "the buffer that it was read into";

  close_keychain();
  files::remove_all(device_root());
  wiped.clear();
  ASSERT_EQ(add(@"mail", @"ann", "x"), errSecSuccess);
  EXPECT_EQ(times_wiped(contents(paths().key)), 1) << "made";
  EXPECT_EQ(times_wiped(contents(paths().key) + '\0'), 1) << "read";
}

TEST_F(Wiping, TheSealingKeyGoesWithTheKeychain) {
  const std::string key = contents(paths().key);
  keychain::MasterKey master;
  std::ranges::copy(key, master.begin());
  std::string sealing_key;
  {
    const keychain::SealingKey derived(master);
    sealing_key.assign(derived.bytes.begin(), derived.bytes.end());
  }
  close_keychain(); // which opens another one
  EXPECT_EQ(times_wiped(sealing_key), 2);
}

TEST_F(Wiping, ASecretThatWasUnsealedForAnUpdateGoes) {
  EXPECT_EQ(update(item(@"mail", @"ann"), with([Entries dictionary], kSecAttrLabel, @"label")),
            errSecSuccess);
  EXPECT_EQ(times_wiped("first secret"), 1);
}

TEST_F(Wiping, WhatIsHandedOverStays) {
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("first secret")]);
  EXPECT_EQ(times_wiped("first secret"), 0);
}

TEST_F(Wiping, ResultsGoThatNobodyGets) {
  for (const bool with_attributes : {false, true}) {
    wiped.clear();
    rows_left = 1;
    Entries *const query = with(with(item(@"mail", nil), kSecReturnData, yes()),
                                kSecReturnAttributes, with_attributes ? yes() : no());
    EXPECT_EQ(status_of_search(with(query, kSecMatchLimit, (id)kSecMatchLimitAll)), errSecIO);
    rows_left = -1;
    EXPECT_EQ(times_wiped("first secret"), 1);
  }
}

} // namespace
} // namespace veltro::test
