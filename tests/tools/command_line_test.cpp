// What all subcommands have in common: help, version, unknown words, -q, and numbers out of range.

#include "support/scratch.hpp"
#include "support/tool.hpp"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <sstream>
#include <unistd.h>

namespace {

using namespace veltro::test;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Words = std::vector<std::string>;

void expect_usage(const Words &arguments, const std::string &line) {
  const ToolResult result = run_tool(arguments);
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.error, "veltro: " + line + "\n");
}

/// The subcommands that a help text lists.
Words commands_in(const std::string &help) {
  Words commands;
  std::istringstream lines(help);
  bool listed = false;
  for (std::string line; std::getline(lines, line);) {
    listed = listed ? !line.empty() : line == "Subcommands:";
    if (listed && line.size() > 2 && line[2] != ' ' && line.starts_with("  "))
      commands.push_back(line.substr(2, line.find(' ', 2) - 2));
  }
  return commands;
}

/// The help of every subcommand, and of theirs, by its words.
std::map<Words, std::string> all_help(const Words &words = {}) {
  Words asking = words;
  asking.emplace_back("--help");
  const ToolResult result = run_tool(asking);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.error, "");
  std::map<Words, std::string> helps{{words, result.out}};
  for (const std::string &command : commands_in(result.out)) {
    Words inner = words;
    inner.push_back(command);
    helps.merge(all_help(inner));
  }
  return helps;
}

TEST(CommandLine, NamesAnUnknownWordAndTheNearestCommand) {
  expect_usage({"lauch"}, "'lauch' is no command; did you mean 'launch'?");
  expect_usage({"sned", "5"}, "'sned' is no command; did you mean 'send'?");
  expect_usage({"PS"}, "'PS' is no command; did you mean 'ps'?");
  expect_usage({"lauch", "--help"}, "'lauch' is no command; did you mean 'launch'?");
  expect_usage({"help", "lauch"}, "'lauch' is no command; did you mean 'launch'?");
  expect_usage({"frobnicate"}, "'frobnicate' is no command; veltro --help lists them");
  expect_usage({"keychain", "lsit"}, "'lsit' is no command of keychain; did you mean 'list'?");
  expect_usage({"apps", "--json", "lst"}, "'lst' is no command of apps; did you mean 'list'?");
  expect_usage({"chat", "xyzzy"}, "'xyzzy' is no command of chat; veltro chat --help lists them");
}

TEST(CommandLine, NamesAnUnknownOptionAndTheNearest) {
  expect_usage({"--verison"}, "'--verison' is no option; did you mean '--version'?");
  expect_usage({"chat", "--hlep"}, "'--hlep' is no option of chat; did you mean '--help'?");
  expect_usage({"-q", "--frobnicate"}, "'--frobnicate' is no option; veltro --help lists them");
}

TEST(CommandLine, LeavesOtherMistakesTheirOwnWords) {
  expect_usage({}, "A subcommand is required");
  expect_usage({"--bogus", "ps"}, "The following argument was not expected: --bogus");
  expect_usage({"keychain", "--group", "x", "list"},
               "The following arguments were not expected: x --group");
  EXPECT_EQ(run_tool({"ps", "lauch"}).error, "veltro: no such process: lauch\n");
}

TEST(CommandLine, PrintsTheVersion) {
  for (const char *option : {"--version", "-V"}) {
    const ToolResult result = run_tool({option});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "veltro 0.1.0\n");
    EXPECT_EQ(result.error, "");
  }
}

TEST(CommandLine, HelpIsACommandToo) {
  EXPECT_EQ(run_tool({"help"}).out, run_tool({"--help"}).out);
  EXPECT_EQ(run_tool({"help", "chat", "read"}).out, run_tool({"chat", "read", "--help"}).out);
  EXPECT_EQ(run_tool({"-q", "help", "chat"}).out, run_tool({"chat", "--help"}).out);
  EXPECT_EQ(run_tool({"help"}).status, 0);
  EXPECT_THAT(run_tool({"help"}).out, HasSubstr("Exit status"));
}

TEST(CommandLine, FailsWhereItsHelpCannotBeWritten) {
  for (const char *option : {"--help", "--version", "help"}) {
    const std::string command = std::string(VELTRO_BUILD_DIR) + "/bin/veltro " + option;
    EXPECT_EQ(WEXITSTATUS(std::system((command + " > /dev/full 2> /dev/null").c_str())), 1);
  }
}

