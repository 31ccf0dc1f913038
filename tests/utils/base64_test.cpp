#include "utils/base64_against_model.hpp"

#include <gtest/gtest.h>
#include <random>

namespace veltro::test {
namespace {

Bytes bytes_of(std::string_view text) {
  return {text.begin(), text.end()};
}

TEST(Base64Model, KnowsTheTextbookVectors) {
  const std::pair<std::string_view, std::string_view> vectors[] = {{"", ""},
                                                                   {"f", "Zg=="},
                                                                   {"fo", "Zm8="},
                                                                   {"foo", "Zm9v"},
                                                                   {"foob", "Zm9vYg=="},
                                                                   {"fooba", "Zm9vYmE="},
                                                                   {"foobar", "Zm9vYmFy"}};
  for (const auto &[plain, code] : vectors) {
    EXPECT_EQ(model_encode(bytes_of(plain)), code);
    EXPECT_EQ(model_decode_dropping(code), bytes_of(plain));
    EXPECT_EQ(model_decode_refusing(code), bytes_of(plain));
  }
}

TEST(Base64, AgreesWithTheModelOnEveryLengthOfCleanInput) {
  std::mt19937 random(20260101);
  for (std::size_t length = 0; length < 400; ++length) {
    Bytes bytes(length);
    for (std::uint8_t &byte : bytes)
      byte = static_cast<std::uint8_t>(random());
    ASSERT_TRUE(agrees_with_model(bytes.data(), bytes.size())) << length;
    ASSERT_EQ(encoded(bytes), model_encode(bytes)) << length;
  }
}

TEST(Base64, AgreesWithTheModelOnEveryCharacterAtEveryPlaceOfARun) {
  const std::string run = model_encode(Bytes(72, 0x5a));
  for (std::size_t place = 0; place < run.size(); ++place)
    for (unsigned code = 1; code < 256; ++code) {
      std::string text = run;
      text[place] = static_cast<char>(code);
      ASSERT_EQ(decoded_dropping(text), model_decode_dropping(text)) << place << ' ' << code;
      ASSERT_EQ(decoded_refusing(text), model_decode_refusing(text)) << place << ' ' << code;
      ASSERT_EQ(decoded_dropping<Plain>(text), decoded_dropping(text)) << place << ' ' << code;
      ASSERT_EQ(decoded_refusing<Plain>(text), decoded_refusing(text)) << place << ' ' << code;
    }
}

TEST(Base64, AgreesWithTheModelOnRandomTexts) {
  // Mostly of the alphabet, so that runs are long enough for the vectors.
  const std::string unusual = "= \t\n\v\f\r*-";
  std::mt19937 random(4648);
  for (int round = 0; round < 20000; ++round) {
    std::string text(random() % 200, '\0');
    const auto rarity = 1 + random() % 60;
    for (char &character : text)
      character = random() % rarity == 0 ? unusual[random() % unusual.size()]
                                         : kModelAlphabet[random() % kModelAlphabet.size()];
    ASSERT_EQ(decoded_dropping(text), model_decode_dropping(text)) << text;
    ASSERT_EQ(decoded_refusing(text), model_decode_refusing(text)) << text;
    ASSERT_EQ(decoded_dropping<Plain>(text), decoded_dropping(text)) << text;
    ASSERT_EQ(decoded_refusing<Plain>(text), decoded_refusing(text)) << text;
  }
}

TEST(Base64, AgreesWithTheModelOnLinesOf76) {
  for (const std::string end : {"\n", "\r\n"}) {
    std::string text = model_encode(Bytes(5000, 0xc3));
    for (std::size_t at = 76; at < text.size(); at += 76 + end.size())
      text.insert(at, end);
    EXPECT_EQ(decoded_dropping(text), Bytes(5000, 0xc3));
    EXPECT_EQ(decoded_refusing(text), Bytes(5000, 0xc3));
  }
}

TEST(Base64, EncodesMegabytesToAnyPlace) {
  std::mt19937 random(9);
  Bytes bytes((std::size_t{9} << 20) + 1);
  for (std::uint8_t &byte : bytes)
    byte = static_cast<std::uint8_t>(random());
  const std::string expected = encoded<Plain>(bytes);
  const Block block(expected.size() + 64);
  for (const std::size_t place : {0U, 1U, 4U, 16U, 17U, 32U, 48U}) {
    auto *const to = reinterpret_cast<char *>(block.bytes) + place;
    to[expected.size()] = '!';
    base64::encode(bytes.data(), bytes.size(), to);
    EXPECT_TRUE(std::string_view(to, expected.size()) == expected) << place;
    EXPECT_EQ(to[expected.size()], '!');
  }
}

TEST(Base64, SizesItsBuffers) {
  EXPECT_EQ(base64::encoded_length(0), 0U);
  EXPECT_EQ(base64::encoded_length(1), 4U);
  EXPECT_EQ(base64::encoded_length(3), 4U);
  EXPECT_EQ(base64::encoded_length(4), 8U);
  EXPECT_EQ(base64::decoded_capacity(1), 3U);
  EXPECT_EQ(base64::decoded_capacity(4), 3U);
  EXPECT_EQ(base64::decoded_capacity(5), 6U);
}

} // namespace
} // namespace veltro::test
