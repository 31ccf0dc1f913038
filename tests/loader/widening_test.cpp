#include "platform/loader/widening.hpp"

#include "platform/loader/unloadable.hpp"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using veltro::loader::objc::widening_instructions;

namespace {

constexpr uint32_t kSignedByte2 = 0x13001c42, kSignedByte3 = 0x13001c63; // sxtb w2, w2; sxtb w3, w3
constexpr uint32_t kByte2 = 0x53001c42, kByte4 = 0x53001c84;             // uxtb w2, w2; uxtb w4, w4
constexpr uint32_t kSignedShort2 = 0x13003c42, kShort3 = 0x53003c63;     // sxth w2, w2; uxth w3, w3

} // namespace

TEST(Widening, IsOfNumbersOfLessThan32Bits) {
  EXPECT_THAT(widening_instructions("v20@0:8c16"), ElementsAre(kSignedByte2));
  EXPECT_THAT(widening_instructions("v20@0:8C16"), ElementsAre(kByte2));
  EXPECT_THAT(widening_instructions("v20@0:8B16"), ElementsAre(kByte2));
  EXPECT_THAT(widening_instructions("v24@0:8s16S20"), ElementsAre(kSignedShort2, kShort3));
  EXPECT_THAT(widening_instructions("B32@0:8@16i24q28"), IsEmpty());
  EXPECT_THAT(widening_instructions("v16@0:8"), IsEmpty());
}

TEST(Widening, CountsTheRegistersOfWhatComesBefore) {
  EXPECT_THAT(widening_instructions("v28@0:8@16c24"), ElementsAre(kSignedByte3));
  EXPECT_THAT(widening_instructions("v@:rnNoORVA|^{Some=ic}c"), ElementsAre(kSignedByte3));
  EXPECT_THAT(widening_instructions("v@:@\"NSString\"c"), ElementsAre(kSignedByte3));
  EXPECT_THAT(widening_instructions("v@:@?<v@?@>c"), ElementsAre(kSignedByte3));
  EXPECT_THAT(widening_instructions("v@:^?c"), ElementsAre(kSignedByte3));
  EXPECT_THAT(widening_instructions("v@:{_NSRange=QQ}B"), ElementsAre(kByte4));
  EXPECT_THAT(widening_instructions("v@:{Small=ib3}c"), ElementsAre(kSignedByte3));
  EXPECT_THAT(widening_instructions("v@:{Large=QQQ}c"), ElementsAre(kSignedByte3));
  EXPECT_THAT(widening_instructions("v@:{Named=\"a\"i\"b\"c}c"), ElementsAre(kSignedByte3));
  EXPECT_THAT(widening_instructions("v@:(Either=ic)c"), ElementsAre(kSignedByte3));
  EXPECT_THAT(widening_instructions("v@:{Bytes=[12c]}C"), ElementsAre(kByte4));
}

TEST(Widening, LeavesOutWhatComesInOtherRegisters) {
  EXPECT_THAT(widening_instructions("v@:fdDB"), ElementsAre(kByte2));
  EXPECT_THAT(widening_instructions("v@:{CGRect={CGPoint=dd}{CGSize=dd}}B"), ElementsAre(kByte2));
  EXPECT_THAT(widening_instructions("v@:{Four=[4f]}B"), ElementsAre(kByte2));
  EXPECT_THAT(widening_instructions("v@:jdB"), ElementsAre(kByte2));
  // Mixed, or more than four: in general registers, or by address.
  EXPECT_THAT(widening_instructions("v@:{Mixed=fd}B"), ElementsAre(kByte4));
  EXPECT_THAT(widening_instructions("v@:{Five=ddddd}c"), ElementsAre(kSignedByte3));
}

TEST(Widening, EndsWhereTheRegistersDo) {
  EXPECT_THAT(widening_instructions("v@:qqqqqcc"), ElementsAre(0x13001ce7)); // sxtb w7, w7
  EXPECT_THAT(widening_instructions("v@:qqqqq{Two=QQ}c"), IsEmpty());
}

TEST(Widening, RefusesTypesThatCannotBeRead) {
  for (const char *types : {"v@:{", "v@:{Some=i", "v@:[4", "v@:[4i", "v@:@\"NSString", "v@:$",
                            "v@:^", "", "v@:[99999999[99999999c]]"})
    EXPECT_THROW((void)widening_instructions(types), veltro::loader::Unloadable) << types;
  EXPECT_THROW((void)widening_instructions("v@:" + std::string(40, '^') + "i"),
               veltro::loader::Unloadable);
  EXPECT_THAT(widening_instructions("v@:" + std::string(30, '^') + "ic"),
              ElementsAre(kSignedByte3));
}
