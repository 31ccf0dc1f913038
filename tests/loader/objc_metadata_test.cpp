#include "loader/small_image.hpp"

#include <gmock/gmock.h>

using namespace veltro::test;
using testing::ElementsAre;
using veltro::loader::Processor;
using veltro::loader::objc::Metadata;

namespace {

// Where the parts of the image below lie.
constexpr uint64_t kClassList = 0x1000, kCategoryList = 0x1020, kSelectors = 0x1030,
                   kClasses = 0x1040, kProtocols = 0x1050, kStrings = 0x1060;
constexpr uint64_t kClass = 0x1100, kMetaclass = 0x1128, kConstants = 0x1180,
                   kMetaConstants = 0x11d0;
constexpr uint64_t kMethods = 0x1220, kVariables = 0x1250, kOffset = 0x1290, kProtocolList = 0x12a0;
constexpr uint64_t kProtocol = 0x12c0, kCategory = 0x1340;
constexpr uint64_t kCode = 0x900;

/// A class of one method, one instance variable and one protocol, a category on NSDate, and
/// references.
SmallImage component() {
  SmallImage image;
  image.put_text(0x800, "Thing").put_text(0x810, "run:").put_text(0x820, "v20@0:8B16");
  image.put_text(0x830, "_count")
      .put_text(0x840, "q")
      .put_text(0x850, "Doing")
      .put_text(0x860, "text");

  image.section({"__DATA", "__objc_classlist", kClassList, 8}).point(kClassList, kClass);
  image.point(kClass, kMetaclass)
      .bind(kClass + 8, "_OBJC_CLASS_$_NSObject")
      .point(kClass + 32, kConstants);
  image.bind(kMetaclass, "_OBJC_METACLASS_$_NSObject").point(kMetaclass + 32, kMetaConstants);
  image.point(kConstants + 24, 0x800).point(kConstants + 32, kMethods);
  image.point(kConstants + 40, kProtocolList).point(kConstants + 48, kVariables);

  image.put(kMethods, 24u).put(kMethods + 4, 1u);
  image.point(kMethods + 8, 0x810).point(kMethods + 16, 0x820).point(kMethods + 24, kCode);
  image.put(kVariables, 32u).put(kVariables + 4, 1u).point(kVariables + 8, kOffset);
  image.point(kVariables + 16, 0x830).point(kVariables + 24, 0x840);
  image.put(kVariables + 32, 3u).put(kVariables + 36, 8u);
  image.put(kProtocolList, uint64_t(1)).point(kProtocolList + 8, kProtocol);
  image.point(kProtocol + 8, 0x850).point(kProtocol + 24, kMethods);

  image.section({"__DATA", "__objc_catlist", kCategoryList, 8}).point(kCategoryList, kCategory);
  image.point(kCategory, 0x800)
      .bind(kCategory + 8, "_OBJC_CLASS_$_NSDate")
      .point(kCategory + 24, kMethods);

  image.section({"__DATA", "__objc_selrefs", kSelectors, 8}).point(kSelectors, 0x810);
  image.section({"__DATA", "__objc_classrefs", kClasses, 16}).point(kClasses, kClass);
  image.bind(kClasses + 8, "_OBJC_CLASS_$_NSString");
  image.section({"__DATA", "__objc_protorefs", kProtocols, 8}).point(kProtocols, kProtocol);

  image.section({"__DATA", "__cfstring", kStrings, 32})
      .bind(kStrings, "___CFConstantStringClassReference");
  image.put(kStrings + 8, 0x7c8u).point(kStrings + 16, 0x860).put(kStrings + 24, uint64_t(4));
  return image;
}

veltro::loader::Contents read(const Octets &file) {
  return veltro::loader::read_contents({file, "the file"}, Processor::x86_64);
}

/// Why the component is not loaded with a number of its written over.
template <class T> std::string reason_with(uint64_t address, T value) {
  return reason(component().put(address, value));
}

} // namespace

