// A release without the private functions that the library links weakly: the tool runs on a copy of
// libveltro.so that asks for them by names which nobody defines.

#include "support/app_bundles.hpp"
#include "support/scratch.hpp"
#include "support/tool.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;
using veltro::test::run_tool;
using veltro::test::ToolResult;

constexpr const char *kWeaklyLinked[] = {"AudioServicesPlaySystemSoundWithVibration",
                                         "CKFrameworkBundle", "FigVibratorInitialize",
                                         "FigVibratorPlayVibrationWithDictionary", "MGCopyAnswer"};

/// Renames in the table of names; whether there was such a name.
bool take_away(std::string &library, const std::string &name) {
  const std::string entry = '\0' + name + '\0';
  bool found = false;
  for (std::size_t at = 0; (at = library.find(entry, at)) != std::string::npos; at += name.size()) {
    library[at + 1] = '-';
    found = true;
  }
  return found;
}

class MissingFunctions : public testing::Test {
protected:
  MissingFunctions() { setenv("VELTRO_SYSTEM_VERSION", "9.3.5", 1); }

  ~MissingFunctions() override {
    unsetenv("LD_LIBRARY_PATH");
    unsetenv("VELTRO_SYSTEM_VERSION");
  }

  /// From now on the tool's library lacks them.
  static void take_away_all() {
    const fs::path folder = veltro::test::scratch() / "lib";
    fs::create_directories(folder);
    std::ifstream stream(VELTRO_BUILD_DIR "/lib/libveltro.so.0", std::ios::binary);
    std::string library{std::istreambuf_iterator<char>(stream), {}};
    for (const char *name : kWeaklyLinked)
      ASSERT_TRUE(take_away(library, name)) << name;
    std::ofstream(folder / "libveltro.so.0", std::ios::binary) << library;
    setenv("LD_LIBRARY_PATH", folder.c_str(), 1);
  }
};

TEST_F(MissingFunctions, MeanNoVibrationBeforeIOS9) {
  setenv("VELTRO_SYSTEM_VERSION", "8.4", 1);
  EXPECT_THAT(run_tool({"vibrate"}).error, HasSubstr("Vibration: 500 ms"));
  take_away_all();
  const ToolResult result = run_tool({"vibrate"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.error, Not(HasSubstr("Vibration:")));
}

TEST_F(MissingFunctions, MeanNoVibrationFromIOS9On) {
  EXPECT_THAT(run_tool({"vibrate"}).error, HasSubstr("Vibration: 300 ms"));
  take_away_all();
  const ToolResult result = run_tool({"vibrate"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.error, Not(HasSubstr("Vibration:")));
  veltro::test::write_file(veltro::test::device_root() /
                               "var/mobile/Library/Preferences/com.apple.springboard.plist",
                           veltro::test::plist("<key>ring-vibrate</key><true/>"));
  EXPECT_EQ(run_tool({"vibrate"}).status, 0);
}

TEST_F(MissingFunctions, MeanNoIdentifiers) {
  take_away_all();
  const ToolResult result = run_tool({"info"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, HasSubstr("udid: -\nserial: -\n"));
}

TEST_F(MissingFunctions, MeanNoLabelOfChatKit) {
  EXPECT_EQ(run_tool({"label", "--couria", "SEND"}).out, "Send\n");
  take_away_all();
  veltro::test::write_file(veltro::test::device_root() /
                               "Library/PreferenceBundles/CouriaPreferences.bundle/en.lproj/"
                               "Localizable.strings",
                           "SEND = \"Couria's own\";");
  const ToolResult result = run_tool({"label", "--couria", "SEND"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
}

} // namespace
