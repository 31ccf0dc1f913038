#include "tools/base64_in_pieces.hpp"
#include "utils/base64_model.hpp"

#include <gtest/gtest.h>
#include <random>

namespace veltro::test {
namespace {

Decoded model(const std::string &text, bool lenient) {
  const auto bytes = lenient ? model_decode_dropping(text) : model_decode_refusing(text);
  return bytes ? Decoded(std::string(bytes->begin(), bytes->end())) : std::nullopt;
}

/// Compares the pieces with the whole and the whole with the model; whether the text is valid.
template <typename Size>
bool expect_the_same(const std::string &text, bool lenient, const Size &next_size) {
  std::size_t most_held = 0;
  const Decoded whole = decoded_whole(text, lenient);
  EXPECT_EQ(whole, model(text, lenient)) << testing::PrintToString(text);
  EXPECT_EQ(decoded_in_pieces(text, lenient, next_size, most_held), whole)
      << testing::PrintToString(text);
  EXPECT_LE(most_held, 3U);
  return whole.has_value();
}

TEST(Base64Decoder, DecodesAsTheWholeOnEveryShortTextInPiecesOfAnySize) {
  const std::string_view characters("Zm= \v*\0", 7);
  for (std::size_t length = 0, count = 1; length <= 4; ++length, count *= characters.size())
    for (std::size_t number = 0; number < count; ++number) {
      // A whole group before, so that the text may open any place of the next one.
      std::string text = "Zm9vZ";
      for (std::size_t place = 0, rest = number; place < length; ++place, rest /= characters.size())
        text += characters[rest % characters.size()];
      for (const bool lenient : {false, true})
        for (std::size_t size = 1; size <= text.size(); ++size)
          expect_the_same(text, lenient, [&] { return size; });
    }
}

/// Texts of which some are valid and some are not, with long stretches of what is skipped.
std::string random_text(std::mt19937_64 &random) {
  constexpr std::string_view kSkipped = "==== \t\n\f\r ";
  const std::string_view unusual("=\v*\0\x80\xff-_", 8);
  const auto rarity = 1 + random() % 6;
  const auto oddity = 1 + random() % 400;
  std::string text;
  for (auto size = random() % 120; size > 0; --size) {
    if (random() % oddity == 0)
      text += unusual[random() % unusual.size()];
    else if (random() % rarity != 0)
      text += kModelAlphabet[random() % 64];
    else
      text.append(random() % 12, kSkipped[random() % kSkipped.size()]);
  }
  return text;
}

TEST(Base64Decoder, DecodesAsTheWholeOnRandomTextsInRandomPieces) {
  std::mt19937_64 random(4648);
  std::size_t valid = 0;
  for (int round = 0; round < 5'000; ++round) {
    const std::string text = random_text(random);
    const auto longest = 1 + random() % 40;
    for (const bool lenient : {false, true})
      valid += expect_the_same(text, lenient, [&] { return 1 + random() % longest; }) ? 1U : 0U;
  }
  // Enough of both kinds of texts.
  EXPECT_GT(valid, 2'500U);
  EXPECT_LT(valid, 7'500U);
}

/// What the decoder holds at most while `first` is followed by 64 MiB of `filler`, which ends
/// inside the group that `last` completes.
std::size_t most_held(bool lenient, std::string_view first, char filler, std::string_view last) {
  tool::Base64Decoder decoder(lenient);
  const std::string piece(std::size_t{256} << 10, filler);
  std::string bytes;
  EXPECT_TRUE(decoder.take(first, bytes));
  std::size_t most = decoder.held();
  for (int round = 0; round < 256; ++round) {
    EXPECT_TRUE(decoder.take(piece, bytes));
    most = std::max(most, decoder.held());
  }
  EXPECT_TRUE(decoder.take(last, bytes) && decoder.finish(bytes));
  EXPECT_EQ(bytes, "foo");
  return most;
}

TEST(Base64Decoder, HoldsNoMoreThanAnOpenGroupOfAnyTextThatIsSkipped) {
  for (const bool lenient : {false, true}) {
    EXPECT_EQ(most_held(lenient, "Z", ' ', "m9v"), 1U);
    EXPECT_EQ(most_held(lenient, "Zm", '=', "9v"), 2U);
    EXPECT_EQ(most_held(lenient, "Zm9", '\n', "v"), 3U);
  }
  EXPECT_EQ(most_held(false, "Z", '=', "m9v"), 1U);
  EXPECT_EQ(most_held(false, "Zm", '\v', "9v"), 2U);
}

TEST(Base64Decoder, RefusesAtOnceWhatNothingThatFollowsMakesValid) {
  for (const auto &[lenient, text] :
       {std::pair(true, "Z="), {true, "Z=="}, {true, "Zm\v"}, {true, "Z*"}, {false, "Z*"}}) {
    std::string bytes;
    EXPECT_FALSE(tool::Base64Decoder(lenient).take(text, bytes)) << text;
    EXPECT_EQ(bytes, "");
  }
}

} // namespace
} // namespace veltro::test
