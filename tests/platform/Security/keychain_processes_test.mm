// Many processes and threads at one keychain, forks in between, and processes that are killed in
// the middle of a save.

#include "platform/Security/keychain.hpp"

#import <veltro/ZLTKeyChain.h>

#include <atomic>
#include <chrono>
#include <new>
#include <random>
#include <sys/mman.h>
#include <thread>

namespace veltro::test {
namespace {

class KeychainProcesses : public Keychain {
protected:
  // In memory where that is possible: what is tested is processes that die, not power that fails,
  // and a disk would make a thousand deaths slow.
  KeychainProcesses() {
    std::string name = "/dev/shm/veltro-test-XXXXXX";
    if (mkdtemp(name.data()) != nullptr)
      folder_ = name;
  }
  ~KeychainProcesses() override {
    setenv("VELTRO_ROOT", device_root().c_str(), 1);
    if (!folder_.empty()) {
      status_of_search(item(@"x", @"x")); // lets go of the file
      files::remove_all(folder_);
    }
  }
  void SetUp() override {
    Keychain::SetUp();
    if (!folder_.empty())
      setenv("VELTRO_ROOT", folder_.c_str(), 1);
  }

private:
  files::path folder_;
};

NSString *name(const char *prefix, int number) {
  return [NSString stringWithFormat:@"%s-%d", prefix, number];
}

TEST_F(KeychainProcesses, NoAdditionIsLost) {
  constexpr int processes = 4;
  constexpr int items = 50;
  std::vector<pid_t> children;
  for (int process = 0; process < processes; ++process)
    children.push_back(start_child([process] {
      for (int at = 0; at < items; ++at)
        if (add(name("service", process), name("account", at), "secret") != errSecSuccess)
          return 1;
      return 0;
    }));
  for (const pid_t child : children)
    EXPECT_EQ(wait_for(child), 0);
  EXPECT_EQ([list(item(nil, nil)) count], static_cast<NSUInteger>(processes * items));
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

TEST_F(KeychainProcesses, BothSidesOfAForkGoOn) {
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

TEST_F(KeychainProcesses, ThreadsShareOneKeychain) {
  constexpr int threads = 8;
  constexpr int items = 25;
  std::atomic<int> failures = 0;
  std::vector<std::thread> running;
  for (int thread = 0; thread < threads; ++thread)
    running.emplace_back([thread, &failures] {
      @autoreleasepool {
        for (int at = 0; at < items; ++at) {
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
  EXPECT_EQ([list(item(nil, nil)) count], static_cast<NSUInteger>(threads * items + 5));
}

/// How far one worker's saves are, for the one who kills it.
struct Progress {
  std::atomic<int> started{0};
  std::atomic<int> finished{0};
};

constexpr int workers = 4;
constexpr int bystanders = 20;

int save_for_ever(int worker, Progress &progress) {
  NSString *const account = name("worker", worker);
  for (int value = progress.started + 1;; ++value) {
    @autoreleasepool {
      progress.started = value;
      if (![ZLTKeyChain setPassword:name("value", value) forService:@"storm" account:account])
        return 1;
      progress.finished = value;
    }
  }
}

void expect_old_new_or_absent(int worker, const Progress &progress) {
  NSData *const found = secret(item(@"storm", name("worker", worker)));
  if (found == nil) {
    EXPECT_EQ(status_of_search(item(@"storm", name("worker", worker))), errSecItemNotFound);
    return;
  }
  NSString *const value = [[[NSString alloc] initWithData:found
                                                 encoding:NSUTF8StringEncoding] autorelease];
  // More than one may have been started since the last one that is known to be finished: a worker
  // can die between the commit and the word of it.
  bool known = false;
  for (int number = progress.finished; number <= progress.started; ++number)
    known |= [value isEqual:name("value", number)] != NO;
  EXPECT_TRUE(known) << [value UTF8String] << ", not " << progress.finished << " to "
                     << progress.started;
}

void expect_bystanders() {
  EXPECT_EQ([list(item(@"bystander", nil)) count], static_cast<NSUInteger>(bystanders));
  for (int at = 0; at < bystanders; ++at)
    EXPECT_TRUE(
        [secret(item(@"bystander", name("b", at))) isEqual:bytes([name("s", at) UTF8String])]);
}

TEST_F(KeychainProcesses, AThousandDeathsInTheMiddleOfSavesDamageNothing) {
  using Clock = std::chrono::steady_clock;
  for (int at = 0; at < bystanders; ++at)
    ASSERT_EQ(add(@"bystander", name("b", at), [name("s", at) UTF8String]), errSecSuccess);

  auto *const progress = new (mmap(nullptr, sizeof(Progress) * workers, PROT_READ | PROT_WRITE,
                                   MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Progress[workers];
  const auto start = [&](int worker) {
    return start_child([&, worker] { return save_for_ever(worker, progress[worker]); });
  };
  std::vector<pid_t> children;
  for (int worker = 0; worker < workers; ++worker)
    children.push_back(start(worker));

  // The limit keeps a slow machine from running for long; each death counts for itself.
  const auto limit = Clock::now() + std::chrono::seconds(25);
  std::minstd_rand random(20);
  int deaths = 0;
  int in_the_middle = 0;
  for (; deaths < 1000 && Clock::now() < limit; ++deaths) {
    const auto worker = static_cast<int>(random() % workers);
    const auto at = static_cast<std::size_t>(worker);
    // A life lasts until the worker saves, plus a moment that differs.
    const int reached = progress[worker].finished;
    while (progress[worker].started <= reached && Clock::now() < limit)
      usleep(50);
    usleep(static_cast<useconds_t>(random() % 800));
    kill(children[at], SIGKILL);
    EXPECT_EQ(wait_for(children[at]), -SIGKILL) << "the worker failed before it was killed";
    in_the_middle += progress[worker].started != progress[worker].finished;
    @autoreleasepool {
      expect_old_new_or_absent(worker, progress[worker]);
      if (deaths % 50 == 0)
        expect_bystanders();
    }
    if (HasFailure())
      break;
    children[at] = start(worker);
  }
  for (const pid_t child : children) {
    kill(child, SIGKILL);
    wait_for(child);
  }
  RecordProperty("deaths", deaths);
  RecordProperty("in_the_middle", in_the_middle);
  EXPECT_GT(in_the_middle, 0);
  for (int worker = 0; worker < workers; ++worker)
    expect_old_new_or_absent(worker, progress[worker]);
  expect_bystanders();
  EXPECT_EQ(set_aside_files(), 0);
  keychain::Database database;
  const keychain::Paths at = keychain::Paths::at(getenv("VELTRO_ROOT"));
  ASSERT_EQ(database.open(at.database, keychain::Database::Access::read_write), SQLITE_OK);
  EXPECT_EQ(database.check_soundness(), SQLITE_OK);
  munmap(progress, sizeof(Progress) * workers);
}

} // namespace
} // namespace veltro::test
