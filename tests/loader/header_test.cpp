#include "loader/small_image.hpp"

using namespace veltro::test;
using veltro::loader::Processor;

namespace {

/// A command of these words.
Octets command(std::initializer_list<uint32_t> words) {
  Octets bytes;
  for (const uint32_t word : words)
    append(bytes, word);
  return bytes;
}

std::string reason_with(const Octets &command) {
  SmallImage image;
  image.commands.push_back(command);
  return reason(image);
}

/// A fat file's bytes: big-endian words, then the images.
Octets fat(std::initializer_list<uint32_t> words, const Octets &behind = {}) {
  Octets bytes;
  for (const uint32_t word : words)
    append(bytes, __builtin_bswap32(word));
  bytes.insert(bytes.end(), behind.begin(), behind.end());
  return bytes;
}

} // namespace

TEST(Header, TakesAnImageOfNothing) {
  EXPECT_EQ(reason(SmallImage()), "");
}

TEST(Header, RefusesOtherFiles) {
  EXPECT_EQ(reason(Octets{}), "truncated: within the file");
  EXPECT_EQ(reason(Octets{0x7f, 'E', 'L', 'F', 2, 1, 1, 0}), "not a Mach-O file");
  EXPECT_EQ(reason({.file_type = 2}), "not a dynamic library: file type 0x2");
  EXPECT_EQ(reason({.file_type = 8}), "not a dynamic library: file type 0x8");
}

TEST(Header, RefusesOtherProcessors) {
  EXPECT_EQ(reason({.processor = 0x0100000c}), "not an image for x86_64");
  EXPECT_EQ(reason({.magic = 0xfeedface, .processor = 7}), "not an image for x86_64");
  EXPECT_EQ(reason({.magic = 0xfeedface}), "not an image for x86_64");
  const SmallImage arm64e{.processor = 0x0100000c, .subtype = 0x80000002};
  EXPECT_EQ(reason(arm64e.bytes(), Processor::arm64), "an image for arm64e");
  const SmallImage arm64{.processor = 0x0100000c, .subtype = 0};
  EXPECT_EQ(reason(arm64.bytes(), Processor::arm64), "");
}

TEST(Header, RefusesAFileThatIsCutOffAnywhere) {
  SmallImage image;
  image.point(0x1000, 0x1008).bind(0x1010, "_malloc");
  const Octets whole = image.bytes();
  EXPECT_EQ(reason(whole), "");
  for (size_t size = 0; size < whole.size(); ++size)
    ASSERT_NE(reason(Octets(whole.begin(), whole.begin() + ptrdiff_t(size))), "") << size;
}

TEST(Header, RefusesSegmentsThatAreNoPartsOfMemory) {
  EXPECT_EQ(reason({.text_protection = 7}), "both writable and executable: segment __TEXT");
  EXPECT_EQ(reason({.data_size = 0xfff}),
            "broken: more in the file than in memory of segment __DATA");
  EXPECT_EQ(reason({.data_size = 1ull << 40}), "too large: segment __DATA");
  EXPECT_EQ(reason({.data_address = UINT64_MAX - 0x100}), "too large: segment __DATA");
  EXPECT_EQ(reason({.data_address = 0x800}), "broken: segment over another: __DATA");
  EXPECT_EQ(reason({.data_address = 1ull << 32}), "too large: takes more than 1 GiB of addresses");
}

TEST(Header, RefusesSectionsOutsideOfTheirSegment) {
  constexpr const char *kReason = "broken: section outside of its segment: __odd";
  EXPECT_EQ(reason(SmallImage().section({"__DATA", "__odd", 0x1ff8, 9})), kReason);
  EXPECT_EQ(reason(SmallImage().section({"__DATA", "__odd", 0x800, 8})), kReason);
  EXPECT_EQ(reason(SmallImage().section({"__DATA", "__odd", 0x1008, UINT64_MAX})), kReason);
  EXPECT_EQ(reason(SmallImage().section({"__DATA", "__even", 0x1ff8, 8})), "");
}