TEST(CommandLine, SaysNothingWhereTheReaderHasGone) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  close(ends[0]);
  const std::string said = scratch() / "said";
  for (const char *arguments : {"--help", "ps", "info", "date today now"}) {
    // Not every shell takes descriptors of two digits.
    const std::string command = std::string("bash -c '") + VELTRO_BUILD_DIR + "/bin/veltro " +
                                arguments + " >&" + std::to_string(ends[1]) + " 2> " + said + "'";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1) << arguments;
    EXPECT_EQ(std::filesystem::file_size(said), 0U) << arguments;
  }
  close(ends[1]);
}

TEST(CommandLine, HelpNamesTheVariablesThatEachCommandReads) {
  const std::map<Words, std::string> helps = all_help();
  EXPECT_GE(helps.size(), 30U);
  for (const auto &[words, help] : helps) {
    if (words.empty())
      continue;
    EXPECT_THAT(help, HasSubstr("\nEnvironment:\n")) << testing::PrintToString(words);
    EXPECT_THAT(help, HasSubstr("\n  VELTRO_LOG ")) << testing::PrintToString(words);
    EXPECT_THAT(help, HasSubstr("-q,--quiet")) << testing::PrintToString(words);
  }
  for (const char *command :
       {"apps", "chat", "info", "keep-alive", "keychain", "label", "launch", "send", "vibrate"})
    EXPECT_THAT(helps.at({command}), HasSubstr("\n  VELTRO_ROOT ")) << command;
  EXPECT_THAT(helps.at({"keychain", "get"}), HasSubstr("\n  VELTRO_ROOT "));
  EXPECT_THAT(helps.at({"date", "minute"}), HasSubstr("\n  TZ "));
  EXPECT_THAT(helps.at({"round"}), AllOf(HasSubstr("\n  VELTRO_SCREEN_SCALE "),
                                         Not(HasSubstr("VELTRO_SYSTEM_VERSION"))));
  EXPECT_THAT(helps.at({"view"}),
              AllOf(HasSubstr("\n  VELTRO_SCREEN_SCALE "), HasSubstr("\n  VELTRO_SYSTEM_VERSION "),
                    HasSubstr("\n  LANGUAGE "), HasSubstr("\n  DISPLAY ")));
  EXPECT_THAT(helps.at({"label"}), HasSubstr("\n  LANGUAGE "));
}

TEST(CommandLine, QuietLeavesTheLogOut) {
  EXPECT_THAT(run_tool({"vibrate"}).error, HasSubstr("Vibration: "));
  for (const Words &quiet : {Words{"-q", "vibrate"}, {"vibrate", "-q"}, {"vibrate", "--quiet"}}) {
    const ToolResult result = run_tool(quiet);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
  }
  EXPECT_THAT(run_tool({"-q", "launch", "org.example.unknown"}).error,
              StartsWith("veltro: cannot launch"))
      << "the tool's own line stays";
}

TEST(CommandLine, SaysWhatANumberMustBe) {
  for (const char *port : {"0", "65536", "-1", "x", "80x"})
    for (const Words &command : {Words{"send", "5"}, {"chat", "chats"}}) {
      Words words = command;
      words.push_back("--port=" + std::string(port));
      expect_usage(words, "--port: '" + std::string(port) + "' is not a port from 1 to 65535");
    }
  expect_usage({"chat", "read", "ann", "--last", "-1"},
               "--last: '-1' is not a whole number from 0");
  for (const char *time : {"nan", "-nan", "inf", "-1", "1e10"}) {
    const std::string is_not = "'" + std::string(time) + "' is not a number of seconds from ";
    expect_usage({"keep-alive", "--for", time}, "--for: " + is_not + "0 to 1000000000");
    expect_usage({"send", "5", "--timeout", time}, "--timeout: " + is_not + "0.001 to 1000000000");
    expect_usage({"view", "loading", "-o", "x.png", "--at", time},
                 "--at: " + is_not + "0 to 1000000");
  }
  expect_usage({"send", "5", "--timeout", "0"},
               "--timeout: '0' is not a number of seconds from 0.001 to 1000000000");
}

TEST(CommandLine, RefusesNamesThatAreEmpty) {
  expect_usage({"ps", ""}, "NAME: must not be empty");
  for (const char *command : {"read", "say", "mark-read"})
    expect_usage({"chat", command, ""}, "USER: must not be empty");
}

TEST(CommandLine, SaysWhichOptionsOfAViewExcludeEachOther) {
  expect_usage({"view", "loading", "-o", "a.png", "--animate", "b.png"},
               "--out excludes --animate");
  expect_usage({"view", "loading", "--animate", "b.png", "--window"},
               "--animate excludes --window");
  expect_usage({"view", "loading", "--window", "-o", "a.png"}, "--out excludes --window");
  expect_usage({"view", "loading"}, "view: one of --out, --animate and --window is needed");
}

} // namespace
