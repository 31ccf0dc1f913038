#include "bridge/wire_format.hpp"

#include <gtest/gtest.h>
#include <limits>

namespace veltro {
namespace {

constexpr LengthField kFiveAnd2To32{5, 0, 0, 0, 1, 0, 0, 0};

TEST(WireFormat, WritesTheLeastSignificantByteFirst) {
  EXPECT_EQ(encode_length(std::uint64_t{0x0807060504030201}),
            (LengthField{1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(encode_length(std::uint32_t{0x04030201}), (LengthField{1, 2, 3, 4, 0, 0, 0, 0}));
}

TEST(WireFormat, WritesEightBytesForEveryWord) {
  EXPECT_EQ(encode_length(std::uint64_t{0}), (LengthField{}));
  EXPECT_EQ(encode_length(std::uint32_t{0}), (LengthField{}));
  EXPECT_EQ(encode_length(std::numeric_limits<std::uint32_t>::max()),
            (LengthField{255, 255, 255, 255, 0, 0, 0, 0}));
  EXPECT_EQ(encode_length(std::numeric_limits<std::uint64_t>::max()),
            (LengthField{255, 255, 255, 255, 255, 255, 255, 255}));
}

TEST(WireFormat, ReadsAllEightBytesIntoAWordOf64Bits) {
  EXPECT_EQ(decode_length<std::uint64_t>({1, 2, 3, 4, 5, 6, 7, 8}), 0x0807060504030201U);
  EXPECT_EQ(decode_length<std::uint64_t>(kFiveAnd2To32), (std::uint64_t{1} << 32) + 5);
  EXPECT_EQ(decode_length<std::uint64_t>({0, 0, 0, 0, 0, 0, 0, 0x80}), std::uint64_t{1} << 63);
}

TEST(WireFormat, IgnoresTheHighBytesInAWordOf32Bits) {
  EXPECT_EQ(decode_length<std::uint32_t>(kFiveAnd2To32), 5U);
  EXPECT_EQ(decode_length<std::uint32_t>({1, 2, 3, 0x84, 5, 6, 7, 8}), 0x84030201U);
  EXPECT_EQ(decode_length<std::uint32_t>({0, 0, 0, 0, 255, 255, 255, 255}), 0U);
}

TEST(WireFormat, ReadsWhatItWrote) {
  for (unsigned bit = 0; bit < 64; ++bit) {
    const std::uint64_t length = std::uint64_t{1} << bit;
    EXPECT_EQ(decode_length<std::uint64_t>(encode_length(length)), length);
    EXPECT_EQ(decode_length<std::uint64_t>(encode_length(length - 1)), length - 1);
    EXPECT_EQ(decode_length<std::uint32_t>(encode_length(length)),
              static_cast<std::uint32_t>(length));
  }
}

static_assert(decode_length<std::uint32_t>(encode_length(std::uint32_t{319})) == 319);

} // namespace
} // namespace veltro
