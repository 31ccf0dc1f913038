#include "support/app_bundles.hpp"
#include "support/tool.hpp"

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;
using namespace veltro::test;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class AppsTool : public testing::Test {
protected:
  AppsTool() {
    fs::remove_all(device_root());
    fs::create_directories(device_root());
  }

  /// A bundle to install, outside the root.
  fs::path bundle(const std::string &name, const std::string &identifier) {
    return lay_bundle(source_.path() / name, identifier);
  }

  static fs::path containers() {
    return device_root() / "var/mobile/Containers/Bundle/Application";
  }
  static fs::path data_containers() {
    return device_root() / "var/mobile/Containers/Data/Application";
  }

  static std::vector<std::string> names_in(const fs::path &folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto &entry : fs::directory_iterator(folder, error))
      names.push_back(entry.path().filename());
    return names;
  }

  /// Expects `result` to be a no with one line.
  static void expect_no(const ToolResult &result, const std::string &why) {
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.error, AllOf(StartsWith("veltro: "), HasSubstr(why)));
    EXPECT_EQ(std::ranges::count(result.error, '\n'), 1);
  }

  ScratchFolder source_;
};

TEST_F(AppsTool, ListsNothingWithoutApps) {
  const ToolResult empty = run_tool({"apps", "list"});
  EXPECT_EQ(empty.status, 0);
  EXPECT_EQ(empty.out, "");
  fs::remove_all(device_root());
  const ToolResult no_root = run_tool({"apps", "list", "--json"});
  EXPECT_EQ(no_root.status, 0);
  EXPECT_EQ(no_root.out + no_root.error, "");
  EXPECT_FALSE(fs::exists(device_root())) << "looking makes no root";
}

TEST_F(AppsTool, ListsAppsOneALine) {
  lay_user_app("org.example.chat", "Chat", "U1");
  lay_system_app("com.example.clock", "Clock");
  const ToolResult list = run_tool({"apps", "list"});
  EXPECT_EQ(list.status, 0);
  EXPECT_EQ(list.out, "com.example.clock\tSystem\tClock\norg.example.chat\tUser\tChat\n");
  EXPECT_EQ(list.error, "");
}

TEST_F(AppsTool, ListsAppsAsJson) {
  const fs::path bundle = lay_user_app("org.example.chat", "Chat", "U1");
  lay_system_app("com.example.clock", "Clock");
  const std::string expected =
      R"({"identifier": "com.example.clock", "type": "System", "name": "Clock", "version": "7", )"
      R"("bundle": ")" +
      (device_root() / "Applications/Clock.app").string() +
      R"(", "executable": "Clock", "container": null, "data": null})"
      "\n"
      R"({"identifier": "org.example.chat", "type": "User", "name": "Chat", "version": "7", )"
      R"("bundle": ")" +
      bundle.string() + R"(", "executable": "Chat", "container": ")" +
      bundle.parent_path().string() + R"(", "data": ")" + (data_containers() / "U1").string() +
      "\"}\n";
  EXPECT_EQ(run_tool({"apps", "list", "--json"}).out, expected);
  EXPECT_EQ(run_tool({"apps", "--json", "list"}).out, expected);
}

TEST_F(AppsTool, LeavesOutABrokenBundleWithOneLine) {
  lay_system_app("com.example.clock", "Clock");
  write_file(device_root() / "Applications/Bad.app/Info.plist", "garbage");
  const ToolResult list = run_tool({"apps", "list"});
  EXPECT_EQ(list.status, 0);
  EXPECT_EQ(list.out, "com.example.clock\tSystem\tClock\n");
  EXPECT_THAT(list.error, HasSubstr("Bad.app: Info.plist: not a property list"));
  EXPECT_EQ(std::ranges::count(list.error, '\n'), 1);
}

TEST_F(AppsTool, ShowsAnApp) {
  lay_system_app("com.example.clock", "Clock");
  const ToolResult info = run_tool({"apps", "info", "com.example.clock"});
  EXPECT_EQ(info.status, 0);
  EXPECT_EQ(info.out, "identifier: com.example.clock\ntype: System\nname: Clock\nversion: 7\n"
                      "bundle: " +
                          (device_root() / "Applications/Clock.app").string() +
                          "\nexecutable: Clock\n");
  EXPECT_THAT(run_tool({"apps", "info", "--json", "com.example.clock"}).out,
              StartsWith(R"({"identifier": "com.example.clock", "type": "System")"));
}

TEST_F(AppsTool, SaysNoToAnUnknownIdentifier) {
  for (const char *identifier : {"nothing", "../../etc/passwd", "日本語", "."}) {
    expect_no(run_tool({"apps", "info", identifier}),
              std::string("no app is installed with the identifier ") + identifier);
    expect_no(run_tool({"apps", "remove", identifier}),
              std::string("no app is installed with the identifier ") + identifier);
  }
}

