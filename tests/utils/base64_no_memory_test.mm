// The codecs where memory runs out: the allocation of one size is refused by the test.

#import <veltro/ZLTUtils+Base64.h>

#include <cstdint>
#include <gtest/gtest.h>

namespace {

constexpr size_t kNothing = SIZE_MAX;
size_t refused = kNothing; ///< the size that is not handed out

} // namespace

#if !__has_feature(address_sanitizer)
extern "C" {

void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);

void *malloc(size_t size) {
  return size == refused ? nullptr : __libc_malloc(size);
}

void *calloc(size_t count, size_t size) {
  return count * size == refused ? nullptr : __libc_calloc(count, size);
}

} // extern "C"
#endif

namespace {

/// Text and data of a length that nothing else asks memory for.
class NoMemory : public testing::Test {
protected:
  void SetUp() override {
#if __has_feature(address_sanitizer)
    GTEST_SKIP() << "the sanitizer's allocation stands in the way";
#endif
    text_ = [@"" stringByPaddingToLength:40004 withString:@"Zm9v" startingAtIndex:0];
    data_ = [NSMutableData dataWithLength:30003];
  }
  void TearDown() override { refused = kNothing; }

  NSString *text_ = nil;
  NSData *data_ = nil;
};

TEST_F(NoMemory, TheTableIsTriedAgain) {
  refused = 256;
  NSData *const without = [ZLTUtils base64DecodeString:text_];
  refused = kNothing;
  EXPECT_EQ(without, nil);
  EXPECT_EQ([[ZLTUtils base64DecodeString:text_] length], 30003U);
}

TEST_F(NoMemory, TheTableIsMadeOnce) {
  [ZLTUtils base64DecodeString:text_];
  refused = 256;
  NSData *const data = [ZLTUtils base64DecodeString:text_];
  refused = kNothing;
  EXPECT_EQ([data length], 30003U);
}

TEST_F(NoMemory, EncodingReturnsNil) {
  refused = 40004;
  EXPECT_EQ([ZLTUtils base64EncodeData:data_], nil);
  refused = 40005; // with the terminating zero
  EXPECT_EQ([ZLTUtils encodeBase64WithData:data_], nil);
}

TEST_F(NoMemory, NoBytesNeedNone) {
  refused = 0;
  NSData *const data = [ZLTUtils decodeBase64WithString:@""];
  refused = kNothing;
  ASSERT_NE(data, nil);
  EXPECT_EQ([data length], 0U);
}

TEST_F(NoMemory, DecodingReturnsNil) {
  refused = 30003;
  EXPECT_EQ([ZLTUtils base64DecodeString:text_], nil);
  refused = 40004;
  EXPECT_EQ([ZLTUtils decodeBase64WithString:text_], nil);
}

} // namespace
