// The vector kernels by themselves, in blocks that end where the readable memory ends, so that one
// byte read or written too many ends the test.

#include "utils/base64_kernels.hpp"
#include "utils/base64_model.hpp"

#if defined(__x86_64__)
#include "utils/base64_x86.hpp"
#endif

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <sys/mman.h>
#include <unistd.h>

namespace veltro::test {
namespace {

/// `size` bytes that a page without any rights follows.
class Guarded {
public:
  explicit Guarded(std::size_t size) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t pages = (size + page - 1) / page * page;
    length_ = pages + page;
    start_ = static_cast<std::uint8_t *>(
        mmap(nullptr, length_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    mprotect(start_ + pages, page, PROT_NONE);
    bytes = start_ + pages - size;
  }
  ~Guarded() { munmap(start_, length_); }
  Guarded(const Guarded &) = delete;
  Guarded &operator=(const Guarded &) = delete;
  std::uint8_t *bytes;

private:
  std::uint8_t *start_;
  std::size_t length_;
};

struct Kernels {
  const char *name;
  std::size_t (*encode)(const std::uint8_t *, std::size_t, char *);
  std::size_t (*decode)(const char *, std::size_t, std::uint8_t *, std::size_t);
};

void PrintTo(const Kernels &kernels, std::ostream *out) {
  *out << kernels.name;
}

std::vector<Kernels> all_kernels() {
  std::vector<Kernels> kernels{{"chosen", base64::encode_run, base64::decode_run}};
#if defined(__x86_64__)
  if (__builtin_cpu_supports("ssse3"))
    kernels.push_back({"ssse3", base64::x86::encode_ssse3, base64::x86::decode_ssse3});
  if (__builtin_cpu_supports("avx2"))
    kernels.push_back({"avx2", base64::x86::encode_avx2, base64::x86::decode_avx2});
#endif
  return kernels;
}

class Base64Kernels : public testing::TestWithParam<Kernels> {};

constexpr std::size_t kLongest = 300;

Bytes random_bytes(std::size_t length) {
  std::mt19937 random(static_cast<unsigned>(length));
  Bytes bytes(length);
  for (std::uint8_t &byte : bytes)
    byte = static_cast<std::uint8_t>(random());
  return bytes;
}

TEST_P(Base64Kernels, EncodeWholeGroupsAndTouchNothingElse) {
  for (std::size_t length = 0; length < kLongest; ++length) {
    const Bytes bytes = random_bytes(length);
    const std::string code = model_encode(bytes);
    const Guarded from(length);
    const Guarded to(code.size());
    std::ranges::copy(bytes, from.bytes);
    auto *const text = reinterpret_cast<char *>(to.bytes);
    const std::size_t taken = GetParam().encode(from.bytes, length, text);
    ASSERT_EQ(taken % 3, 0U);
    ASSERT_LE(taken, length);
    ASSERT_EQ(std::string_view(text, taken / 3 * 4), code.substr(0, taken / 3 * 4)) << length;
  }
}

TEST_P(Base64Kernels, DecodeWholeGroupsAndTouchNothingElse) {
  for (std::size_t length = 0; length < kLongest; ++length) {
    const Bytes bytes = random_bytes(length / 4 * 3);
    std::string code = model_encode(bytes);
    code.resize(length, 'A');
    const Guarded from(length);
    std::ranges::copy(code, from.bytes);
    for (const std::size_t capacity : {bytes.size(), bytes.size() + 1, bytes.size() / 2}) {
      const Guarded to(capacity);
      const std::size_t taken =
          GetParam().decode(reinterpret_cast<const char *>(from.bytes), length, to.bytes, capacity);
      ASSERT_EQ(taken % 4, 0U);
      ASSERT_LE(taken / 4 * 3, capacity);
      ASSERT_TRUE(std::equal(to.bytes, to.bytes + taken / 4 * 3, bytes.begin())) << length;
    }
  }
}

TEST_P(Base64Kernels, StopBeforeTheGroupOfAnyOtherCharacter) {
  const Bytes bytes = random_bytes(192);
  const std::string run = model_encode(bytes);
  Bytes to(bytes.size() + 32);
  for (std::size_t place = 0; place < run.size(); ++place)
    for (unsigned code = 0; code < 256; ++code) {
      const auto character = static_cast<char>(code);
      if (kModelAlphabet.find(character) != std::string_view::npos)
        continue;
      std::string text = run;
      text[place] = character;
      const std::size_t taken = GetParam().decode(text.data(), text.size(), to.data(), to.size());
      ASSERT_LE(taken, place) << code;
      ASSERT_TRUE(std::equal(to.begin(), to.begin() + static_cast<std::ptrdiff_t>(taken / 4 * 3),
                             bytes.begin()));
    }
}

TEST_P(Base64Kernels, TakeMostOfALongRun) {
#if defined(__x86_64__)
  if (!__builtin_cpu_supports("ssse3"))
    GTEST_SKIP() << "the processor has none of the vectors";
#endif
  const Bytes bytes = random_bytes(3000);
  const std::string code = model_encode(bytes);
  std::string text(code.size(), '\0');
  Bytes back(bytes.size());
  EXPECT_GE(GetParam().encode(bytes.data(), bytes.size(), text.data()), 2900U);
  EXPECT_GE(GetParam().decode(code.data(), code.size(), back.data(), back.size()), 3900U);
}

INSTANTIATE_TEST_SUITE_P(All, Base64Kernels, testing::ValuesIn(all_kernels()),
                         testing::PrintToStringParamName());

} // namespace
} // namespace veltro::test
