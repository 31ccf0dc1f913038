#include "loader/small_image.hpp"

using namespace veltro::test;
using veltro::loader::FrameEntry;
using veltro::loader::Processor;

namespace {

constexpr uint64_t kInfo = 0x800;

/// An image whose __unwind_info holds these words.
SmallImage unwinding(std::initializer_list<uint32_t> words) {
  SmallImage image;
  image.section({"__TEXT", "__unwind_info", kInfo, 4 * words.size()});
  uint64_t at = kInfo;
  for (const uint32_t word : words) {
    image.put(at, word);
    at += 4;
  }
  return image;
}

/// A header, an encoding that pages share, and an index of one page of compressed entries: of 16
/// bytes of code with a frame pointer, of 16 bytes with the page's own encoding, and up to 0xa40 of
/// none.
SmallImage compressed() {
  return unwinding({1,
                    28,
                    1,
                    0,
                    0,
                    32,
                    2,          //
                    0x01000000, // at 28
                    0xa00,
                    56,
                    56,
                    0xa40,
                    0,
                    56, // at 32
                    3,
                    3u << 16 | 12,
                    2u << 16 | 24,
                    0,
                    0x01000010,
                    0x02000020, // at 56
                    0x02010000,
                    0}); // at 80
}

std::vector<FrameEntry> entries_of(const SmallImage &image) {
  const Octets file = image.bytes();
  return veltro::loader::read_contents({file, "the file"}, Processor::x86_64).frames;
}

} // namespace

TEST(UnwindInfo, IsReadFromCompressedPages) {
  const auto entries = entries_of(compressed());
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].start, 0xa00u);
  EXPECT_EQ(entries[0].end, 0xa10u);
  EXPECT_EQ(entries[0].encoding, 0x01000000u);
  EXPECT_EQ(entries[1].start, 0xa10u);
  EXPECT_EQ(entries[1].end, 0xa20u);
  EXPECT_EQ(entries[1].encoding, 0x02010000u);
}

TEST(UnwindInfo, IsReadFromRegularPages) {
  const auto entries = entries_of(unwinding({1, 28, 0, 28, 0, 28, 2,      //
                                             0xa00, 52, 52, 0xa20, 0, 52, // 28
                                             2, 2u << 16 | 8, 0xa00, 0x01000000, 0xa10, 0}));
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].start, 0xa00u);
  EXPECT_EQ(entries[0].end, 0xa10u);
  EXPECT_EQ(entries[0].personality, 0u);
  EXPECT_EQ(entries[0].language_data, 0u);
}

TEST(UnwindInfo, NamesPersonalitiesAndLanguageData) {
  // A function with both, whose language data are at 0xb00; the routine's address is at 0x1000.
  SmallImage image = unwinding({1,      28,           0,     28,        1, 32, 2, //
                                0x1000,                                           // 28
                                0xa00,  64,           56,    0xa20,     0, 64,    // 32
                                0xa00,  0xb00,                                    // 56
                                2,      1u << 16 | 8, 0xa00, 0x51000000});        // 64
  image.bind(0x1000, "___gxx_personality_v0");
  const auto entries = entries_of(image);
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].personality, 0x1000u);
  EXPECT_EQ(entries[0].language_data, 0xb00u);

  EXPECT_EQ(reason(SmallImage(image).put(kInfo + 60, 0x5000u)),
            "broken: the unwind tables outside of the image's contents");
  EXPECT_EQ(reason(SmallImage(image).put(kInfo + 56, 0xa01u)),
            "broken: the unwind tables lack language data");
  image.binds.clear();
  EXPECT_EQ(reason(image),
            "broken: the unwind tables name a personality routine that is not imported");
}

TEST(UnwindInfo, ReadsSizesOfStacksFromTheCode) {
  SmallImage image = unwinding({1, 28, 0, 28, 0, 28, 2, 0xa00, 52, 52, 0xa20, 0, 52, //
                                2, 1u << 16 | 8, 0xa00, 0x03032000});
  image.put(0xa03, 0x12340u);
  const auto entries = entries_of(image);
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].stack_size, 0x12340u);
}

TEST(UnwindInfo, RefusesTablesThatAreNotKnown) {
  EXPECT_EQ(reason(unwinding({2, 0, 0, 0, 0, 0, 0})),
            "has unwind tables of a version that is not known");
  EXPECT_EQ(reason(unwinding({1, 28, 0, 28, 0, 28, 0})), "");
  EXPECT_EQ(reason(unwinding({1, 0, 0, 0})), "truncated: within the unwind tables");
  EXPECT_EQ(reason(compressed().put(kInfo + 56, 4u)),
            "has unwind tables of a kind that is not known");
  EXPECT_EQ(reason(compressed().put(kInfo + 80, 0x04000000u)),
            "has functions whose frames no compact entry describes");
}

TEST(UnwindInfo, IsCheckedToItsEnd) {
  constexpr const char *kPast = "truncated: the unwind tables past the end";
  EXPECT_EQ(reason(compressed().put(kInfo + 8, 0xffffffffu)), kPast);
  EXPECT_EQ(reason(compressed().put(kInfo + 16, 0xffffffffu)), kPast);
  EXPECT_EQ(reason(compressed().put(kInfo + 24, 0xffffffffu)), kPast);
  EXPECT_EQ(reason(compressed().put(kInfo + 36, 0x5000u)), kPast);
  EXPECT_EQ(reason(compressed().put(kInfo + 62, uint16_t(0xffff))),
            "broken: the unwind tables run backwards");
  EXPECT_EQ(reason(compressed().put(kInfo + 79, uint8_t(9))),
            "truncated: within the unwind tables");
  EXPECT_EQ(reason(compressed().put(kInfo + 40, 100u)), "broken: the unwind tables run backwards");
  EXPECT_EQ(reason(compressed().put(kInfo + 32, 0xa41u)),
            "broken: the unwind tables run backwards");
  EXPECT_EQ(reason(compressed().put(kInfo + 44, 0x2000u)), "");
  EXPECT_EQ(reason(compressed().put(kInfo + 76, 0x00001000u)),
            "broken: the unwind tables are not code");
}
