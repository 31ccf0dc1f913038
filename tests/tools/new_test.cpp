#include "support/scratch.hpp"
#include "support/tool.hpp"

#include <fstream>
#include <gmock/gmock.h>
#include <set>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using namespace veltro::test;
using testing::HasSubstr;
using testing::Not;

std::string text_of(const fs::path &path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::set<std::string> files_in(const fs::path &folder) {
  std::set<std::string> names;
  for (const auto &entry : fs::recursive_directory_iterator(folder))
    if (entry.is_regular_file())
      names.insert(fs::relative(entry.path(), folder));
  return names;
}

class NewTool : public testing::Test {
protected:
  ScratchFolder scratch_;
  fs::path folder_ = scratch_.path() / "made";

  [[nodiscard]] ToolResult make(const std::string &name,
                                const std::vector<std::string> &more = {}) const {
    std::vector<std::string> words{"new", name, "--folder", folder_};
    words.insert(words.end(), more.begin(), more.end());
    return run_tool(words);
  }
};

TEST_F(NewTool, MakesAComponentOfThatName) {
  const ToolResult result = make("LastWords");
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_EQ(result.out, folder_.string() + "\n");
  EXPECT_EQ(
      files_in(folder_),
      (std::set<std::string>{".gitignore", "CMakeLists.txt", "CMakePresets.json", "LastWords.h",
                             "LastWords.mm", "LastWords.plist", "Makefile", "Makefile.theos",
                             "README.md", "ci", "control", "ownership.h", "tests/check.h",
                             "tests/messages_test.mm", "tests/platform_test.mm", "try_it.mm"}));
  for (const std::string &file : files_in(folder_))
    EXPECT_THAT(text_of(folder_ / file), Not(HasSubstr("Component"))) << file;
  EXPECT_THAT(text_of(folder_ / "LastWords.mm"), HasSubstr("@implementation LastWords"));
  EXPECT_THAT(text_of(folder_ / "control"), HasSubstr("Package: org.example.lastwords\n"));
  EXPECT_NE(fs::status(folder_ / "ci").permissions() & fs::perms::owner_exec, fs::perms::none);
}

TEST_F(NewTool, MakesItInPlainObjectiveC) {
  EXPECT_EQ(make("Plain", {"--objc"}).status, 0);
  const std::set<std::string> files = files_in(folder_);
  for (const char *name : {"Plain.m", "try_it.m", "tests/messages_test.m", "tests/platform_test.m"})
    EXPECT_TRUE(files.contains(name)) << name;
  for (const std::string &name : files)
    EXPECT_FALSE(name.ends_with(".mm")) << name;
  EXPECT_THAT(text_of(folder_ / "README.md"), HasSubstr("`Plain.m`"));
}

TEST_F(NewTool, RefusesWhatIsNoName) {
  for (const char *name :
       {"", "1st", "two words", "a/b", "../x", "Ünicode", "-x", "int", "class", "self", "YES",
        "main", "test", "NSObject", "UIView", "ZLTUtils", "message", "secret", "CHECK"}) {
    const ToolResult result = make(name);
    EXPECT_EQ(result.status, 2) << name;
    EXPECT_EQ(std::ranges::count(result.error, '\n'), 1) << result.error;
    EXPECT_FALSE(fs::exists(folder_)) << name;
  }
}

TEST_F(NewTool, TakesPartsOfTheWordsOfItsSources) {
  for (const char *name : {"component", "mess", "Example", "Own"}) {
    const ToolResult result = make(name);
    EXPECT_EQ(result.status, 0) << result.error;
    fs::remove_all(folder_);
  }
}

TEST_F(NewTool, KeepsAFolderThatIsThere) {
  fs::create_directories(folder_);
  EXPECT_EQ(make("Fine").status, 0) << "an empty one will do";
  std::ofstream(folder_ / "Fine.mm") << "mine";
  const ToolResult result = make("Fine");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error,
            "veltro: " + folder_.string() + " is there already, and not an empty folder\n");
  EXPECT_EQ(text_of(folder_ / "Fine.mm"), "mine");
}

TEST_F(NewTool, SaysWhatItCannotWrite) {
  std::ofstream(folder_.string()) << "a file";
  EXPECT_EQ(make("Fine").status, 1);
}

} // namespace
