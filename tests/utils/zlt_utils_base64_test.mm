#import <veltro/ZLTUtils+Base64.h>

#include <gtest/gtest.h>

/// What is asked of data, with a length that it does not have.
@interface VTClaimingData : NSObject {
  NSUInteger _claimed;
}
- (instancetype)initWithClaim:(NSUInteger)claimed;
@end

@implementation VTClaimingData
- (instancetype)initWithClaim:(NSUInteger)claimed {
  self = [super init];
  if (self != nil)
    _claimed = claimed;
  return self;
}
- (NSUInteger)length {
  return _claimed;
}
- (const void *)bytes {
  return "foobar";
}
@end

namespace {

NSData *claiming(NSUInteger length) {
  const id data = [[[VTClaimingData alloc] initWithClaim:length] autorelease];
  return data;
}

NSData *bytes(const char *text) {
  return [NSData dataWithBytes:text length:strlen(text)];
}

// Every six bits once, in their order.
constexpr unsigned char kEveryValue[] = {
    0x00, 0x10, 0x83, 0x10, 0x51, 0x87, 0x20, 0x92, 0x8b, 0x30, 0xd3, 0x8f, 0x41, 0x14, 0x93, 0x51,
    0x55, 0x97, 0x61, 0x96, 0x9b, 0x71, 0xd7, 0x9f, 0x82, 0x18, 0xa3, 0x92, 0x59, 0xa7, 0xa2, 0x9a,
    0xab, 0xb2, 0xdb, 0xaf, 0xc3, 0x1c, 0xb3, 0xd3, 0x5d, 0xb7, 0xe3, 0x9e, 0xbb, 0xf3, 0xdf, 0xbf};
NSString *const kEveryCharacter =
    @"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// As a whole, and a group at a time: long texts and short ones go different ways.
void expect_alphabet(SEL encode, SEL decode) {
  NSData *const data = [NSData dataWithBytes:kEveryValue length:sizeof kEveryValue];
  EXPECT_TRUE([[ZLTUtils performSelector:encode withObject:data] isEqualToString:kEveryCharacter]);
  EXPECT_TRUE([[ZLTUtils performSelector:decode withObject:kEveryCharacter] isEqual:data]);
  for (NSUInteger group = 0; group < 16; ++group) {
    NSData *const three = [data subdataWithRange:NSMakeRange(3 * group, 3)];
    NSString *const four = [kEveryCharacter substringWithRange:NSMakeRange(4 * group, 4)];
    EXPECT_TRUE([[ZLTUtils performSelector:encode withObject:three] isEqualToString:four]);
    EXPECT_TRUE([[ZLTUtils performSelector:decode withObject:four] isEqual:three]);
  }
}

TEST(FirstCodec, HasTheStandardAlphabet) {
  expect_alphabet(@selector(encodeBase64WithData:), @selector(decodeBase64WithString:));
}

TEST(SecondCodec, HasTheStandardAlphabet) {
  expect_alphabet(@selector(base64EncodeData:), @selector(base64DecodeString:));
}

TEST(FirstCodec, Encodes) {
  EXPECT_TRUE([[ZLTUtils encodeBase64WithData:bytes("f")] isEqualToString:@"Zg=="]);
  EXPECT_TRUE([[ZLTUtils encodeBase64WithData:bytes("fo")] isEqualToString:@"Zm8="]);
  EXPECT_TRUE([[ZLTUtils encodeBase64WithData:bytes("foo")] isEqualToString:@"Zm9v"]);
}

TEST(FirstCodec, EncodesNothingAsNil) {
  EXPECT_EQ([ZLTUtils encodeBase64WithData:nil], nil);
  EXPECT_EQ([ZLTUtils encodeBase64WithData:[NSData data]], nil);
  EXPECT_EQ([ZLTUtils encodeBase64WithString:nil], nil);
  EXPECT_EQ([ZLTUtils encodeBase64WithString:@""], nil);
}

TEST(FirstCodec, CountsItsBytesIn32Bits) {
  EXPECT_TRUE([[ZLTUtils encodeBase64WithData:claiming(NSUInteger((uint64_t{1} << 32) + 3))]
      isEqualToString:@"Zm9v"]);
  EXPECT_EQ([ZLTUtils encodeBase64WithData:claiming(NSUInteger{1} << 31)], nil);
  EXPECT_EQ([ZLTUtils encodeBase64WithData:claiming(NSUInteger((uint64_t{1} << 32) - 1))], nil);
  EXPECT_EQ([ZLTUtils encodeBase64WithData:claiming(NSUInteger(uint64_t{1} << 32))], nil);
}

TEST(FirstCodec, EncodesAStringAsUTF8) {
  NSString *const street = [NSString stringWithUTF8String:"Stra\xc3\x9f"
                                                          "e"];
  EXPECT_TRUE([[ZLTUtils encodeBase64WithString:street] isEqualToString:@"U3RyYcOfZQ=="]);
}

TEST(FirstCodec, DecodesWhatItSkips) {
  EXPECT_TRUE([[ZLTUtils decodeBase64WithString:@"Zm9v\r\nYmFy"] isEqual:bytes("foobar")]);
  EXPECT_TRUE([[ZLTUtils decodeBase64WithString:@" Z\tm9\fv"] isEqual:bytes("foo")]);
  EXPECT_EQ([ZLTUtils decodeBase64WithString:@"Zm9v\vYmFy"], nil);
}

TEST(FirstCodec, DropsALastCharacterByItself) {
  EXPECT_TRUE([[ZLTUtils decodeBase64WithString:@"Zm9vY"] isEqual:bytes("foo")]);
}

TEST(FirstCodec, RefusesPaddingAfterAGroupsFirstCharacterUnlessDoubled) {
  EXPECT_TRUE([[ZLTUtils decodeBase64WithString:@"Zg="] isEqual:bytes("f")]);
  EXPECT_TRUE([[ZLTUtils decodeBase64WithString:@"Zg=="] isEqual:bytes("f")]);
  EXPECT_EQ([ZLTUtils decodeBase64WithString:@"Z="], nil);
  EXPECT_EQ([ZLTUtils decodeBase64WithString:@"Z=="], nil);
  EXPECT_EQ([ZLTUtils decodeBase64WithString:@"Z= ="], nil);
}

TEST(FirstCodec, DoesNotStartAGroupAnewAfterPadding) {
  EXPECT_TRUE([[ZLTUtils decodeBase64WithString:@"Zm=9v"] isEqual:bytes("foo")]);
  EXPECT_TRUE([[ZLTUtils decodeBase64WithString:@"=Zm9v"] isEqual:bytes("foo")]);
}

TEST(FirstCodec, ReturnsEmptyDataForAnEmptyString) {
  NSString *const strings[] = {@"", [NSString stringWithUTF8String:""], [NSMutableString string]};
  for (NSString *const empty : strings) {
    NSData *const data = [ZLTUtils decodeBase64WithString:empty];
    ASSERT_NE(data, nil);
    EXPECT_EQ([data length], 0U);
  }
}

TEST(FirstCodec, ReturnsNilForWhatIsNoAsciiString) {
  EXPECT_EQ([ZLTUtils decodeBase64WithString:nil], nil);
  EXPECT_EQ([ZLTUtils decodeBase64WithString:[NSString stringWithUTF8String:"Zm9\xc3\xa9"]], nil);
}

TEST(BothCodecs, RefuseWhatIsNotOfTheAlphabet) {
  for (NSString *text in [@"Zm9*|Zm9-|Zm9_|Zm.9" componentsSeparatedByString:@"|"]) {
    EXPECT_EQ([ZLTUtils decodeBase64WithString:text], nil) << [text UTF8String];
    EXPECT_EQ([ZLTUtils base64DecodeString:text], nil) << [text UTF8String];
  }
}

TEST(SecondCodec, Encodes) {
  EXPECT_TRUE([[ZLTUtils base64EncodeData:bytes("f")] isEqualToString:@"Zg=="]);
  EXPECT_TRUE([[ZLTUtils base64EncodeData:bytes("fo")] isEqualToString:@"Zm8="]);
  EXPECT_TRUE([[ZLTUtils base64EncodeData:bytes("foo")] isEqualToString:@"Zm9v"]);
}

TEST(SecondCodec, EncodesNothingAsTheEmptyString) {
  EXPECT_TRUE([[ZLTUtils base64EncodeData:nil] isEqualToString:@""]);
  EXPECT_TRUE([[ZLTUtils base64EncodeData:[NSData data]] isEqualToString:@""]);
}

TEST(SecondCodec, ReturnsNilForMoreThanMemoryHolds) {
  EXPECT_EQ([ZLTUtils base64EncodeData:claiming(NSUIntegerMax / 2 + 1)], nil);
}

TEST(SecondCodec, DecodesWhatItSkips) {
  EXPECT_TRUE([[ZLTUtils base64DecodeString:@"Zm9v\vYmFy"] isEqual:bytes("foobar")]);
  EXPECT_TRUE([[ZLTUtils base64DecodeString:@"Zm=9v"] isEqual:bytes("foo")]);
  EXPECT_TRUE([[ZLTUtils base64DecodeString:@" \t\n\v\f\rZm9v"] isEqual:bytes("foo")]);
}

TEST(SecondCodec, RefusesALastCharacterByItself) {
  EXPECT_EQ([ZLTUtils base64DecodeString:@"Zm9vY"], nil);
  EXPECT_EQ([ZLTUtils base64DecodeString:@"Z=="], nil);
}

TEST(SecondCodec, ReturnsEmptyDataForAStringOfNothingThatCounts) {
  for (NSString *text in [@"|=|  |==\n" componentsSeparatedByString:@"|"]) {
    NSData *const data = [ZLTUtils base64DecodeString:text];
    ASSERT_NE(data, nil);
    EXPECT_EQ([data length], 0U);
  }
}

TEST(SecondCodec, ReturnsNilForWhatIsNoAsciiString) {
  EXPECT_EQ([ZLTUtils base64DecodeString:nil], nil);
  EXPECT_EQ([ZLTUtils base64DecodeString:[NSString stringWithUTF8String:"Zm9\xc3\xa9"]], nil);
}

TEST(BothCodecs, DecodeUpToAZero) {
  const unichar characters[] = {'Z', 'm', '9', 'v', 0, '*'};
  NSString *const text = [NSString stringWithCharacters:characters length:6];
  EXPECT_TRUE([[ZLTUtils decodeBase64WithString:text] isEqual:bytes("foo")]);
  EXPECT_TRUE([[ZLTUtils base64DecodeString:text] isEqual:bytes("foo")]);
}

TEST(BothCodecs, ReturnBytesThatOutliveTheirText) {
  NSData *first = nil;
  NSData *second = nil;
  @autoreleasepool {
    NSString *const text = [ZLTUtils base64EncodeData:bytes("foobar")];
    first = [[ZLTUtils decodeBase64WithString:text] retain];
    second = [[ZLTUtils base64DecodeString:text] retain];
  }
  EXPECT_TRUE([first isEqual:bytes("foobar")]);
  EXPECT_TRUE([second isEqual:bytes("foobar")]);
  [first release];
  [second release];
}

TEST(BothCodecs, CarryEveryByteBothWays) {
  for (const unsigned size : {999U, 1000U, 1001U}) {
    NSMutableData *const data = [NSMutableData data];
    for (unsigned round = 0; round < size; ++round) {
      const auto byte = static_cast<unsigned char>(round * 7);
      [data appendBytes:&byte length:1];
    }
    NSString *const first = [ZLTUtils encodeBase64WithData:data];
    NSString *const second = [ZLTUtils base64EncodeData:data];
    EXPECT_TRUE([first isEqualToString:second]);
    EXPECT_EQ([first length], (size + 2) / 3 * 4);
    EXPECT_TRUE([[ZLTUtils decodeBase64WithString:first] isEqual:data]);
    EXPECT_TRUE([[ZLTUtils base64DecodeString:second] isEqual:data]);
  }
}

} // namespace
