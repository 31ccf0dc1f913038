// Flipped bytes, and what is still read of the keychain.

#include "platform/frameworks/Security/keychain.hpp"

#import <veltro/ZLTKeyChain.h>

#include <set>

namespace veltro::test {
namespace {

using KeychainDamage = Keychain;

constexpr std::size_t page = 4096;

/// The file with the entry of mail's ann in the index, where it is found by name, spoiled.
std::string without_the_way_to_ann(std::string file) {
  constexpr char leaf_of_index = 10;
  for (std::size_t at = 0; at < file.size(); at += page)
    if (file[at] == leaf_of_index)
      if (const std::size_t name = file.find("mailann", at); name < at + page)
        file[name] = 'n';
  return file;
}

TEST_F(KeychainDamage, ASaveHearsOfIt) {
  for (int kind = 0; kind < 3; ++kind) {
    SCOPED_TRACE(kind);
    let_go();
    files::remove_all(device_root());
    ASSERT_EQ(add(@"mail", @"ann", "old"), errSecSuccess);
    fold_log();
    const std::string sound = contents(paths().database);
    const std::string garbage(20, '?');
    const std::string damaged = kind == 0   ? garbage
                                : kind == 1 ? garbage + sound.substr(garbage.size())
                                            : without_the_way_to_ann(sound);
    ASSERT_NE(damaged, sound);
    write_file(paths().database, damaged);

    EXPECT_EQ(remove(item(@"mail", @"ann")), errSecNotAvailable);
    EXPECT_TRUE(contents(paths().database) == damaged) << "a deletion is not yet a save";
    NSError *error = nil;
    EXPECT_FALSE([ZLTKeyChain setPassword:@"new" forService:@"mail" account:@"ann" error:&error]);
    EXPECT_EQ([error code], errSecNotAvailable);
    EXPECT_EQ(set_aside_files(), 1);
    EXPECT_TRUE(contents(paths().database + ".damaged-1") == damaged);
    if (kind > 0)
      EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("old")]);
    EXPECT_TRUE([ZLTKeyChain setPassword:@"new" forService:@"mail" account:@"ann" error:&error]);
    EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("new")]);
    EXPECT_EQ(set_aside_files(), 1);
  }
}

TEST_F(KeychainDamage, AnyNameOfAColumnMayBeSpoiled) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  ASSERT_EQ(add(@"mail", @"bob", "two"), errSecSuccess);
  fold_log();
  const std::string sound = contents(paths().database);
  for (const char *column : {"svce", "acct", "agrp", "sync", "cdat", "mdat", "pdmn", "labl", "desc",
                             "icmt", "gena", "crtr", "type", "invi", "nega"}) {
    SCOPED_TRACE(column);
    let_go();
    for (const auto &entry : files::directory_iterator(paths().folder))
      if (entry.path() != paths().key)
        files::remove(entry.path());
    std::string damaged = sound;
    const std::size_t name = damaged.find('"' + std::string(column) + '"');
    ASSERT_NE(name, std::string::npos);
    damaged[name + 1] = 'x';
    write_file(paths().database, damaged);
    EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
    EXPECT_EQ(set_aside_files(), 1);
    EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
    EXPECT_TRUE([secret(item(@"mail", @"bob")) isEqual:bytes("two")]);
  }
}

TEST_F(KeychainDamage, ASpoiledItemHidesTheOthersFromOneListingOnly) {
  for (NSString *const account in @[ @"ann", @"bob", @"cid" ])
    ASSERT_EQ(add(@"mail", account, [account UTF8String]), errSecSuccess);
  tamper("UPDATE genp SET labl = 'spoiled' WHERE acct = 'bob'");
  OSStatus status = 0;
  EXPECT_EQ(search(with(item(@"mail", @"bob"), kSecReturnData, yes()), status), nil);
  EXPECT_EQ(status, errSecDecode);
  EXPECT_EQ(status_of_search(item(@"mail", @"bob")), errSecDecode);
  EXPECT_EQ(set_aside_files(), 0) << "the others can be had by name";

  clear_log();
  Entries *const every = with(with(item(nil, nil), kSecMatchLimit, (id)kSecMatchLimitAll),
                              kSecReturnAttributes, yes());
  EXPECT_EQ(search(every, status), nil);
  EXPECT_EQ(status, errSecDecode);
  EXPECT_EQ(logged_lines().size(), 1U);
  EXPECT_EQ(lines_with("keychain.db.damaged-1"), 1U);
  EXPECT_EQ(set_aside_files(), 1);
  EXPECT_EQ([search(every, status) count], 2U);
  for (NSString *const account in @[ @"ann", @"cid" ])
    EXPECT_TRUE([secret(item(@"mail", account)) isEqual:bytes([account UTF8String])]);
  EXPECT_EQ(status_of_search(item(@"mail", @"bob")), errSecItemNotFound);
}

