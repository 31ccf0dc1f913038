#include "machine/property_lists/property_list_guard.hpp"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using veltro::host::is_harmless_property_list;

std::string big_endian(std::uint64_t number, std::size_t width) {
  std::string bytes;
  for (std::size_t i = width; i-- > 0;)
    bytes += static_cast<char>(number >> (8 * i));
  return bytes;
}

struct List {
  std::vector<std::string> objects;
  std::uint64_t top = 0;
  std::size_t offset_width = 2;
  std::size_t reference_width = 1;
};

std::string trailer(std::size_t offset_width, std::size_t reference_width, std::uint64_t count,
                    std::uint64_t top, std::uint64_t table) {
  return std::string(6, '\0') + big_endian(offset_width, 1) + big_endian(reference_width, 1) +
         big_endian(count, 8) + big_endian(top, 8) + big_endian(table, 8);
}

std::string bytes_of(const List &list) {
  std::string bytes = "bplist00";
  std::string table;
  for (const std::string &object : list.objects) {
    table += big_endian(bytes.size(), list.offset_width);
    bytes += object;
  }
  const std::size_t table_offset = bytes.size();
  return bytes + table +
         trailer(list.offset_width, list.reference_width, list.objects.size(), list.top,
                 table_offset);
}

bool harmless(const std::string &bytes) {
  // A copy of its own size, so that a sanitizer sees every byte read beyond the end.
  const std::vector<char> exact(bytes.begin(), bytes.end());
  return is_harmless_property_list({exact.data(), exact.size()});
}

bool harmless(const List &list) {
  return harmless(bytes_of(list));
}

TEST(PropertyListGuard, LetsEveryKindOfValuePass) {
  using namespace std::string_literals;
  for (const std::string &object :
       {"\x08"s, "\x09"s, "\x10\x01"s, "\x11\x01\x02"s, "\x12"s + std::string(4, 'i'),
        "\x13"s + std::string(8, 'i'), "\x22"s + std::string(4, 'r'), "\x23"s + std::string(8, 'r'),
        "\x33"s + std::string(8, 'd'), "\x40"s, "\x43xyz"s, "\x55hello"s,
        "\x5F\x10\x10"s + std::string(16, 'a'), "\x62\0a\0b"s, "\x80\x01"s, "\x81\x01\x02"s,
        "\x83\x01\x02\x03\x04"s, "\xA0"s, "\xD0"s}) {
    EXPECT_TRUE(harmless(List{.objects = {object}})) << testing::PrintToString(object);
    // The same without its last byte reaches into the table.
    if (object.size() > 1) {
      EXPECT_FALSE(harmless(List{.objects = {object.substr(0, object.size() - 1)}}))
          << testing::PrintToString(object);
    }
  }
}

TEST(PropertyListGuard, LetsContainersOfAllWidthsPass) {
  for (const std::size_t width : {1U, 2U, 3U, 4U}) {
    const std::string members = "\xA2" + big_endian(1, width) + big_endian(2, width);
    const std::string entries = "\xD1" + big_endian(2, width) + big_endian(2, width);
    EXPECT_TRUE(harmless(List{.objects = {members, entries, "\x51k"}, .reference_width = width}));
    EXPECT_TRUE(harmless(List{.objects = {"\x09"}, .offset_width = width}));
  }
}

TEST(PropertyListGuard, RefusesWhatIsNone) {
  EXPECT_FALSE(harmless("bplist00"));
  EXPECT_FALSE(harmless(std::string(100, '\0')));
  EXPECT_FALSE(harmless("bplist01" + bytes_of({.objects = {"\x09"}}).substr(8)));
  EXPECT_FALSE(harmless(List{}));
}

TEST(PropertyListGuard, RefusesEveryTruncation) {
  const std::string whole = bytes_of({.objects = {"\xA2\x01\x02", "\x51k", "\x10\x07"}});
  ASSERT_TRUE(harmless(whole));
  for (std::size_t length = 6; length < whole.size(); ++length) // shorter is text
    EXPECT_FALSE(harmless(whole.substr(0, length))) << length;
}

