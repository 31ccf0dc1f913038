// Where log lines go. NSLog and NSLogv are the test support's own, so that these go through
// Foundation's; syslog is defined here.

#import <Foundation/Foundation.h>

#include <cstdarg>
#include <cstdlib>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <sys/syslog.h>
#include <unistd.h>
#include <vector>

namespace {

std::vector<std::string> system_log;

} // namespace

extern "C" void syslog(int priority, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char line[1000];
  vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  system_log.push_back(std::to_string(priority) + " " + line);
}

namespace {

void log(NSString *format, ...) {
  static const auto foundations =
      reinterpret_cast<void (*)(NSString *, va_list)>(dlsym(RTLD_NEXT, "NSLogv"));
  va_list arguments;
  va_start(arguments, format);
  foundations(format, arguments);
  va_end(arguments);
}

/// What reaches standard error while `work` runs.
template <typename Work> std::string standard_error_of(Work work) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  const int kept = dup(STDERR_FILENO);
  dup2(ends[1], STDERR_FILENO);
  close(ends[1]);
  work();
  dup2(kept, STDERR_FILENO);
  close(kept);
  std::string text;
  char buffer[4096];
  for (ssize_t count = 0; (count = read(ends[0], buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<std::size_t>(count));
  close(ends[0]);
  return text;
}

std::string logged() {
  return standard_error_of([] { log(@"Error => %@, [Line %d]", @"سلام [1:2] x", 319); });
}

// The date, the process with its id and thread, and the text.
const std::regex full_line(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} \S+\[\d+:\d+\] )"
                           "Error => سلام \\[1:2\\] x, \\[Line 319\\]\n");

TEST(Log, GoesToStandardErrorAsGnustepWritesIt) {
  system_log.clear();
  for (const char *sink : {static_cast<const char *>(nullptr), "stderr", "something"}) {
    sink != nullptr ? setenv("VELTRO_LOG", sink, 1) : unsetenv("VELTRO_LOG");
    const std::string line = logged();
    EXPECT_TRUE(std::regex_match(line, full_line)) << line;
  }
  EXPECT_TRUE(system_log.empty());
}

TEST(Log, GoesToTheSystemLogWithoutDateAndProcess) {
  system_log.clear();
  setenv("VELTRO_LOG", "syslog", 1);
  EXPECT_EQ(logged(), "");
  ASSERT_EQ(system_log.size(), 1U);
  EXPECT_EQ(system_log[0],
            std::to_string(LOG_USER | LOG_NOTICE) + " Error => سلام [1:2] x, [Line 319]\n");
}

TEST(Log, GoesNowhere) {
  system_log.clear();
  setenv("VELTRO_LOG", "off", 1);
  EXPECT_EQ(logged(), "");
  EXPECT_TRUE(system_log.empty());
}

TEST(Log, HalfASurrogatePairIsNoTrouble) {
  setenv("VELTRO_LOG", "stderr", 1);
  NSMutableString *const text = [NSMutableString stringWithString:@"a\U0001F600b"];
  [text deleteCharactersInRange:NSMakeRange(2, 1)];
  const std::string line = standard_error_of([=] { log(@"<%@>", text); });
  EXPECT_TRUE(line.ends_with("] <ab>\n")) << line;
}

TEST(Log, ClosedStandardErrorIsNoTrouble) {
  setenv("VELTRO_LOG", "stderr", 1);
  const int kept = dup(STDERR_FILENO);
  close(STDERR_FILENO);
  log(@"into nothing");
  dup2(kept, STDERR_FILENO);
  close(kept);
}

} // namespace
