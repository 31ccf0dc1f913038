// A look that takes long: stat is the test's own.

#include "machine/files/watched_path.hpp"

#include "support/scratch.hpp"

#include <chrono>
#include <dlfcn.h>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <thread>

namespace {

// Several ticks of file times.
constexpr auto kLong = std::chrono::milliseconds(50);

std::function<void()> before_look, after_look; ///< called by stat

} // namespace

extern "C" int stat(const char *path, struct stat *status) noexcept {
  static const auto real =
      reinterpret_cast<int (*)(const char *, struct stat *)>(dlsym(RTLD_NEXT, "stat"));
  if (before_look)
    before_look();
  const int result = real(path, status);
  if (after_look)
    after_look();
  return result;
}

namespace veltro::host {
namespace {

class WatchedPathTest : public testing::Test {
protected:
  void write(const char *text) { std::ofstream(path_) << text; }
  ~WatchedPathTest() override { before_look = after_look = nullptr; }

  const test::ScratchFolder folder_;
  const std::string path_ = folder_.path() / "file";
};

TEST_F(WatchedPathTest, IsUnchangedOnceItsTimeHasPassed) {
  write("one");
  std::this_thread::sleep_for(kLong);
  const WatchedPath watched(path_);
  EXPECT_TRUE(watched.unchanged());
  write("two");
  EXPECT_FALSE(watched.unchanged());
  EXPECT_FALSE(watched.same());
}

TEST_F(WatchedPathTest, ThatIsMissingIsUnchangedUntilItComes) {
  const WatchedPath watched(path_);
  EXPECT_TRUE(watched.unchanged());
  write("one");
  EXPECT_FALSE(watched.unchanged());
}

TEST_F(WatchedPathTest, CountsAsChangedJustAfterAChangeHoweverLongTheLookTakes) {
  const auto wait = [] { std::this_thread::sleep_for(kLong); };
  before_look = [&] { write("one"); };
  after_look = wait;
  const WatchedPath looked_at(path_);
  before_look = after_look = nullptr;
  EXPECT_TRUE(looked_at.same());
  EXPECT_FALSE(looked_at.unchanged());
  before_look = [&] {
    wait();
    write("two");
  };
  const WatchedPath watched(path_);
  before_look = nullptr;
  EXPECT_TRUE(watched.same());
  EXPECT_FALSE(watched.unchanged());
}

} // namespace
} // namespace veltro::host
