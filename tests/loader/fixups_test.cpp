#include "loader/small_image.hpp"

#include <deque>
#include <gmock/gmock.h>

using namespace veltro::test;
using testing::ElementsAre;
using veltro::loader::Bind;
using veltro::loader::Fixups;
using veltro::loader::Processor;

namespace {

Fixups fixups_of(const SmallImage &image) {
  static std::deque<Octets> files; // The names that are read point into them.
  const Octets &file = files.emplace_back(image.bytes());
  return veltro::loader::read_contents({file, "the file"}, Processor::x86_64).image.fixups();
}

std::vector<uint64_t> rebases_of(Octets opcodes) {
  return fixups_of({.rebases = std::move(opcodes)}).rebases;
}

std::string rebase_reason(Octets opcodes) {
  return reason({.rebases = std::move(opcodes)});
}

/// Opcodes that name _free and go to the start of __DATA, and then these.
Octets binding(std::initializer_list<uint8_t> more) {
  Octets opcodes{0x11, 0x40, '_', 'f', 'r', 'e', 'e', 0, 0x51, 0x71, 0x00};
  opcodes.insert(opcodes.end(), more);
  return opcodes;
}

std::vector<uint64_t> bound_by(std::initializer_list<uint8_t> more) {
  std::vector<uint64_t> addresses;
  for (const Bind &bind : fixups_of({.binds = binding(more)}).binds)
    addresses.push_back(bind.address);
  return addresses;
}

std::string bind_reason(Octets opcodes) {
  return reason({.binds = std::move(opcodes)});
}

constexpr const char *kOut = "broken: the rebase opcodes lead out of the writable contents";

} // namespace

TEST(Rebases, AreReadFromEveryOpcode) {
  EXPECT_THAT(rebases_of({}), ElementsAre());
  EXPECT_THAT(rebases_of({0x11, 0x21, 0x10, 0x52, 0x00}), ElementsAre(0x1010, 0x1018));
  EXPECT_THAT(rebases_of({0x11, 0x21, 0x10, 0x30, 0x20, 0x51}), ElementsAre(0x1030));
  EXPECT_THAT(rebases_of({0x11, 0x21, 0x00, 0x43, 0x51}), ElementsAre(0x1018));
  EXPECT_THAT(rebases_of({0x11, 0x21, 0x00, 0x60, 0x03}), ElementsAre(0x1000, 0x1008, 0x1010));
  EXPECT_THAT(rebases_of({0x11, 0x21, 0x00, 0x70, 0x10, 0x51}), ElementsAre(0x1000, 0x1018));
  EXPECT_THAT(rebases_of({0x11, 0x21, 0x00, 0x80, 0x03, 0x08}),
              ElementsAre(0x1000, 0x1010, 0x1020));
  EXPECT_THAT(rebases_of({0x11, 0x21, 0x00, 0x51, 0x00, 0x51}), ElementsAre(0x1000));
}

TEST(Rebases, MayStepBackAndAreOrdered) {
  EXPECT_THAT(rebases_of({0x11, 0x21, 0x20, 0x51, 0x30, 0xd8, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff,
                          0xff, 0xff, 0x01, 0x51}),
              ElementsAre(0x1000, 0x1020));
}

TEST(Rebases, StayWithinWritableContents) {
  EXPECT_EQ(rebase_reason({0x11, 0x21, 0xf8, 0x1f, 0x51}), "");
  EXPECT_EQ(rebase_reason({0x11, 0x21, 0xf9, 0x1f, 0x51}), kOut);
  EXPECT_EQ(rebase_reason({0x11, 0x21, 0xf8, 0x1f, 0x52}), kOut);
  EXPECT_EQ(rebase_reason({0x11, 0x20, 0x00, 0x51}), kOut); // __TEXT
  EXPECT_EQ(rebase_reason({0x11, 0x51}), kOut);
  EXPECT_EQ(rebase_reason({0x11, 0x21, 0x00, 0x60, 0xff, 0xff, 0xff, 0xff, 0x0f}), kOut);
  EXPECT_EQ(rebase_reason({0x11, 0x21, 0x00, 0x30, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff,
                           0xff, 0x01, 0x51}),
            kOut);
  EXPECT_EQ(rebase_reason({0x11, 0x23, 0x00, 0x51}),
            "broken: the rebase opcodes name a segment that is not there");
  EXPECT_EQ(reason({.data_size = 0x1000,
                    .rebases = {0x11, 0x21, 0x00, 0x80, 0xff, 0xff, 0x03, 0xf8, 0xff, 0xff, 0xff,
                                0xff, 0xff, 0xff, 0xff, 0xff, 0x01}}),
            "broken: the rebase opcodes name more pointers than there are");
}

