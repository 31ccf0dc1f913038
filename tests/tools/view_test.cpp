#include "support/scratch.hpp"
#include "support/tool.hpp"

#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <unistd.h>

namespace {

using namespace veltro::test;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr auto *kPngStart = "\x89PNG\r\n\x1a\n";

unsigned number_at(const std::string &bytes, std::size_t at) {
  unsigned number = 0;
  for (std::size_t index = at; index < at + 4; ++index)
    number = number << 8 | static_cast<unsigned char>(bytes.at(index));
  return number;
}

/// The picture that the tool writes to its standard output.
std::string picture(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "view");
  arguments.insert(arguments.end(), {"-o", "-"});
  const ToolResult result = run_tool(arguments);
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_EQ(result.error, "");
  EXPECT_THAT(result.out, StartsWith(kPngStart));
  return result.out;
}

std::pair<unsigned, unsigned> size_of(const std::string &png) {
  return {number_at(png, 16), number_at(png, 20)};
}

using Size = std::pair<unsigned, unsigned>;

class ViewTool : public testing::Test {
protected:
  ViewTool() {
    for (const char *variable :
         {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG", "VELTRO_SCREEN_SCALE"})
      unsetenv(variable);
  }
};

TEST_F(ViewTool, DrawsTheLoadingViewInTheSizeAskedFor) {
  EXPECT_EQ(size_of(picture({"loading"})), Size(200, 200));
  EXPECT_EQ(size_of(picture({"loading", "--size", "120x60"})), Size(240, 120));
}

TEST_F(ViewTool, DrawsTheSameMomentTheSameWay) {
  const std::string start = picture({"loading", "--at", "0"});
  EXPECT_EQ(picture({"loading", "--at", "0"}), start);
  EXPECT_EQ(picture({"loading"}), start);
  EXPECT_NE(picture({"loading", "--at", "0.5"}), start);
  EXPECT_EQ(picture({"loading", "--at", "2"}), start);
}

TEST_F(ViewTool, DrawsTheAlertOfTheRelease) {
  const std::string old = picture({"alert", "--release", "6.1"});
  const std::string accessory = picture({"alert", "--release", "7.1"});
  const std::string container = picture({"alert", "--release", "9.3"});
  EXPECT_EQ(size_of(old).first, 568U);
  EXPECT_EQ(size_of(accessory).first, 540U);
  EXPECT_NE(size_of(accessory), size_of(container));
  // Only the spinners of the later ones turn.
  EXPECT_EQ(picture({"alert", "--release", "6.1", "--at", "0.5"}), old);
  EXPECT_NE(picture({"alert", "--release", "7.1", "--at", "0.5"}), accessory);
  EXPECT_NE(picture({"alert", "--release", "9.3", "--at", "0.5"}), container);
  EXPECT_EQ(picture({"alert"}), container);
  setenv("VELTRO_SYSTEM_VERSION", "7.1", 1);
  EXPECT_EQ(picture({"alert"}), accessory);
  EXPECT_EQ(picture({"alert", "--release", "9.3"}), container);
  unsetenv("VELTRO_SYSTEM_VERSION");
}

TEST_F(ViewTool, WritesTheTextOfTheAlert) {
  const std::string bare = picture({"alert"});
  const std::string titled = picture({"alert", "--title", "Sending"});
  EXPECT_GT(size_of(titled).second, size_of(bare).second);
  EXPECT_GT(size_of(picture({"alert", "--title", "Sending", "--message", "Wait"})).second,
            size_of(titled).second);
}

TEST_F(ViewTool, DrawsTheButtonsOfTheAlert) {
  const auto height = [](std::vector<std::string> more) {
    more.insert(more.begin(), "alert");
    return size_of(picture(std::move(more))).second;
  };
  const unsigned bare = height({});
  EXPECT_EQ(height({"--button", ""}), bare + 88) << "one without a title";
  EXPECT_EQ(height({"--button", "Stop"}), bare + 88);
  // Two stand beside each other.
  EXPECT_EQ(height({"--button", "Stop", "--button", "Wait"}), bare + 88);
  EXPECT_EQ(height({"--button", "1", "--button", "2", "--button", "3"}), bare + 3 * 88);
}

TEST_F(ViewTool, StartsAnewWithTheSameArguments) {
  const std::vector<std::string> text{"alert", "--title", "Größe 'n\n\"mehr\" -- ", "--message",
                                      "  x "};
  std::vector<std::string> arguments = text;
  arguments.insert(arguments.end(), {"--release", "7.1", "--language", "fr"});
  setenv("VELTRO_SYSTEM_VERSION", "7.1", 1);
  const std::string expected = picture(text);
  unsetenv("VELTRO_SYSTEM_VERSION");
  EXPECT_EQ(picture(arguments), expected);
}

TEST_F(ViewTool, SpeaksTheUsersLanguage) {
  const std::string english = picture({"loading"});
  const std::string german = picture({"loading", "--language", "de"});
  EXPECT_NE(german, english);
  EXPECT_EQ(picture({"loading", "--language", "en"}), english);
  EXPECT_NE(picture({"loading", "--language", "fr"}), german);
  // The key itself, which is the same text.
  EXPECT_EQ(picture({"loading", "--language", "tlh"}), english);
  setenv("LANG", "de_DE.UTF-8", 1);
  EXPECT_EQ(picture({"loading"}), german);
  EXPECT_EQ(picture({"loading", "--language", "en"}), english);
}

TEST_F(ViewTool, WritesAFile) {
  const auto file =
      std::filesystem::temp_directory_path() / ("view-" + std::to_string(getpid()) + ".png");
  const ToolResult result = run_tool({"view", "loading", "-o", file.string()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_GT(std::filesystem::file_size(file), 100U);
  std::filesystem::remove(file);
}

TEST_F(ViewTool, SaysThatItCannotWrite) {
  const ToolResult result = run_tool({"view", "loading", "-o", "/nonexistent/view.png"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, StartsWith("veltro: /nonexistent/view.png: "));
}

TEST_F(ViewTool, RefusesWrongUse) {
  for (const std::vector<std::string> &arguments :
       std::vector<std::vector<std::string>>{{"view"},
                                             {"view", "loading"},
                                             {"view", "window", "-o", "-"},
                                             {"view", "loading", "-o", "-", "--size", "100"},
                                             {"view", "loading", "-o", "-", "--size", "0x10"},
                                             {"view", "loading", "-o", "-", "--size", "10x9999"},
                                             {"view", "loading", "-o", "-", "--size", "10x10x"},
                                             {"view", "loading", "-o", "-", "--title", "T"},
                                             {"view", "loading", "-o", "-", "--button", "B"},
                                             {"view", "alert", "-o", "-", "--title", "\xFF"},
                                             {"view", "alert", "-o", "-", "--button", "\xFF"},
                                             {"view", "alert", "-o", "-", "--size", "10x10"},
                                             {"view", "alert", "-o", "-", "--release", "old"},
                                             {"view", "alert", "-o", "-", "--at", "-1"}}) {
    const ToolResult result = run_tool(arguments);
    EXPECT_EQ(result.status, 2) << arguments.back();
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.error, StartsWith("veltro: "));
    EXPECT_THAT(result.error, EndsWith("\n"));
  }
  EXPECT_THAT(run_tool({"view", "--help"}).out, HasSubstr("--release"));
}

} // namespace
