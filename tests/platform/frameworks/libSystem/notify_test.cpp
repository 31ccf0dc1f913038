#include <notify.h>

#include "support/scratch.hpp"

#include <arpa/inet.h>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr const char *kName = "org.example.changed";

fs::path folder(const std::string &encoded = kName) {
  return veltro::test::device_root() / "var/run/notify" / encoded;
}

std::optional<int> next_token(int descriptor) {
  std::uint32_t token = 0;
  if (read(descriptor, &token, sizeof token) != sizeof token)
    return std::nullopt;
  return static_cast<int>(ntohl(token));
}

bool posted(int token) {
  int check = -1;
  EXPECT_EQ(notify_check(token, &check), static_cast<std::uint32_t>(NOTIFY_STATUS_OK));
  return check == 1;
}

std::uint32_t status(int value) {
  return static_cast<std::uint32_t>(value);
}

/// Runs `action` in a process of its own, to its end.
template <typename Action> void elsewhere(Action action) {
  const pid_t process = fork();
  if (process == 0) {
    action();
    _exit(0);
  }
  waitpid(process, nullptr, 0);
}

TEST(Notify, PostsToNobodyWithoutATrace) {
  EXPECT_EQ(notify_post("org.example.nobody"), status(NOTIFY_STATUS_OK));
  EXPECT_FALSE(fs::exists(folder("org.example.nobody")));
}

TEST(Notify, ChecksWhetherSomethingWasPosted) {
  int token = 0;
  ASSERT_EQ(notify_register_check(kName, &token), status(NOTIFY_STATUS_OK));
  EXPECT_TRUE(posted(token)) << "the first check says yes";
  EXPECT_FALSE(posted(token));
  notify_post("org.example.changed.not");
  EXPECT_FALSE(posted(token));
  elsewhere([] { notify_post(kName); });
  notify_post(kName);
  EXPECT_TRUE(posted(token));
  EXPECT_FALSE(posted(token));
  notify_cancel(token);
}

TEST(Notify, WritesTheTokenToADescriptor) {
  int descriptor = -1;
  int token = 0;
  ASSERT_EQ(notify_register_file_descriptor(kName, &descriptor, 0, &token),
            status(NOTIFY_STATUS_OK));
  EXPECT_EQ(next_token(descriptor), std::nullopt);
  elsewhere([] { notify_post(kName); });
  EXPECT_EQ(next_token(descriptor), token);
  EXPECT_EQ(next_token(descriptor), std::nullopt);
  notify_cancel(token);
}

TEST(Notify, TellsEveryObserver) {
  int first = 0;
  int second = 0;
  notify_register_check(kName, &first);
  notify_register_check(kName, &second);
  EXPECT_NE(first, second);
  posted(first);
  posted(second);
  notify_post(kName);
  EXPECT_TRUE(posted(first));
  EXPECT_TRUE(posted(second));
  notify_cancel(first);
  notify_post(kName);
  EXPECT_TRUE(posted(second));
  notify_cancel(second);
}

TEST(Notify, KeepsTheOrderOnASharedDescriptor) {
  int descriptor = -1;
  int first = 0;
  int second = 0;
  notify_register_file_descriptor(kName, &descriptor, 0, &first);
  const int own = descriptor;
  ASSERT_EQ(
      notify_register_file_descriptor("org.example.other", &descriptor, NOTIFY_REUSE, &second),
      status(NOTIFY_STATUS_OK));
  EXPECT_EQ(descriptor, own);
  notify_post("org.example.other");
  notify_post(kName);
  EXPECT_EQ(next_token(descriptor), second);
  EXPECT_EQ(next_token(descriptor), first);
  notify_cancel(first);
  notify_post("org.example.other");
  EXPECT_EQ(next_token(descriptor), second) << "open until the last registration ends";
  notify_cancel(second);
  EXPECT_EQ(next_token(descriptor), std::nullopt);
}

TEST(Notify, TakesNamesOfEveryKind) {
  for (const char *odd : {"a/b", "..", ".hidden", "with space", "\xc3\xbc%"}) {
    int token = 0;
    ASSERT_EQ(notify_register_check(odd, &token), status(NOTIFY_STATUS_OK)) << odd;
    posted(token);
    notify_post(odd);
    EXPECT_TRUE(posted(token)) << odd;
    notify_cancel(token);
  }
  EXPECT_TRUE(fs::exists(folder("%2E.")));
  EXPECT_TRUE(fs::exists(folder("a%2Fb")));
}

TEST(Notify, RefusesWhatIsNoName) {
  const std::string long_name(300, 'n');
  for (const char *bad : {static_cast<const char *>(nullptr), "", long_name.c_str()}) {
    int token = 0;
    EXPECT_EQ(notify_post(bad), status(NOTIFY_STATUS_INVALID_NAME));
    EXPECT_EQ(notify_register_check(bad, &token), status(NOTIFY_STATUS_INVALID_NAME));
  }
}

TEST(Notify, RefusesTokensAndDescriptorsThatItDoesNotKnow) {
  int check = 0;
  int token = 0;
  EXPECT_EQ(notify_check(4711, &check), status(NOTIFY_STATUS_INVALID_TOKEN));
  EXPECT_EQ(notify_cancel(4711), status(NOTIFY_STATUS_INVALID_TOKEN));
  int foreign = STDIN_FILENO;
  EXPECT_EQ(notify_register_file_descriptor(kName, &foreign, NOTIFY_REUSE, &token),
            status(NOTIFY_STATUS_INVALID_FILE));
  int none = -1;
  EXPECT_EQ(notify_register_file_descriptor(kName, &none, NOTIFY_REUSE, &token),
            status(NOTIFY_STATUS_INVALID_FILE));
}

TEST(Notify, LeavesNothingBehindWhenCancelled) {
  int token = 0;
  notify_register_check(kName, &token);
  EXPECT_FALSE(fs::is_empty(folder()));
  EXPECT_EQ(fs::status(folder()).permissions(), fs::perms::owner_all);
  notify_cancel(token);
  EXPECT_TRUE(fs::is_empty(folder()));
}

TEST(Notify, CleansUpAfterAnObserverThatEnded) {
  elsewhere([] {
    int token = 0;
    notify_register_check(kName, &token);
  });
  EXPECT_FALSE(fs::is_empty(folder()));
  EXPECT_EQ(notify_post(kName), status(NOTIFY_STATUS_OK));
  EXPECT_TRUE(fs::is_empty(folder()));
}

TEST(Notify, DoesNotWaitForAnObserverThatDoesNotRead) {
  int token = 0;
  notify_register_check(kName, &token);
  for (int i = 0; i < 20'000; ++i)
    notify_post(kName);
  EXPECT_TRUE(posted(token));
  EXPECT_FALSE(posted(token));
  notify_cancel(token);
}

TEST(Notify, SaysThatItCannotObserveWithoutAFolder) {
  setenv("VELTRO_ROOT", "/dev/null", 1);
  int token = 0;
  EXPECT_EQ(notify_register_check(kName, &token), status(NOTIFY_STATUS_FAILED));
  EXPECT_EQ(notify_post(kName), status(NOTIFY_STATUS_OK));
  setenv("VELTRO_ROOT", veltro::test::device_root().c_str(), 1);
}

} // namespace
