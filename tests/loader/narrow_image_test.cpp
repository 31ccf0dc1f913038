// Images for 32-bit ARM: words of four bytes, and code that bit 0 of an address says to be Thumb.

#include "loader/small_image.hpp"

#include <gmock/gmock.h>

using namespace veltro::test;
using testing::ElementsAre;
using veltro::loader::Processor;

namespace {

constexpr uint64_t kClassList = 0x1000, kSelectors = 0x1010, kStrings = 0x1020;
constexpr uint64_t kClass = 0x1100, kMetaclass = 0x1114, kConstants = 0x1140,
                   kMetaConstants = 0x1170;
constexpr uint64_t kMethods = 0x11a0, kVariables = 0x11c0, kOffset = 0x11e0, kProtocolList = 0x11f0;
constexpr uint64_t kProtocol = 0x1200;
constexpr uint64_t kThumbCode = 0x901;

/// A class of one method, one instance variable and one protocol, a selector and a string.
SmallImage component(std::string_view types = "v16@0:4q8") {
  SmallImage image = SmallImage::narrow();
  image.put_text(0x800, "Thing").put_text(0x810, "run:").put_text(0x820, types);
  image.put_text(0x860, "_count").put_text(0x870, "i").put_text(0x880, "Doing");
  image.put_text(0x890, "text");

  image.section({"__DATA", "__objc_classlist", kClassList, 4}).point(kClassList, kClass);
  image.point(kClass, kMetaclass)
      .bind(kClass + 4, "_OBJC_CLASS_$_NSObject")
      .point(kClass + 16, kConstants);
  image.bind(kMetaclass, "_OBJC_METACLASS_$_NSObject").point(kMetaclass + 16, kMetaConstants);
  image.point(kConstants + 16, 0x800).point(kConstants + 20, kMethods);
  image.point(kConstants + 24, kProtocolList).point(kConstants + 28, kVariables);

  image.put(kMethods, 12u).put(kMethods + 4, 1u);
  image.point(kMethods + 8, 0x810).point(kMethods + 12, 0x820).point(kMethods + 16, kThumbCode);
  image.put(kVariables, 20u).put(kVariables + 4, 1u).point(kVariables + 8, kOffset);
  image.point(kVariables + 12, 0x860).point(kVariables + 16, 0x870);
  image.put(kVariables + 20, ~0u).put(kVariables + 24, 4u);
  image.put(kProtocolList, 1u).point(kProtocolList + 4, kProtocol);
  image.point(kProtocol + 4, 0x880).point(kProtocol + 12, kMethods);

  image.section({"__DATA", "__objc_selrefs", kSelectors, 4}).point(kSelectors, 0x810);
  image.section({"__DATA", "__cfstring", kStrings, 16})
      .bind(kStrings, "___CFConstantStringClassReference");
  image.put(kStrings + 4, 0x7c8u).point(kStrings + 8, 0x890).put(kStrings + 12, 4u);
  return image;
}

veltro::loader::Contents read(const Octets &file) {
  return veltro::loader::read_contents({file, "the file"}, Processor::armv7);
}

} // namespace

TEST(NarrowImage, IsReadWithWordsOfFourBytes) {
  const Octets file = component().bytes();
  const auto contents = read(file);
  const auto &header = contents.image.header();
  EXPECT_EQ(header.word, 4u);
  ASSERT_EQ(header.segments.size(), 3u);
  EXPECT_EQ(header.segments[1].name, "__DATA");
  EXPECT_EQ(header.segments[1].address, 0x1000u);
  EXPECT_TRUE(header.segments[1].writable);
  ASSERT_EQ(header.sections.size(), 3u);
  EXPECT_EQ(header.sections[2].name, "__cfstring");
  EXPECT_EQ(header.sections[2].size, 16u);
  EXPECT_EQ(contents.image.fixups().rebases.front(), kClassList);
  EXPECT_EQ(contents.image.fixups().binds.front().address, kStrings);
}

TEST(NarrowImage, HoldsClasses) {
  const Octets file = component().bytes();
  const auto contents = read(file);
  ASSERT_EQ(contents.metadata.classes.size(), 1u);
  const auto &found = contents.metadata.classes[0];
  EXPECT_EQ(found.name, "Thing");
  EXPECT_EQ(found.metaclass, kMetaclass);
  ASSERT_NE(found.superclass.import, nullptr);
  EXPECT_EQ(found.superclass.import->name, "_OBJC_CLASS_$_NSObject");
  ASSERT_EQ(found.methods.size(), 1u);
  EXPECT_EQ(found.methods[0].types, "v16@0:4q8");
  EXPECT_EQ(found.methods[0].code, kThumbCode);
  ASSERT_EQ(found.variables.size(), 1u);
  EXPECT_EQ(found.variables[0].name, "_count");
  EXPECT_EQ(found.variables[0].alignment, 2); // as a pointer
  EXPECT_EQ(found.variables[0].offset_slot, kOffset);
  EXPECT_THAT(found.protocols, ElementsAre(kProtocol));
  EXPECT_EQ(contents.metadata.protocols.at(kProtocol).name, "Doing");
  ASSERT_EQ(contents.metadata.selectors.size(), 1u);
  EXPECT_EQ(contents.metadata.selectors[0].name, "run:");
  ASSERT_EQ(contents.metadata.strings.size(), 1u);
  EXPECT_EQ(contents.metadata.strings[0].length, 4u);
}

TEST(NarrowImage, IsRefusedForMethodsThatCannotBeCalledFromLinux) {
  EXPECT_EQ(reason(component("v24@0:4{Gap=id}8")),
            "takes a structure that is laid out otherwise on Linux: v24@0:4{Gap=id}8");
  EXPECT_EQ(reason(component("v24@0:4{Gap=")), "broken: method types that cannot be read");
}

TEST(NarrowImage, IsCheckedAsWideOnesAre) {
  EXPECT_EQ(reason(component().put_word(kMethods + 16, 0x1801)),
            "broken: Objective-C methods are not code");
  EXPECT_EQ(reason(component().put(kVariables, 16u)),
            "broken: Objective-C instance variables with entries of 16 bytes");
  EXPECT_EQ(reason(component().section({"__DATA", "__objc_protorefs", 0x1060, 6})),
            "broken: Objective-C protocols in a section of half an entry");
  const Octets whole = component().bytes();
  for (size_t size = 0; size < whole.size(); ++size)
    ASSERT_NE(reason(Octets(whole.begin(), whole.begin() + ptrdiff_t(size)), Processor::armv7), "")
        << size;
}

TEST(NarrowImage, IsTheOneOf32BitArmOnly) {
  const Octets file = component().bytes();
  EXPECT_EQ(reason(file, Processor::x86_64), "not an image for x86_64");
  EXPECT_EQ(reason(SmallImage().bytes(), Processor::armv7), "not an image for armv7");
  SmallImage mixed = SmallImage::narrow();
  mixed.commands.push_back(Octets{0x19, 0, 0, 0, 72, 0, 0, 0});
  mixed.commands.back().resize(72);
  EXPECT_EQ(reason(mixed), "broken: a segment of the other word size");
}
