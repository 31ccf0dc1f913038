// A thousand deaths by SIGKILL, from four processes, in the middle of saves.

#include "platform/frameworks/Security/keychain.hpp"

#import <veltro/ZLTKeyChain.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <dlfcn.h>
#include <new>
#include <random>
#include <sys/mman.h>

namespace {

/// How many writes to a file this process still does; none, once it is told.
int writes_left = -1;

/// Where the process dies at its last write: before it, in the middle or after it.
enum class Place { before, middle, after } place;

void die() {
  kill(getpid(), SIGKILL);
}

bool is_last() {
  if (writes_left <= 0)
    return false;
  --writes_left;
  return writes_left == 0;
}

template <typename Function> Function real(const char *name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

ssize_t pwrite64(int file, const void *bytes, size_t length, off64_t at) {
  static const auto real_write = real<ssize_t (*)(int, const void *, size_t, off64_t)>("pwrite64");
  const bool last = is_last();
  if (last && place == Place::before)
    die();
  const ssize_t written =
      real_write(file, bytes, last && place == Place::middle ? length / 2 : length, at);
  if (last)
    die();
  return written;
}

int fdatasync(int file) {
  static const auto real_sync = real<int (*)(int)>("fdatasync");
  if (is_last())
    die();
  return real_sync(file);
}

} // extern "C"

namespace veltro::test {
namespace {

using KeychainDeaths = KeychainInMemory;

constexpr int kDeathsWanted = 1000;
constexpr int kWorkers = 4;
constexpr int kBystanders = 20;

NSString *name(const char *prefix, int number) {
  return [NSString stringWithFormat:@"%s-%d", prefix, number];
}

/// How far the saves of one worker are, over all its lives.
struct Progress {
  std::atomic<int> started{0};
  std::atomic<int> finished{0};
};

/// What a worker finds wrong, as the exit code of its life.
enum Wrong { save_failed = 1, neither_old_nor_new, bystander_touched };

/// A save is deletion and addition: its item is old, absent or new. More than one may have been
/// started since the last one that is known to be finished: a worker can die between a commit and
/// the word of it.
bool is_old_new_or_absent(int worker, const Progress &progress) {
  Entries *const worked_at = item(@"storm", name("worker", worker));
  NSData *const found = secret(worked_at);
  if (found == nil)
    return status_of_search(worked_at) == errSecItemNotFound;
  for (int number = progress.finished; number <= progress.started; ++number)
    if ([found isEqual:bytes([name("value", number) UTF8String])])
      return true;
  return false;
}

bool bystander_is_untouched(int at) {
  return [secret(item(@"bystander", name("b", at))) isEqual:bytes([name("s", at) UTF8String])];
}

/// One life: looks at what the life before left, and saves until somebody kills it. After a number
/// of writes, where that is not zero, it does so itself.
int live(int worker, Progress &progress, int writes) {
  if (!is_old_new_or_absent(worker, progress))
    return neither_old_nor_new;
  if (!bystander_is_untouched(progress.started % kBystanders))
    return bystander_touched;
  if (writes > 0)
    writes_left = writes;
  for (int value = progress.started + 1;; ++value)
    @autoreleasepool {
      progress.started = value;
      if (![ZLTKeyChain setPassword:name("value", value)
                         forService:@"storm"
                            account:name("worker", worker)])
        return save_failed;
      progress.finished = value;
    }
}

TEST_F(KeychainDeaths, AThousandInTheMiddleOfSavesDamageNothing) {
  for (int at = 0; at < kBystanders; ++at)
    ASSERT_EQ(add(@"bystander", name("b", at), [name("s", at) UTF8String]), errSecSuccess);
  auto *const progress = new (mmap(nullptr, sizeof(Progress) * kWorkers, PROT_READ | PROT_WRITE,
                                   MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Progress[kWorkers];
  std::minstd_rand random(20);
  std::array<pid_t, kWorkers> lives{};
  int started = 0;
  const auto start = [&](int worker) {
    // Lives end themselves at each write of a save in turn, of which a save does about ten; but
    // every eighth is ended from outside, at any moment of a save.
    const bool from_outside = started % 8 == 0;
    const int writes = from_outside ? 0 : 1 + started % 25;
    place = static_cast<Place>(started / 25 % 3);
    ++started;
    const int reached = progress[worker].started;
    pid_t &life = lives[static_cast<std::size_t>(worker)];
    life = start_child([=] { return live(worker, progress[worker], writes); });
    if (!from_outside)
      return;
    siginfo_t ended{};
    while (progress[worker].started <= reached && ended.si_pid == 0) {
      waitid(P_PID, static_cast<id_t>(life), &ended, WEXITED | WNOHANG | WNOWAIT);
      sched_yield();
    }
    for (auto moment = random() % 200'000; moment > 0; --moment)
      std::atomic_signal_fence(std::memory_order_seq_cst);
    kill(life, SIGKILL);
  };
  for (int worker = 0; worker < kWorkers; ++worker)
    start(worker);

  int deaths = 0;
  while (deaths < kDeathsWanted) {
    int status = 0;
    const pid_t dead = waitpid(-1, &status, 0);
    const auto worker = static_cast<int>(std::ranges::find(lives, dead) - lives.begin());
    ASSERT_LT(worker, kWorkers);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
        << "worker " << worker << " found wrong: " << WEXITSTATUS(status);
    deaths += progress[worker].started != progress[worker].finished;
    start(worker);
  }
  for (const pid_t life : lives) {
    kill(life, SIGKILL);
    wait_for(life);
  }
  RecordProperty("deaths", deaths);

  for (int worker = 0; worker < kWorkers; ++worker)
    EXPECT_TRUE(is_old_new_or_absent(worker, progress[worker]));
  EXPECT_EQ([list(item(@"bystander", nil)) count], static_cast<NSUInteger>(kBystanders));
  for (int at = 0; at < kBystanders; ++at)
    EXPECT_TRUE(bystander_is_untouched(at));
  EXPECT_EQ(quarantined_files(), 0);
  keychain::Database database;
  const keychain::Paths at = keychain::Paths::at(getenv("VELTRO_ROOT"));
  ASSERT_EQ(database.open(at.database, keychain::Database::Access::read_write), SQLITE_OK);
  std::int64_t intact = 0;
  EXPECT_EQ(database.number("SELECT integrity_check = 'ok' FROM pragma_integrity_check", intact),
            SQLITE_OK);
  EXPECT_EQ(intact, 1);
  munmap(progress, sizeof(Progress) * kWorkers);
}

} // namespace
} // namespace veltro::test