TEST(Rebases, AreEachNamedOnceAndKnown) {
  EXPECT_EQ(rebase_reason({0x11, 0x21, 0x00, 0x51, 0x21, 0x00, 0x51}),
            "broken: the rebase opcodes name a pointer twice");
  EXPECT_EQ(rebase_reason({0x12}), "broken: an unknown one of the rebase opcodes");
  EXPECT_EQ(rebase_reason({0x90}), "broken: an unknown one of the rebase opcodes");
  EXPECT_EQ(rebase_reason({0x11, 0x21, 0x80}), "truncated: within the rebase opcodes");
}

TEST(Binds, AreReadFromEveryOpcode) {
  EXPECT_THAT(bound_by({0x90}), ElementsAre(0x1000));
  EXPECT_THAT(bound_by({0x80, 0x10, 0x90}), ElementsAre(0x1010));
  EXPECT_THAT(bound_by({0xa0, 0x08, 0x90}), ElementsAre(0x1000, 0x1010));
  EXPECT_THAT(bound_by({0xb2, 0x90}), ElementsAre(0x1000, 0x1018));
  EXPECT_THAT(bound_by({0xc0, 0x02, 0x08}), ElementsAre(0x1000, 0x1010));
  EXPECT_THAT(bound_by({0x20, 0xff, 0x01, 0x3e, 0x90, 0x00, 0x90}), ElementsAre(0x1000));
}

TEST(Binds, NameTheirSymbolsAndAddends) {
  const Fixups read =
      fixups_of({.binds = {0x11, 0x41, '_', 'a',  0,    0x51, 0x71, 0x08, 0x60, 0x7f, 0x90, 0x40,
                           '_',  'b',  0,   0x60, 0x00, 0x90, 0x41, '_',  'a',  0,    0x90}});
  ASSERT_EQ(read.binds.size(), 3u);
  ASSERT_EQ(read.symbols.size(), 2u);
  EXPECT_EQ(read.symbols[0].name, "_a");
  EXPECT_TRUE(read.symbols[0].weak);
  EXPECT_EQ(read.symbols[1].name, "_b");
  EXPECT_FALSE(read.symbols[1].weak);
  EXPECT_EQ(read.binds[0].addend, -1);
  EXPECT_EQ(read.binds[1].addend, 0);
  EXPECT_EQ(read.binds[1].symbol, 1u);
  EXPECT_EQ(read.binds[2].symbol, 0u);
}

TEST(Binds, AreWeakWhereEveryMentionIs) {
  const Fixups read =
      fixups_of({.binds = {0x41, '_', 'a', 0, 0x51, 0x71, 0x00, 0x90, 0x40, '_', 'a', 0, 0x90}});
  ASSERT_EQ(read.symbols.size(), 1u);
  EXPECT_FALSE(read.symbols[0].weak);
}

TEST(Binds, ThatAreLazyAreReadBehindEachEnd) {
  const Fixups read =
      fixups_of({.lazy_binds = {0x71, 0x00, 0x11, 0x40, '_', 'a', 0, 0x90, 0x00, 0x71, 0x08, 0x11,
                                0x40, '_', 'b', 0, 0x90, 0x00, 0x00}});
  ASSERT_EQ(read.binds.size(), 2u);
  EXPECT_EQ(read.binds[1].address, 0x1008u);
  EXPECT_EQ(read.symbols[read.binds[1].symbol].name, "_b");
}

TEST(Binds, AreCheckedLikeRebases) {
  EXPECT_EQ(bind_reason({0x51, 0x71, 0x00, 0x90}),
            "broken: the bind opcodes bind before they name a symbol");
  EXPECT_EQ(bind_reason(binding({0x80, 0xf9, 0x1f, 0x90})),
            "broken: the bind opcodes lead out of the writable contents");
  EXPECT_EQ(bind_reason(binding({0x90, 0x71, 0x00, 0x90})),
            "broken: the bind opcodes name a pointer twice");
  EXPECT_EQ(bind_reason(binding({0xd0})), "broken: an unknown one of the bind opcodes");
  EXPECT_EQ(bind_reason(binding({0x52})), "broken: an unknown one of the bind opcodes");
  EXPECT_EQ(bind_reason({0x40, '_', 'a'}), "truncated: within the bind opcodes");
  EXPECT_EQ(bind_reason(binding({0x7f, 0x00, 0x90})),
            "broken: the bind opcodes name a segment that is not there");
  EXPECT_EQ(reason({.lazy_binds = {0x71, 0x00, 0x90}}),
            "broken: the lazy bind opcodes bind before they name a symbol");
}
