#include "machine/files/file.hpp"

#include "support/scratch.hpp"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace veltro::host {
namespace {

namespace fs = std::filesystem;

std::string contents(const fs::path &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(AtomicFile, ReplacesTheWholeFile) {
  const test::ScratchFolder folder;
  const fs::path path = folder.path() / "file";
  EXPECT_TRUE(replace_file(path, "a longer text"));
  EXPECT_TRUE(replace_file(path, std::string_view("a\0b", 3)));
  EXPECT_EQ(contents(path), std::string("a\0b", 3));
  EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST(AtomicFile, LeavesNothingBehindWhereItCannotReplace) {
  const test::ScratchFolder folder;
  const fs::path path = folder.path() / "file";
  fs::create_directories(path / "full");
  EXPECT_FALSE(replace_file(path, "text"));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 1);
  EXPECT_FALSE(replace_file(folder.path() / "missing" / "file", "text"));
}

} // namespace
} // namespace veltro::host
