#import <veltro/ZLTUtils+Base64.h>

#include <gtest/gtest.h>

namespace {

NSData *bytes(const char *text) {
  return [NSData dataWithBytes:text length:strlen(text)];
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

TEST(FirstCodec, DropsALoneLastCharacter) {
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

TEST(FirstCodec, AnswersEmptyDataForAnEmptyString) {
  NSData *const data = [ZLTUtils decodeBase64WithString:@""];
  ASSERT_NE(data, nil);
  EXPECT_EQ([data length], 0U);
}

TEST(FirstCodec, AnswersNilForWhatIsNoAsciiString) {
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

TEST(SecondCodec, DecodesWhatItSkips) {
  EXPECT_TRUE([[ZLTUtils base64DecodeString:@"Zm9v\vYmFy"] isEqual:bytes("foobar")]);
  EXPECT_TRUE([[ZLTUtils base64DecodeString:@"Zm=9v"] isEqual:bytes("foo")]);
  EXPECT_TRUE([[ZLTUtils base64DecodeString:@" \t\n\f\rZm9v"] isEqual:bytes("foo")]);
}

TEST(SecondCodec, RefusesALoneLastCharacter) {
  EXPECT_EQ([ZLTUtils base64DecodeString:@"Zm9vY"], nil);
  EXPECT_EQ([ZLTUtils base64DecodeString:@"Z=="], nil);
}

TEST(SecondCodec, AnswersEmptyDataForAStringOfNothingThatCounts) {
  for (NSString *text in [@"|=|  |==\n" componentsSeparatedByString:@"|"]) {
    NSData *const data = [ZLTUtils base64DecodeString:text];
    ASSERT_NE(data, nil);
    EXPECT_EQ([data length], 0U);
  }
}

TEST(SecondCodec, AnswersNilForWhatIsNoAsciiString) {
  EXPECT_EQ([ZLTUtils base64DecodeString:nil], nil);
  EXPECT_EQ([ZLTUtils base64DecodeString:[NSString stringWithUTF8String:"Zm9\xc3\xa9"]], nil);
}

TEST(BothCodecs, CarryEveryByteBothWays) {
  NSMutableData *const data = [NSMutableData data];
  for (unsigned round = 0; round < 1000; ++round) {
    const auto byte = static_cast<unsigned char>(round * 7);
    [data appendBytes:&byte length:1];
  }
  NSString *const first = [ZLTUtils encodeBase64WithData:data];
  NSString *const second = [ZLTUtils base64EncodeData:data];
  EXPECT_TRUE([first isEqualToString:second]);
  EXPECT_EQ([first length], 1336U);
  EXPECT_TRUE([[ZLTUtils decodeBase64WithString:first] isEqual:data]);
  EXPECT_TRUE([[ZLTUtils base64DecodeString:second] isEqual:data]);
}

} // namespace
