// The process control with real processes.

#import <veltro/veltro.h>

#include "support/captured_log.hpp"
#include "support/exclusive.hpp"
#include "support/idle_apps.hpp"

#include <algorithm>
#include <atomic>
#include <dlfcn.h>
#include <fstream>
#include <gtest/gtest.h>
#include <span>
#include <sstream>
#include <sys/sysctl.h>
#include <thread>

VELTRO_TEST_EXCLUSIVE;

namespace {

/// Whether the process belongs to this test's device: another test may run an app of the same name.
bool is_ours(pid_t process) {
  std::ostringstream environment; // an iterator throws where the process ends while it is read
  environment << std::ifstream("/proc/" + std::to_string(process) + "/environ").rdbuf();
  const std::string root = "VELTRO_ROOT=" + veltro::test::device_root().string();
  return ('\0' + environment.str()).find('\0' + root + '\0') != std::string::npos;
}

} // namespace

extern "C" int sysctl(int *name, u_int name_length, void *old, size_t *old_length, void *new_value,
                      size_t new_length) {
  using Sysctl = decltype(&sysctl);
  static const auto real = reinterpret_cast<Sysctl>(dlsym(RTLD_NEXT, "sysctl"));
  const int result = real(name, name_length, old, old_length, new_value, new_length);
  if (result != 0 || old == nullptr)
    return result;
  const std::span records(static_cast<kinfo_proc *>(old), *old_length / sizeof(kinfo_proc));
  const auto foreign = std::ranges::remove_if(
      records, [](const kinfo_proc &record) { return !is_ours(record.kp_proc.p_pid); });
  *old_length -= foreign.size() * sizeof(kinfo_proc);
  return 0;
}

namespace {

using veltro::test::eventually;
using veltro::test::IdleApp;
using veltro::test::logged_lines;

constexpr const char *kStarted = "************** Assertion started for WhatsApp ***************";
constexpr const char *kDropped = "************** Assertion invlidated for WhatsApp ***************";

bool run_loop_until(const std::function<bool()> &happened) {
  return eventually([&] {
    @autoreleasepool {
      [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode
                               beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.01]];
    }
    return happened();
  });
}

class ProcessControl : public testing::Test {
protected:
  ProcessControl() { veltro::test::clear_log(); }
  ~ProcessControl() override { [ZLTUtils stopProcessAssertion]; }

  static bool said(const char *line) {
    const std::vector<std::string> lines = logged_lines();
    return std::ranges::find(lines, line) != lines.end();
  }

  IdleApp app_{"net.whatsapp.WhatsApp", "WhatsApp"};
};

TEST_F(ProcessControl, LaunchesTheAppLaterInTheBackground) {
  const auto start = std::chrono::steady_clock::now();
  [ZLTUtils launchApplication:@"net.whatsapp.WhatsApp"];
  EXPECT_TRUE(app_.processes().empty());
  EXPECT_TRUE(run_loop_until([&] { return !app_.processes().empty(); }));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
  EXPECT_TRUE(eventually([] { return [ZLTUtils isWhatsAppRunning] == YES; }));
  EXPECT_EQ(app_.description()["home"], app_.home().string());
}

TEST_F(ProcessControl, LaunchesAnotherApp) {
  const IdleApp other("org.example.other", "Other", "B");
  [ZLTUtils launchApplication:@"org.example.other"];
  EXPECT_TRUE(run_loop_until([&] { return !other.processes().empty(); }));
  EXPECT_TRUE(app_.processes().empty());
  EXPECT_TRUE(said("Trying to launch Whatsapp..."));
}

TEST_F(ProcessControl, LaunchesFromABackgroundThreadThroughTheMainThread) {
  std::atomic<bool> done = false;
  std::thread other([&] {
    @autoreleasepool {
      [ZLTUtils launchWhatsAppOnMainThread];
    }
    done = true;
  });
  EXPECT_TRUE(run_loop_until([&] { return done.load(); }));
  other.join();
  EXPECT_EQ(app_.processes().size(), 1U);
  EXPECT_TRUE(logged_lines().empty());
}

TEST_F(ProcessControl, StartsTheAppThatItAsserts) {
  [ZLTUtils startProcessAssertion];
  EXPECT_EQ(app_.processes().size(), 1U);
  EXPECT_TRUE(eventually([] { return said(kStarted); }));
}

TEST_F(ProcessControl, KeepsTheAppFromStayingStopped) {
  [ZLTUtils startProcessAssertion];
  EXPECT_TRUE(eventually([] { return said(kStarted); }));
  const pid_t process = app_.process();
  const auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(app_.send(SIGSTOP));
  EXPECT_TRUE(app_.keeps_counting());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));

  [ZLTUtils stopProcessAssertion];
  EXPECT_TRUE(said(kDropped));
  ASSERT_TRUE(app_.stop());
  std::this_thread::sleep_for(std::chrono::milliseconds(700));
  EXPECT_TRUE(app_.is_stopped());

  [ZLTUtils startProcessAssertion];
  EXPECT_TRUE(app_.keeps_counting());
  EXPECT_EQ(app_.processes(), std::vector{process});
}

} // namespace
