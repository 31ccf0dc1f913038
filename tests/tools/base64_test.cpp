#include "support/scratch.hpp"
#include "support/tool.hpp"

#include <fstream>
#include <gtest/gtest.h>

namespace {

using namespace veltro::test;

TEST(Base64Tool, EncodesAndDecodesStandardInput) {
  const ToolResult code = run_tool({"base64", "encode"}, "foobar!");
  EXPECT_EQ(code.status, 0);
  EXPECT_EQ(code.out, "Zm9vYmFyIQ==\n");
  EXPECT_EQ(run_tool({"base64", "decode"}, code.out).out, "foobar!");
  EXPECT_EQ(run_tool({"base64", "decode", "--lenient"}, code.out).out, "foobar!");
}

TEST(Base64Tool, CarriesAFileOfManyPieces) {
  std::string bytes(1'000'003, '\0');
  for (std::size_t at = 0; at < bytes.size(); ++at)
    bytes[at] = static_cast<char>(at * 131 >> 3);
  const auto file = scratch() / "bytes";
  std::ofstream(file, std::ios::binary) << bytes;
  std::string code = run_tool({"base64", "encode", file}).out;
  for (std::size_t at = 75; at < code.size(); at += 76)
    code.insert(at, "\n");
  EXPECT_EQ(run_tool({"base64", "decode", "--strict"}, code).out, bytes);
  EXPECT_EQ(run_tool({"base64", "decode", "--lenient"}, code).out, bytes);
}

TEST(Base64Tool, DecodesNothingAsNothing) {
  EXPECT_EQ(run_tool({"base64", "encode"}, "").out, "");
  EXPECT_EQ(run_tool({"base64", "decode"}, "").status, 0);
  EXPECT_EQ(run_tool({"base64", "decode", "--lenient"}, "\n").status, 0);
}

TEST(Base64Tool, KeepsTheCodecsApart) {
  EXPECT_EQ(run_tool({"base64", "decode", "--lenient"}, "Zm9vY").out, "foo");
  EXPECT_EQ(run_tool({"base64", "decode", "--strict"}, "Zm9vY").status, 1);
  EXPECT_EQ(run_tool({"base64", "decode", "--lenient"}, "Zm9v\vYmFy").status, 1);
  EXPECT_EQ(run_tool({"base64", "decode", "--strict"}, "Zm9v\vYmFy").out, "foobar");
}

TEST(Base64Tool, SaysWhatWasWrongInOneLine) {
  const ToolResult invalid = run_tool({"base64", "decode"}, "Zm9*");
  EXPECT_EQ(invalid.status, 1);
  EXPECT_EQ(invalid.error, "veltro: -: not valid Base64\n");
  EXPECT_EQ(run_tool({"base64", "decode"}, std::string("Zm9v\0Zm9v", 9)).status, 1);
  EXPECT_EQ(run_tool({"base64", "decode"}, "Zm9\xc3\xa9").status, 1);
  EXPECT_EQ(run_tool({"base64", "encode", scratch() / "missing"}).status, 1);
  EXPECT_EQ(run_tool({"base64", "encode", scratch()}).status, 1);
  EXPECT_EQ(run_tool({"base64"}).status, 2);
  EXPECT_EQ(run_tool({"base64", "decode", "--strict", "--lenient"}).status, 2);
}

} // namespace
