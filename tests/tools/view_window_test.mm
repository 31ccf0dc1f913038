#include "support/pixels.hpp"
#include "support/tool.hpp"
#include "support/x_server.hpp"

#import <UIKit/UIKit.h>

#include <cstdlib>
#include <gmock/gmock.h>

namespace {

using namespace veltro::test;
using testing::IsEmpty;
using testing::StartsWith;

/// What a window of that picture has to show: the picture on white.
Screenshot on_white(const std::string &png) {
  const Picture picture([UIImage imageWithData:[NSData dataWithBytes:png.data()
                                                              length:png.size()]]);
  Screenshot shot{static_cast<int>(picture.width), static_cast<int>(picture.height), {}};
  for (std::size_t y = 0; y < picture.height; ++y)
    for (std::size_t x = 0; x < picture.width; ++x) {
      const Pixel pixel = picture.at(x, y);
      const int white = 255 - pixel.alpha;
      shot.pixels.push_back(static_cast<std::uint32_t>(
          (pixel.red + white) << 16 | (pixel.green + white) << 8 | (pixel.blue + white)));
    }
  return shot;
}

bool looks_like(const Screenshot &seen, const Screenshot &expected) {
  if (seen.width != expected.width || seen.height != expected.height)
    return false;
  for (std::size_t place = 0; place < seen.pixels.size(); ++place)
    for (const int shift : {16, 8, 0}) {
      const auto part = [&](const Screenshot &shot) {
        return static_cast<int>(shot.pixels[place] >> shift & 255);
      };
      if (std::abs(part(seen) - part(expected)) > 2)
        return false;
    }
  return true;
}

class ViewWindow : public testing::Test {
protected:
  ViewWindow() {
    setenv("DISPLAY", server_.name().c_str(), 1);
    setenv("VELTRO_SCREEN_SCALE", "1", 1);
  }
  ~ViewWindow() override {
    for (const char *variable : {"DISPLAY", "VELTRO_SCREEN_SCALE"})
      unsetenv(variable);
  }

  static std::string picture(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "view");
    arguments.insert(arguments.end(), {"-o", "-"});
    return run_tool(arguments).out;
  }

  XServer server_;
};

TEST_F(ViewWindow, ShowsTheSpinnerTurn) {
  std::vector<Screenshot> steps;
  for (int step = 0; step < 12; ++step)
    steps.push_back(on_white(picture({"loading", "--at", std::to_string((step + 0.5) / 12)})));
  RunningTool tool({"view", "loading", "--window"});
  const SeenWindow window(server_, tool.process());
  EXPECT_EQ(window.title(), "veltro loading");
  std::vector<bool> seen(12);
  EXPECT_TRUE(window.shows([&](const Screenshot &shot) {
    for (std::size_t step = 0; step < 12; ++step)
      if (looks_like(shot, steps[step]))
        seen[step] = true;
    return std::ranges::count(seen, true) > 2;
  }));
  window.ask_to_close();
  const ToolResult result = tool.result();
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, IsEmpty());
  EXPECT_THAT(result.error, IsEmpty());
}

TEST_F(ViewWindow, HasTheSizeAndTheScaleAskedFor) {
  setenv("VELTRO_SCREEN_SCALE", "2", 1);
  RunningTool tool({"view", "loading", "--window", "--size", "120x60"});
  const Screenshot shot = SeenWindow(server_, tool.process()).picture();
  EXPECT_EQ(shot.width, 240);
  EXPECT_EQ(shot.height, 120);
}

TEST_F(ViewWindow, ShowsTheAlertOfTheRelease) {
  for (const char *release : {"6.1", "7.1"}) {
    const std::vector<std::string> alert{"alert", "--release", release, "--title", "Wait"};
    std::vector<Screenshot> steps;
    for (int step = 0; step < 12; ++step) {
      std::vector<std::string> moment = alert;
      moment.insert(moment.end(), {"--at", std::to_string((step + 0.5) / 12)});
      steps.push_back(on_white(picture(moment)));
    }
    std::vector<std::string> arguments = alert;
    arguments.insert(arguments.begin(), "view");
    arguments.emplace_back("--window");
    RunningTool tool(arguments);
    const SeenWindow window(server_, tool.process());
    EXPECT_TRUE(window.shows([&](const Screenshot &shot) {
      return std::ranges::any_of(steps,
                                 [&](const Screenshot &step) { return looks_like(shot, step); });
    })) << release;
    window.ask_to_close();
    EXPECT_EQ(tool.result().status, 0);
  }
}

TEST_F(ViewWindow, LetsTheUserDismissTheAlert) {
  setenv("VELTRO_SCREEN_SCALE", "2", 1);
  RunningTool tool(
      {"view", "alert", "--window", "--title", "Sending", "--button", "Wait", "--button", "Stop"});
  const SeenWindow window(server_, tool.process());
  const Screenshot shot = window.picture();
  // The buttons stand beside each other along the lower edge. Neither a click above them nor one of
  // the right button on them does anything.
  window.click(shot.width / 4, 40);
  window.click(shot.width / 4, shot.height - 40, 3);
  window.click(shot.width * 3 / 4, shot.height - 40);
  const ToolResult result = tool.result();
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_EQ(result.out, "Stop\n");
}

TEST_F(ViewWindow, ClosesWithoutAReply) {
  RunningTool tool({"view", "alert", "--window", "--button", "Stop"});
  SeenWindow(server_, tool.process()).ask_to_close();
  const ToolResult result = tool.result();
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, IsEmpty());
}

TEST_F(ViewWindow, SaysThatTheDisplayWentAway) {
  RunningTool tool({"view", "loading", "--window"});
  {
    const SeenWindow shown(server_, tool.process());
  }
  server_.kill();
  const ToolResult result = tool.result();
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error, "veltro: the display is gone\n");
}

TEST_F(ViewWindow, SaysThatThereIsNoDisplay) {
  for (const char *display : {"", ":no-such-display"}) {
    setenv("DISPLAY", display, 1);
    const ToolResult result = run_tool({"view", "loading", "--window"});
    EXPECT_EQ(result.status, 1) << display;
    EXPECT_THAT(result.error, StartsWith("veltro: there is no display"));
    EXPECT_EQ(std::ranges::count(result.error, '\n'), 1) << result.error;
  }
}

TEST_F(ViewWindow, IsTheOnlyThingAskedFor) {
  for (const std::vector<std::string> &arguments :
       std::vector<std::vector<std::string>>{{"view", "loading", "--window", "-o", "-"},
                                             {"view", "loading", "--window", "--animate", "-"},
                                             {"view", "loading", "--window", "--at", "1"},
                                             {"view", "loading", "--window", "--button", "Stop"}}) {
    const ToolResult result = run_tool(arguments);
    EXPECT_EQ(result.status, 2) << arguments.back();
    EXPECT_THAT(result.error, StartsWith("veltro: "));
  }
}

} // namespace
