#include "platform/loader/call_frames.hpp"

#include <gmock/gmock.h>

using testing::ElementsAreArray;
using veltro::loader::CallFrameWriter;
using veltro::loader::Processor;

namespace {

using Octets = std::vector<uint8_t>;

Octets x86_64(uint32_t encoding, uint32_t stack_size = 0) {
  return call_frame_instructions(Processor::x86_64,
                                 {.encoding = encoding, .stack_size = stack_size});
}

Octets arm64(uint32_t encoding) {
  return call_frame_instructions(Processor::arm64, {.encoding = encoding});
}

void expect_refused(Processor processor, uint32_t encoding) {
  EXPECT_THROW((void)call_frame_instructions(processor, {.encoding = encoding}),
               veltro::loader::Unloadable)
      << std::hex << encoding;
}

} // namespace

// DW_CFA_def_cfa 0x0c, def_cfa_offset 0x0e, offset 0x80 | register; offsets in words below the CFA.

TEST(CallFrames, OfX86WithAFramePointer) {
  EXPECT_EQ(x86_64(0x01000000), (Octets{0x0c, 6, 16, 0x86, 2}));
  // rbx, r14 and r15 in the three words below the frame pointer.
  EXPECT_EQ(x86_64(0x01030000 | 1 | 4 << 3 | 5 << 6),
            (Octets{0x0c, 6, 16, 0x86, 2, 0x83, 5, 0x8e, 4, 0x8f, 3}));
  // The word between is not saved.
  EXPECT_EQ(x86_64(0x01020000 | 2 << 3), (Octets{0x0c, 6, 16, 0x86, 2, 0x8c, 3}));
  expect_refused(Processor::x86_64, 0x01000000 | 1 << 3);
  expect_refused(Processor::x86_64, 0x01010000 | 7);
}

TEST(CallFrames, OfX86WithoutAFramePointer) {
  EXPECT_EQ(x86_64(0x02010000), (Octets{0x0e, 8}));
  EXPECT_EQ(x86_64(0x02030000), (Octets{0x0e, 24}));
  // One register, rbx or the last of six, rbp.
  EXPECT_EQ(x86_64(0x02020000 | 1 << 10), (Octets{0x0e, 16, 0x83, 2}));
  EXPECT_EQ(x86_64(0x02020000 | 1 << 10 | 5), (Octets{0x0e, 16, 0x86, 2}));
  // Two of them: r14 before rbx; the second digit counts what is left.
  EXPECT_EQ(x86_64(0x02030000 | 2 << 10 | (3 * 5 + 0)), (Octets{0x0e, 24, 0x8e, 3, 0x83, 2}));
  EXPECT_EQ(x86_64(0x02040000 | 3 << 10 | (0 * 20 + 2 * 4 + 3)),
            (Octets{0x0e, 32, 0x83, 4, 0x8e, 3, 0x86, 2}));
  EXPECT_EQ(x86_64(0x02050000 | 4 << 10 | (1 * 60 + 1 * 12 + 1 * 3 + 1)),
            (Octets{0x0e, 40, 0x8c, 5, 0x8d, 4, 0x8e, 3, 0x8f, 2}));
  EXPECT_EQ(x86_64(0x02060000 | 5 << 10 | (5 * 120 + 4 * 24 + 3 * 6 + 2 * 2 + 1)),
            (Octets{0x0e, 48, 0x86, 6, 0x8f, 5, 0x8e, 4, 0x8d, 3, 0x8c, 2}));
  // All six, in their order.
  EXPECT_EQ(x86_64(0x02070000 | 6 << 10),
            (Octets{0x0e, 56, 0x83, 7, 0x8c, 6, 0x8d, 5, 0x8e, 4, 0x8f, 3, 0x86, 2}));
}

TEST(CallFrames, OfX86WithASizeFromTheCode) {
  EXPECT_EQ(x86_64(0x03002000 | 1 << 10, 0x1000), (Octets{0x0e, 0x88, 0x20, 0x83, 2}));
}

