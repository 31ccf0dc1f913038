// An observer that ends just before it is written to: the write is the test's own.

#include <notify.h>

#include "support/scratch.hpp"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace {

int ends_at_write = 0; ///< the token of the observer that does

volatile std::sig_atomic_t signals = 0;

} // namespace

extern "C" ssize_t write(int file, const void *bytes, size_t size) {
  if (const int token = std::exchange(ends_at_write, 0); token != 0)
    notify_cancel(token);
  return syscall(SYS_write, file, bytes, size);
}

namespace {

TEST(EndedObserver, RaisesNoSignal) {
  std::filesystem::create_directories(veltro::test::device_root());
  const auto before = std::signal(SIGPIPE, [](int) { signals = signals + 1; });
  int token = 0;
  ASSERT_EQ(notify_register_check("org.example.changed", &token), std::uint32_t{NOTIFY_STATUS_OK});
  ends_at_write = token;
  EXPECT_EQ(notify_post("org.example.changed"), std::uint32_t{NOTIFY_STATUS_OK});
  EXPECT_EQ(ends_at_write, 0) << "written to";
  EXPECT_EQ(signals, 0);
  // Nor is the signal kept back for later, or for good.
  std::raise(SIGPIPE);
  EXPECT_EQ(signals, 1);
  std::signal(SIGPIPE, before);
}

} // namespace