TEST(PropertyListGuard, RefusesUnknownMarkers) {
  using namespace std::string_literals;
  const std::string rest(20, '\0');
  for (const std::string &marker :
       {"\0"s, "\x0F"s, "\x14"s, "\x1F"s, "\x20"s, "\x24"s, "\x30"s, "\x34"s, "\x70"s, "\x84"s,
        "\x8F"s, "\x90"s, "\xB0"s, "\xC0"s, "\xE0"s, "\xF0"s, "\x4F\x20\x01"s})
    EXPECT_FALSE(harmless(List{.objects = {marker + rest}})) << testing::PrintToString(marker);
}

TEST(PropertyListGuard, RefusesRings) {
  EXPECT_FALSE(harmless(List{.objects = {std::string("\xA1\0", 2)}}));
  EXPECT_FALSE(harmless(List{.objects = {"\xA1\x01", std::string("\xA1\0", 2)}}));
  EXPECT_FALSE(harmless(List{.objects = {std::string("\xD1\x01\0", 3), "\x51k"}}));
}

TEST(PropertyListGuard, RefusesDeepNesting) {
  const auto nested = [](std::uint64_t levels) {
    List list{.objects = {}, .reference_width = 2};
    for (std::uint64_t level = 1; level <= levels; ++level)
      list.objects.push_back("\xA1" + big_endian(level, 2));
    list.objects.emplace_back("\x09");
    return list;
  };
  EXPECT_TRUE(harmless(nested(512)));
  EXPECT_FALSE(harmless(nested(513)));
}

TEST(PropertyListGuard, CountsAnObjectAsOftenAsItIsReferredTo) {
  const auto doubled = [](int levels) {
    List list;
    for (int level = 1; level <= levels; ++level)
      list.objects.push_back(std::string("\xA2") + std::string(2, static_cast<char>(level)));
    list.objects.emplace_back("\x09");
    return list;
  };
  // 63 objects of 72 bytes, 127 of 77.
  EXPECT_TRUE(harmless(doubled(5)));
  EXPECT_FALSE(harmless(doubled(6)));
  EXPECT_FALSE(harmless(doubled(60)));
}

TEST(PropertyListGuard, CountsTheBytesOfAStringAsOftenAsItIsReferredTo) {
  const auto repeated = [](char times) {
    const std::string string = "\x5F\x12" + big_endian(8 << 20, 4) + std::string(8 << 20, 's');
    return List{.objects = {"\xAF\x10" + std::string(1, times) +
                                std::string(static_cast<std::size_t>(times), '\x01'),
                            string},
                .offset_width = 4};
  };
  EXPECT_TRUE(harmless(repeated(32)));
  EXPECT_FALSE(harmless(repeated(33)));
}

TEST(PropertyListGuard, RefusesLengthsBeyondTheData) {
  for (const char *kind : {"\x4F\x13", "\x5F\x13", "\x6F\x13", "\xAF\x13", "\xDF\x13"})
    for (const std::uint64_t length :
         {std::uint64_t{40}, std::uint64_t{1} << 32, std::uint64_t{1} << 63, ~std::uint64_t{0}})
      EXPECT_FALSE(harmless(List{.objects = {kind + big_endian(length, 8) + "short"}}));
  EXPECT_FALSE(harmless(List{.objects = {"\x5F"}}));
  EXPECT_FALSE(harmless(List{.objects = {"\x5F\x12\x01"}}));
}

