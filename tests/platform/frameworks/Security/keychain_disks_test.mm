// Disks that are full, or that may not be written.

#include "platform/frameworks/Security/keychain.hpp"

#import <veltro/ZLTKeyChain.h>

#include <array>
#include <cstdio>
#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/syscall.h>

namespace veltro::test {
namespace {

using KeychainDisks = Keychain;

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

int fill_up(OSStatus expected, const std::function<void()> &make_space) {
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
  CHECK_IN_CHILD(quarantined_files() == 0);
  make_space();
  CHECK_IN_CHILD(add(@"full", @"after", "x") == errSecSuccess);
  CHECK_IN_CHILD([list(item(@"full", nil)) count] == static_cast<NSUInteger>(added) + 1);
  return 0;
}

/// Expects a child to do `use` with a device root that is a disk of its own, and return 0.
void expect_on_a_disk(const char *size, const std::function<int()> &use) {
  files::create_directories(device_root());
  expect_in_child([&] {
    return own_mounts() && mount("veltro-test", device_root().c_str(), "tmpfs", 0, size) == 0
               ? use()
               : kNotAllowedHere;
  });
}

TEST_F(KeychainDisks, AFullDiskIsReportedAndLosesNothing) {
  expect_on_a_disk("size=1m", [] {
    const files::path ballast = device_root() / "ballast";
    write_file(ballast, std::string(400'000, 'x'));
    return fill_up(errSecDiskFull, [&] { files::remove(ballast); });
  });
}

TEST_F(KeychainDisks, AFullDiskFromTheStartIsReported) {
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

/// Reads from several processes on a disk without space for the index of the log.
int read_on_a_full_disk() {
  close_keychain();
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
  CHECK_IN_CHILD(quarantined_files() == 0);
  files::remove(ballast);
  CHECK_IN_CHILD(add(@"mail", @"new", "x") == errSecSuccess);
  CHECK_IN_CHILD(remove(item(@"mail", @"new")) == errSecSuccess);
  return 0;
}

TEST_F(KeychainDisks, AFullDiskCanBeRead) {
  expect_on_a_disk("size=1m", [] {
    add(@"mail", @"ann", "one");
    add(@"mail", @"bob", "two");
    if (const int line = read_on_a_full_disk(); line != 0)
      return line;
    checkpoint();
    return read_on_a_full_disk();
  });
}

/// Saves over the same items, with secrets that grow, until the disk is full. A save deletes before
/// it adds: where there is space for the first only, its item is gone, and the caller is told.
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
    NSString *const left = [ZLTKeyChain passwordForService:@"mail" account:account error:&error];
    CHECK_IN_CHILD(left == nil ? [error code] == errSecItemNotFound : [left isEqual:old]);
  }
  CHECK_IN_CHILD(remove(item(@"mail", @"none")) == errSecItemNotFound);
  CHECK_IN_CHILD(quarantined_files() == 0);
  return 0;
}

TEST_F(KeychainDisks, ASaveOnAFullDiskIsToldSo) {
  for (const int growth : {100, 300, 1000, 3000}) {
    SCOPED_TRACE(growth);
    expect_on_a_disk("size=1m", [=] { return save_until_it_is_full(growth); });
  }
}

TEST_F(KeychainDisks, ASaveThatCannotDeleteLosesNothing) {
  expect_on_a_disk("size=1m", [] {
    CHECK_IN_CHILD(add(@"mail", @"ann", "old") == errSecSuccess);
    checkpoint();
    const files::path ballast = device_root() / "ballast";
    write_file(ballast, std::string(1UL << 20, 'x'));
    NSError *error = nil;
    CHECK_IN_CHILD(![ZLTKeyChain setPassword:@"new"
                                  forService:@"mail"
                                     account:@"ann"
                                       error:&error]);
    CHECK_IN_CHILD([error code] == errSecDiskFull);
    CHECK_IN_CHILD([secret(item(@"mail", @"ann")) isEqual:bytes("old")]);
    files::remove(ballast);
    CHECK_IN_CHILD([ZLTKeyChain setPassword:@"new" forService:@"mail" account:@"ann"]);
    CHECK_IN_CHILD([secret(item(@"mail", @"ann")) isEqual:bytes("new")]);
    return 0;
  });
}

TEST_F(KeychainDisks, AFileThatMayNotGrowIsReportedAndLosesNothing) {
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
  CHECK_IN_CHILD(quarantined_files() == 0);
  return 0;
}

int use_read_only() {
  return make_read_only(device_root()) ? read_what_cannot_be_written() : kNotAllowedHere;
}

/// Makes this process one that permissions hold for, whoever runs it.
bool drop_privileges() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  const std::array<__user_cap_data_struct, 2> none{};
  return syscall(SYS_capset, &header, none.data()) == 0;
}

TEST_F(KeychainDisks, AFolderThatMayNotBeWrittenCanBeRead) {
  const files::path folder = paths().directory;
  const auto use_with_modes = [&](mode_t of_files) {
    for (const auto &entry : files::directory_iterator(folder))
      chmod(entry.path().c_str(), of_files);
    chmod(folder.c_str(), 0500);
    const int code = in_child([] {
      CHECK_IN_CHILD(drop_privileges());
      return read_what_cannot_be_written();
    });
    chmod(folder.c_str(), 0700);
    for (const auto &entry : files::directory_iterator(folder))
      chmod(entry.path().c_str(), 0600);
    return code;
  };
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  ASSERT_EQ(add(@"mail", @"bob", "two"), errSecSuccess);
  EXPECT_EQ(use_with_modes(0400), 0) << "with a log";
  checkpoint();
  EXPECT_EQ(use_with_modes(0600), 0) << "without a log";
  EXPECT_EQ(use_with_modes(0400), 0) << "without a log";
  EXPECT_EQ(add(@"mail", @"new", "x"), errSecSuccess);
}

TEST_F(KeychainDisks, AReadOnlyRootThatIsWrittenAgainIsReadAnew) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  ASSERT_EQ(add(@"mail", @"bob", "two"), errSecSuccess);
  checkpoint();
  const files::path folder = paths().directory;
  const int code = in_child([&] {
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
  EXPECT_EQ(code, 0);
}

TEST_F(KeychainDisks, AReadOnlyRootCanBeRead) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  ASSERT_EQ(add(@"mail", @"bob", "two"), errSecSuccess);
  const int with_log = in_child(use_read_only);
  if (with_log == kNotAllowedHere)
    GTEST_SKIP() << "this machine allows no mounts";
  EXPECT_EQ(with_log, 0);
  checkpoint();
  EXPECT_EQ(in_child(use_read_only), 0) << "without a log";
  EXPECT_EQ(add(@"mail", @"new", "x"), errSecSuccess);
}

TEST_F(KeychainDisks, AReadOnlyRootWithoutAKeychainIsReported) {
  files::create_directories(device_root());
  expect_in_child([] {
    if (!make_read_only(device_root()))
      return kNotAllowedHere;
    CHECK_IN_CHILD(status_of_search(item(@"mail", @"ann")) == errSecItemNotFound);
    CHECK_IN_CHILD(add(@"mail", @"ann", "x") == errSecWrPerm);
    return 0;
  });
}

} // namespace
} // namespace veltro::test
