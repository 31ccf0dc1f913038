// Corrupt files, and what is still read of the keychain.

#include "platform/frameworks/Security/keychain.hpp"

#import <veltro/ZLTKeyChain.h>

#include <algorithm>
#include <set>

namespace veltro::test {
namespace {

using KeychainDamage = Keychain;

constexpr std::size_t kPage = 4096;
constexpr char kBranchOfTable = 5;
constexpr char kLeafOfTable = 13;
constexpr char kLeafOfIndex = 10;

/// Where the pages of this kind begin in a file.
std::vector<std::size_t> pages_of(const std::string &file, char kind) {
  std::vector<std::size_t> found;
  for (std::size_t at = kPage; at < file.size(); at += kPage)
    if (file[at] == kind)
      found.push_back(at);
  return found;
}

/// The file with these pages unreadable.
std::string without(std::string file, const std::vector<std::size_t> &pages) {
  for (const std::size_t at : pages)
    file[at] = '?';
  return file;
}

/// Puts `file` in the place of the keychain's, and of all that was beside it.
void put_in_place(const std::string &file) {
  close_keychain();
  for (const auto &entry : files::directory_iterator(paths().directory))
    if (entry.path() != paths().key)
      files::remove(entry.path());
  write_file(paths().database, file);
}

/// The file of a keychain with one item, without its index, without its head, or nothing like it.
std::string corrupted(int kind, std::string file) {
  std::string garbage(20, '?');
  switch (kind) {
  case 0:
    return garbage;
  case 1:
    return garbage + file.substr(garbage.size());
  default:
    file[pages_of(file, kLeafOfIndex).at(0)] = '?';
    return file;
  }
}

TEST_F(KeychainDamage, EveryCallSaysItOnceAndContinues) {
  const std::vector<std::function<OSStatus()>> calls{
      [] { return status_of_search(item(@"mail", @"ann")); },
      [] { return status_of_search(with(item(nil, nil), kSecMatchLimit, (id)kSecMatchLimitAll)); },
      [] { return add(@"mail", @"bob", "new"); },
      [] { return update(item(@"mail", @"ann"), with([Entries dictionary], kSecAttrLabel, @"x")); },
      [] { return remove(item(@"mail", @"ann")); }};
  for (std::size_t call = 0; call < calls.size(); ++call)
    for (int kind = 0; kind < 3; ++kind) {
      SCOPED_TRACE("call " + std::to_string(call) + ", kind " + std::to_string(kind));
      close_keychain();
      files::remove_all(device_root());
      ASSERT_EQ(add(@"mail", @"ann", "old"), errSecSuccess);
      checkpoint();
      const std::string corrupt = corrupted(kind, contents(paths().database));
      put_in_place(corrupt);
      clear_log();

      const bool reads_all = call == 1 && kind == 2; // and so never asks the index
      EXPECT_EQ(calls[call](), reads_all ? errSecSuccess : errSecNotAvailable);
      if (reads_all)
        continue;
      EXPECT_EQ(lines_with("keychain.db.damaged-1"), 1U);
      EXPECT_EQ(quarantined_files(), 1);
      EXPECT_TRUE(contents(paths().database + ".damaged-1") == corrupt);
      EXPECT_EQ(mode_of(paths().database + ".damaged-1"), 0600U);
      if (kind == 2)
        EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("old")]);
      const OSStatus again = calls[call]();
      EXPECT_TRUE(again == errSecSuccess || (kind < 2 && again == errSecItemNotFound)) << again;
      EXPECT_EQ(quarantined_files(), 1);
    }
}

TEST_F(KeychainDamage, ASaveHearsOfIt) {
  for (int kind = 0; kind < 3; ++kind) {
    SCOPED_TRACE(kind);
    close_keychain();
    files::remove_all(device_root());
    ASSERT_EQ(add(@"mail", @"ann", "old"), errSecSuccess);
    checkpoint();
    const std::string corrupt = corrupted(kind, contents(paths().database));
    put_in_place(corrupt);

    NSError *error = nil;
    EXPECT_FALSE([ZLTKeyChain setPassword:@"new" forService:@"mail" account:@"ann" error:&error]);
    EXPECT_EQ([error code], errSecNotAvailable);
    EXPECT_EQ(quarantined_files(), 1);
    EXPECT_TRUE(contents(paths().database + ".damaged-1") == corrupt);
    if (kind == 2)
      EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("old")]);
    EXPECT_TRUE([ZLTKeyChain setPassword:@"new" forService:@"mail" account:@"ann" error:&error]);
    EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("new")]);
    EXPECT_EQ(quarantined_files(), 1);
  }
}

