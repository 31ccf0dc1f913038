#import <veltro/ZLTUtils+Base64.h>

#include "utils/base64.hpp"
#include "utils/buffer.hpp"

#include <cstdlib>
#include <cstring>

namespace base64 = veltro::base64;

namespace {

/// The second codec's table, made by the first call that decodes and kept. Two threads that make it
/// at the same time make the same one, and one of them is lost.
const std::uint8_t *decoding_table() {
  static std::uint8_t *shared;
  std::uint8_t *table = __atomic_load_n(&shared, __ATOMIC_ACQUIRE);
  if (table == nullptr) {
    table = static_cast<std::uint8_t *>(std::malloc(256));
    if (table != nullptr) {
      base64::make_table(table);
      __atomic_store_n(&shared, table, __ATOMIC_RELEASE);
    }
  }
  return table;
}

} // namespace

@implementation ZLTUtils (Base64)

+ (NSString *)encodeBase64WithData:(NSData *)data {
  // Signed and 32 bits wide on every build, as the callers' own buffers are.
  const auto length = static_cast<std::int32_t>([data length]);
  if (length <= 0)
    return nil;
  const auto count = static_cast<std::size_t>(length);
  const std::size_t size = base64::encoded_length(count);
  const veltro::Buffer text(std::malloc(size + 1));
  if (!text)
    return nil;
  base64::encode(static_cast<const std::uint8_t *>([data bytes]), count, text.as<char>());
  text.as<char>()[size] = '\0';
  return [NSString stringWithCString:text.as<char>() encoding:NSASCIIStringEncoding];
}

+ (NSString *)encodeBase64WithString:(NSString *)string {
  return [self encodeBase64WithData:[string dataUsingEncoding:NSUTF8StringEncoding]];
}

+ (NSData *)decodeBase64WithString:(NSString *)string {
  veltro::Buffer bytes(nullptr);
  base64::Decoded decoded{};
  @autoreleasepool { // the text is gone before the result is made
    const char *const text = [string cStringUsingEncoding:NSASCIIStringEncoding];
    if (text == nullptr)
      return nil;
    const std::size_t length = std::strlen(text);
    bytes = veltro::Buffer(std::malloc(length));
    if (!bytes && length != 0)
      return nil;
    decoded = base64::decode_dropping(text, length, bytes.as<std::uint8_t>());
  }
  return decoded.valid ? [NSData dataWithBytes:bytes.as<void>() length:decoded.length] : nil;
}

+ (NSString *)base64EncodeData:(NSData *)data {
  const std::size_t length = [data length];
  if (length == 0)
    return @"";
  const std::size_t size = base64::encoded_length(length);
  veltro::Buffer text(std::malloc(size));
  if (!text)
    return nil;
  base64::encode(static_cast<const std::uint8_t *>([data bytes]), length, text.as<char>());
  return [[[NSString alloc] initWithBytesNoCopy:text.take()
                                         length:size
                                       encoding:NSASCIIStringEncoding
                                   freeWhenDone:YES] autorelease];
}

+ (NSData *)base64DecodeString:(NSString *)string {
  if (string == nil)
    return nil;
  const std::size_t length = [string length];
  if (length == 0)
    return [NSData data];
  const std::uint8_t *const table = decoding_table();
  if (table == nullptr)
    return nil;
  veltro::Buffer bytes(nullptr);
  base64::Decoded decoded{};
  @autoreleasepool {
    const char *const text = [string cStringUsingEncoding:NSASCIIStringEncoding];
    if (text == nullptr)
      return nil;
    bytes = veltro::Buffer(std::malloc(base64::decoded_capacity(length)));
    if (!bytes)
      return nil;
    decoded = base64::decode_refusing(text, std::strlen(text), table, bytes.as<std::uint8_t>());
  }
  return decoded.valid ? [NSData dataWithBytes:bytes.as<void>() length:decoded.length] : nil;
}

@end
