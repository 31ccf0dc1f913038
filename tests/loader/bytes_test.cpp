#include "platform/loader/bytes.hpp"

#include <gtest/gtest.h>

using veltro::loader::Bytes;
using veltro::loader::Cursor;
using veltro::loader::Unloadable;

namespace {

std::string reason(const std::function<void()> &work) {
  try {
    work();
    return "";
  } catch (const Unloadable &unloadable) {
    return unloadable.what();
  }
}

uint64_t uleb(std::initializer_list<uint8_t> bytes) {
  const std::vector<uint8_t> all(bytes);
  return Cursor({all, "the numbers"}).uleb();
}

int64_t sleb(std::initializer_list<uint8_t> bytes) {
  const std::vector<uint8_t> all(bytes);
  return Cursor({all, "the numbers"}).sleb();
}

const std::vector<uint8_t> kSix{1, 2, 3, 4, 5, 0};

} // namespace

TEST(Bytes, ReadsNumbersToTheLastByte) {
  const Bytes bytes(kSix, "six");
  EXPECT_EQ(bytes.get<uint32_t>(0), 0x04030201u);
  EXPECT_EQ(bytes.get<uint16_t>(4), 5u);
  EXPECT_EQ(bytes.word(1, 4), 0x05040302u);
  EXPECT_EQ(reason([&] { (void)bytes.get<uint32_t>(3); }), "truncated: within six");
  EXPECT_EQ(reason([&] { (void)bytes.get<uint8_t>(6); }), "truncated: within six");
  EXPECT_EQ(reason([&] { (void)bytes.get<uint8_t>(UINT64_MAX); }), "truncated: within six");
}

TEST(Bytes, TakesPartsWithinItself) {
  const Bytes bytes(kSix, "six");
  EXPECT_EQ(bytes.part(2, 4, "four").size(), 4u);
  EXPECT_EQ(bytes.part(6, 0, "none").size(), 0u);
  EXPECT_EQ(reason([&] { (void)bytes.part(2, 5, "five"); }), "truncated: five past the end");
  EXPECT_EQ(reason([&] { (void)bytes.part(7, 0, "none"); }), "truncated: none past the end");
  EXPECT_EQ(reason([&] { (void)bytes.part(1, UINT64_MAX, "all"); }), "truncated: all past the end");
}

TEST(Bytes, ReadsTextsThatEnd) {
  const std::vector<uint8_t> bytes{'a', 'b', 0, 'c', 'd'};
  const Bytes texts(bytes, "texts");
  EXPECT_EQ(texts.text(0), "ab");
  EXPECT_EQ(texts.text(2), "");
  EXPECT_EQ(texts.padded_text(3, 2), "cd");
  EXPECT_EQ(texts.padded_text(0, 4), "ab");
  EXPECT_EQ(reason([&] { (void)texts.text(3); }), "truncated: within texts");
  EXPECT_EQ(reason([&] { (void)texts.text(5); }), "truncated: within texts");
}

TEST(Cursor, ReadsUnsignedNumbersOfSevenBits) {
  EXPECT_EQ(uleb({0x00}), 0u);
  EXPECT_EQ(uleb({0xe5, 0x8e, 0x26}), 624485u);
  EXPECT_EQ(uleb({0x80, 0x80, 0x00}), 0u);
  EXPECT_EQ(uleb({0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x01}), UINT64_MAX);
}

TEST(Cursor, ReadsSignedNumbersOfSevenBits) {
  EXPECT_EQ(sleb({0x02}), 2);
  EXPECT_EQ(sleb({0x7e}), -2);
  EXPECT_EQ(sleb({0xff, 0x00}), 127);
  EXPECT_EQ(sleb({0x80, 0x7f}), -128);
  EXPECT_EQ(sleb({0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x7f}), INT64_MIN);
}

TEST(Cursor, RefusesNumbersOfMoreThan64Bits) {
  constexpr const char *kReason = "broken: a number of more than 64 bits in the numbers";
  EXPECT_EQ(reason([] { uleb({0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x02}); }),
            kReason);
  EXPECT_EQ(
      reason([] { uleb({0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00}); }),
      kReason);
  EXPECT_EQ(
      reason([] { sleb({0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00}); }),
      kReason);
  EXPECT_EQ(reason([] { uleb({0x80}); }), "truncated: within the numbers");
}
