#include "support/tool.hpp"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>
#include <sys/wait.h>

namespace {

using namespace veltro::test;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

/// New York, where the clocks went forward on 10 March and back on 3 November 2024.
class DateTool : public testing::Test {
protected:
  DateTool() { setenv("TZ", "America/New_York", 1); }
  ~DateTool() override { setenv("TZ", "UTC", 1); }

  static ToolResult date(std::vector<std::string> arguments, const std::string &input = "") {
    arguments.insert(arguments.begin(), "date");
    return run_tool(arguments, input);
  }

  static void expect_out(const ToolResult &result, const std::string &out, int status = 0) {
    EXPECT_EQ(result.out, out);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.status, status);
  }

  static void expect_usage(const ToolResult &result, const std::string &why) {
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.error, AllOf(StartsWith("veltro: "), HasSubstr(why)));
    EXPECT_EQ(std::ranges::count(result.error, '\n'), 1);
  }

  /// A time zone in which it is about noon, so that no midnight passes while a test runs.
  static void set_zone_at_noon() {
    const auto hour = static_cast<int>(std::time(nullptr) / 3600 % 24);
    const int west = hour - 12;
    const std::string zone =
        "Etc/GMT" + std::string(west < 0 ? "-" : "+") + std::to_string(west < 0 ? -west : west);
    setenv("TZ", zone.c_str(), 1);
  }
};

TEST_F(DateTool, AddsDays) {
  expect_out(date({"add-days", "1", "2024-03-09T10:00"}), "2024-03-10T10:00:00-04:00\n");
  expect_out(date({"add-days", "1", "2024-03-09T02:30"}), "2024-03-10T03:30:00-04:00\n");
  expect_out(date({"add-days", "-1", "2024-03-11"}), "2024-03-10T00:00:00-05:00\n");
  expect_out(date({"subtract-days", "1", "2024-11-04T12:00"}), "2024-11-03T12:00:00-05:00\n");
}

TEST_F(DateTool, ReadsIso8601) {
  for (const char *text :
       {"2024-03-13T15:30:45.250", "2024-03-13 15:30:45.25", "2024-03-13T15:30:45,25-04:00",
        "2024-03-13T19:30:45.25Z", "2024-03-13T19:30:45.25+0000", "2024-03-13T20:30:45.25+01",
        "@1710358245.25"})
    expect_out(date({"add-days", "0", text}), "2024-03-13T15:30:45.250-04:00\n");
  expect_out(date({"add-days", "0", "2024-03-13Z"}), "2024-03-12T20:00:00-04:00\n");
}

TEST_F(DateTool, WritesUnusualYearsAndOffsets) {
  setenv("TZ", "UTC", 1);
  expect_out(date({"add-days", "1", "9999-12-31"}), "+10000-01-01T00:00:00+00:00\n");
  expect_out(date({"add-days", "-1", "0001-01-01"}), "0000-12-31T00:00:00+00:00\n");
  expect_out(date({"add-days", "0", "@1e17"}), "@1e+17\n");
  setenv("TZ", "Africa/Monrovia", 1);
  expect_out(date({"add-days", "0", "1960-01-01"}), "1960-01-01T00:00:00-00:44:30\n");
}

TEST_F(DateTool, RefusesWhatIsNoDate) {
  for (const char *text : {"", "tomorrow", "2024-02-30", "2023-02-29", "2024-13-01", "2024-1-01",
                           "2024-03-13T", "2024-03-13T24:00", "2024-03-13T10:60", "2024-03-13T10",
                           "2024-03-13T10:00:00.", "2024-03-13T10:00x", "2024-03-13T10:00+24:00",
                           "1700000000", "@", "@1x", "@inf", "-024-03-13", "0000-01-01"})
    expect_usage(date({"minute", text}), "no date: " + std::string(text));
}

TEST_F(DateTool, ComparesDays) {
  expect_out(date({"same-day", "2024-03-12", "2024-03-12T23:59:59.999"}), "yes\n");
  expect_out(date({"same-day", "2024-03-12", "2024-03-13"}), "no\n", 1);
  expect_out(date({"same-week", "2024-03-10", "2024-03-16"}), "yes\n");
  expect_out(date({"same-week", "2024-03-16", "2024-03-17"}), "no\n", 1);
  expect_out(date({"same-minute", "2024-03-13T10:00:00", "2024-03-13T10:00:59.9"}), "yes\n");
  expect_out(date({"same-minute", "2024-03-13T10:00:59", "2024-03-13T10:01"}), "no\n", 1);
  expect_usage(date({"same-day", "2024-03-12"}), "2 required");
  expect_usage(date({"same-day", "2024-03-12", "x"}), "no date: x");
  expect_usage(date({"same-day", "y", "2024-03-12"}), "no date: y");
}

TEST_F(DateTool, CutsToTheMinute) {
  expect_out(date({"minute", "2024-03-13T10:00:59.9"}), "2024-03-13T10:00:00-04:00\n");
}

