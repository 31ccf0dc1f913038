#include "loader/small_image.hpp"

#include <gmock/gmock.h>

using namespace veltro::test;
using testing::ElementsAre;
using testing::Pair;

namespace {

std::string reason_for(Octets trie) {
  return reason({.exports = std::move(trie)});
}

} // namespace

TEST(Exports, AreReadFromTheTrie) {
  // "_" leads to a node with "a" at 0x1000 and "bc" at 0x810, below which is "_bcd" at 0x1008.
  const SmallImage image{.exports = {0x00, 0x01, '_',  0,    0x05,                       //
                                     0x00, 0x02, 'a',  0,    0x0e, 'b', 'c', 0,    0x13, //
                                     0x03, 0x00, 0x80, 0x20, 0x00,                       //
                                     0x03, 0x00, 0x90, 0x10, 0x01, 'd', 0,   0x1b,       //
                                     0x03, 0x00, 0x88, 0x20, 0x00}};
  const Octets file = image.bytes();
  const auto contents =
      veltro::loader::read_contents({file, "the file"}, veltro::loader::Processor::x86_64);
  EXPECT_THAT(contents.exports,
              ElementsAre(Pair("_a", 0x1000), Pair("_bc", 0x810), Pair("_bcd", 0x1008)));
}

TEST(Exports, MayBeNone) {
  EXPECT_EQ(reason_for({}), "");
  EXPECT_EQ(reason_for({0x00, 0x00}), "");
}

TEST(Exports, LieInTheImage) {
  EXPECT_EQ(reason_for({0x00, 0x01, '_', 0, 0x05, 0x03, 0x00, 0xff, 0x5f, 0x00}), "");
  EXPECT_EQ(reason_for({0x00, 0x01, '_', 0, 0x05, 0x03, 0x00, 0x80, 0x60, 0x00}),
            "broken: _ is exported from outside of the image");
}

TEST(Exports, AreOfThisImageAndPlain) {
  const auto with_flags = [](uint8_t flags) {
    return reason_for({0x00, 0x01, '_', 0, 0x05, 0x03, flags, 0x80, 0x20, 0x00});
  };
  constexpr const char *kReason = "exports _ as what is no function or variable of its own";
  EXPECT_EQ(with_flags(0x04), ""); // a weak definition
  EXPECT_EQ(with_flags(0x01), kReason);
  EXPECT_EQ(with_flags(0x02), kReason);
  EXPECT_EQ(with_flags(0x08), kReason);
  EXPECT_EQ(with_flags(0x10), kReason);
}

TEST(Exports, FormATree) {
  EXPECT_EQ(reason_for({0x00, 0x01, '_', 0, 0x00}), "broken: two ways to one node of the exports");
  EXPECT_EQ(reason_for({0x00, 0x02, 'a', 0, 0x08, 'b', 0, 0x08, 0x00, 0x00}),
            "broken: two ways to one node of the exports");
}

TEST(Exports, EndWithTheirBytes) {
  EXPECT_EQ(reason_for({0x00}), "truncated: within the exports");
  EXPECT_EQ(reason_for({0x02, 0x00}), "truncated: within the exports");
  EXPECT_EQ(reason_for({0x00, 0x01, '_', 0, 0x7f}), "truncated: within the exports");
  EXPECT_EQ(reason_for({0x00, 0x01, '_', '_'}), "truncated: within the exports");
  EXPECT_EQ(reason_for({0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x01}),
            "truncated: within the exports");
}

TEST(Exports, HaveNamesOfSomeLength) {
  Octets trie{0x00, 0x01};
  trie.insert(trie.end(), 4096, 'x');
  Octets longer = trie;
  longer.push_back('x');
  for (const uint8_t byte : Octets{0, 0x85, 0x20, 0, 0}) // the edge's end, and the node behind it
    trie.push_back(byte);
  for (const uint8_t byte : Octets{0, 0x86, 0x20, 0, 0})
    longer.push_back(byte);
  EXPECT_EQ(reason({.link_size = 0x2000, .exports = trie}), "");
  EXPECT_EQ(reason({.link_size = 0x2000, .exports = longer}),
            "broken: an exported name of more than 4096 characters");
}
