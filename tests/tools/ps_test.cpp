#include "support/named_process.hpp"
#include "support/tool.hpp"

#include <gmock/gmock.h>
#include <unistd.h>

namespace {

using namespace veltro::test;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// A command name that no other test uses.
std::string own_name(const char *prefix) {
  return prefix + std::to_string(getpid());
}

std::string in_json(const NamedProcess &process, const std::string &name) {
  return R"({"pid": )" + std::to_string(process.pid()) + R"(, "name": ")" + name + "\"}\n";
}

TEST(PsTool, ShowsATableOfAllProcesses) {
  const std::string name = own_name("Ps");
  const NamedProcess process(name.c_str());
  const ToolResult result = run_tool({"ps"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, StartsWith("    PID NAME\n"));
  EXPECT_THAT(result.out, HasSubstr(std::to_string(process.pid()) + " " + name + "\n"));
  EXPECT_THAT(result.out, ContainsRegex("\n +1 "));
  EXPECT_EQ(result.error, "");
}

TEST(PsTool, ShowsProcessesOfANameInAnyCase) {
  const std::string name = own_name("psname");
  const NamedProcess process(name.c_str());
  const NamedProcess longer((name + "x").c_str());
  std::string upper = name;
  upper.replace(0, 6, "PSNAME");
  EXPECT_EQ(run_tool({"ps", "--json", upper}).out, in_json(process, name));
}

TEST(PsTool, ShowsProcessesThatContainANameInItsCase) {
  const std::string name = own_name("psname");
  const NamedProcess first(name.c_str());
  const NamedProcess second((name + "x").c_str());
  const ToolResult result = run_tool({"ps", "--json", "--containing", name.substr(2)});
  EXPECT_THAT(result.out, HasSubstr(in_json(first, name)));
  EXPECT_THAT(result.out, HasSubstr(in_json(second, name + "x")));
  EXPECT_EQ(run_tool({"ps", "--containing", "PSNAME"}).status, 1);
}

TEST(PsTool, SaysNoWhereThereIsNone) {
  const ToolResult result = run_tool({"ps", "no such name"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.error, "veltro: no such process: no such name\n");
}

TEST(PsTool, KeepsControlCharactersFromTheTerminal) {
  const std::string name = own_name("ps\x1b[2J");
  const NamedProcess process(name.c_str());
  const ToolResult table = run_tool({"ps"});
  EXPECT_THAT(table.out, Not(HasSubstr("\x1b")));
  EXPECT_THAT(table.out, HasSubstr(" ps?[2J"));
  EXPECT_THAT(run_tool({"ps", "--json", name}).out, HasSubstr("ps\\u001b[2J"));
}

TEST(PsTool, RefusesWrongUse) {
  for (const std::vector<std::string> &arguments :
       {std::vector<std::string>{"ps", ""}, {"ps", "a", "b"}, {"ps", "--nothing"}})
    EXPECT_EQ(run_tool(arguments).status, 2);
  EXPECT_THAT(run_tool({"ps", "--help"}).out, HasSubstr("--json"));
}

} // namespace