TEST_F(KeychainDamage, ANameThatIsSpoiledInTheTableIsTakenFromTheIndex) {
  for (NSString *const account in @[ @"ann", @"bob", @"cid" ])
    ASSERT_EQ(add(@"mail", account, [account UTF8String]), errSecSuccess);
  fold_log();
  std::string damaged = contents(paths().database);
  const std::size_t in_table = damaged.find("mailbobdefaultA");
  ASSERT_NE(in_table, std::string::npos);
  damaged[in_table + 4] = 'B';
  write_file(paths().database, damaged);

  EXPECT_EQ(list(item(nil, nil)), nil);
  EXPECT_EQ(set_aside_files(), 1);
  EXPECT_EQ([list(item(nil, nil)) count], 3U);
  for (NSString *const account in @[ @"ann", @"bob", @"cid" ])
    EXPECT_TRUE([secret(item(@"mail", account)) isEqual:bytes([account UTF8String])]);
}

TEST_F(KeychainDamage, AWrongKeyIsNoDamage) {
  for (NSString *const account in @[ @"ann", @"bob" ])
    ASSERT_EQ(add(@"mail", account, [account UTF8String]), errSecSuccess);
  const std::string key = contents(paths().key);
  write_file(paths().key, std::string(key.size(), 'k'));
  OSStatus status = 0;
  search(with(item(nil, nil), kSecMatchLimit, (id)kSecMatchLimitAll), status);
  EXPECT_EQ(status, errSecDecode);
  EXPECT_EQ(set_aside_files(), 0);
  write_file(paths().key, key);
  EXPECT_EQ([list(item(@"mail", nil)) count], 2U);
}

TEST_F(KeychainDamage, ASpoiledChecksumLosesNothing) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  ASSERT_EQ(add(@"mail", @"bob", "two"), errSecSuccess);
  tamper("UPDATE genp SET checksum = zeroblob(16) WHERE acct = 'ann'");
  EXPECT_EQ([list(item(@"mail", nil)) count], 2U);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);

  fold_log();
  write_file(paths().database, "damaged" + contents(paths().database).substr(7));
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
  tamper("UPDATE genp SET sealed = zeroblob(60)");
  EXPECT_EQ([list(item(@"mail", nil)) count], 2U) << "the checksum was not made anew";
}

constexpr int items = 60;

NSString *account(int at) {
  return [NSString stringWithFormat:@"account-%03d", at];
}

/// Secrets of different lengths, some longer than a page.
NSData *expected_secret(int at) {
  const auto length = static_cast<NSUInteger>(at % 10 == 9 ? 6000 : 20 + at);
  NSMutableData *const data = [NSMutableData dataWithLength:length];
  memset([data mutableBytes], 'a' + at % 26, length);
  return data;
}

struct Seen {
  int right = 0;
  int missing = 0;
};

/// Asks for every item. Right, or a clear status; never a wrong secret.
Seen look_at_all() {
  Seen seen;
  for (int at = 0; at < items; ++at)
    @autoreleasepool {
      OSStatus status = 0;
      NSData *const found =
          search(with(item(@"pages", account(at)), kSecReturnData, yes()), status);
      if (status == errSecSuccess) {
        EXPECT_TRUE([found isEqual:expected_secret(at)]);
        ++seen.right;
      } else {
        EXPECT_TRUE(status == errSecDecode || status == errSecNotAvailable ||
                    status == errSecItemNotFound)
            << status;
        seen.missing += status == errSecItemNotFound;
      }
    }
  return seen;
}

/// A keychain of many pages, as the bytes of its file.
std::string file_with_items() {
  for (int at = 0; at < items; ++at)
    EXPECT_EQ(add(with(item(@"pages", account(at)), kSecValueData, expected_secret(at))),
              errSecSuccess);
  fold_log();
  return contents(paths().database);
}

/// Puts `file` with one byte changed in the place of the keychain's, and of all that was beside it.
std::string spoil(std::string file, std::size_t at, int change) {
  let_go();
  for (const auto &entry : files::directory_iterator(paths().folder))
    if (entry.path() != paths().key)
      files::remove(entry.path());
  file[at] = static_cast<char>(file[at] ^ change);
  write_file(paths().database, file);
  return file;
}