TEST(Metadata, HoldsClassesWithAllThatIsTheirs) {
  const Octets file = component().bytes();
  const auto contents = read(file);
  const Metadata &metadata = contents.metadata;
  ASSERT_EQ(metadata.classes.size(), 1u);
  const auto &found = metadata.classes[0];
  EXPECT_EQ(found.name, "Thing");
  EXPECT_EQ(found.address, kClass);
  EXPECT_EQ(found.metaclass, kMetaclass);
  ASSERT_NE(found.superclass.import, nullptr);
  EXPECT_EQ(found.superclass.import->name, "_OBJC_CLASS_$_NSObject");
  ASSERT_EQ(found.methods.size(), 1u);
  EXPECT_EQ(found.methods[0].name, "run:");
  EXPECT_EQ(found.methods[0].types, "v20@0:8B16");
  EXPECT_EQ(found.methods[0].code, kCode);
  EXPECT_TRUE(found.class_methods.empty());
  ASSERT_EQ(found.variables.size(), 1u);
  EXPECT_EQ(found.variables[0].name, "_count");
  EXPECT_EQ(found.variables[0].type, "q");
  EXPECT_EQ(found.variables[0].size, 8u);
  EXPECT_EQ(found.variables[0].alignment, 3);
  EXPECT_EQ(found.variables[0].offset_slot, kOffset);
  EXPECT_THAT(found.protocols, ElementsAre(kProtocol));
}

TEST(Metadata, HoldsCategoriesProtocolsAndReferences) {
  const Octets file = component().bytes();
  const auto contents = read(file);
  const Metadata &metadata = contents.metadata;
  ASSERT_EQ(metadata.categories.size(), 1u);
  EXPECT_EQ(metadata.categories[0].name, "Thing");
  ASSERT_NE(metadata.categories[0].on.import, nullptr);
  EXPECT_EQ(metadata.categories[0].on.import->name, "_OBJC_CLASS_$_NSDate");
  EXPECT_TRUE(metadata.categories[0].methods.empty());
  EXPECT_EQ(metadata.categories[0].class_methods.size(), 1u);
  ASSERT_EQ(metadata.protocols.size(), 1u);
  EXPECT_EQ(metadata.protocols.at(kProtocol).name, "Doing");
  ASSERT_EQ(metadata.protocols.at(kProtocol).methods.size(), 1u);
  EXPECT_EQ(metadata.protocols.at(kProtocol).methods[0].name, "run:");
  ASSERT_EQ(metadata.selectors.size(), 1u);
  EXPECT_EQ(metadata.selectors[0].slot, kSelectors);
  EXPECT_EQ(metadata.selectors[0].name, "run:");
  // What is bound elsewhere is no matter of this reader's.
  ASSERT_EQ(metadata.class_slots.size(), 1u);
  EXPECT_EQ(metadata.class_slots[0].address, kClasses);
  EXPECT_EQ(metadata.class_slots[0].target, kClass);
  ASSERT_EQ(metadata.protocol_slots.size(), 1u);
  EXPECT_EQ(metadata.protocol_slots[0].target, kProtocol);
  ASSERT_EQ(metadata.strings.size(), 1u);
  EXPECT_EQ(metadata.strings[0].address, kStrings);
  EXPECT_EQ(metadata.strings[0].characters, 0x860u);
  EXPECT_EQ(metadata.strings[0].length, 4u);
  EXPECT_FALSE(metadata.strings[0].utf16);
}

TEST(Metadata, OrdersSuperclassesFirst) {
  SmallImage image = component();
  // A second class, below the first and listed before it.
  constexpr uint64_t kBelow = 0x1400, kBelowMeta = 0x1428, kBelowConstants = 0x1480;
  image.section({"__DATA", "__objc_classlist", kClassList + 8, 8});
  image.sections[0].address = 0x1500;
  image.point(0x1500, kBelow).point(kClassList + 8, kClass);
  image.point(kBelow, kBelowMeta).point(kBelow + 8, kClass).point(kBelow + 32, kBelowConstants);
  image.point(kBelowMeta + 32, kMetaConstants).point(kBelowConstants + 24, 0x830);
  const Octets file = image.bytes();
  const auto contents = read(file);
  const Metadata &metadata = contents.metadata;
  ASSERT_EQ(metadata.classes.size(), 2u);
  EXPECT_EQ(metadata.classes[0].name, "Thing");
  EXPECT_EQ(metadata.classes[1].name, "_count");
  EXPECT_EQ(metadata.classes[1].superclass.address, kClass);
}

