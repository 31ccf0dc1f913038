#include "support/app_bundles.hpp"
#include "support/tool.hpp"

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;
using namespace veltro::test;
using testing::HasSubstr;

class LabelTool : public testing::Test {
protected:
  LabelTool() {
    fs::remove_all(device_root());
    for (const char *variable : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"})
      unsetenv(variable);
  }

  static std::string in_language(const char *variable, const char *value,
                                 const std::vector<std::string> &arguments) {
    setenv(variable, value, 1);
    const ToolResult result = run_tool(arguments);
    unsetenv(variable);
    EXPECT_EQ(result.status, 0) << result.error;
    return result.out;
  }
};

TEST_F(LabelTool, PrintsUIKitsLabelInTheLanguageOfTheEnvironment) {
  const std::vector<std::string> cancel{"label", "--uikit", "Cancel"};
  EXPECT_EQ(run_tool(cancel).out, "Cancel\n");
  EXPECT_EQ(in_language("LANG", "de_DE.UTF-8", cancel), "Abbrechen\n");
  EXPECT_EQ(in_language("LC_MESSAGES", "fr_CA", cancel), "Annuler\n");
  EXPECT_EQ(in_language("LC_ALL", "es", cancel), "Cancelar\n");
  EXPECT_EQ(in_language("LANGUAGE", "ar", cancel), "إلغاء\n");
  EXPECT_EQ(in_language("LANGUAGE", "zh_CN:en", cancel), "取消\n");
  EXPECT_EQ(in_language("LANG", "zh-Hans", cancel), "取消\n");
  EXPECT_EQ(in_language("LANG", "ja_JP.eucJP", cancel), "キャンセル\n");
  EXPECT_EQ(in_language("LANG", "sv_SE.UTF-8", cancel), "Cancel\n");
  EXPECT_EQ(in_language("LC_ALL", "C.UTF-8", cancel), "Cancel\n");
}

TEST_F(LabelTool, PrintsTheKeyWhereTheBundleHasNoLabel) {
  EXPECT_EQ(run_tool({"label", "--uikit", "no such key"}).out, "no such key\n");
  EXPECT_EQ(run_tool({"label", "com.apple.UIKit", "NoTable", "Done"}).out, "Done\n");
}

TEST_F(LabelTool, LeavesOutHalfASurrogatePair) {
  write_file(device_root() /
                 "Library/PreferenceBundles/CouriaPreferences.bundle/en.lproj/Localizable.strings",
             R"(OWN = "o\UD83Dne";)");
  EXPECT_EQ(run_tool({"label", "--couria", "OWN"}).out, "one\n");
}

TEST_F(LabelTool, PrintsCouriasLabels) {
  EXPECT_EQ(run_tool({"label", "--couria", "SEND"}).out, "Send\n");
  const ToolResult none = run_tool({"label", "--couria", "OWN"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.out, "");
  EXPECT_THAT(none.error, HasSubstr("the Couria settings are not installed"));
  write_file(device_root() /
                 "Library/PreferenceBundles/CouriaPreferences.bundle/en.lproj/Localizable.strings",
             "OWN = \"Couria's own\";");
  EXPECT_EQ(run_tool({"label", "--couria", "OWN"}).out, "Couria's own\n");
}

TEST_F(LabelTool, PrintsALabelOfAnyBundle) {
  EXPECT_EQ(run_tool({"label", "com.apple.ChatKit", "ChatKit", "READ"}).out, "Read\n");
  EXPECT_EQ(run_tool({"label", "com.apple.UIKit", "", "Done"}).out, "Done\n");
  const fs::path bundle = lay_user_app("org.example.chat", "Chat", "U1");
  write_file(bundle.parent_path() / "Own.strings", "key = label;");
  EXPECT_EQ(run_tool({"label", "org.example.chat", "Own", "key"}).out, "label\n");
}

TEST_F(LabelTool, SaysNoWhereThereIsNoBundle) {
  lay_system_app("com.example.clock", "Clock");
  for (const char *identifier : {"nothing", "com.example.clock", "../x", ""}) {
    const ToolResult result = run_tool({"label", identifier, "Table", "Key"});
    EXPECT_EQ(result.status, 1) << identifier;
    EXPECT_EQ(result.error,
              std::string("veltro: no bundle has the identifier ") + identifier + "\n");
  }
}

TEST_F(LabelTool, SaysNoWhereUIKitCannotBeHad) {
  write_file(device_root(), "a file");
  const ToolResult result = run_tool({"label", "--uikit", "Done"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error, "veltro: UIKit's bundle cannot be had\n");
}

TEST_F(LabelTool, KnowsItsUsage) {
  using Arguments = std::vector<std::string>;
  for (const Arguments &arguments :
       {Arguments{"label"}, Arguments{"label", "id", "table"}, Arguments{"label", "--uikit"},
        Arguments{"label", "--uikit", "a", "--couria", "b"},
        Arguments{"label", "id", "table", "key", "--uikit", "key"},
        Arguments{"label", "id", "table", "key", "more"}})
    EXPECT_EQ(run_tool(arguments).status, 2) << testing::PrintToString(arguments);
  EXPECT_EQ(run_tool({"label", "--help"}).status, 0);
}

} // namespace
