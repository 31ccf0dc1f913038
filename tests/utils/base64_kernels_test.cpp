// Every set of vector kernels within the rules, compared with the model in blocks that end where
// the readable memory ends, so that one byte read or written too many ends the test.

#include "utils/base64_model.hpp"
#include "utils/base64_rules.hpp"

#if defined(__x86_64__)
#include "utils/base64_x86.hpp"
#elif defined(__ARM_NEON)
#include "utils/base64_neon.hpp"
#endif

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <sys/mman.h>
#include <unistd.h>

namespace veltro::test {
namespace {

/// Memory that a page without any rights follows.
class Guarded {
public:
  Guarded() {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    start_ = static_cast<std::uint8_t *>(
        mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    end_ = start_ + page;
    mprotect(end_, page, PROT_NONE);
  }
  ~Guarded() { munmap(start_, static_cast<std::size_t>(end_ - start_) * 2); }
  Guarded(const Guarded &) = delete;
  Guarded &operator=(const Guarded &) = delete;

  /// The last `size` bytes before that page.
  [[nodiscard]] std::uint8_t *last(std::size_t size) const { return end_ - size; }

private:
  std::uint8_t *start_;
  std::uint8_t *end_;
};

struct Named {
  const char *name;
  base64::Kernels kernels;
};

void PrintTo(const Named &named, std::ostream *out) {
  *out << named.name;
}

/// Those that the processor here has, and none, for which the rules do everything.
std::vector<Named> all_kernels() {
  std::vector<Named> all{{"none", base64::kNoVectors}};
#if defined(__x86_64__)
  if (__builtin_cpu_supports("ssse3"))
    all.push_back({"ssse3", base64::kSsse3});
  if (__builtin_cpu_supports("avx2"))
    all.push_back({"avx2", base64::kAvx2});
  if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi"))
    all.push_back({"avx512", base64::kAvx512});
#elif defined(__ARM_NEON)
  all.push_back({"neon", base64::kNeon});
#endif
  return all;
}

/// One set of kernels within the rules.
class Base64Kernels : public testing::TestWithParam<Named> {
protected:
  static const base64::Kernels &kernels() { return GetParam().kernels; }

  [[nodiscard]] std::string encoded(const Bytes &bytes) const {
    std::uint8_t *const from = from_.last(bytes.size());
    std::ranges::copy(bytes, from);
    const std::size_t size = base64::encoded_length(bytes.size());
    auto *const text = reinterpret_cast<char *>(to_.last(size));
    base64::rules::encode(kernels(), from, bytes.size(), text);
    return {text, size};
  }

  /// Of the first codec's text, a zero is read too.
  [[nodiscard]] std::optional<Bytes> dropping(const std::string &text) const {
    return decoded(base64::rules::Dropping{}, text, text.size() + 1, text.size());
  }

  [[nodiscard]] std::optional<Bytes> refusing(const std::string &text) const {
    std::uint8_t table[256];
    base64::make_table(table);
    const std::size_t capacity = base64::decoded_capacity(text.size());
    return decoded(base64::rules::Refusing{table}, text, text.size(), capacity);
  }

private:
  template <typename Codec>
  [[nodiscard]] std::optional<Bytes> decoded(const Codec &codec, const std::string &text,
                                             std::size_t readable, std::size_t capacity) const {
    std::uint8_t *const from = from_.last(readable);
    std::copy_n(text.c_str(), readable, from);
    std::uint8_t *const to = to_.last(capacity);
    const auto result = base64::rules::decode(
        kernels(), codec, reinterpret_cast<const char *>(from), text.size(), to);
    if (!result.valid)
      return std::nullopt;
    return Bytes(to, to + result.length);
  }

