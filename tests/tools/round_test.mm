#include "support/pixels.hpp"
#include "support/png.hpp"
#include "support/scratch.hpp"
#include "support/tool.hpp"

#import <UIKit/UIKit.h>

#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using namespace veltro::test;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

std::string text_of(const fs::path &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string string_of(NSData *data) {
  return {static_cast<const char *>([data bytes]), [data length]};
}

UIImage *image_of(const std::string &file) {
  return [UIImage imageWithData:[NSData dataWithBytes:file.data() length:file.size()]];
}

std::string png_in_one_color(std::uint32_t width, std::uint32_t height) {
  std::vector<std::uint8_t> bytes;
  for (std::uint32_t pixel = 0; pixel < width * height; ++pixel)
    bytes.insert(bytes.end(), {200, 100, 50});
  return png_of(width, height, 3, bytes);
}

/// Red on the left and blue on the right.
UIImage *halves(std::size_t width, std::size_t height) {
  Picture picture(width, height);
  for (std::size_t y = 0; y < height; ++y)
    for (std::size_t x = 0; x < width; ++x)
      picture.set(x, y, x < width / 2 ? Pixel{255, 0, 0, 255} : Pixel{0, 0, 255, 255});
  return picture.image();
}

class RoundTool : public testing::Test {
protected:
  RoundTool() { unsetenv("VELTRO_SCREEN_SCALE"); }

  std::string file(const std::string &name, const std::string &bytes) {
    const fs::path path = folder_.path() / name;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }
  [[nodiscard]] std::string path(const std::string &name) const { return folder_.path() / name; }

  ScratchFolder folder_;
};

TEST_F(RoundTool, WritesACircle) {
  const ToolResult result = run_tool(
      {"round", file("in.png", png_in_one_color(40, 20)), path("out.png"), "--size", "24x16"});
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_THAT(result.out, IsEmpty());
  EXPECT_THAT(result.error, IsEmpty());
  EXPECT_THAT(text_of(path("out.png")), StartsWith("\x89PNG"));
  const Picture picture(image_of(text_of(path("out.png"))));
  ASSERT_EQ(picture.width, 48U);
  ASSERT_EQ(picture.height, 32U);
  EXPECT_LE(difference(picture.at(24, 16), {200, 100, 50, 255}), 1);
  EXPECT_EQ(picture.at(0, 0).alpha, 0);
}

TEST_F(RoundTool, TakesTheScaleFromTheCommandLineOrTheEnvironment) {
  const std::string in = file("in.png", png_in_one_color(4, 4));
  const auto width = [&](std::vector<std::string> more) {
    std::vector<std::string> arguments{"round", in, path("out.png"), "--size", "10x10"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    EXPECT_EQ(run_tool(arguments).status, 0);
    return Picture(image_of(text_of(path("out.png")))).width;
  };
  EXPECT_EQ(width({}), 20U);
  EXPECT_EQ(width({"--scale", "1"}), 10U);
  setenv("VELTRO_SCREEN_SCALE", "3", 1);
  EXPECT_EQ(width({}), 30U);
  EXPECT_EQ(width({"--scale", "2"}), 20U);
  unsetenv("VELTRO_SCREEN_SCALE");
}

TEST_F(RoundTool, PassesThroughStandardInputAndOutput) {
  const ToolResult result = run_tool({"round", "-", "-", "--size", "5x5"},
                                     string_of(UIImageJPEGRepresentation(halves(8, 8), 1)));
  EXPECT_EQ(result.status, 0) << result.error;
  const Picture picture(image_of(result.out));
  EXPECT_EQ(picture.width, 10U);
}

TEST_F(RoundTool, HonoursTheOrientationInTheMetadata) {
  UIImage *const turned = [UIImage imageWithCGImage:[halves(80, 40) CGImage]
                                              scale:1
                                        orientation:UIImageOrientationRight];
  const std::string in = file("in.jpg", string_of(UIImageJPEGRepresentation(turned, 1)));
  ASSERT_EQ(run_tool({"round", in, path("out.png"), "--size", "20x20", "--scale", "1"}).status, 0);
  const Picture picture(image_of(text_of(path("out.png"))));
  EXPECT_LE(difference(picture.at(10, 3), {255, 0, 0, 255}), 8);
  EXPECT_LE(difference(picture.at(10, 16), {0, 0, 255, 255}), 8);
}

TEST_F(RoundTool, ReducesLargePhotographsToTheirMean) {
  // Large enough that the file itself may be read at a quarter.
  Picture stripes(640, 480);
  for (std::size_t y = 0; y < 480; ++y)
    for (std::size_t x = 0; x < 640; ++x)
      stripes.set(x, y, y % 2 == 0 ? Pixel{200, 200, 200, 255} : Pixel{0, 0, 0, 255});
  const std::string in = file("in.jpg", string_of(UIImageJPEGRepresentation(stripes.image(), 1)));
  ASSERT_EQ(run_tool({"round", in, path("out.png"), "--size", "32x24", "--scale", "1"}).status, 0);
  const Picture picture(image_of(text_of(path("out.png"))));
  ASSERT_EQ(picture.width, 32U);
  ASSERT_EQ(picture.height, 24U);
  for (const std::size_t x : {8U, 16U, 24U})
    EXPECT_LE(difference(picture.at(x, 12), {100, 100, 100, 255}), 6) << x;
}

TEST_F(RoundTool, KeepsEdgesSharpInReducedPhotographs) {
  // Four times the target: the file may be read at a half, and at no less.
  Picture halves(640, 640);
  for (std::size_t y = 0; y < 640; ++y)
    for (std::size_t x = 0; x < 640; ++x)
      halves.set(x, y, x < 320 ? Pixel{0, 0, 0, 255} : Pixel{255, 255, 255, 255});
  const std::string in = file("in.jpg", string_of(UIImageJPEGRepresentation(halves.image(), 1)));
  ASSERT_EQ(run_tool({"round", in, path("out.png"), "--size", "160x160", "--scale", "1"}).status,
            0);
  const Picture picture(image_of(text_of(path("out.png"))));
  EXPECT_LE(difference(picture.at(79, 80), {0, 0, 0, 255}), 8);
  EXPECT_LE(difference(picture.at(80, 80), {255, 255, 255, 255}), 8);
}

TEST_F(RoundTool, DoesManyAndContinuesAfterAFailure) {
  std::vector<std::string> arguments{"round", "--size", "6x6", "--out-dir", path("made/out")};
  for (int number = 0; number < 20; ++number)
    arguments.push_back(file("in/" + std::to_string(number) + ".png", png_in_one_color(10, 10)));
  arguments.push_back(file("in/text.png", "no picture at all, just some text"));
  const ToolResult result = run_tool(arguments);
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, AllOf(StartsWith("veltro: "), HasSubstr("in/text.png: ")));
  EXPECT_EQ(std::ranges::count(result.error, '\n'), 1);
  for (int number = 0; number < 20; ++number) {
    UIImage *const image = image_of(text_of(path("made/out/" + std::to_string(number) + ".png")));
    EXPECT_TRUE(CGSizeEqualToSize([image size], CGSizeMake(12, 12))) << number;
  }
  EXPECT_FALSE(fs::exists(path("made/out/text.png")));
}

TEST_F(RoundTool, SaysWhatIsWrongWithAFile) {
  const std::string png = png_in_one_color(30, 30);
  const std::string jpeg = string_of(UIImageJPEGRepresentation(halves(64, 64), 0.9));
  const std::vector<std::pair<std::string, std::string>> cases{
      {file("empty.png", ""), "it is empty"},
      {file("text.jpg", "Hello, this is no picture."), "image file format"},
      {file("cut.png", png.substr(0, png.size() / 2)), "it is truncated"},
      {file("nearly.png", png.substr(0, png.size() - 12)), "it is truncated"},
      {file("cut.jpg", jpeg.substr(0, jpeg.size() / 2)), "it is truncated"},
      {file("nearly.jpg", jpeg.substr(0, jpeg.size() - 2)), "it is truncated"},
      {file("wide.png", png_of(1, 1, 3, {1, 2, 3}, 40000)), "too many"},
      {file("claims.png", png_of(30, 30, 3, std::vector<std::uint8_t>(2700), 30000000)), ""},
      {path("missing.png"), "No such file"},
      {folder_.path(), "s a directory"},
      {"/dev/zero", "longer than a picture"},
  };
  for (const auto &[in, reason] : cases) {
    const ToolResult result =
        run_tool({"round", in, path("out.png"), "--size", "9x9", "--max-pixels", "100000"});
    EXPECT_EQ(result.status, 1) << in;
    EXPECT_THAT(result.error, AllOf(StartsWith("veltro: " + in + ": "), HasSubstr(reason)));
    EXPECT_EQ(std::ranges::count(result.error, '\n'), 1) << result.error;
    EXPECT_FALSE(fs::exists(path("out.png"))) << in;
  }
}

TEST_F(RoundTool, RefusesMorePixelsThanAllowed) {
  const std::string in = file("in.png", png_in_one_color(100, 100));
  const std::string out = path("out.png");
  // 10000 pixels to read and 16 to write.
  EXPECT_EQ(run_tool({"round", in, out, "--size", "2x2", "--max-pixels", "10016"}).status, 0);
  const ToolResult result = run_tool({"round", in, out, "--size", "2x2", "--max-pixels", "10015"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("its 100 x 100 pixels are too many"));
}

#if !__has_feature(address_sanitizer) // which holds on to memory of its own

/// The greatest memory of any tool run so far, in bytes.
double greatest_memory() {
  rusage used{};
  getrusage(RUSAGE_CHILDREN, &used);
  return static_cast<double>(used.ru_maxrss) * 1024;
}

TEST_F(RoundTool, HoldsNoMoreThanAllowedHoweverManyThereAre) {
  const auto run = [&](std::vector<std::string> files) {
    files.insert(files.begin(),
                 {"round", "--size", "2x2", "--out-dir", path("out"), "--max-pixels", "6000100"});
    const ToolResult result = run_tool(files);
    EXPECT_EQ(result.status, 0) << result.error;
    return greatest_memory();
  };
  const double nothing = run({file("small.png", png_in_one_color(2, 2))});
  const std::string large = file("large.png", png_in_one_color(3000, 2000));
  const double one = run({large}) - nothing;
  std::vector<std::string> many;
  for (int number = 0; number < 8; ++number) {
    many.push_back(path("large" + std::to_string(number) + ".png"));
    fs::create_symlink(large, many.back());
  }
  const double all = run(many) - nothing;
  EXPECT_GT(one, 6e6 * 7);
  EXPECT_LT(one, 6e6 * 16);
  // One in work, and one more file that was read and waits.
  EXPECT_LT(all, one + 6e6 * 4);
}

#endif

TEST_F(RoundTool, RefusesAFileThatIsMostlySomethingElse) {
  std::vector<PngChunk> chunks = chunks_of(png_in_one_color(100, 100));
  chunks.insert(chunks.begin() + 1, {"veLt", std::string(1 << 20, 'x')});
  const std::string out = path("out.png");
  EXPECT_EQ(run_tool({"round", file("fits.png", png_of(chunks)), out, "--size", "2x2"}).status, 0);
  chunks[1].bytes += std::string(80'000, 'x');
  const ToolResult result =
      run_tool({"round", file("junk.png", png_of(chunks)), out, "--size", "2x2"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("it is longer than a picture of its size"));
}

TEST_F(RoundTool, KeepsTheOldFileWhereTheNewOneCannotBeWritten) {
  const std::string in = file("in.png", png_in_one_color(4, 4));
  const ToolResult result = run_tool({"round", in, "/dev/full", "--size", "9x9"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, StartsWith("veltro: /dev/full: No space left"));
  const ToolResult nowhere = run_tool({"round", in, path("no/such/out.png"), "--size", "9x9"});
  EXPECT_EQ(nowhere.status, 1);
  EXPECT_THAT(nowhere.error, HasSubstr("No such file"));
  const ToolResult over_a_file =
      run_tool({"round", in, "--out-dir", file("plain", ""), "--size", "9x9"});
  EXPECT_EQ(over_a_file.status, 1);
}

TEST_F(RoundTool, ReplacesItsOwnInput) {
  const std::string in = file("in.png", png_in_one_color(4, 4));
  EXPECT_EQ(run_tool({"round", in, in, "--size", "9x9"}).status, 0);
  EXPECT_EQ(Picture(image_of(text_of(in))).width, 18U);
  // Nothing but the picture is left in the folder.
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), {}), 1);
  struct stat facts{};
  ASSERT_EQ(stat(in.c_str(), &facts), 0);
  const mode_t mask = umask(0);
  umask(mask);
  EXPECT_EQ(facts.st_mode & 0777, 0666 & ~mask);
}

TEST_F(RoundTool, LeavesThePicturesOfItsOwnFolderAsTheyAre) {
  const std::string png = png_in_one_color(4, 4);
  const std::string in = file("in/one.png", png);
  const std::string other = file("other/two.png", png);
  fs::create_directory_symlink(path("in"), path("link"));
  for (const char *const folder : {"in", "in/", "in/../in", "link"}) {
    const ToolResult result =
        run_tool({"round", other, in, "--size", "9x9", "--out-dir", path(folder)});
    EXPECT_EQ(result.status, 2) << folder;
    EXPECT_EQ(result.error, "veltro: round: " + in + " lies in " + path(folder) +
                                " itself; --out-dir must be another folder than the pictures'\n");
  }
  const fs::path before = fs::current_path();
  fs::current_path(path("in"));
  EXPECT_EQ(run_tool({"round", "one.png", "--size", "9x9", "--out-dir", "."}).status, 2);
  fs::current_path(before);
  EXPECT_EQ(text_of(in), png);
  EXPECT_EQ(text_of(other), png);
  EXPECT_FALSE(fs::exists(path("in/two.png"))) << "nothing was begun";
}

TEST_F(RoundTool, WritesNoPngUnderAnotherName) {
  const std::string in = file("in.png", png_in_one_color(4, 4));
  for (const char *const name : {"o.jpg", "o.JPEG", "o.gif", "o.webp", "o.tiff"}) {
    const ToolResult result = run_tool({"round", in, path(name), "--size", "9x9"});
    EXPECT_EQ(result.status, 2) << name;
    EXPECT_EQ(result.error, "veltro: round: " + path(name) +
                                ": the result is PNG, and its name says otherwise\n");
    EXPECT_FALSE(fs::exists(path(name)));
  }
  for (const char *const name : {"o.PNG", "o", "o.new"})
    EXPECT_EQ(run_tool({"round", in, path(name), "--size", "9x9"}).status, 0) << name;
}

TEST_F(RoundTool, ExplainsWrongUse) {
  const std::string in = file("in.png", png_in_one_color(4, 4));
  const std::string out = path("out.png");
  for (const char *size : {"", "9", "9x", "x9", "9x9x9", "0x9", "9x0", "-9x9", "nanx9", "infx9",
                           "9 x9", "9X9", "1e30x1", "40000x1"}) {
    const ToolResult result = run_tool({"round", in, out, "--size", size});
    EXPECT_EQ(result.status, 2) << size;
    EXPECT_THAT(result.error, StartsWith("veltro: ")) << size;
  }
  EXPECT_EQ(run_tool({"round", in, out}).status, 2);
  EXPECT_EQ(run_tool({"round", "--size", "9x9"}).status, 2);
  EXPECT_EQ(run_tool({"round", in, "--size", "9x9"}).status, 2);
  EXPECT_EQ(run_tool({"round", in, in, out, "--size", "9x9"}).status, 2);
  EXPECT_EQ(run_tool({"round", in, out, "--size", "9x9", "--scale", "4"}).status, 2);
  EXPECT_EQ(run_tool({"round", in, out, "--size", "9x9", "--max-pixels", "0"}).status, 2);
  const ToolResult twice =
      run_tool({"round", in, "elsewhere/in.jpg", "--size", "9x9", "--out-dir", path("out")});
  EXPECT_EQ(twice.status, 2);
  EXPECT_THAT(twice.error, HasSubstr("would both become"));
  EXPECT_FALSE(fs::exists(out));
}

TEST_F(RoundTool, HasHelp) {
  const ToolResult result = run_tool({"round", "--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, HasSubstr("--max-pixels"));
}

} // namespace