TEST(CallFrames, OfX86ThatMakeNoSense) {
  expect_refused(Processor::x86_64, 0x04000000); // in a table of another form
  expect_refused(Processor::x86_64, 0x05000000);
  expect_refused(Processor::x86_64, 0x02000000);
  expect_refused(Processor::x86_64, 0x02010000 | 1 << 10); // smaller than what it holds
  expect_refused(Processor::x86_64, 0x02ff0000 | 7 << 10);
  expect_refused(Processor::x86_64, 0x02ff0000 | 1 << 10 | 6);
  expect_refused(Processor::x86_64, 0x02ff0000 | 6 << 10 | 0x3ff);
}

TEST(CallFrames, OfArm64) {
  EXPECT_EQ(arm64(0x04000000), (Octets{0x0c, 29, 16, 0x9d, 2, 0x9e, 1}));
  EXPECT_EQ(arm64(0x04000003),
            (Octets{0x0c, 29, 16, 0x9d, 2, 0x9e, 1, 0x93, 3, 0x94, 4, 0x95, 5, 0x96, 6}));
  EXPECT_EQ(arm64(0x04000110),
            (Octets{0x0c, 29, 16, 0x9d, 2, 0x9e, 1, 0x9b, 3, 0x9c, 4, 0x05, 72, 5, 0x05, 73, 6}));
  EXPECT_EQ(arm64(0x04000800), (Octets{0x0c, 29, 16, 0x9d, 2, 0x9e, 1, 0x05, 78, 3, 0x05, 79, 4}));
  EXPECT_EQ(arm64(0x02002000), (Octets{0x0e, 32}));
  EXPECT_EQ(arm64(0x02001001), (Octets{0x0e, 16, 0x93, 1, 0x94, 2}));
  expect_refused(Processor::arm64, 0x03000000);
}

TEST(CallFrames, AreWrittenAsTheUnwinderReadsThem) {
  CallFrameWriter writer(
      Processor::x86_64, [](uint64_t address) { return 0x7f0000000000 + address; },
      [](uint64_t address) { return 0x550000000000 + address; });
  writer.add({.start = 0x10, .end = 0x30, .encoding = 0x01000000});
  writer.add({.start = 0x30,
              .end = 0x31,
              .encoding = 0x02010000,
              .personality = 0x100,
              .language_data = 0x200});
  writer.add({.start = 0x40, .end = 0x48, .encoding = 0x02010000});
  const Octets expected{
      // The common entry of functions without a routine: version 1, "zLR", alignments 1 and -8,
      // return
      // address in 16; absolute pointers; the CFA is rsp + 8, the return address in the word below.
      0x14, 0, 0, 0, 0, 0, 0, 0, 1, 'z', 'L', 'R', 0, 1, 0x78, 16, 2, 0, 0, 0x0c, 7, 8, 0x90, 1,
      // The first: 0x20 bytes of code, no language data, a frame pointer.
      0x24, 0, 0, 0, 0x1c, 0, 0, 0, 0x10, 0, 0, 0, 0, 0x7f, 0, 0, 0x20, 0, 0, 0, 0, 0, 0, 0, 8, 0,
      0, 0, 0, 0, 0, 0, 0, 0x0c, 6, 16, 0x86, 2, 0, 0,
      // The common entry of those with the routine at 0x550000000100.
      0x24, 0, 0, 0, 0, 0, 0, 0, 1, 'z', 'P', 'L', 'R', 0, 1, 0x78, 16, 11, 0, 0x00, 0x01, 0, 0, 0,
      0x55, 0, 0, 0, 0, 0x0c, 7, 8, 0x90, 1, 0, 0, 0, 0, 0, 0,
      // The second, with language data.
      0x24, 0, 0, 0, 0x2c, 0, 0, 0, 0x30, 0, 0, 0, 0, 0x7f, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 8, 0, 2,
      0, 0, 0, 0x7f, 0, 0, 0x0e, 8, 0, 0, 0, 0, 0,
      // The third goes back to the first common entry.
      0x24, 0, 0, 0, 0x94, 0, 0, 0, 0x40, 0, 0, 0, 0, 0x7f, 0, 0, 8, 0, 0, 0, 0, 0, 0, 0, 8, 0, 0,
      0, 0, 0, 0, 0, 0, 0x0e, 8, 0, 0, 0, 0, 0,
      // The end.
      0, 0, 0, 0};
  EXPECT_THAT(writer.finish(), ElementsAreArray(expected));
}
