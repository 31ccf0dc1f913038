// Both codecs as methods, which is how a device's kernels are reached, against the model: every
// length that their vectors begin, continue and end with.

#import <veltro/ZLTUtils+Base64.h>

#include "base64_model.hpp"

#include <gtest/gtest.h>

namespace {

constexpr std::size_t kLongest = 300;

veltro::test::Bytes some_bytes(std::size_t size) {
  veltro::test::Bytes bytes(size);
  std::uint32_t state = static_cast<std::uint32_t>(size) + 1;
  for (std::uint8_t &byte : bytes) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<std::uint8_t>(state >> 24);
  }
  return bytes;
}

NSData *data_of(const veltro::test::Bytes &bytes) {
  return [NSData dataWithBytes:bytes.data() length:bytes.size()];
}

NSString *string_of(const std::string &text) {
  return [NSString stringWithUTF8String:text.c_str()];
}

std::optional<veltro::test::Bytes> bytes_of(NSData *data) {
  if (data == nil)
    return std::nullopt;
  const auto *const start = static_cast<const std::uint8_t *>([data bytes]);
  return veltro::test::Bytes(start, start + [data length]);
}

void expect_model(const std::string &text) {
  EXPECT_EQ(bytes_of([ZLTUtils decodeBase64WithString:string_of(text)]),
            veltro::test::model_decode_dropping(text))
      << text;
  EXPECT_EQ(bytes_of([ZLTUtils base64DecodeString:string_of(text)]),
            veltro::test::model_decode_refusing(text))
      << text;
}

TEST(EveryLength, IsEncodedAndDecoded) {
  for (std::size_t size = 1; size <= kLongest; ++size) {
    @autoreleasepool {
      const veltro::test::Bytes bytes = some_bytes(size);
      const std::string text = veltro::test::model_encode(bytes);
      EXPECT_STREQ([[ZLTUtils encodeBase64WithData:data_of(bytes)] UTF8String], text.c_str());
      EXPECT_STREQ([[ZLTUtils base64EncodeData:data_of(bytes)] UTF8String], text.c_str());
      expect_model(text);
    }
  }
}

TEST(EveryLength, OfTextIsDecoded) {
  const std::string text = veltro::test::model_encode(some_bytes(kLongest));
  for (std::size_t length = 1; length <= kLongest; ++length) {
    @autoreleasepool {
      expect_model(text.substr(0, length));
    }
  }
}

TEST(EveryPlace, MayHoldWhatIsSkippedOrRefused) {
  const std::string text = veltro::test::model_encode(some_bytes(kLongest / 4 * 3));
  for (const char odd : {' ', '\n', '\v', '=', '*', '\x7f'}) {
    for (std::size_t place = 0; place < text.size(); ++place) {
      @autoreleasepool {
        expect_model(text.substr(0, place) + odd + text.substr(place));
      }
    }
  }
}

} // namespace
