// A vibration with the real preferences, and a second process that observes the notifications.

#include <notify.h>
#import <veltro/veltro.h>

#include "machine/motor/vibration.hpp"
#include "support/scratch.hpp"

#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::SizeIs;
using namespace std::chrono_literals;

constexpr const char *kRingChanged = "com.apple.springboard.ring-vibrate.changed";
constexpr const char *kSilentChanged = "com.apple.springboard.silent-vibrate.changed";

NSDictionary *domain() {
  return [[NSUserDefaults standardUserDefaults] persistentDomainForName:@"com.apple.springboard"];
}

bool setting(NSString *key) {
  return [[domain() objectForKey:key] boolValue] == YES;
}

/// An observer of both notifications in a process of its own. It replies with one byte, the number
/// of the notification that came, for each.
class OtherProcess {
public:
  OtherProcess() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
      return;
    process_ = fork();
    if (process_ == 0)
      observe(ends[1]);
    close(ends[1]);
    replies_ = ends[0];
    EXPECT_EQ(next(), 'r') << "ready";
  }
  ~OtherProcess() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    close(replies_);
  }
  OtherProcess(const OtherProcess &) = delete;
  OtherProcess &operator=(const OtherProcess &) = delete;

  /// 'R' or 'S' for the setting whose change was announced.
  [[nodiscard]] char next() const {
    char reply = 0;
    return read(replies_, &reply, 1) == 1 ? reply : '\0';
  }

private:
  [[noreturn]] static void observe(int replies) {
    alarm(60);
    int descriptor = -1;
    int ring = 0;
    int silent = 0;
    notify_register_file_descriptor(kRingChanged, &descriptor, 0, &ring);
    notify_register_file_descriptor(kSilentChanged, &descriptor, NOTIFY_REUSE, &silent);
    write_byte(replies, 'r');
    for (;;) {
      fd_set set;
      FD_ZERO(&set);
      FD_SET(descriptor, &set);
      select(descriptor + 1, &set, nullptr, nullptr, nullptr);
      std::uint32_t token = 0;
      if (read(descriptor, &token, sizeof token) == sizeof token)
        write_byte(replies, ntohl(token) == static_cast<std::uint32_t>(ring) ? 'R' : 'S');
    }
  }
  static void write_byte(int descriptor, char byte) {
    if (write(descriptor, &byte, 1) != 1)
      _exit(1);
  }

  pid_t process_ = 0;
  int replies_ = -1;
};

class Vibration : public testing::Test {
protected:
  Vibration() { veltro::host::use_motor(&motor_); }
  ~Vibration() override {
    veltro::host::use_motor(nullptr);
    unsetenv("VELTRO_SYSTEM_VERSION");
    [[NSUserDefaults standardUserDefaults] removePersistentDomainForName:@"com.apple.springboard"];
  }

  void run_until_it_vibrated() {
    NSDate *const limit = [NSDate dateWithTimeIntervalSinceNow:30];
    while (requests_.empty() && [limit timeIntervalSinceNow] > 0)
      [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode beforeDate:limit];
    ASSERT_THAT(requests_, SizeIs(1));
  }

  std::vector<veltro::host::Vibration> requests_;
  veltro::host::Motor motor_ = [this](const veltro::host::Vibration &vibration) {
    requests_.push_back(vibration);
    return true;
  };
};

TEST_F(Vibration, SwitchesTheSettingsOnForAMomentAndTellsOtherProcesses) {
  const OtherProcess observer;
  NSDictionary *const before =
      [NSDictionary dictionaryWithObjectsAndKeys:[NSNumber numberWithBool:YES], @"silent-vibrate",
                                                 @"text", @"other", nil];
  [[NSUserDefaults standardUserDefaults] setPersistentDomain:before
                                                     forName:@"com.apple.springboard"];
  const auto start = std::chrono::steady_clock::now();
  [ZLTUtils vibrateDevice];
  EXPECT_TRUE(setting(@"ring-vibrate"));
  EXPECT_TRUE(setting(@"silent-vibrate"));
  EXPECT_THAT(requests_, SizeIs(0));
  EXPECT_EQ(observer.next(), 'R');
  EXPECT_EQ(observer.next(), 'S');

  run_until_it_vibrated();
  EXPECT_GE(std::chrono::steady_clock::now() - start, 300ms);
  EXPECT_THAT(requests_[0].pulses, ElementsAre(veltro::host::Pulse{0ms, 300ms}));
  EXPECT_EQ(requests_[0].intensity, 1.0);
  EXPECT_FALSE(setting(@"ring-vibrate"));
  EXPECT_TRUE(setting(@"silent-vibrate"));
  EXPECT_EQ([domain() count], 3U);
  EXPECT_EQ(observer.next(), 'R');
  EXPECT_EQ(observer.next(), 'S');
}

TEST_F(Vibration, CreatesTheDomainWhereThereIsNone) {
  EXPECT_EQ(domain(), nil);
  [ZLTUtils vibrateDevice];
  EXPECT_EQ([domain() count], 2U);
  run_until_it_vibrated();
  EXPECT_FALSE(setting(@"ring-vibrate"));
  EXPECT_FALSE(setting(@"silent-vibrate"));
}

TEST_F(Vibration, DrivesTheMotorBeforeIOS9) {
  setenv("VELTRO_SYSTEM_VERSION", "8.4.1", 1);
  [ZLTUtils vibrateDevice];
  ASSERT_THAT(requests_, SizeIs(1));
  EXPECT_THAT(requests_[0].pulses, ElementsAre(veltro::host::Pulse{0ms, 500ms}));
  EXPECT_EQ(domain(), nil);
}

} // namespace
