#include "bridge/transfer.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <utility>
#include <vector>

namespace veltro {
namespace {

/// A stream that moves as many bytes in each call as `results` says, and remembers what it was
/// asked.
template <typename Word> struct Script {
  std::vector<long> results;
  std::vector<std::pair<std::ptrdiff_t, Word>> asked; // offset, bytes left

  bool run(Word count) {
    std::array<char, 64> block{};
    std::size_t call = 0;
    return transfer_all(block.data(), count, [&](char *position, Word left) {
      asked.emplace_back(position - block.data(), left);
      return results.at(call++);
    });
  }
};

template <typename Word> class Transfer : public testing::Test {};
using Words = testing::Types<std::uint32_t, std::uint64_t>;
TYPED_TEST_SUITE(Transfer, Words, );

TYPED_TEST(Transfer, CallsNothingForNoBytes) {
  Script<TypeParam> script{{}, {}};
  EXPECT_TRUE(script.run(0));
  EXPECT_TRUE(script.asked.empty());
}

TYPED_TEST(Transfer, IsDoneAfterOneCallThatMovesAll) {
  Script<TypeParam> script{{10}, {}};
  EXPECT_TRUE(script.run(10));
  EXPECT_EQ(script.asked, (decltype(script.asked){{0, 10}}));
}

TYPED_TEST(Transfer, AsksForTheRestBehindWhatWasMoved) {
  Script<TypeParam> script{{1, 4, 5}, {}};
  EXPECT_TRUE(script.run(10));
  EXPECT_EQ(script.asked, (decltype(script.asked){{0, 10}, {1, 9}, {5, 5}}));
}

TYPED_TEST(Transfer, StopsWhereTheStreamEnds) {
  Script<TypeParam> script{{3, 0}, {}};
  EXPECT_FALSE(script.run(10));
  EXPECT_EQ(script.asked.size(), 2U);
}

TYPED_TEST(Transfer, StopsAtAnError) {
  for (const long error : {-1L, std::numeric_limits<long>::min()}) {
    Script<TypeParam> script{{3, error}, {}};
    EXPECT_FALSE(script.run(10));
    EXPECT_EQ(script.asked.size(), 2U);
  }
}

TYPED_TEST(Transfer, TakesMoreThanWasAskedForAsEnough) {
  Script<TypeParam> script{{3, 20}, {}};
  EXPECT_TRUE(script.run(10));
  EXPECT_EQ(script.asked, (decltype(script.asked){{0, 10}, {3, 7}}));
}

} // namespace
} // namespace veltro
