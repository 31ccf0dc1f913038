// Many processes and threads at one keychain, and forks in between.

#include "platform/frameworks/Security/keychain.hpp"

#include <atomic>
#include <thread>

namespace veltro::test {
namespace {

using KeychainProcesses = KeychainInMemory;

NSString *name(const char *prefix, int number) {
  return [NSString stringWithFormat:@"%s-%d", prefix, number];
}

TEST_F(KeychainProcesses, NoAdditionIsLost) {
  constexpr int kProcesses = 4;
  constexpr int kItems = 50;
  std::vector<pid_t> children;
  for (int process = 0; process < kProcesses; ++process)
    children.push_back(start_child([process] {
      for (int at = 0; at < kItems; ++at)
        if (add(name("service", process), name("account", at), "secret") != errSecSuccess)
          return 1;
      return 0;
    }));
  for (const pid_t child : children)
    EXPECT_EQ(wait_for(child), 0);
  EXPECT_EQ([list(item(nil, nil)) count], static_cast<NSUInteger>(kProcesses * kItems));
}

TEST_F(KeychainProcesses, OneOfManyAddsTheSameItem) {
  std::vector<pid_t> children;
  for (int process = 0; process < 4; ++process)
    children.push_back(start_child([] {
      int added = 0;
      for (int at = 0; at < 50; ++at) {
        const OSStatus status = add(@"mail", name("account", at), "secret");
        if (status != errSecSuccess && status != errSecDuplicateItem)
          return 99;
        added += status == errSecSuccess;
      }
      return added;
    }));
  int added = 0;
  for (const pid_t child : children)
    added += wait_for(child);
  EXPECT_EQ(added, 50);
}

TEST_F(KeychainProcesses, SeeEachOthersChanges) {
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  EXPECT_EQ(in_child([] {
              return update(item(@"mail", @"ann"),
                            with([Entries dictionary], kSecValueData, bytes("two")));
            }),
            0);
  EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("two")]);
  EXPECT_EQ(in_child([] { return remove(item(@"mail", @"ann")); }), 0);
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecItemNotFound);
}

TEST_F(KeychainProcesses, BothSidesOfAForkContinue) {
  ASSERT_EQ(add(@"mail", @"before", "x"), errSecSuccess);
  std::vector<pid_t> children;
  for (int process = 0; process < 8; ++process) {
    children.push_back(start_child([process] {
      if (status_of_search(item(@"mail", @"before")) != errSecSuccess)
        return 1;
      return add(@"mail", name("child", process), "x") == errSecSuccess ? 0 : 2;
    }));
    EXPECT_EQ(add(@"mail", name("parent", process), "x"), errSecSuccess);
  }
  for (const pid_t child : children)
    EXPECT_EQ(wait_for(child), 0);
  EXPECT_EQ([list(item(@"mail", nil)) count], 17U);
}

/// How many descriptors of this process are the database's or its log's.
int open_databases() {
  int count = 0;
  for (const auto &entry : files::directory_iterator("/proc/self/fd")) {
    std::error_code ignored;
    count += files::read_symlink(entry, ignored).string().find("keychain.db") != std::string::npos;
  }
  return count;
}

TEST_F(KeychainProcesses, NoConnectionCrossesAFork) {
  ASSERT_EQ(add(@"mail", @"ann", "x"), errSecSuccess);
  ASSERT_GT(open_databases(), 0);
  EXPECT_EQ(in_child([] { return open_databases(); }), 0);
}

TEST_F(KeychainProcesses, ThreadsShareOneKeychain) {
  constexpr int kThreads = 8;
  constexpr int kItems = 25;
  std::atomic<int> failures = 0;
  std::vector<std::thread> running;
  for (int thread = 0; thread < kThreads; ++thread)
    running.emplace_back([thread, &failures] {
      @autoreleasepool {
        for (int at = 0; at < kItems; ++at) {
          NSString *const service = name("service", thread);
          NSString *const account = name("account", at);
          failures += add(service, account, [account UTF8String]) != errSecSuccess;
          failures += ![secret(item(service, account)) isEqual:bytes([account UTF8String])];
        }
      }
    });
  // Forks while the others write.
  for (int fork = 0; fork < 5; ++fork)
    EXPECT_EQ(in_child([fork] { return add(@"forked", name("child", fork), "x"); }), 0);
  for (std::thread &thread : running)
    thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ([list(item(nil, nil)) count], static_cast<NSUInteger>(kThreads * kItems + 5));
}

} // namespace
} // namespace veltro::test