TEST_F(DateTool, KnowsTodayAndTheDaysBefore) {
  set_zone_at_noon();
  expect_out(date({"today", "now"}), "yes\n");
  expect_out(date({"yesterday", "now"}), "no\n", 1);
  expect_out(date({"last-days", "7", "now"}), "no\n", 1);
  expect_out(date({"last-week", "now"}), "no\n", 1);
  const std::string yesterday = date({"add-days", "-1", "now"}).out;
  expect_out(date({"yesterday"}, yesterday), "yes\n");
  expect_out(date({"last-days", "1"}, yesterday), "yes\n");
  expect_out(date({"today"}, yesterday), "no\n", 1);
  expect_out(date({"last-week"}, date({"add-days", "-7", "now"}).out), "yes\n");
}

TEST_F(DateTool, ReadsStandardInputLineByLine) {
  expect_out(date({"add-days", "1"}, "2024-03-09\n2024-03-10\n"),
             "2024-03-10T00:00:00-05:00\n2024-03-11T00:00:00-04:00\n");
  expect_out(date({"add-days", "1"}), "");
  const ToolResult mistaken = date({"add-days", "1"}, "2024-03-09\nx\n");
  EXPECT_EQ(mistaken.out, "2024-03-10T00:00:00-05:00\n");
  expect_usage(mistaken, "no date: x");
}

TEST_F(DateTool, OneNoIsNo) {
  set_zone_at_noon();
  expect_out(date({"today", "1999-01-01", "now"}), "no\nyes\n", 1);
}

TEST_F(DateTool, WritesJson) {
  expect_out(date({"add-days", "1", "2024-03-09", "--json"}),
             R"({"date": "2024-03-09T00:00:00-05:00", "result": "2024-03-10T00:00:00-05:00"})"
             "\n");
  expect_out(date({"today", "--json", "1999-01-01"}),
             R"({"date": "1999-01-01T00:00:00-05:00", "answer": false})"
             "\n",
             1);
  expect_out(date({"same-day", "--json", "2024-03-12", "2024-03-12T12:00"}),
             R"({"first": "2024-03-12T00:00:00-04:00", "second": "2024-03-12T12:00:00-04:00", )"
             R"("answer": true})"
             "\n");
}

TEST_F(DateTool, RefusesNumbersThatAreNone) {
  for (const char *text : {"1x", "x", "", "+", "+-1", "0x10", "1.0", "9223372036854775807",
                           "9223372036854775808", "-9223372036854775809", "99999999999999999999"})
    expect_usage(date({"add-days", text, "2024-03-09"}), "DAYS");
  expect_usage(date({"add-days"}), "DAYS");
  expect_usage(date({}), "subcommand");
}

TEST_F(DateTool, ReadsDaysInDecimal) {
  expect_out(date({"add-days", "010", "2024-03-09"}), "2024-03-19T00:00:00-04:00\n");
  expect_out(date({"add-days", "+1", "2024-03-08"}), "2024-03-09T00:00:00-05:00\n");
}

TEST_F(DateTool, TakesAnySpellingOfTheTimeZone) {
  for (const char *zone : {"EST5EDT,M3.2.0,M11.1.0", ":/usr/share/zoneinfo/America/New_York"}) {
    setenv("TZ", zone, 1);
    expect_out(date({"add-days", "1", "2024-03-09T10:00"}), "2024-03-10T10:00:00-04:00\n");
  }
  for (const char *none : {"/etc/passwd", "/", "nowhere"}) {
    setenv("TZ", none, 1);
    EXPECT_EQ(date({"minute", "2024-03-09"}).status, 0) << none;
  }
}

TEST_F(DateTool, SaysWhatTheCalendarDoesNotReach) {
  const ToolResult beyond = date({"minute", "2024-03-09", "@1e300", "2024-03-10"});
  EXPECT_EQ(beyond.status, 1);
  EXPECT_EQ(beyond.out, "2024-03-09T00:00:00-05:00\n");
  EXPECT_EQ(beyond.error, "veltro: beyond the calendar: @1e300\n");
}

TEST_F(DateTool, SaysThatItCannotRead) {
  FILE *const tool = popen(VELTRO_BUILD_DIR "/bin/veltro date today < / 2>&1", "r");
  ASSERT_NE(tool, nullptr);
  std::array<char, 100> line{};
  EXPECT_NE(std::fgets(line.data(), line.size(), tool), nullptr);
  EXPECT_STREQ(line.data(), "veltro: standard input: Is a directory\n");
  EXPECT_EQ(WEXITSTATUS(pclose(tool)), 1);
}

TEST_F(DateTool, HelpsItself) {
  const ToolResult help = date({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.out, HasSubstr("same-week"));
  EXPECT_EQ(date({"add-days", "--help"}).status, 0);
}

} // namespace
