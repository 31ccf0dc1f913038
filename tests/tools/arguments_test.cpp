// What every subcommand does with a command line that is no text and with variables without
// meaning.

#include "support/tool.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using namespace veltro::test;

TEST(Arguments, AreUTF8WhateverTheCommand) {
  for (const std::vector<std::string> &arguments :
       std::vector<std::vector<std::string>>{{"\xff"},
                                             {"ps", "\xff"},
                                             {"launch", "\xff"},
                                             {"apps", "install", "\xff.app"},
                                             {"label", "--couria", "\xff"},
                                             {"send", "1", "--text", "a\xc3"},
                                             {"chat", "say", "\xff", "text"},
                                             {"keychain", "list", "\xff"},
                                             {"view", "loading", "-o", "\xff.png"}}) {
    const ToolResult result = run_tool(arguments);
    EXPECT_EQ(result.status, 2) << arguments.front();
    EXPECT_EQ(result.error, "veltro: an argument is not UTF-8 text\n");
    EXPECT_EQ(result.out, "");
  }
}

TEST(Variables, WithoutMeaningAreRefused) {
  for (const auto &[name, value, must_be] : std::vector<std::array<const char *, 3>>{
           {"VELTRO_SCREEN_SCALE", "7", "1, 2 or 3"},
           {"VELTRO_SCREEN_SCALE", "2.0", "1, 2 or 3"},
           {"VELTRO_SYSTEM_VERSION", "abc", "a release such as 9.3.5"},
           {"VELTRO_LOG", "garbage\n", "stderr, syslog or off"}}) {
    setenv(name, value, 1);
    const ToolResult result = run_tool({"info"});
    unsetenv(name);
    std::string shown = value;
    std::ranges::replace(shown, '\n', '?');
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.error,
              std::string("veltro: ") + name + " is '" + shown + "'; it must be " + must_be + "\n");
    EXPECT_EQ(result.out, "");
  }
}

TEST(Arguments, AreTextInEveryLocale) {
  const ToolResult result = run_tool({"ps", "naïve 名"});
  EXPECT_EQ(result.error, "veltro: no such process: naïve 名\n");
  EXPECT_EQ(result.status, 1);
}

} // namespace
