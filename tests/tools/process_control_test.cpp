// veltro launch and veltro keep-alive, with real apps.

#include "support/idle_apps.hpp"
#include "support/tool.hpp"

#include <gmock/gmock.h>

namespace {

using namespace veltro::test;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

TEST(LaunchTool, StartsAnAppAndPrintsItsProcess) {
  const IdleApp app("org.example.idle", "Idle");
  const ToolResult result = run_tool({"launch", "org.example.idle"});
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_EQ(result.out, std::to_string(app.process()) + "\n");
  const ToolResult json = run_tool({"launch", "--json", "org.example.idle"});
  EXPECT_EQ(json.out, "{\"identifier\": \"org.example.idle\", \"process\": " +
                          std::to_string(app.process()) + "}\n");
  EXPECT_EQ(app.processes().size(), 1U);
}

TEST(LaunchTool, SaysWhyAnAppCannotBeLaunched) {
  const ToolResult unknown = run_tool({"launch", "org.example.unknown"});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(unknown.error, "veltro: cannot launch org.example.unknown: no such app\n");
  const std::filesystem::path bundle = lay_system_app("org.example.broken", "Broken");
  std::filesystem::remove(bundle / "Broken");
  const ToolResult broken = run_tool({"launch", "org.example.broken"});
  EXPECT_EQ(broken.status, 1);
  EXPECT_THAT(broken.error, HasSubstr("No such file or directory"));
}

TEST(LaunchTool, SaysThatAnAppDidNotStart) {
  write_file(lay_system_app("org.example.script", "Script") / "Script", "#!/nowhere\n");
  const ToolResult result = run_tool({"launch", "org.example.script"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error,
              EndsWith("veltro: cannot launch org.example.script: it does not run\n"));
}

TEST(LaunchTool, WantsOneIdentifier) {
  EXPECT_EQ(run_tool({"launch"}).status, 2);
  EXPECT_EQ(run_tool({"launch", "a", "b"}).status, 2);
}

/// The app is launched first: another test's app of the same name might do for the library's look.
class KeepAliveTool : public testing::Test {
protected:
  void SetUp() override { ASSERT_EQ(run_tool({"launch", "net.whatsapp.WhatsApp"}).status, 0); }

  IdleApp app_{"net.whatsapp.WhatsApp", "WhatsApp"};
};

TEST_F(KeepAliveTool, KeepsTheAppAliveUntilItIsInterrupted) {
  ASSERT_TRUE(app_.stop());
  RunningTool tool({"keep-alive"});
  EXPECT_TRUE(app_.keeps_counting());
  ASSERT_TRUE(app_.send(SIGSTOP));
  EXPECT_TRUE(app_.keeps_counting());
  kill(tool.process(), SIGINT);
  const ToolResult result = tool.result();
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_EQ(result.out, "granted\ndropped\n");
  EXPECT_TRUE(app_.stop());
}

TEST_F(KeepAliveTool, GivesUpAfterTheTimeThatItWasGiven) {
  const auto start = std::chrono::steady_clock::now();
  const ToolResult result = run_tool({"keep-alive", "--for", "0.2"});
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_EQ(result.out, "granted\ndropped\n");
}

TEST(KeepAliveToolWithoutApps, SaysThatTheAppIsNotInstalled) {
  const ToolResult result = run_tool({"keep-alive"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error,
              StartsWith("veltro: cannot keep net.whatsapp.WhatsApp alive: no such app; veltro "
                         "messenger start starts one"));
}

TEST(KeepAliveToolWithoutApps, WantsANumberOfSeconds) {
  EXPECT_EQ(run_tool({"keep-alive", "--for", "soon"}).status, 2);
  EXPECT_EQ(run_tool({"keep-alive", "--for", "-1"}).status, 2);
}

} // namespace
