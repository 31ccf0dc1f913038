#include "support/scratch.hpp"
#include "support/tool.hpp"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using namespace veltro::test;

const std::string kTool = VELTRO_BUILD_DIR "/bin/veltro base64 ";

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

TEST(Base64Tool, CarriesWholePiecesAndOneByteLessOrMore) {
  for (const std::size_t piece : {std::size_t{3} << 16, std::size_t{6} << 16})
    for (const std::size_t size : {piece - 1, piece, piece + 1}) {
      const std::string bytes(size, 'a');
      const ToolResult code = run_tool({"base64", "encode"}, bytes);
      ASSERT_EQ(code.out.size(), (size + 2) / 3 * 4 + 1) << size;
      EXPECT_EQ(code.out.find('\n'), code.out.size() - 1) << size;
      EXPECT_EQ(code.out.substr(0, 8), "YWFhYWFh");
      EXPECT_EQ(run_tool({"base64", "decode"}, code.out).out, bytes) << size;
    }
}

TEST(Base64Tool, WidensThePipesAtBothEnds) {
  for (const std::string verb : {"encode", "decode"}) {
    std::array<int, 2> in{};
    std::array<int, 2> out{};
    ASSERT_EQ(pipe(in.data()), 0);
    ASSERT_EQ(pipe(out.data()), 0);
    ASSERT_EQ(write(in[1], "Zm9v", 4), 4);
    fcntl(in[1], F_SETFD, FD_CLOEXEC);
    std::string command = kTool + verb;
    command.append(" </dev/fd/").append(std::to_string(in[0]));
    command.append(" >/dev/fd/").append(std::to_string(out[1])).append(" &");
    ASSERT_EQ(std::system(command.c_str()), 0);
    close(in[1]);
    close(out[1]);
    std::array<char, 16> text{};
    while (read(out[0], text.data(), text.size()) > 0) {
    }
    EXPECT_EQ(fcntl(in[0], F_GETPIPE_SZ), 1 << 20) << verb;
    EXPECT_EQ(fcntl(out[0], F_GETPIPE_SZ), 1 << 20) << verb;
    close(in[0]);
    close(out[0]);
  }
}

TEST(Base64Tool, EndsSilentlyWhereItsReaderGoesAway) {
  const auto file = scratch() / "much";
  std::ofstream(file, std::ios::binary) << std::string(std::size_t{4} << 20, 'A');
  const auto out = scratch() / "out";
  const auto error = scratch() / "error";
  for (const std::string verb : {"encode ", "decode "})
    for (const std::string signal : {"trap '' PIPE; ", ""}) {
      std::string command = "{ " + signal;
      command.append(kTool).append(verb).append(file).append(" 2> ").append(error);
      command.append("; } | head -c 2 > ").append(out);
      ASSERT_EQ(std::system(command.c_str()), 0);
      EXPECT_EQ(std::filesystem::file_size(out), 2U) << command;
      EXPECT_EQ(std::filesystem::file_size(error), 0U) << command;
    }
}

/// The most memory that a child of this process has had, in KiB, once the tool has carried so many
/// megabytes to and fro.
long most_memory(int megabytes) {
  const auto file = scratch() / "long";
  std::ofstream stream(file, std::ios::binary);
  for (const std::string block(std::size_t{1} << 20, 'A'); megabytes > 0; --megabytes)
    stream << block;
  stream.close();
  for (const std::string verb : {"encode ", "decode "})
    EXPECT_EQ(std::system((kTool + verb + file.string() + " > /dev/null").c_str()), 0);
  struct rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  return usage.ru_maxrss;
}

TEST(Base64Tool, TakesNoMoreMemoryForMore) {
  const long little = most_memory(1);
  EXPECT_LT(most_memory(48), little + 16 * 1024);
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