  Guarded from_;
  Guarded to_;
};

constexpr std::size_t kLongest = 300;

Bytes random_bytes(std::size_t length) {
  std::mt19937 random(static_cast<unsigned>(length));
  Bytes bytes(length);
  for (std::uint8_t &byte : bytes)
    byte = static_cast<std::uint8_t>(random());
  return bytes;
}

TEST_P(Base64Kernels, KnowTheAlphabet) {
  // The values from 0 to 63 in order, once and, for blocks of several, often.
  Bytes bytes;
  for (unsigned value = 0; value < 64; value += 4) {
    bytes.push_back(static_cast<std::uint8_t>(value << 2 | (value + 1) >> 4));
    bytes.push_back(static_cast<std::uint8_t>((value + 1) << 4 | (value + 2) >> 2));
    bytes.push_back(static_cast<std::uint8_t>((value + 2) << 6 | (value + 3)));
  }
  std::string code = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (int doubled = 0; doubled < 4; ++doubled) {
    EXPECT_EQ(encoded(bytes), code);
    EXPECT_EQ(dropping(code), bytes);
    EXPECT_EQ(refusing(code), bytes);
    bytes.insert(bytes.end(), bytes.begin(), bytes.end());
    code += code;
  }
}

TEST_P(Base64Kernels, CodeEveryLengthAndTouchNothingElse) {
  for (std::size_t length = 0; length <= kLongest; ++length) {
    const Bytes bytes = random_bytes(length);
    const std::string code = model_encode(bytes);
    ASSERT_EQ(encoded(bytes), code) << length;
    ASSERT_EQ(dropping(code), bytes) << length;
    ASSERT_EQ(refusing(code), bytes) << length;
    // Without its padding, and cut anywhere.
    const std::string cut = model_encode(random_bytes(kLongest)).substr(0, length);
    ASSERT_EQ(dropping(cut), model_decode_dropping(cut)) << length;
    ASSERT_EQ(refusing(cut), model_decode_refusing(cut)) << length;
  }
}

TEST_P(Base64Kernels, DecodeEveryCharacterAtEveryPlace) {
  const std::string run = model_encode(random_bytes(144));
  for (std::size_t place = 0; place < run.size(); ++place)
    for (unsigned code = 1; code < 256; ++code) {
      std::string text = run;
      text[place] = static_cast<char>(code);
      ASSERT_EQ(dropping(text), model_decode_dropping(text)) << place << ' ' << code;
      ASSERT_EQ(refusing(text), model_decode_refusing(text)) << place << ' ' << code;
    }
}

TEST_P(Base64Kernels, DecodeLinesOfEveryLength) {
  const Bytes bytes = random_bytes(kLongest);
  const std::string code = model_encode(bytes);
  for (const std::string end : {"\n", "\r\n", " \t\n\f"})
    for (std::size_t length = 1; length <= code.size(); ++length) {
      std::string text;
      for (std::size_t at = 0; at < code.size(); at += length)
        text.append(code, at, length).append(end);
      ASSERT_EQ(dropping(text), bytes) << length;
      ASSERT_EQ(refusing(text), bytes) << length;
    }
}

TEST_P(Base64Kernels, DecodeRandomTexts) {
  // Mostly of the alphabet, so that runs are long enough for the vectors.
  const std::string unusual = "= \t\n\v\f\r*-";
  std::mt19937 random(4648);
  for (int round = 0; round < 20000; ++round) {
    std::string text(random() % 300, '\0');
    const auto rarity = 1 + random() % 60;
    const auto kinds = round % 2 == 0 ? unusual.size() : 7; // or only what is skipped
    for (char &character : text)
      character = random() % rarity == 0 ? unusual[random() % kinds]
                                         : kModelAlphabet[random() % kModelAlphabet.size()];
    ASSERT_EQ(dropping(text), model_decode_dropping(text)) << text;
    ASSERT_EQ(refusing(text), model_decode_refusing(text)) << text;
  }
}

TEST_P(Base64Kernels, TakeMostOfALongRun) {
  const Bytes bytes = random_bytes(3000);
  const std::string code = model_encode(bytes);
  std::string text(code.size(), '\0');
  Bytes back(bytes.size());
  const std::size_t taken = kernels().encode(bytes.data(), bytes.size(), text.data());
  const auto run = kernels().decode(code.data(), code.size(), back.data(), 0);
  const bool none = GetParam().name == std::string_view("none");
  EXPECT_TRUE(none ? taken == 0 : taken >= 2900) << taken;
  EXPECT_TRUE(none ? run.read == 0 : run.read >= 3900) << run.read;
  EXPECT_EQ(run.written, run.read / 4 * 3);
}

INSTANTIATE_TEST_SUITE_P(All, Base64Kernels, testing::ValuesIn(all_kernels()),
                         testing::PrintToStringParamName());

} // namespace
} // namespace veltro::test
