// Variables that have no meaning: one line in the log, and the default.

#include "machine/device/environment.hpp"
#include "machine/device/release.hpp"
#include "machine/log/log_line.hpp"
#include "support/captured_log.hpp"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <gmock/gmock.h>
#include <regex>
#include <unistd.h>

namespace veltro::host {
namespace {

using test::clear_log;
using test::logged_lines;
using testing::ElementsAre;
using testing::IsEmpty;

class Environment : public testing::Test {
protected:
  Environment() { clear_log(); }
  ~Environment() override {
    for (const char *name : {"VELTRO_SCREEN_SCALE", "VELTRO_SYSTEM_VERSION", "VELTRO_LOG"})
      unsetenv(name);
  }
};

TEST_F(Environment, OfTheScreenIsReportedOnceForEachValue) {
  for (int time = 0; time < 3; ++time)
    for (const char *value : {"7", "2x"}) {
      setenv("VELTRO_SCREEN_SCALE", value, 1);
      EXPECT_EQ(screen_scale(), 2);
    }
  EXPECT_THAT(logged_lines(), ElementsAre("VELTRO_SCREEN_SCALE is '7'; it must be 1, 2 or 3",
                                          "VELTRO_SCREEN_SCALE is '2x'; it must be 1, 2 or 3"));
}

TEST_F(Environment, OfTheReleaseIsReported) {
  for (const char *value : {"abc", "9.3.5.1", "9.", ".3", "-9", "9.x", "99999999999"}) {
    clear_log();
    setenv("VELTRO_SYSTEM_VERSION", value, 1);
    EXPECT_EQ(system_version(), "9.3.5");
    EXPECT_THAT(logged_lines(), ElementsAre("VELTRO_SYSTEM_VERSION is '" + std::string(value) +
                                            "'; it must be a release such as 9.3.5"));
  }
}

TEST_F(Environment, OfTheLogIsReported) {
  setenv("VELTRO_LOG", "garbage", 1);
  EXPECT_EQ(log_sink(), LogSink::standard_error);
  EXPECT_THAT(logged_lines(),
              ElementsAre("VELTRO_LOG is 'garbage'; it must be stderr, syslog or off"));
}

TEST_F(Environment, ThatMakesSenseIsTaken) {
  for (const char *value : {"", "1", "2", "3"}) {
    setenv("VELTRO_SCREEN_SCALE", value, 1);
    EXPECT_EQ(screen_scale(), *value == '\0' ? 2 : *value - '0');
  }
  setenv("VELTRO_SYSTEM_VERSION", "7.1", 1);
  EXPECT_EQ(system_version(), "7.1");
  setenv("VELTRO_SYSTEM_VERSION", "", 1);
  EXPECT_EQ(system_version(), "9.3.5");
  setenv("VELTRO_LOG", "", 1);
  EXPECT_EQ(log_sink(), LogSink::standard_error);
  setenv("VELTRO_LOG", "off", 1);
  EXPECT_EQ(log_sink(), LogSink::nowhere);
  EXPECT_THAT(logged_lines(), IsEmpty());
}

/// What a program writes on standard error before main, with that environment: this one, which
/// runs no test then.
std::string said_at_start(const std::string &environment) {
  FILE *const program = popen((environment + " /proc/" + std::to_string(getpid()) +
                               "/exe --gtest_filter=nothing 2>&1 >/dev/null")
                                  .c_str(),
                              "r");
  std::string said;
  std::array<char, 400> line{};
  while (std::fgets(line.data(), line.size(), program) != nullptr)
    said += line.data();
  EXPECT_EQ(pclose(program), 0);
  return said;
}

TEST(EnvironmentAtStart, IsReportedWhereNothingAsksForItAgain) {
  const std::string head = R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} exe\[\d+:\d+\] )";
  const std::string said = said_at_start("VELTRO_SYSTEM_VERSION=abc VELTRO_SCREEN_SCALE=7");
  EXPECT_TRUE(std::regex_match(
      said,
      std::regex(head + "VELTRO_SYSTEM_VERSION is 'abc'; it must be a release such as 9.3.5\n" +
                 head + "VELTRO_SCREEN_SCALE is '7'; it must be 1, 2 or 3\n")))
      << said;
  EXPECT_TRUE(std::regex_match(
      said_at_start("VELTRO_LOG=garbage"),
      std::regex(head + "VELTRO_LOG is 'garbage'; it must be stderr, syslog or off\n")));
  EXPECT_EQ(said_at_start("VELTRO_SYSTEM_VERSION=7.0"), "");
}

TEST(EnvironmentAtStart, IsReportedWhereTheLogGoes) {
  EXPECT_EQ(said_at_start("VELTRO_LOG=off VELTRO_SCREEN_SCALE=7"), "");
}

} // namespace
} // namespace veltro::host
