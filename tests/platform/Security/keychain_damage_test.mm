// Disks that are full or read-only, and flipped bytes.

#include "platform/Security/keychain.hpp"

#import <veltro/ZLTKeyChain.h>

#include <array>
#include <cstdio>
#include <linux/capability.h>
#include <set>
#include <sys/resource.h>
#include <sys/syscall.h>

namespace veltro::test {
namespace {

using KeychainDamage = Keychain;

bool make_read_only(const files::path &folder) {
  return own_mounts() &&
         mount(folder.c_str(), folder.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0 &&
         mount(nullptr, folder.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) == 0;
}

/// Says in which line of a child's work something was not as it should be.
#define CHECK_IN_CHILD(condition)                                                                  \
  do {                                                                                             \
    if (!(condition)) {                                                                            \
      std::fprintf(stderr, "line %d: %s\n", __LINE__, #condition);                                 \
      return 1;                                                                                    \
    }                                                                                              \
  } while (false)

int fill_up(OSStatus expected, const std::function<void()> &make_room) {
  NSData *const large = [NSMutableData dataWithLength:20'000];
  int added = 0;
  OSStatus status = errSecSuccess;
  while (status == errSecSuccess && added < 100) {
    NSString *const account = [NSString stringWithFormat:@"%d", added];
    status = add(with(item(@"full", account), kSecValueData, large));
    added += status == errSecSuccess;
  }
  CHECK_IN_CHILD(status == expected);
  CHECK_IN_CHILD(added > 0 && added < 100);
  CHECK_IN_CHILD(lines_with("keychain.db") > 0);
  for (int at = 0; at < added; ++at)
    CHECK_IN_CHILD([secret(item(@"full", [NSString stringWithFormat:@"%d", at])) isEqual:large]);
  CHECK_IN_CHILD([list(item(@"full", nil)) count] == static_cast<NSUInteger>(added));
  CHECK_IN_CHILD(set_aside_files() == 0);
  make_room();
  CHECK_IN_CHILD(add(@"full", @"after", "x") == errSecSuccess);
  CHECK_IN_CHILD([list(item(@"full", nil)) count] == static_cast<NSUInteger>(added) + 1);
  return 0;
}

/// Expects a child to do `use` with a device root that is a disk of its own, and answer 0.
void expect_on_a_disk(const char *size, const std::function<int()> &use) {
  files::create_directories(device_root());
  expect_in_child([&] {
    return own_mounts() && mount("veltro-test", device_root().c_str(), "tmpfs", 0, size) == 0
               ? use()
               : not_allowed_here;
  });
}

TEST_F(KeychainDamage, AFullDiskIsReportedAndLosesNothing) {
  expect_on_a_disk("size=1m", [] {
    const files::path ballast = device_root() / "ballast";
    write_file(ballast, std::string(400'000, 'x'));
    return fill_up(errSecDiskFull, [&] { files::remove(ballast); });
  });
}

TEST_F(KeychainDamage, AFullDiskFromTheStartIsReported) {
  expect_on_a_disk("size=64k", [] {
    const files::path ballast = device_root() / "ballast";
    write_file(ballast, std::string(64UL * 1024, 'x'));
    CHECK_IN_CHILD(add(@"mail", @"ann", "x") == errSecDiskFull);
    CHECK_IN_CHILD(status_of_search(item(@"mail", @"ann")) == errSecItemNotFound);
    return 0;
  });
}

/// Whether this process can read while another one that has read lives on.
bool reads_beside_another() {
  std::array<int, 2> pipe{};
  if (::pipe(pipe.data()) != 0)
    return false;
  const pid_t other = start_child([&] {
    const char found = secret(item(@"mail", @"ann")) != nil ? 'y' : 'n';
    while (write(pipe[1], &found, 1) == 1)
      pause();
    return 1;
  });
  char found = 'n';
  const bool read = ::read(pipe[0], &found, 1) == 1 && found == 'y' &&
                    [secret(item(@"mail", @"ann")) isEqual:bytes("one")];
  kill(other, SIGKILL);
  wait_for(other);
  close(pipe[0]);
  close(pipe[1]);
  return read;
}

/// Reads from several processes on a disk without room for the index of the log.
int read_on_a_full_disk() {
  let_go();
  const files::path ballast = device_root() / "ballast";
  write_file(ballast, std::string(1UL << 20, 'x'));
  std::vector<pid_t> readers;
  for (int reader = 0; reader < 4; ++reader)
    readers.push_back(start_child([] {
      for (int again = 0; again < 10; ++again) {
        CHECK_IN_CHILD([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
        CHECK_IN_CHILD([list(item(nil, nil)) count] == 2);
        CHECK_IN_CHILD(status_of_search(item(@"mail", @"none")) == errSecItemNotFound);
      }
      return 0;
    }));
  for (const pid_t reader : readers)
    CHECK_IN_CHILD(wait_for(reader) == 0);
  CHECK_IN_CHILD(reads_beside_another());
  CHECK_IN_CHILD(add(@"mail", @"new", "x") == errSecDiskFull);
  CHECK_IN_CHILD(remove(item(@"mail", @"ann")) == errSecDiskFull);
  CHECK_IN_CHILD([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
  CHECK_IN_CHILD(set_aside_files() == 0);
  files::remove(ballast);
  CHECK_IN_CHILD(add(@"mail", @"new", "x") == errSecSuccess);
  CHECK_IN_CHILD(remove(item(@"mail", @"new")) == errSecSuccess);
  return 0;
}

TEST_F(KeychainDamage, AFullDiskCanBeRead) {
  expect_on_a_disk("size=1m", [] {
    add(@"mail", @"ann", "one");
    add(@"mail", @"bob", "two");
    if (const int line = read_on_a_full_disk(); line != 0)
      return line;
    fold_log();
    return read_on_a_full_disk();
  });
}

/// Saves over the same items, with secrets that grow, until there is no room. A save that fails
/// must leave what was there.
int save_until_it_is_full(int growth) {
  int failures = 0;
  for (int round = 0; failures < 20; ++round) {
    CHECK_IN_CHILD(round < 1000);
    NSString *const account = [NSString stringWithFormat:@"%d", round % 8];
    NSString *const old = [ZLTKeyChain passwordForService:@"mail" account:account];
    const auto length = static_cast<NSUInteger>(growth) * static_cast<NSUInteger>(round / 8 + 1);
    NSString *const fresh = [@"" stringByPaddingToLength:length withString:@"p" startingAtIndex:0];
    NSError *error = nil;
    if ([ZLTKeyChain setPassword:fresh forService:@"mail" account:account error:&error])
      continue;
    ++failures;
    CHECK_IN_CHILD([error code] == errSecDiskFull);
    CHECK_IN_CHILD(old != nil);
    CHECK_IN_CHILD([[ZLTKeyChain passwordForService:@"mail" account:account] isEqual:old]);
  }
  CHECK_IN_CHILD(remove(item(@"mail", @"none")) == errSecItemNotFound);
  return 0;
}

TEST_F(KeychainDamage, ASaveOnAFullDiskLosesNothing) {
  for (const int growth : {100, 300, 1000, 3000}) {
    SCOPED_TRACE(growth);
    expect_on_a_disk("size=1m", [=] { return save_until_it_is_full(growth); });
  }
}

TEST_F(KeychainDamage, AFileThatMayNotGrowIsReportedAndLosesNothing) {
  expect_in_child([] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{300'000, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
    return fill_up(errSecIO, [] {
      const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
      setrlimit(RLIMIT_FSIZE, &unlimited);
    });
  });
}

int read_what_cannot_be_written() {
  CHECK_IN_CHILD([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
  CHECK_IN_CHILD([list(item(nil, nil)) count] == 2);
  CHECK_IN_CHILD(status_of_search(item(@"mail", @"none")) == errSecItemNotFound);
  CHECK_IN_CHILD(add(@"mail", @"new", "x") == errSecWrPerm);
  CHECK_IN_CHILD(lines_with("keychain.db") > 0);
  CHECK_IN_CHILD(remove(item(@"mail", @"ann")) == errSecWrPerm);
  CHECK_IN_CHILD(update(item(@"mail", @"ann"), with([Entries dictionary], kSecAttrLabel, @"x")) ==
                 errSecWrPerm);
  CHECK_IN_CHILD([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
  CHECK_IN_CHILD(set_aside_files() == 0);
  return 0;
}

int use_read_only() {
  return make_read_only(device_root()) ? read_what_cannot_be_written() : not_allowed_here;
}

/// Makes this process one that permissions hold for, whoever runs it.
bool drop_privileges() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  const std::array<__user_cap_data_struct, 2> none{};
  return syscall(SYS_capset, &header, none.data()) == 0;
}

TEST_F(KeychainDamage, AFolderThatMayNotBeWrittenCanBeRead) {
  const files::path folder = paths().folder;
  const auto use_with_modes = [&](mode_t of_files) {
    for (const auto &entry : files::directory_iterator(folder))
      chmod(entry.path().c_str(), of_files);
    chmod(folder.c_str(), 0500);
    const int answer = in_child([] {
      CHECK_IN_CHILD(drop_privileges());
      return read_what_cannot_be_written();
    });
    chmod(folder.c_str(), 0700);
    for (const auto &entry : files::directory_iterator(folder))
      chmod(entry.path().c_str(), 0600);
    return answer;
  };
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  ASSERT_EQ(add(@"mail", @"bob", "two"), errSecSuccess);
  EXPECT_EQ(use_with_modes(0400), 0) << "with a log";
  fold_log();
  EXPECT_EQ(use_with_modes(0600), 0) << "without a log";
  EXPECT_EQ(use_with_modes(0400), 0) << "without a log";
  files::remove(paths().lock);
  EXPECT_EQ(use_with_modes(0400), 0) << "without a lock";
  EXPECT_EQ(add(@"mail", @"new", "x"), errSecSuccess);
}

TEST_F(KeychainDamage, AReadOnlyRootThatIsWrittenAgainIsReadAnew) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  ASSERT_EQ(add(@"mail", @"bob", "two"), errSecSuccess);
  fold_log();
  const files::path folder = paths().folder;
  const int answer = in_child([&] {
    chmod(folder.c_str(), 0500);
    const pid_t reader = start_child([&] {
      CHECK_IN_CHILD(drop_privileges());
      CHECK_IN_CHILD([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
      chmod(folder.c_str(), 0700);
      const std::string update = VELTRO_BUILD_DIR "/bin/veltro keychain set mail ann";
      CHECK_IN_CHILD(std::system(("printf new | " + update).c_str()) == 0);
      CHECK_IN_CHILD([secret(item(@"mail", @"ann")) isEqual:bytes("new")]);
      return 0;
    });
    return wait_for(reader);
  });
  chmod(folder.c_str(), 0700);
  EXPECT_EQ(answer, 0);
}

TEST_F(KeychainDamage, AReadOnlyRootCanBeRead) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  ASSERT_EQ(add(@"mail", @"bob", "two"), errSecSuccess);
  const int with_log = in_child(use_read_only);
  if (with_log == not_allowed_here)
    GTEST_SKIP() << "this machine allows no mounts";
  EXPECT_EQ(with_log, 0);
  fold_log();
  EXPECT_EQ(in_child(use_read_only), 0) << "without a log";
  EXPECT_EQ(add(@"mail", @"new", "x"), errSecSuccess);
}

TEST_F(KeychainDamage, AReadOnlyRootWithoutAKeychainIsReported) {
  files::create_directories(device_root());
  expect_in_child([] {
    if (!make_read_only(device_root()))
      return not_allowed_here;
    CHECK_IN_CHILD(status_of_search(item(@"mail", @"ann")) == errSecItemNotFound);
    CHECK_IN_CHILD(add(@"mail", @"ann", "x") == errSecWrPerm);
    return 0;
  });
}

/// The file with the entry of mail's ann in the index, where it is found by name, spoiled.
std::string without_the_way_to_ann(std::string file) {
  constexpr std::size_t page = 4096;
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

TEST_F(KeychainDamage, AFlippedByteInAnyPageNeverPassesForTheTruth) {
  for (int at = 0; at < items; ++at)
    ASSERT_EQ(add(with(item(@"pages", account(at)), kSecValueData, expected_secret(at))),
              errSecSuccess);
  fold_log();
  const std::string sound = contents(paths().database);
  constexpr std::size_t page = 4096;
  ASSERT_EQ(sound.size() % page, 0U);
  ASSERT_GT(sound.size() / page, 10U);

  for (std::size_t number = 0; number < sound.size() / page; ++number)
    for (const std::size_t place : {0UL, 20UL, 2900UL, 4090UL}) {
      SCOPED_TRACE("page " + std::to_string(number + 1) + ", byte " + std::to_string(place));
      let_go();
      for (const auto &entry : files::directory_iterator(paths().folder))
        if (entry.path() != paths().key)
          files::remove(entry.path());
      std::string damaged = sound;
      damaged[number * page + place] = static_cast<char>(damaged[number * page + place] ^ 0x41);
      write_file(paths().database, damaged);

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
  constexpr std::size_t page = 4096;
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
  for (int at = 0; at < items; ++at)
    ASSERT_EQ(add(with(item(@"pages", account(at)), kSecValueData, expected_secret(at))),
              errSecSuccess);
  fold_log();
  const std::string sound = contents(paths().database);
  constexpr std::size_t page = 4096;
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
      let_go();
      for (const auto &entry : files::directory_iterator(paths().folder))
        if (entry.path() != paths().key)
          files::remove(entry.path());
      std::string damaged = sound;
      damaged[at + place] = static_cast<char>(damaged[at + place] ^ change);
      write_file(paths().database, damaged);
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