TEST_F(KeychainDamage, AForeignSchemaIsQuarantinedAndReadAsFarAsItCanBe) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  ASSERT_EQ(add(@"mail", @"bob", "two"), errSecSuccess);
  checkpoint();
  const std::string intact = contents(paths().database);
  const std::set<std::string> of_the_index{"svce", "acct", "agrp", "sync"};
  for (const char *column : {"svce", "acct", "agrp", "sync", "cdat", "mdat", "pdmn", "labl", "desc",
                             "icmt", "gena", "crtr", "type", "invi", "nega"}) {
    SCOPED_TRACE(column);
    std::string foreign = intact;
    const std::size_t name = foreign.find('"' + std::string(column) + '"');
    ASSERT_NE(name, std::string::npos);
    foreign[name + 1] = 'x';
    put_in_place(foreign);
    EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
    EXPECT_EQ(quarantined_files(), 1);
    EXPECT_TRUE(contents(paths().database + ".damaged-1") == foreign);
    if (of_the_index.contains(column)) {
      // SQLite does not even know the table.
      EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecItemNotFound);
      continue;
    }
    EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
    EXPECT_TRUE([secret(item(@"mail", @"bob")) isEqual:bytes("two")]);
  }
}

TEST_F(KeychainDamage, ASchemaThatChangesWhileItIsInUseIsForeignToo) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  keychain::Database database; // beside the open one
  ASSERT_EQ(database.open(paths().database, keychain::Database::Access::read_write), SQLITE_OK);
  ASSERT_EQ(database.run("ALTER TABLE genp RENAME COLUMN acct TO name"), SQLITE_OK);
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
  EXPECT_EQ(quarantined_files(), 1);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
}

TEST_F(KeychainDamage, AnItemThatDoesNotUnsealIsSkippedByListingsOnly) {
  for (NSString *const account in @[ @"ann", @"bob", @"cid", @"dan" ])
    ASSERT_EQ(add(@"mail", account, [account UTF8String]), errSecSuccess);
  tamper("UPDATE genp SET labl = 'tampered' WHERE acct IN ('ann', 'cid')");
  for (NSString *const account in @[ @"ann", @"cid" ])
    for (const bool with_secret : {true, false}) {
      clear_log();
      OSStatus status = 0;
      EXPECT_EQ(
          search(with(item(@"mail", account), kSecReturnData, with_secret ? yes() : no()), status),
          nil);
      EXPECT_EQ(status, errSecDecode);
      EXPECT_EQ(logged_lines().size(), 1U);
      EXPECT_EQ(lines_with("keychain.db has items that do not unseal with the key beside it: 1"),
                1U);
    }

  for (const CFStringRef what : {kSecReturnAttributes, kSecReturnData}) {
    clear_log();
    OSStatus status = 0;
    Entries *const every = with(item(@"mail", nil), what, yes());
    EXPECT_EQ([search(with(every, kSecMatchLimit, (id)kSecMatchLimitAll), status) count], 2U);
    EXPECT_EQ(status, errSecSuccess);
    EXPECT_EQ(logged_lines().size(), 1U);
    EXPECT_EQ(lines_with("keychain.db has items that do not unseal with the key beside it: 2"), 1U);
    EXPECT_EQ([search(with(every, kSecMatchLimit, [NSNumber numberWithInt:2]), status) count], 2U)
        << "what is skipped counts for no limit";
  }
  EXPECT_EQ(update(item(@"mail", @"ann"), with([Entries dictionary], kSecAttrLabel, @"x")),
            errSecDecode);
  EXPECT_EQ(quarantined_files(), 0);
  EXPECT_TRUE([ZLTKeyChain setPassword:@"new" forService:@"mail" account:@"ann"]);
  EXPECT_EQ(remove(item(@"mail", @"cid")), errSecSuccess);
  clear_log();
  EXPECT_EQ([list(item(nil, nil)) count], 3U);
  EXPECT_EQ(logged_lines().size(), 0U);
}

