// Transfers that a signal interrupts: read and write are the test's own.

#include "machine/files/file.hpp"
#include "machine/files/file_lock.hpp"
#include "support/scratch.hpp"

#include <cerrno>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

std::vector<ssize_t>
    results; ///< of the calls to come; a negative one is -errno, none means the real call
std::string written;
std::vector<int> locks; ///< results of flock to come, 0 or errno
int lock_calls;
std::function<void()> before_lock; ///< called once, by the next flock

ssize_t next_result() {
  const ssize_t result = results.front();
  results.erase(results.begin());
  if (result >= 0)
    return result;
  errno = static_cast<int>(-result);
  return -1;
}

} // namespace

extern "C" {

ssize_t write(int file, const void *bytes, size_t length) {
  if (results.empty())
    return syscall(SYS_write, file, bytes, length);
  const ssize_t count = next_result();
  if (count > 0)
    written.append(static_cast<const char *>(bytes), static_cast<std::size_t>(count));
  return count;
}

ssize_t read(int file, void *bytes, size_t length) {
  if (results.empty())
    return syscall(SYS_read, file, bytes, length);
  const ssize_t count = next_result();
  std::fill_n(static_cast<char *>(bytes), std::max<ssize_t>(count, 0), 'r');
  return count;
}

int flock(int file, int operation) noexcept {
  ++lock_calls;
  if (before_lock)
    std::exchange(before_lock, nullptr)();
  if (locks.empty())
    return static_cast<int>(syscall(SYS_flock, file, operation));
  errno = locks.front();
  locks.erase(locks.begin());
  return errno == 0 ? 0 : -1;
}

} // extern "C"

namespace {

using namespace veltro::host;

TEST(File, WritesAllInPieces) {
  results = {2, -EINTR, 3};
  written.clear();
  EXPECT_TRUE(write_all(-1, "hello"));
  EXPECT_EQ(written, "hello");
}

TEST(File, TellsWhyItCannotWrite) {
  results = {2, -ENOSPC};
  written.clear();
  EXPECT_FALSE(write_all(-1, "hello"));
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_EQ(written, "he");
}

TEST(File, ReadsToTheEnd) {
  results = {2, -EINTR, 3, 0};
  EXPECT_EQ(read_all(-1), "rrrrr");
  results = {2, -EIO};
  EXPECT_EQ(read_all(-1), std::nullopt);
  EXPECT_EQ(errno, EIO);
}

TEST(FileLock, WaitsOverInterruptions) {
  const veltro::test::ScratchFolder folder;
  locks = {EINTR, EINTR};
  lock_calls = 0;
  const FileLock lock(folder.path());
  EXPECT_TRUE(lock);
  EXPECT_EQ(lock_calls, 3);
  const File other(folder.path(), O_RDONLY);
  EXPECT_NE(::flock(other.number(), LOCK_EX | LOCK_NB), 0) << "somebody else's turn";
}

TEST(FileLock, TellsWhyItIsNotHeld) {
  const FileLock none("/nowhere/at/all");
  EXPECT_FALSE(none);
  EXPECT_EQ(none.error(), ENOENT);
  const veltro::test::ScratchFolder folder;
  locks = {ENOLCK};
  const FileLock refused(folder.path());
  EXPECT_FALSE(refused);
  EXPECT_EQ(refused.error(), ENOLCK);
}

TEST(FileLock, LocksWhatHasTheNameAfterItsWait) {
  const veltro::test::ScratchFolder folder;
  const std::string path = folder.path() / "locked";
  const std::string away = folder.path() / "away";
  std::filesystem::create_directory(path);
  before_lock = [&] {
    std::filesystem::rename(path, away);
    std::filesystem::create_directory(path);
  };
  {
    const FileLock lock(path);
    EXPECT_TRUE(lock);
    const File other(path, O_RDONLY);
    EXPECT_NE(::flock(other.number(), LOCK_EX | LOCK_NB), 0) << "somebody else's turn";
    const File old(away, O_RDONLY);
    EXPECT_EQ(::flock(old.number(), LOCK_EX | LOCK_NB), 0) << "nobody's";
  }
  before_lock = [&] { std::filesystem::remove(path); };
  const FileLock none(path);
  EXPECT_FALSE(none);
  EXPECT_EQ(none.error(), ENOENT);
}

} // namespace