TEST_F(KeychainDamage, AFlippedByteInAnyPageNeverPassesForTheTruth) {
  const std::string sound = file_with_items();
  ASSERT_EQ(sound.size() % page, 0U);
  ASSERT_GT(sound.size() / page, 10U);

  for (std::size_t number = 0; number < sound.size() / page; ++number)
    for (const std::size_t place : {0UL, 20UL, 2900UL, 4090UL}) {
      SCOPED_TRACE("page " + std::to_string(number + 1) + ", byte " + std::to_string(place));
      const std::string damaged = spoil(sound, number * page + place, 0x41);

      look_at_all();
      OSStatus status = 0;
      NSArray *const listed = search(with(with(item(nil, nil), kSecReturnAttributes, yes()),
                                          kSecMatchLimit, (id)kSecMatchLimitAll),
                                     status);
      if (status == errSecSuccess) {
        std::set<std::string> accounts;
        for (NSDictionary *const found in listed)
          accounts.insert([[found objectForKey:@"acct"] UTF8String]);
        for (const std::string &name : accounts)
          EXPECT_TRUE(name.starts_with("account-")) << name;
        if (set_aside_files() == 0)
          EXPECT_EQ(accounts.size(), static_cast<std::size_t>(items));
      } else
        EXPECT_TRUE(status == errSecDecode || status == errSecNotAvailable) << status;

      // Whatever it met, the second look finds what was readable.
      const Seen seen = look_at_all();
      if (set_aside_files() == 0)
        EXPECT_EQ(seen.missing, 0) << "missing, and the file is thought sound";
      else
        EXPECT_EQ(contents(paths().database + ".damaged-1"), damaged) << "the damaged file is kept";
      EXPECT_GE(seen.right, items - 25) << "more is lost than one page holds";
    }
}

TEST_F(KeychainDamage, RowsAreFoundWhateverTheirNumbers) {
  for (int at = 0; at < items; ++at)
    ASSERT_EQ(add(with(item(@"pages", account(at)), kSecValueData, expected_secret(at))),
              errSecSuccess);
  tamper("UPDATE genp SET id = 1 << 62 WHERE acct = 'account-059'");
  fold_log();
  std::string damaged = contents(paths().database);
  constexpr char page_of_rows = 13;
  std::size_t at = page;
  while (at < damaged.size() && damaged[at] != page_of_rows)
    at += page;
  ASSERT_LT(at, damaged.size());
  damaged[at] = '?';
  write_file(paths().database, damaged);
  list(item(nil, nil));
  EXPECT_EQ(look_at_all().right, items);
}

TEST_F(KeychainDamage, WhatTheLogChangedIsNotFoundAsItWas) {
  for (NSString *const account in @[ @"ann", @"bob", @"cid" ])
    ASSERT_EQ(add(@"mail", account, "old"), errSecSuccess);
  fold_log();
  ASSERT_EQ(remove(item(@"mail", @"ann")), errSecSuccess);
  ASSERT_EQ(update(item(@"mail", @"bob"), with([Entries dictionary], kSecValueData, bytes("new"))),
            errSecSuccess);
  let_go();
  ASSERT_GT(files::file_size(paths().database + "-wal"), 0U);
  std::fstream(paths().database, std::ios::in | std::ios::out | std::ios::binary) << "damaged";

  EXPECT_EQ(status_of_search(item(@"mail", @"bob")), errSecNotAvailable);
  EXPECT_TRUE([secret(item(@"mail", @"bob")) isEqual:bytes("new")]);
  EXPECT_TRUE([secret(item(@"mail", @"cid")) isEqual:bytes("old")]);
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecItemNotFound);
}

TEST_F(KeychainDamage, RowsAreFoundWithoutTheHeadOfTheirPage) {
  const std::string sound = file_with_items();
  constexpr char page_of_rows = 13;
  int pages_of_rows = 0;
  for (std::size_t at = page; at < sound.size(); at += page) {
    if (sound[at] != page_of_rows)
      continue;
    ++pages_of_rows;
    for (const auto &[place, change] : {std::pair<std::size_t, int>{0, 0x41},
                                        {0, 0x08},
                                        {0, 0x0D},
                                        {2, 0x41},
                                        {3, 0x41},
                                        {4, 0x01},
                                        {5, 0x41},
                                        {8, 0x41},
                                        {9, 0x41},
                                        {10, 0x08}}) {
      SCOPED_TRACE("page " + std::to_string(at / page + 1) + ", byte " + std::to_string(place));
      spoil(sound, at + place, change);
      list(item(nil, nil));
      look_at_all();
      EXPECT_EQ(look_at_all().right, items) << "at the second look";
      EXPECT_EQ([list(item(nil, nil)) count], static_cast<NSUInteger>(items));
    }
  }
  EXPECT_GT(pages_of_rows, 1);
}

} // namespace
} // namespace veltro::test