TEST_F(KeychainDamage, AWrongKeyIsNoDamage) {
  for (NSString *const account in @[ @"ann", @"bob" ])
    ASSERT_EQ(add(@"mail", account, [account UTF8String]), errSecSuccess);
  const std::string key = contents(paths().key);
  write_file(paths().key, std::string(key.size(), 'k'));
  OSStatus status = 0;
  search(with(item(nil, nil), kSecMatchLimit, (id)kSecMatchLimitAll), status);
  EXPECT_EQ(status, errSecDecode);
  EXPECT_EQ(quarantined_files(), 0);
  write_file(paths().key, key);
  EXPECT_EQ([list(item(@"mail", nil)) count], 2U);
}

TEST_F(KeychainDamage, WithAWrongKeyLosesNothing) {
  for (NSString *const account in @[ @"ann", @"bob" ])
    ASSERT_EQ(add(@"mail", account, [account UTF8String]), errSecSuccess);
  checkpoint();
  put_in_place(corrupted(2, contents(paths().database)));
  const std::string key = contents(paths().key);
  write_file(paths().key, std::string(key.size(), 'k'));
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecDecode);
  write_file(paths().key, key);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("ann")]);
  EXPECT_TRUE([secret(item(@"mail", @"bob")) isEqual:bytes("bob")]);
}

constexpr int kItems = 200;

std::string account_name(int at) {
  return "account-" + std::to_string(1000 + at);
}

NSString *account(int at) {
  return [NSString stringWithUTF8String:account_name(at).c_str()];
}

/// Secrets of different lengths, some longer than a page.
NSData *expected_secret(int at) {
  const auto length = static_cast<NSUInteger>(at % 50 == 9 ? 6000 : 20 + at % 70);
  NSMutableData *const data = [NSMutableData dataWithLength:length];
  memset([data mutableBytes], 'a' + at % 26, length);
  return data;
}

/// Asks for every item: right, or a clear status, and never a wrong secret. The names of those that
/// are right.
std::set<std::string> look_at_all() {
  std::set<std::string> right;
  for (int at = 0; at < kItems; ++at)
    @autoreleasepool {
      OSStatus status = 0;
      NSData *const found =
          search(with(item(@"pages", account(at)), kSecReturnData, yes()), status);
      if (status == errSecSuccess) {
        EXPECT_TRUE([found isEqual:expected_secret(at)]);
        right.insert(account_name(at));
      } else
        EXPECT_TRUE(status == errSecDecode || status == errSecNotAvailable ||
                    status == errSecItemNotFound)
            << status;
    }
  return right;
}

class KeychainOfManyPages : public Keychain {
protected:
  void SetUp() override {
    Keychain::SetUp();
    for (int at = 0; at < kItems; ++at)
      ASSERT_EQ(add(with(item(@"pages", account(at)), kSecValueData, expected_secret(at))),
                errSecSuccess);
    checkpoint();
    intact_ = contents(paths().database);
    ASSERT_EQ(intact_.size() % kPage, 0U);
  }

  /// The names of the items of which nothing stands on these pages.
  [[nodiscard]] std::set<std::string> items_outside(const std::vector<std::size_t> &pages) const {
    std::set<std::string> names;
    for (int at = 0; at < kItems; ++at)
      if (std::ranges::none_of(pages, [&](std::size_t begin) {
            return intact_.substr(begin, kPage).find(account_name(at)) != std::string::npos;
          }))
        names.insert(account_name(at));
    EXPECT_LT(names.size(), static_cast<std::size_t>(kItems));
    return names;
  }

  std::string intact_;
};

TEST_F(KeychainOfManyPages, OnlyItemsOnUnreadablePagesAreLost) {
  const std::vector<std::size_t> leaves = pages_of(intact_, kLeafOfTable);
  ASSERT_GT(leaves.size(), 5U);
  // The table breaks off at the second page and, from behind, at the fourth: what is between is
  // found by the index.
  const std::string corrupt = without(intact_, {leaves[1], leaves[3]});
  const std::set<std::string> expected = items_outside({leaves[1], leaves[3]});
  put_in_place(corrupt);
  EXPECT_EQ(list(item(nil, nil)), nil);
  EXPECT_EQ(look_at_all(), expected);
  EXPECT_EQ([list(item(nil, nil)) count], expected.size());
  EXPECT_TRUE(contents(paths().database + ".damaged-1") == corrupt);
}

TEST_F(KeychainOfManyPages, TheTableIsReadFromBothEnds) {
  const std::size_t leaf = pages_of(intact_, kLeafOfTable).at(2);
  const std::string corrupt = without(intact_, {leaf});
  put_in_place(without(corrupt, pages_of(intact_, kLeafOfIndex)));
  EXPECT_EQ(list(item(nil, nil)), nil);
  EXPECT_EQ(look_at_all(), items_outside({leaf}));
}

