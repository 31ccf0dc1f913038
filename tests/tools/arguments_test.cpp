// What every subcommand does with a command line that is no text.

#include "support/tool.hpp"

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

TEST(Arguments, AreTextInEveryLocale) {
  const ToolResult result = run_tool({"ps", "naïve 名"});
  EXPECT_EQ(result.error, "veltro: no such process: naïve 名\n");
  EXPECT_EQ(result.status, 1);
}

} // namespace
