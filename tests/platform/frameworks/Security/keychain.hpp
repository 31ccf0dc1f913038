// The keychain's files as the tests see them, and children that use it.
#pragma once

#include "frameworks/Security/database.hpp"
#include "frameworks/Security/directory.hpp"
#include "platform/frameworks/Security/item.hpp"
#include "support/captured_log.hpp"
#include "support/scratch.hpp"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <string>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern "C" int __llvm_profile_write_file(void) __attribute__((weak));

namespace veltro::test {

namespace files = std::filesystem;
namespace keychain = veltro::host::keychain;

inline keychain::Paths paths() {
  return keychain::Paths::at(device_root().string());
}

inline mode_t mode_of(const files::path &path) {
  struct stat status{};
  return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

inline std::string contents(const files::path &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void write_file(const files::path &path, const std::string &bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
  files::permissions(path, files::perms::owner_read | files::perms::owner_write);
}

/// Makes this process let go of the keychain's file, as looking at another device root does.
inline void close_keychain() {
  const files::path other = scratch() / "other";
  setenv("VELTRO_ROOT", other.c_str(), 1);
  status_of_search(item(@"x", @"x"));
  add(@"x", @"x", "x");
  setenv("VELTRO_ROOT", device_root().c_str(), 1);
}

/// Moves the write-ahead log into the file, so that the file by itself is the keychain.
inline void checkpoint() {
  close_keychain();
  keychain::Database database;
  ASSERT_EQ(database.open(paths().database, keychain::Database::Access::read_write), SQLITE_OK);
  ASSERT_EQ(database.run("PRAGMA wal_checkpoint(TRUNCATE)"), SQLITE_OK);
  database.close_with_checkpoint();
}

/// Runs SQL on the keychain's file behind its back.
inline void tamper(const char *sql) {
  close_keychain();
  keychain::Database database;
  ASSERT_EQ(database.open(paths().database, keychain::Database::Access::read_write), SQLITE_OK);
  ASSERT_EQ(database.run(sql), SQLITE_OK);
  database.close_with_checkpoint();
}

/// The number of quarantined files.
inline int quarantined_files() {
  int count = 0;
  if (files::exists(paths().directory))
    for (const auto &entry : files::directory_iterator(paths().directory)) {
      const std::string name = entry.path().filename();
      count += name.find(".damaged-") != std::string::npos && !name.ends_with("-wal") &&
               !name.ends_with("-shm");
    }
  return count;
}

/// The logged lines that contain `text`.
inline std::size_t lines_with(const std::string &text) {
  std::size_t count = 0;
  for (const std::string &line : logged_lines())
    count += line.find(text) != std::string::npos;
  return count;
}

/// A child process that runs `action` and ends with its exit code; it dies with this one.
inline pid_t start_child(const std::function<int()> &action) {
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child != 0)
    return child;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  int code = 125;
  if (getppid() == parent)
    @autoreleasepool {
      code = action();
    }
  if (__llvm_profile_write_file != nullptr)
    __llvm_profile_write_file();
  _exit(code);
}

/// How the child ended: its exit code, or minus the signal.
inline int wait_for(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR)
    continue;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

inline int in_child(const std::function<int()> &action) {
  return wait_for(start_child(action));
}

/// Puts this process, which must be a child, into a file system view of its own; false where the
/// machine does not let it.
inline bool own_mounts() {
  if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
    return false;
  return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// The exit code of a child that may not do this here.
inline constexpr int kNotAllowedHere = 77;

/// Expects a child to do `action` and return 0; skips the test where the machine does not let it.
inline void expect_in_child(const std::function<int()> &action) {
  const int code = in_child(action);
  if (code == kNotAllowedHere)
    GTEST_SKIP() << "this machine allows no mounts";
  EXPECT_EQ(code, 0);
}

class Keychain : public testing::Test {
protected:
  void SetUp() override {
    close_keychain();
    files::remove_all(device_root());
    clear_log();
  }
};

/// In memory where that is possible: for processes at a keychain, whose waiting for a disk would
/// show nothing.
class KeychainInMemory : public Keychain {
protected:
  KeychainInMemory() {
    std::string name = "/dev/shm/veltro-test-XXXXXX";
    if (mkdtemp(name.data()) != nullptr)
      folder_ = name;
  }
  ~KeychainInMemory() override {
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

} // namespace veltro::test
