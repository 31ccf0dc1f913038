#include "support/pixels.hpp"
#include "support/png.hpp"
#include "support/scratch.hpp"
#include "support/tool.hpp"

#import <UIKit/UIKit.h>

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>

namespace {

using namespace veltro::test;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

unsigned number_in(const std::string &bytes, std::size_t at, std::size_t length) {
  unsigned number = 0;
  for (std::size_t place = at; place < at + length; ++place)
    number = number << 8 | static_cast<unsigned char>(bytes.at(place));
  return number;
}

/// An APNG as its format's description reads it, with every frame as a PNG file.
struct Animation {
  explicit Animation(const std::string &file) {
    unsigned sequence = 0;
    std::vector<PngChunk> frame;
    const std::vector<PngChunk> chunks = chunks_of(file);
    const auto end_frame = [&] {
      if (!frame.empty()) {
        frame.push_back({"IEND", ""});
        frames.push_back(png_of(frame));
      }
      frame = {chunks.front()};
    };
    EXPECT_EQ(chunks.front().type, "IHDR");
    EXPECT_EQ(chunks.back().type, "IEND");
    for (const auto &[type, bytes] : chunks) {
      if (type == "acTL") {
        EXPECT_THAT(delays, IsEmpty());
        count = number_in(bytes, 0, 4);
        plays = number_in(bytes, 4, 4);
      } else if (type == "fcTL") {
        end_frame();
        EXPECT_EQ(bytes.size(), 26U);
        EXPECT_EQ(number_in(bytes, 0, 4), sequence++);
        // The whole picture, which takes the place of what was there.
        EXPECT_EQ(bytes.substr(4, 8), chunks.front().bytes.substr(0, 8));
        EXPECT_EQ(bytes.substr(12, 8), std::string(8, '\0'));
        delays.emplace_back(number_in(bytes, 20, 2), number_in(bytes, 22, 2));
        EXPECT_EQ(bytes.substr(24, 2), std::string(2, '\0'));
      } else if (type == "IDAT") {
        EXPECT_EQ(delays.size(), 1U);
        frame.push_back({type, bytes});
      } else if (type == "fdAT") {
        EXPECT_GT(delays.size(), 1U);
        EXPECT_EQ(number_in(bytes, 0, 4), sequence++);
        frame.push_back({"IDAT", bytes.substr(4)});
      }
    }
    end_frame();
  }

  unsigned count = 0;
  unsigned plays = 1;
  std::vector<std::pair<unsigned, unsigned>> delays;
  std::vector<std::string> frames;
};

std::string output(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "view");
  const ToolResult result = run_tool(arguments);
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_THAT(result.error, IsEmpty());
  return result.out;
}

/// The greatest difference of a component; 255 for pictures of different sizes.
int difference_of(const std::string &one, const std::string &other) {
  const auto picture = [](const std::string &file) {
    return Picture([UIImage imageWithData:[NSData dataWithBytes:file.data() length:file.size()]]);
  };
  const Picture first = picture(one);
  const Picture second = picture(other);
  if (first.width != second.width || first.height != second.height)
    return 255;
  int greatest = 0;
  for (std::size_t y = 0; y < first.height; ++y)
    for (std::size_t x = 0; x < first.width; ++x)
      greatest = std::max(greatest, difference(first.at(x, y), second.at(x, y)));
  return greatest;
}

TEST(ViewAnimation, ShowsTheSpinnersWholeTurn) {
  const Animation animation(output({"loading", "--animate", "-"}));
  EXPECT_EQ(animation.count, 12U);
  EXPECT_EQ(animation.plays, 0U);
  EXPECT_EQ(animation.delays, (std::vector<std::pair<unsigned, unsigned>>(12, {1, 12})));
  ASSERT_EQ(animation.frames.size(), 12U);
  for (std::size_t step = 0; step < 12; ++step) {
    const std::string moment = std::to_string((static_cast<double>(step) + 0.25) / 12);
    EXPECT_EQ(difference_of(animation.frames[step],
                            output({"loading", "--at", step == 0 ? "0" : moment, "-o", "-"})),
              0)
        << step;
    EXPECT_GT(difference_of(animation.frames[step], animation.frames[(step + 1) % 12]), 10) << step;
  }
}

TEST(ViewAnimation, BeginsWhereItIsToldTo) {
  for (const char *moment : {"0.5", "0.07", "7.99"}) {
    const Animation animation(output({"loading", "--at", moment, "--animate", "-"}));
    ASSERT_EQ(animation.frames.size(), 12U);
    EXPECT_EQ(difference_of(animation.frames[0], output({"loading", "--at", moment, "-o", "-"})), 0)
        << moment;
  }
}

TEST(ViewAnimation, StandsStillWhereTheSpinnerDoes) {
  const Animation animation(output({"alert", "--release", "6.1", "--animate", "-"}));
  ASSERT_EQ(animation.frames.size(), 12U);
  EXPECT_EQ(difference_of(animation.frames[0], animation.frames[5]), 0);
  const Animation turning(output({"alert", "--release", "7.1", "--animate", "-"}));
  EXPECT_GT(difference_of(turning.frames.at(0), turning.frames.at(5)), 10);
}

TEST(ViewAnimation, IsAPictureForWhoeverKnowsNoAnimations) {
  EXPECT_EQ(difference_of(output({"loading", "--animate", "-"}), output({"loading", "-o", "-"})),
            0);
}

TEST(ViewAnimation, IsWrittenToAFile) {
  const ScratchFolder folder;
  const std::string file = folder.path() / "turn.png";
  EXPECT_THAT(output({"loading", "--animate", file}), IsEmpty());
  std::ifstream stream(file, std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}),
            output({"loading", "--animate", "-"}));
}

TEST(ViewAnimation, SaysWhatIsWrong) {
  const ToolResult nowhere = run_tool({"view", "loading", "--animate", "/nonexistent/turn.png"});
  EXPECT_EQ(nowhere.status, 1);
  EXPECT_THAT(nowhere.error, StartsWith("veltro: /nonexistent/turn.png: No such file"));
  for (const std::vector<std::string> &arguments :
       std::vector<std::vector<std::string>>{{"view", "loading", "--animate", "turn.gif"},
                                             {"view", "loading", "--animate"},
                                             {"view", "loading", "--animate", "-", "-o", "-"}}) {
    const ToolResult result = run_tool(arguments);
    EXPECT_EQ(result.status, 2) << arguments.back();
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.error, StartsWith("veltro: "));
    EXPECT_EQ(std::ranges::count(result.error, '\n'), 1) << result.error;
  }
  EXPECT_THAT(run_tool({"view", "--help"}).out, HasSubstr("--animate"));
}

} // namespace
