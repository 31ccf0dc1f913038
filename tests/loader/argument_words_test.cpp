#include "platform/loader/argument_words.hpp"

#include "platform/loader/unloadable.hpp"

#include <gmock/gmock.h>

#include <fstream>
#include <numeric>

using testing::ElementsAre;
using veltro::loader::Unloadable;
using veltro::loader::objc::argument_words;
using veltro::loader::objc::kUnknownWords;
using veltro::loader::objc::Words;

namespace {

/// Without those that stand for "...", which have to be the next ones.
Words known(Words words) {
  EXPECT_GE(words.size(), size_t(kUnknownWords));
  const size_t count = words.size() - kUnknownWords;
  for (size_t i = count + 1; i < words.size(); ++i)
    EXPECT_EQ(words[i], words[i - 1] + 1);
  words.resize(count);
  return words;
}

Words to_image(const char *types) {
  return known(argument_words(types).to_image);
}

Words from_image(const char *types) {
  return known(argument_words(types).from_image);
}

/// Whether both sides pass arguments of those types in the same places.
bool same(std::string_view types) {
  const auto words = argument_words(types);
  Words counted(words.to_image.size());
  std::iota(counted.begin(), counted.end(), uint8_t(0));
  return words.to_image == counted && words.from_image == counted;
}

std::string reason(const char *types) {
  try {
    (void)argument_words(types);
    return "";
  } catch (const Unloadable &unloadable) {
    return unloadable.what();
  }
}

} // namespace

TEST(ArgumentWords, AreTheSameWithoutValuesOf64Bits) {
  EXPECT_TRUE(same("v8@0:4"));
  EXPECT_TRUE(same("@16@0:4c8@12"));
  EXPECT_TRUE(same("@20@0:4@8f12f16"));
  EXPECT_TRUE(same("@24@0:4{CGRect={CGPoint=ff}{CGSize=ff}}8"));
  EXPECT_TRUE(same("c24@0:4@8@12@16^@20"));
  EXPECT_THAT(to_image("@20@0:4@8f12f16"), ElementsAre(0, 1, 2, 3, 4));
}

TEST(ArgumentWords, AreTheSameWhereValuesOf64BitsBeginEvenly) {
  EXPECT_TRUE(same("v16@0:4Q8"));
  EXPECT_TRUE(same("@16@0:4d8"));
  EXPECT_TRUE(same("d24@0:4d8q16"));
  EXPECT_TRUE(same("v24@0:4@8@12d16"));
}

TEST(ArgumentWords, HaveAGapBeforeOthersOnLinux) {
  EXPECT_THAT(to_image("v20@0:4i8q12"), ElementsAre(0, 1, 2, 4, 5));
  EXPECT_THAT(from_image("v20@0:4i8q12"), ElementsAre(0, 1, 2, 0, 3, 4));
  EXPECT_THAT(to_image("d24@0:4c8d12s20d24"), ElementsAre(0, 1, 2, 4, 5, 6, 8, 9));
  EXPECT_THAT(from_image("d24@0:4c8d12s20d24"), ElementsAre(0, 1, 2, 0, 3, 4, 5, 0, 6, 7));
  // On the stack as well.
  EXPECT_THAT(to_image("v@:@@@d"), ElementsAre(0, 1, 2, 3, 4, 6, 7));
}

TEST(ArgumentWords, BeginWithWhereAStructureIsReturned) {
  EXPECT_THAT(to_image("{CGRect={CGPoint=ff}{CGSize=ff}}8@0:4"), ElementsAre(0, 1, 2));
  EXPECT_THAT(to_image("{Extent=ddd}16@0:4d8"), ElementsAre(0, 1, 2, 4, 5));
  EXPECT_THAT(to_image("{Small=i}8@0:4q8"), ElementsAre(0, 1, 2, 3));
}

TEST(ArgumentWords, HoldStructures) {
  EXPECT_THAT(to_image("v@:{Pair=dd}i"), ElementsAre(0, 1, 2, 3, 4, 5, 6));
  EXPECT_THAT(to_image("v@:i{Pair=dd}"), ElementsAre(0, 1, 2, 4, 5, 6, 7));
  EXPECT_THAT(to_image("v@:{Bytes=[6c]}d"), ElementsAre(0, 1, 2, 3, 4, 5));
  EXPECT_THAT(to_image("v@:(Either=id)c"), ElementsAre(0, 1, 2, 3, 4));
}

TEST(ArgumentWords, RefuseWhatIsLaidOutOtherwise) {
  EXPECT_EQ(reason("v@:{Gap=id}"),
            "takes a structure that is laid out otherwise on Linux: v@:{Gap=id}");
  EXPECT_EQ(reason("v@:^{Gap=id}"), "");
  EXPECT_EQ(reason("{One=f}@:"), "returns a small structure in another way than Linux: {One=f}@:");
  EXPECT_EQ(reason("{One=i}@:"), "");
  EXPECT_EQ(reason("v@:{Many=[200i]}"),
            "takes more arguments than can be passed on: v@:{Many=[200i]}");
  EXPECT_EQ(reason("v@"), "");
  EXPECT_EQ(reason("v@:{Open="), "broken: method types that cannot be read");
}

// Of all methods of the library, as the 32-bit slices have them.
TEST(ArgumentWords, AreTheSameForEveryMethodOfTheLibrary) {
  std::ifstream listing(VELTRO_SOURCE_DIR "/tests/device/interface.txt");
  size_t count = 0;
  for (std::string line; std::getline(listing, line);) {
    if (!line.starts_with("  + ") && !line.starts_with("  - "))
      continue;
    const std::string types = line.substr(line.rfind(' ') + 1);
    EXPECT_TRUE(same(types)) << line;
    ++count;
  }
  EXPECT_EQ(count, 103u);
}