TEST(Header, RefusesWhatWouldHaveToRun) {
  const auto with = [](std::string_view name, uint32_t type) {
    return reason(SmallImage().section({"__DATA", name, 0x1000, 8, type}));
  };
  EXPECT_EQ(with("__mod_init_func", 0x9), "has initialisers in __mod_init_func");
  EXPECT_EQ(with("__init_offsets", 0x16), "has initialisers in __init_offsets");
  EXPECT_EQ(with("__objc_nlclslist", 0), "has initialisers in __objc_nlclslist");
  EXPECT_EQ(with("__objc_nlcatlist", 0), "has initialisers in __objc_nlcatlist");
  EXPECT_EQ(with("__mod_term_func", 0xa), "has terminators in __mod_term_func");
  EXPECT_EQ(with("__interpose", 0xd), "replaces functions of others in __interpose");
  EXPECT_EQ(with("__thread_vars", 0x13), "has variables of threads in __thread_vars");
  EXPECT_EQ(reason_with(command({0x11, 40, 0, 0, 0, 0, 0, 0, 0, 0})),
            "has an initialiser in LC_ROUTINES");
  EXPECT_EQ(reason(SmallImage().section({"__DATA", "__mod_init_func", 0x1000, 0, 0x9})), "");
}

TEST(Header, RefusesCommandsThatMatterAndAreNotKnown) {
  EXPECT_EQ(reason_with(command({0x80000034, 16, 0, 0})), "has chained fixups, which are not read");
  EXPECT_EQ(reason_with(command({0x80000099, 8})),
            "has a load command that must be understood and is not: 0x80000099");
  EXPECT_EQ(reason_with(command({0x99, 8})), "");
  EXPECT_EQ(reason_with(command({0x80000018, 8})), "");
  EXPECT_EQ(reason_with(command({0x2c, 24, 0, 0, 1, 0})), "encrypted");
  EXPECT_EQ(reason_with(command({0x21, 20, 0, 0, 1})), "encrypted");
  EXPECT_EQ(reason_with(command({0x2c, 24, 0, 0, 0, 0})), "");
  Octets symbols = command({0xb, 80});
  symbols.resize(80);
  EXPECT_EQ(reason_with(symbols), "");
  symbols[76] = 1;
  EXPECT_EQ(reason_with(symbols), "has relocations of the old form");
  EXPECT_EQ(reason_with(command({0x1, 56, 0, 0, 0, 0})), "truncated: a load command past the end");
}

TEST(Header, RefusesCommandsOfNoSize) {
  EXPECT_EQ(reason_with(command({0x99, 0})), "broken: a load command of 0 bytes");
  EXPECT_EQ(reason_with(command({0x99, 4})), "broken: a load command of 4 bytes");
  EXPECT_EQ(reason_with(command({0x99, 0xffffffff})), "truncated: a load command past the end");
}

TEST(FatFile, HoldsAnImageForEachProcessor) {
  const Octets image = SmallImage().bytes();
  const auto size = uint32_t(image.size());
  EXPECT_EQ(reason(fat({0xcafebabe, 1, 0x01000007, 3, 28, size, 0}, image)), "");
  EXPECT_EQ(reason(fat({0xcafebabf, 1, 0x01000007, 3, 0, 40, 0, size, 0, 0}, image)), "");
  EXPECT_EQ(reason(fat({0xcafebabe, 1, 0x0100000c, 0, 28, size, 0}, image)),
            "holds no image for x86_64");
  EXPECT_EQ(reason(fat({0xcafebabe, 1, 0x01000007, 3, 28, size, 0}, image), Processor::arm64),
            "holds no image for arm64");
  EXPECT_EQ(reason(fat({0xcafebabe, 0})), "holds no image for x86_64");
}

TEST(FatFile, IsCheckedToItsEnd) {
  EXPECT_EQ(reason(fat({0xcafebabe, 1, 0x01000007, 3, 28, 1, 0})),
            "truncated: the image's bytes past the end");
  EXPECT_EQ(reason(fat({0xcafebabe, 2, 0x01000007, 3, 28, 1, 0})),
            "truncated: the fat file's entries past the end");
  EXPECT_EQ(reason(fat({0xcafebabf, 1, 0x01000007, 3, 0xffffffff, 0xffffffff, 0xffffffff,
                        0xffffffff, 0, 0})),
            "truncated: the image's bytes past the end");
  EXPECT_EQ(reason(fat({0xcafebabe, 1, 0x01000007, 3, 28, 0, 0})),
            "truncated: within the image's bytes");
}