TEST(Metadata, RefusesClassesAboveThemselves) {
  SmallImage image = component();
  image.sections.erase(image.sections.begin() + 1, image.sections.end());
  image.binds.clear();
  image.point(kClass + 8, kClass);
  EXPECT_EQ(reason(image), "broken: class Thing is above itself");
}

TEST(Metadata, RefusesSuperclassesOfNoList) {
  SmallImage image = component();
  image.sections.erase(image.sections.begin() + 1, image.sections.end());
  image.binds.clear();
  image.point(kClass + 8, kMetaclass);
  EXPECT_EQ(reason(image), "broken: Objective-C classes refer to a class that is in no list");
}

TEST(Metadata, RefusesAClassThatIsThereTwice) {
  SmallImage image = component();
  image.sections[0].size = 16;
  image.point(kClassList + 8, kClass);
  EXPECT_EQ(reason(image), "broken: class Thing is there twice");
}

TEST(Metadata, RefusesNamesAndCodeOutsideOfTheImage) {
  EXPECT_EQ(reason_with(kConstants + 24, uint64_t(0x5000)),
            "broken: Objective-C classes outside of the image's contents");
  EXPECT_EQ(reason_with(kConstants + 24, uint64_t(0x2fff)),
            "broken: Objective-C classes outside of the image's contents");
  EXPECT_EQ(reason_with(kConstants + 24, uint64_t(0x803)), ""); // "ng"
  EXPECT_EQ(reason_with(kConstants + 24, uint64_t(0x805)),
            "broken: an Objective-C class without a name");
  EXPECT_EQ(reason_with(kMethods + 24, uint64_t(0x1000)),
            "broken: Objective-C methods are not code");
  EXPECT_EQ(reason_with(kMethods + 8, uint64_t(0)), "broken: null in place of Objective-C methods");
  EXPECT_EQ(reason_with(kVariables + 8, uint64_t(0x800)),
            "broken: Objective-C instance variables cannot be written");
  EXPECT_EQ(reason_with(kVariables + 8, uint64_t(0x1ffc)),
            "broken: Objective-C instance variables cannot be written");
  EXPECT_EQ(reason_with(kConstants + 56, uint64_t(0x1)), ""); // a layout, which is not read
  EXPECT_EQ(reason_with(kConstants + 64, uint64_t(0x1)), ""); // and properties
}

TEST(Metadata, RefusesPointersThatAreNotRebased) {
  EXPECT_EQ(reason_with(kMetaConstants + 32, uint64_t(0x1220)),
            "broken: Objective-C methods point to a place that is not rebased");
  SmallImage image = component();
  image.bind(kMetaConstants + 32, "_malloc");
  EXPECT_EQ(reason(image), "broken: Objective-C methods are imported");
  image = component();
  append(image.binds, "\x60\x08\x71\xf0\x03\x90", 6); // with an addend of 8, at kMetaConstants + 32
  EXPECT_EQ(reason(image), "broken: Objective-C methods point into what is imported");
}

TEST(Metadata, RefusesListsLongerThanTheImage) {
  EXPECT_EQ(reason_with(kMethods + 4, 0xffffffffu),
            "broken: Objective-C methods outside of the image's contents");
  EXPECT_EQ(reason_with(kMethods, 8u), "broken: Objective-C methods with entries of 8 bytes");
  EXPECT_EQ(reason_with(kMethods, 0u), "broken: Objective-C methods with entries of 0 bytes");
  EXPECT_EQ(reason_with(kProtocolList, UINT64_MAX),
            "broken: more Objective-C protocols than the image can hold");
  EXPECT_EQ(reason_with(kVariables + 36, 0x1000001u),
            "broken: an Objective-C instance variable of more than 16 MiB");
  EXPECT_EQ(reason_with(kVariables + 32, 5u),
            "broken: an Objective-C instance variable aligned to more than 16 bytes");
  EXPECT_EQ(reason_with(kVariables + 32, ~0u), "");
}