TEST(PropertyListGuard, RefusesTrailersThatLie) {
  const std::string body = "bplist00\x09\x08";
  ASSERT_TRUE(harmless(body + trailer(1, 1, 1, 0, 9)));
  EXPECT_FALSE(harmless(body + trailer(0, 1, 1, 0, 9)));
  EXPECT_FALSE(harmless(body + trailer(5, 1, 1, 0, 9)));
  EXPECT_FALSE(harmless(body + trailer(1, 0, 1, 0, 9)));
  EXPECT_FALSE(harmless(body + trailer(1, 8, 1, 0, 9)));
  EXPECT_FALSE(harmless(body + trailer(1, 1, 2, 0, 9)));
  EXPECT_FALSE(harmless(body + trailer(1, 1, ~std::uint64_t{0}, 0, 9)));
  EXPECT_FALSE(harmless(body + trailer(1, 1, 1, 1, 9)));
  EXPECT_FALSE(harmless(body + trailer(1, 1, 1, 0, 7)));
  EXPECT_FALSE(harmless(body + trailer(1, 1, 1, 0, 11)));
  EXPECT_FALSE(harmless(body + trailer(1, 1, 1, 0, ~std::uint64_t{0})));
  // Offsets into the header and into the table.
  EXPECT_FALSE(harmless("bplist00\x09\x07" + trailer(1, 1, 1, 0, 9)));
  EXPECT_FALSE(harmless("bplist00\x09\x09" + trailer(1, 1, 1, 0, 9)));
}

std::string repeated(const std::string &text, int times) {
  std::string all;
  for (int time = 0; time < times; ++time)
    all += text;
  return all;
}

constexpr const char *kDeclaration = "<?xml version=\"1.0\"?><plist version=\"1.0\">";

std::string xml(const std::string &text) {
  return kDeclaration + text + "</plist>";
}

TEST(PropertyListGuard, LetsTextPassThatNestsReasonably) {
  EXPECT_TRUE(harmless(""));
  EXPECT_TRUE(harmless("{ a = (b, \"c\"); }"));
  EXPECT_TRUE(harmless("no property list"));
  EXPECT_TRUE(harmless(repeated("(", 512) + repeated(")", 512)));
  EXPECT_TRUE(harmless("(" + repeated("(), {},", 1000) + ")"));
  EXPECT_TRUE(harmless("(\"" + repeated("(", 1000) + R"(\")" + repeated("(", 1000) + "\")"));
  EXPECT_TRUE(harmless(xml(repeated("<dict><array>", 256))));
  EXPECT_TRUE(harmless(xml("<array>" + repeated("<array/><dict></dict>", 1000) + "</array>")));
  EXPECT_TRUE(harmless(xml("<string>" + repeated("({", 1000) + "</string>")));
  EXPECT_TRUE(harmless("\xEF\xBB\xBF \n" + xml("<string>" + repeated("({", 1000) + "</string>")));
}

TEST(PropertyListGuard, RefusesTextThatNestsDeeply) {
  EXPECT_FALSE(harmless(repeated("(", 513)));
  EXPECT_FALSE(harmless(repeated("{a=", 513)));
  EXPECT_FALSE(harmless("\"a\" = " + repeated("(", 513)));
  EXPECT_FALSE(harmless(xml(repeated("<array>", 513))));
  EXPECT_FALSE(harmless(xml(repeated("<dict><key>k</key>", 513))));
  EXPECT_FALSE(harmless(repeated("(", 513) + xml(""))) << "text, for all that comes later";
}

TEST(PropertyListGuard, IsNotMisledByCommentsAndQuotes) {
  EXPECT_FALSE(harmless(repeated("(/*)*/", 513)));
  EXPECT_FALSE(harmless(repeated("(//)\n", 513)));
  EXPECT_FALSE(harmless(repeated("(\")\",", 513)));
  EXPECT_FALSE(harmless("(a//," + repeated("(", 513))) << "a word, and no comment";
  EXPECT_FALSE(harmless(")))" + repeated("(", 513)));
  EXPECT_FALSE(harmless(xml(repeated("<array><!--</array>-->", 513))));
  EXPECT_FALSE(harmless(xml(repeated("<array><![CDATA[</array>]]>", 513))));
  EXPECT_FALSE(harmless(xml(repeated("<array a=\"</array>\">", 513))));
  EXPECT_FALSE(harmless(xml("</array>" + repeated("<array>", 513))));
  EXPECT_FALSE(harmless(kDeclaration + ("<!--" + repeated("<array>", 513))));
}

TEST(PropertyListGuard, RefusesTheFormatsOfGnustep) {
  EXPECT_FALSE(harmless(std::string(100, '\0')));
  EXPECT_FALSE(harmless("\x01\x02\xff\xda\xfe\x01\x01")) << "asks for gigabytes";
}

} // namespace
