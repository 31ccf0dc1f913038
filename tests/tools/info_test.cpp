#include "machine/device/machine.hpp"
#include "support/exclusive.hpp"
#include "support/named_process.hpp"
#include "support/scratch.hpp"
#include "support/tool.hpp"

#include <cstdlib>
#include <gmock/gmock.h>

VELTRO_TEST_EXCLUSIVE;

namespace {

using namespace veltro::test;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

std::string quoted_or_null(const std::string &text) {
  return text.empty() ? "null" : '"' + text + '"';
}

TEST(InfoTool, ShowsTheDevice) {
  const ToolResult result = run_tool({"info"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, StartsWith("release: 9.3.5\nios8: yes\nios8_2: yes\nios9: yes\nmodel: " +
                                     veltro::host::machine_model() + "\nudid: "));
  EXPECT_THAT(result.out, EndsWith("\nroot: " + device_root().string() +
                                   "\nwhatsapp_running: no\nwhatsapp_processes: -\n"));
}

TEST(InfoTool, ShowsOneObject) {
  EXPECT_EQ(run_tool({"info", "--json"}).out,
            R"({"release": "9.3.5", "ios8": true, "ios8_2": true, "ios9": true, "model": )" +
                quoted_or_null(veltro::host::machine_model()) + R"(, "udid": )" +
                quoted_or_null(veltro::host::machine_identifier()) + R"(, "serial": )" +
                quoted_or_null(veltro::host::machine_serial_number()) + R"(, "root": ")" +
                device_root().string() +
                R"(", "whatsapp_running": false, "whatsapp_processes": []})" + "\n");
}

TEST(InfoTool, FollowsTheEnvironment) {
  setenv("VELTRO_SYSTEM_VERSION", "8.1", 1);
  setenv("VELTRO_ROOT", "/another/root/", 1);
  const ToolResult result = run_tool({"info"});
  EXPECT_THAT(result.out, HasSubstr("release: 8.1\n"));
  EXPECT_THAT(result.out, HasSubstr("root: /another/root\n"));
  unsetenv("VELTRO_SYSTEM_VERSION");
  setenv("VELTRO_ROOT", device_root().c_str(), 1);
}

TEST(InfoTool, TellsReleasesApart) {
  const std::pair<const char *, const char *> releases[] = {
      {"7.1.2", R"("ios8": false, "ios8_2": false, "ios9": false)"},
      {"8.1.3", R"("ios8": true, "ios8_2": false, "ios9": false)"},
      {"8.2", R"("ios8": true, "ios8_2": true, "ios9": false)"},
      {"9.0", R"("ios8": true, "ios8_2": true, "ios9": true)"},
  };
  for (const auto &[release, tests] : releases) {
    setenv("VELTRO_SYSTEM_VERSION", release, 1);
    EXPECT_THAT(run_tool({"info", "--json"}).out, HasSubstr(tests)) << release;
  }
  unsetenv("VELTRO_SYSTEM_VERSION");
}

TEST(InfoTool, SeesTheMessagingApp) {
  const NamedProcess app("WhatsApp");
  const std::string process = std::to_string(app.pid());
  // Its environment is this program's as it was started.
  EXPECT_THAT(run_tool({"info"}).out,
              HasSubstr("\nwhatsapp_running: yes\nwhatsapp_processes: " + process));
  EXPECT_THAT(run_tool({"info", "--json"}).out,
              HasSubstr(R"("whatsapp_running": true, "whatsapp_processes": [{"pid": )" + process +
                        R"(, "root": )"));
}

TEST(InfoTool, RefusesWrongUse) {
  EXPECT_EQ(run_tool({"info", "more"}).status, 2);
  EXPECT_THAT(run_tool({"info", "--help"}).out, HasSubstr("--json"));
}

} // namespace
