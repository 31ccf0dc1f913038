#include "support/png.hpp"
#include "support/scratch.hpp"
#include "support/tool.hpp"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace veltro::test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// Runs the tool with its standard error on a terminal; what it wrote there.
std::string seen_on_terminal(const std::vector<std::string> &arguments, int expected_status) {
  int terminal = -1;
  const pid_t process = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (process == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const std::string program = VELTRO_BUILD_DIR "/bin/veltro";
    std::vector<char *> argv{const_cast<char *>(program.c_str())};
    for (const std::string &argument : arguments)
      argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  std::string seen;
  char block[4096];
  // The terminal reads as broken once nobody has its other end.
  for (ssize_t count = 0; (count = read(terminal, block, sizeof block)) > 0 || errno == EINTR;)
    if (count > 0)
      seen.append(block, static_cast<std::size_t>(count));
  close(terminal);
  int status = -1;
  waitpid(process, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == expected_status) << seen;
  return seen;
}

/// What stands on each line of the terminal in the end: a carriage return goes back to a line's
/// start; spaces at the end are not seen.
std::vector<std::string> lines_left(const std::string &seen) {
  std::vector<std::string> lines(1);
  std::size_t column = 0;
  for (std::size_t at = 0; at < seen.size(); ++at) {
    std::string &line = lines.back();
    if (seen[at] == '\r') {
      column = 0;
    } else if (seen[at] == '\n') {
      lines.emplace_back();
    } else {
      line.resize(std::max(line.size(), column + 1), ' ');
      line[column++] = seen[at];
    }
  }
  for (std::string &line : lines)
    line.resize(line.find_last_not_of(' ') + 1);
  return lines;
}

class RoundProgress : public testing::Test {
protected:
  std::string file(const std::string &name, const std::string &bytes) {
    const std::string path = folder_.path() / name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }

  /// Rounds so many pictures, and whatever else is given.
  std::vector<std::string> rounding(int count, const std::vector<std::string> &others = {}) {
    std::vector<std::string> arguments{"round", "--size", "6x6", "--out-dir",
                                       folder_.path() / "out"};
    for (int number = 0; number < count; ++number)
      arguments.push_back(file(std::to_string(number) + ".png", png_of(1, 1, 3, {1, 2, 3})));
    arguments.insert(arguments.end(), others.begin(), others.end());
    return arguments;
  }

  ScratchFolder folder_;
};

TEST_F(RoundProgress, FillsABarAndTakesItAway) {
  const std::string seen = seen_on_terminal(rounding(4), 0);
  std::size_t at = 0;
  for (std::size_t done = 0; done <= 4; ++done) {
    const std::string bar = "\r[" + std::string(done * 10, '#') + std::string(40 - done * 10, ' ') +
                            "] " + std::to_string(done) + "/4";
    at = seen.find(bar, at);
    EXPECT_NE(at, std::string::npos) << bar << " is missing in its place in " << seen;
  }
  EXPECT_THAT(lines_left(seen), ElementsAre(IsEmpty()));
}

TEST_F(RoundProgress, KeepsComplaintsOnLinesOfTheirOwn) {
  const std::string empty = file("empty.png", "");
  const std::string seen = seen_on_terminal(rounding(2, {empty}), 1);
  EXPECT_THAT(seen, HasSubstr("] 3/3"));
  EXPECT_THAT(lines_left(seen), ElementsAre("veltro: " + empty + ": it is empty", IsEmpty()));
}

TEST_F(RoundProgress, ShowsNothingForASinglePicture) {
  EXPECT_THAT(seen_on_terminal(rounding(1), 0), IsEmpty());
}

TEST_F(RoundProgress, NeedsNoEscapeSequences) {
  for (const char *const no_color : {"", "1"}) {
    setenv("NO_COLOR", no_color, 1);
    EXPECT_THAT(seen_on_terminal(rounding(3, {file("empty.png", "")}), 1), Not(HasSubstr("\033")));
    EXPECT_THAT(seen_on_terminal({"ps", "no such name"}, 1), Not(HasSubstr("\033")));
    EXPECT_THAT(seen_on_terminal({"--help"}, 0), Not(HasSubstr("\033")));
  }
  unsetenv("NO_COLOR");
}

TEST_F(RoundProgress, IsShownOnATerminalOnly) {
  const ToolResult result = run_tool(rounding(3));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out + result.error, "");
}

} // namespace
