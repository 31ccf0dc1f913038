#include "machine/images/image_files.hpp"

#include "support/png.hpp"

#include <gtest/gtest.h>
#include <string>

namespace veltro::host {
namespace {

bool truncated(const std::string &file) {
  return is_truncated({reinterpret_cast<const std::uint8_t *>(file.data()), file.size()});
}

/// Whether the file is whole and every shorter one that still shows what it is is not.
void expect_only_whole(const std::string &file, std::size_t signature) {
  EXPECT_FALSE(truncated(file));
  EXPECT_FALSE(truncated(file + "and more"));
  for (std::size_t length = signature; length < file.size(); ++length)
    EXPECT_TRUE(truncated(file.substr(0, length))) << length;
}

TEST(ImageTruncation, FindsTheLastChunkOfAPNG) {
  expect_only_whole(test::png_of(2, 2, 3, std::vector<std::uint8_t>(12)), 8);
}

TEST(ImageTruncation, FindsTheEndOfAJPEG) {
  using namespace std::string_literals;
  // Two segments, a scan with FF 00, a restart and filling FFs, another segment, another scan.
  expect_only_whole("\xFF\xD8\xFF\xE0\x00\x04\xFF\xD9\xFF\xFE\x00\x03!"
                    "\xFF\xDA\x00\x02"
                    "data\xFF\x00 more\xFF\xD3 and\xFF\xFF\xFF\xC4\x00\x03-"
                    "\xFF\xDA\x00\x02 rest\xFF\xD9"s,
                    3);
}

TEST(ImageTruncation, BelievesTheLengthInABMP) {
  using namespace std::string_literals;
  expect_only_whole("BM\x0A\x00\x00\x00 end"s, 2);
}

TEST(ImageTruncation, KnowsNothingOfOtherFiles) {
  EXPECT_FALSE(truncated(""));
  EXPECT_FALSE(truncated("GIF89a"));
  EXPECT_FALSE(truncated("\x89PN"));
}

} // namespace
} // namespace veltro::host
