#include "machine/device/machine.hpp"

#include "support/scratch.hpp"

#include <fstream>
#include <gtest/gtest.h>

namespace {

std::string first_line_of(const std::string &contents) {
  const std::filesystem::path file = veltro::test::scratch() / "line";
  std::ofstream(file, std::ios::binary) << contents;
  return veltro::host::first_line(file.c_str());
}

TEST(FirstLine, IsWithoutItsEnd) {
  EXPECT_EQ(first_line_of("one\n"), "one");
  EXPECT_EQ(first_line_of("one"), "one");
  EXPECT_EQ(first_line_of("one\ntwo\n"), "one");
  EXPECT_EQ(first_line_of("one\r\n"), "one");
}

TEST(FirstLine, LosesBlanksAndZerosAtItsEnds) {
  EXPECT_EQ(first_line_of(" \tone two  \n"), "one two");
  // The device tree ends its texts with a zero.
  EXPECT_EQ(first_line_of(std::string("Board 4\0", 8)), "Board 4");
}

TEST(FirstLine, IsEmptyWhereThereIsNone) {
  EXPECT_EQ(first_line_of(""), "");
  EXPECT_EQ(first_line_of("\n"), "");
  EXPECT_EQ(first_line_of("  \n"), "");
  EXPECT_EQ(veltro::host::first_line((veltro::test::scratch() / "missing").c_str()), "");
  EXPECT_EQ(veltro::host::first_line(veltro::test::scratch().c_str()), "");
}

TEST(FirstLine, IsCutAt255Bytes) {
  EXPECT_EQ(first_line_of(std::string(1000, 'x')).size(), 255U);
}

} // namespace