TEST_F(AppsTool, SaysNoToARootThatIsNoFolder) {
  fs::remove_all(device_root());
  write_file(device_root(), "");
  const fs::path app = bundle("Chat.app", "org.example.chat");
  expect_no(run_tool({"apps", "list"}), "is not a folder");
  expect_no(run_tool({"apps", "info", "org.example.chat"}), "is not a folder");
  expect_no(run_tool({"apps", "install", app}), "Not a directory");
  expect_no(run_tool({"apps", "remove", "org.example.chat"}), "no app is installed");
  EXPECT_TRUE(fs::is_regular_file(device_root()));
}

TEST_F(AppsTool, SaysNoToARootThatCannotBeMade) {
  const fs::path app = bundle("Chat.app", "org.example.chat");
  setenv("VELTRO_ROOT", "/proc/nowhere", 1);
  const ToolResult result = run_tool({"apps", "install", app});
  setenv("VELTRO_ROOT", device_root().c_str(), 1);
  expect_no(result, "cannot create /proc/nowhere/");
}

TEST_F(AppsTool, InstallsIntoARootThatDoesNotExist) {
  fs::remove_all(device_root());
  EXPECT_EQ(run_tool({"apps", "install", bundle("Chat.app", "org.example.chat")}).status, 0);
  EXPECT_EQ(run_tool({"apps", "list"}).out, "org.example.chat\tUser\tChat\n");
  EXPECT_EQ(names_in(containers()).size(), 1U);
  EXPECT_EQ(names_in(data_containers()).size(), 1U);
}

TEST_F(AppsTool, InstallsByARelativePathWithASlashAtTheEnd) {
  bundle("Chat.app", "org.example.chat");
  const fs::path before = fs::current_path();
  fs::current_path(source_.path());
  const ToolResult result = run_tool({"apps", "install", "./Chat.app/"});
  fs::current_path(before);
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_EQ(run_tool({"apps", "list"}).out, "org.example.chat\tUser\tChat\n");
}

TEST_F(AppsTool, InstallsTheReferenceMessenger) {
  const ToolResult result = run_tool({"apps", "install", VELTRO_BUILD_DIR "/share/WhatsApp.app"});
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_EQ(run_tool({"apps", "list"}).out, "net.whatsapp.WhatsApp\tUser\tWhatsApp\n");
}

TEST_F(AppsTool, RemovesAnApp) {
  run_tool({"apps", "install", bundle("Chat.app", "org.example.chat")});
  const ToolResult result = run_tool({"apps", "remove", "org.example.chat"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out + result.error, "");
  EXPECT_THAT(names_in(containers()), IsEmpty());
  EXPECT_THAT(names_in(data_containers()), IsEmpty());
}

TEST_F(AppsTool, SaysNoToRemovingASystemApp) {
  lay_system_app("com.example.clock", "Clock");
  expect_no(run_tool({"apps", "remove", "com.example.clock"}), "com.example.clock is a system app");
  EXPECT_EQ(run_tool({"apps", "list"}).out, "com.example.clock\tSystem\tClock\n");
}

TEST_F(AppsTool, SaysNoToWhatIsNoAppBundle) {
  const fs::path no_info = source_.path() / "NoInfo.app";
  fs::create_directories(no_info);
  expect_no(run_tool({"apps", "install", no_info}), "Info.plist: No such file or directory");
  expect_no(run_tool({"apps", "install", source_.path()}), "does not end in .app");
  expect_no(run_tool({"apps", "install", source_.path() / "None.app"}),
            "No such file or directory");
  EXPECT_THAT(names_in(containers()), IsEmpty());
}

TEST_F(AppsTool, TakesTurnsWithAnotherInstallerOfTheSameApp) {
  const fs::path app = bundle("Chat.app", "org.example.chat");
  RunningTool first({"apps", "install", app});
  RunningTool second({"apps", "install", app});
  RunningTool third({"apps", "install", app});
  for (RunningTool *one : {&first, &second, &third})
    EXPECT_EQ(one->result().status, 0);
  EXPECT_EQ(names_in(containers()).size(), 1U);
  EXPECT_EQ(names_in(data_containers()).size(), 1U);
  EXPECT_EQ(run_tool({"apps", "list"}).out, "org.example.chat\tUser\tChat\n");
}

TEST_F(AppsTool, SaysNoWhereNothingCanBeWritten) {
  lay_system_app("com.example.clock", "Clock");
  EXPECT_EQ(system((std::string(VELTRO_BUILD_DIR) + "/bin/veltro apps list > /dev/full 2> " +
                    (source_.path() / "error").string())
                       .c_str()),
            1 << 8);
}

TEST_F(AppsTool, KnowsItsUsage) {
  EXPECT_EQ(run_tool({"apps"}).status, 2);
  EXPECT_EQ(run_tool({"apps", "info"}).status, 2);
  EXPECT_EQ(run_tool({"apps", "install"}).status, 2);
  EXPECT_EQ(run_tool({"apps", "remove"}).status, 2);
  EXPECT_EQ(run_tool({"apps", "list", "more"}).status, 2);
  EXPECT_EQ(run_tool({"apps", "frobnicate"}).status, 2);
  const ToolResult help = run_tool({"apps", "--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.out, AllOf(HasSubstr("list"), HasSubstr("info"), HasSubstr("install"),
                              HasSubstr("remove"), HasSubstr("--json")));
}

} // namespace
