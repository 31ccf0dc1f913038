#include "platform/loader/constant_strings.hpp"
#include "platform/loader/types.hpp"

#include <gtest/gtest.h>

using veltro::loader::objc::types_for_gcc;
using veltro::loader::objc::utf8_of;

namespace {

std::string utf8(std::u16string_view units) {
  const std::span<const uint8_t> bytes(reinterpret_cast<const uint8_t *>(units.data()),
                                       2 * units.size());
  return utf8_of({bytes, "the units"}, units.size());
}

constexpr const char16_t kHigh = 0xd83d, kLow = 0xde00;

} // namespace

TEST(ConstantStrings, OfUtf16BecomeUtf8) {
  EXPECT_EQ(utf8(u""), "");
  EXPECT_EQ(utf8(u"a\u007f"), "a\x7f");
  EXPECT_EQ(utf8(u"\u0080\u00e9\u07ff"), "\xc2\x80\xc3\xa9\xdf\xbf");
  EXPECT_EQ(utf8(u"\u0800\u20ac\uffff"), "\xe0\xa0\x80\xe2\x82\xac\xef\xbf\xbf");
  EXPECT_EQ(utf8(u"\U00010000\U0001f600\U0010ffff"),
            "\xf0\x90\x80\x80\xf0\x9f\x98\x80\xf4\x8f\xbf\xbf");
  EXPECT_EQ(utf8(std::u16string(u"a\0b", 3)), std::string("a\0b", 3));
}

TEST(ConstantStrings, HaveNoHalfPairs) {
  for (const std::u16string &units :
       {std::u16string{kHigh}, {kLow}, {kHigh, u'a'}, {kLow, kHigh}, {kHigh, kHigh, kLow}})
    EXPECT_THROW((void)utf8(units), veltro::loader::Unloadable);
}

TEST(Types, AreGccsForBool) {
  EXPECT_EQ(types_for_gcc("v20@0:8B16"), "v20@0:8C16");
  EXPECT_EQ(types_for_gcc("B16@0:8"), "C16@0:8");
  EXPECT_EQ(types_for_gcc("^B"), "^C");
  EXPECT_EQ(types_for_gcc("@\"BOOLBox\""), "@\"BOOLBox\"");
  EXPECT_EQ(types_for_gcc("@\"Broken"), "@\"Broken");
  EXPECT_EQ(types_for_gcc("{Box=\"isB\"BB}B"), "{Box=\"isB\"CC}C");
  EXPECT_EQ(types_for_gcc("^{Box}B"), "^{Box}C");
  EXPECT_EQ(types_for_gcc("(Box=B)"), "(Box=C)");
  EXPECT_EQ(types_for_gcc(""), "");
}