TEST(Metadata, RefusesManyListsInOnePlace) {
  SmallImage image = component();
  // Categories that all have one list of 100 methods.
  for (uint64_t i = 0; i < 100; ++i) {
    const uint64_t method = 0x1608 + 24 * i;
    image.point(method, 0x810).point(method + 8, 0x820).point(method + 16, kCode);
  }
  image.put(0x1600, 24u).put(0x1604, 100u);
  image.sections[1] = {"__DATA", "__objc_catlist", 0x1500, 80};
  image.bind(0x1400 + 8, "_OBJC_CLASS_$_NSDate").point(0x1400, 0x800).point(0x1400 + 16, 0x1600);
  for (uint64_t i = 0; i < 10; ++i)
    image.point(0x1500 + 8 * i, 0x1400);
  EXPECT_EQ(reason(image), "broken: Objective-C lists that share their contents");
  image.sections[1].size = 16;
  EXPECT_EQ(reason(image), "");
}

TEST(Metadata, ReadsMethodListsOfOffsets) {
  SmallImage image = component();
  // To the selector reference's pointer, the types and the code, each from its own place.
  constexpr uint64_t kList = 0x1700;
  image.put(kList, 0x8000000cu).put(kList + 4, 1u);
  image.put(kList + 8, int32_t(kSelectors) - int32_t(kList + 8));
  image.put(kList + 12, int32_t(0x820) - int32_t(kList + 12));
  image.put(kList + 16, int32_t(kCode) - int32_t(kList + 16));
  image.point(kMetaConstants + 32, kList);
  const Octets file = image.bytes();
  const auto contents = read(file);
  const Metadata &metadata = contents.metadata;
  ASSERT_EQ(metadata.classes.at(0).class_methods.size(), 1u);
  EXPECT_EQ(metadata.classes[0].class_methods[0].name, "run:");
  EXPECT_EQ(metadata.classes[0].class_methods[0].types, "v20@0:8B16");
  EXPECT_EQ(metadata.classes[0].class_methods[0].code, kCode);
  EXPECT_EQ(reason(image.put(kList, 0x80000008u)),
            "broken: Objective-C methods with entries of 8 bytes");
}

TEST(Metadata, RefusesSectionsOfHalfAnEntry) {
  SmallImage image = component();
  image.sections[0].size = 12;
  EXPECT_EQ(reason(image), "broken: Objective-C classes in a section of half an entry");
  image = component();
  image.sections.back().size = 24;
  EXPECT_EQ(reason(image), "broken: constant strings in a section of half an entry");
}

TEST(Metadata, RefusesReferencesToWhatIsNoClass) {
  EXPECT_EQ(reason_with(kClasses, uint64_t(kMetaclass)), "");
  EXPECT_EQ(reason_with(kClasses, uint64_t(kConstants)),
            "broken: Objective-C classes refer to a class that is in no list");
  SmallImage image = component();
  image.section({"__DATA", "__objc_catlist", 0x1700, 8}).point(0x1700, 0x1708).point(0x1708, 0x800);
  EXPECT_EQ(reason(image), "broken: category Thing on no class");
}

TEST(Metadata, RefusesStringsThatAreNotKnownOrLeadOut) {
  EXPECT_EQ(reason_with(kStrings + 8, 0x7ccu), "has constant strings of a kind that is not known");
  EXPECT_EQ(reason_with(kStrings + 24, uint64_t(1) << 62),
            "broken: constant strings longer than the image");
  EXPECT_EQ(reason_with(kStrings + 24, uint64_t(0xfff)),
            "broken: constant strings outside of the image's contents");
  EXPECT_EQ(reason(component().put(kStrings + 8, 0x7d0u)), "");
  EXPECT_EQ(reason(component().put(kStrings + 8, 0x7d0u).put(0x860, uint16_t(0xdc00))),
            "has a constant string with half a pair of UTF-16");
}

TEST(Metadata, ReadsProtocolsThatAdoptEachOther) {
  SmallImage image = component();
  image.point(kProtocol + 16, kProtocolList);
  const Octets file = image.bytes();
  EXPECT_THAT(read(file).metadata.protocols.at(kProtocol).parents, ElementsAre(kProtocol));
}