TEST_F(KeychainOfManyPages, TheTableByItselfIsEnough) {
  put_in_place(without(intact_, pages_of(intact_, kLeafOfIndex)));
  EXPECT_EQ(status_of_search(item(@"pages", account(0))), errSecNotAvailable);
  EXPECT_EQ(look_at_all().size(), static_cast<std::size_t>(kItems));
}

TEST_F(KeychainOfManyPages, AFlippedByteInAnyPageNeverPassesForTheTruth) {
  ASSERT_GT(intact_.size() / kPage, 10U);
  for (std::size_t number = 0; number < intact_.size() / kPage; ++number)
    for (const std::size_t place : {0UL, 20UL, 2900UL, 4090UL}) {
      SCOPED_TRACE("page " + std::to_string(number + 1) + ", byte " + std::to_string(place));
      std::string corrupt = intact_;
      corrupt[number * kPage + place] ^= 0x41;
      put_in_place(corrupt);

      OSStatus status = 0;
      NSArray *const listed = search(with(with(item(nil, nil), kSecReturnAttributes, yes()),
                                          kSecMatchLimit, (id)kSecMatchLimitAll),
                                     status);
      EXPECT_TRUE(status == errSecSuccess || status == errSecNotAvailable) << status;
      for (NSDictionary *const found in listed)
        EXPECT_TRUE([[found objectForKey:@"acct"] hasPrefix:@"account-"]);
      look_at_all();
      // Whatever it met, the second look finds what was readable.
      const std::size_t right = look_at_all().size();
      if (quarantined_files() > 0)
        EXPECT_TRUE(contents(paths().database + ".damaged-1") == corrupt);
      if (number > 0 && intact_[number * kPage] != kBranchOfTable)
        EXPECT_GE(right, kItems - 30U) << "more is lost than one page holds";
    }
}

TEST_F(KeychainDamage, WhatTheLogChangedIsNotFoundAsItWas) {
  for (NSString *const account in @[ @"ann", @"bob", @"cid" ])
    ASSERT_EQ(add(@"mail", account, "old"), errSecSuccess);
  checkpoint();
  ASSERT_EQ(remove(item(@"mail", @"ann")), errSecSuccess);
  ASSERT_EQ(update(item(@"mail", @"bob"), with([Entries dictionary], kSecValueData, bytes("new"))),
            errSecSuccess);
  close_keychain();
  ASSERT_GT(files::file_size(paths().database + "-wal"), 0U);
  std::string corrupt = contents(paths().database);
  corrupt[pages_of(corrupt, kLeafOfTable).at(0)] = '?'; // the log has a newer one
  std::fstream(paths().database, std::ios::in | std::ios::out | std::ios::binary) << corrupt;
  EXPECT_TRUE([secret(item(@"mail", @"bob")) isEqual:bytes("new")]);
  EXPECT_TRUE([secret(item(@"mail", @"cid")) isEqual:bytes("old")]);
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecItemNotFound);
  EXPECT_EQ(quarantined_files(), 0);
}

TEST_F(KeychainDamage, TheLogIsQuarantinedWithItsFile) {
  ASSERT_EQ(add(@"mail", @"ann", "old"), errSecSuccess);
  checkpoint();
  std::string corrupt = corrupted(2, contents(paths().database));
  close_keychain();
  write_file(paths().database, corrupt);
  keychain::Database database;
  ASSERT_EQ(database.open(paths().database, keychain::Database::Access::read_write), SQLITE_OK);
  ASSERT_EQ(database.run("UPDATE genp SET labl = 'x'"), SQLITE_OK); // touches no index
  database.close();
  const std::string log = contents(paths().database + "-wal");
  ASSERT_GT(log.size(), 0U);
  files::create_directory(paths().database + ".new");
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
  EXPECT_TRUE(contents(paths().database) == corrupt) << "where its items cannot be copied";
  EXPECT_TRUE(contents(paths().database + "-wal") == log);
  files::remove(paths().database + ".new");
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
  EXPECT_TRUE(contents(paths().database + ".damaged-1") == corrupt);
  EXPECT_TRUE(contents(paths().database + ".damaged-1-wal") == log);
}

} // namespace
} // namespace veltro::test
