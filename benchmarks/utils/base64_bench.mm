// Base64, the kernels and the whole methods, against what a user would pick instead, on clean input
// and with a line break every 76 characters; the methods also against what they are made of: the
// kernel with one allocation of the result, and Foundation's part. Bytes per second count the plain
// bytes.

#import <Foundation/Foundation.h>
#import <veltro/ZLTUtils+Base64.h>

#include "utils/base64.hpp"

#include <benchmark/benchmark.h>
#include <cstring>
#include <glib.h>
#include <openssl/evp.h>
#include <random>
#include <string>
#include <utility>
#include <vector>

extern "C" { // which these headers leave out
#include <b64/cdecode.h>
#include <b64/cencode.h>
}

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes plain(std::size_t size) {
  std::mt19937 random(7);
  Bytes bytes(size);
  for (std::uint8_t &byte : bytes)
    byte = static_cast<std::uint8_t>(random());
  return bytes;
}

/// The encoding of plain(size), with a line break every 76 characters where `lines` is set.
std::string code(std::size_t size, bool lines) {
  const Bytes bytes = plain(size);
  std::string text(veltro::base64::encoded_length(size), '\0');
  veltro::base64::encode(bytes.data(), size, text.data());
  if (!lines)
    return text;
  std::string broken;
  for (std::size_t at = 0; at < text.size(); at += 76)
    broken.append(text, at, 76).append("\n");
  return broken;
}

std::size_t size_of(const benchmark::State &state) {
  return static_cast<std::size_t>(state.range(0));
}

void done(benchmark::State &state) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

// The kernels, into given buffers.

void copy(benchmark::State &state) {
  const Bytes bytes = plain(size_of(state));
  Bytes to(bytes.size());
  for ([[maybe_unused]] auto step : state) {
    std::memcpy(to.data(), bytes.data(), bytes.size());
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
  done(state);
}

void kernel_encode(benchmark::State &state) {
  const Bytes bytes = plain(size_of(state));
  std::string to(veltro::base64::encoded_length(bytes.size()), '\0');
  for ([[maybe_unused]] auto step : state) {
    veltro::base64::encode(bytes.data(), bytes.size(), to.data());
    benchmark::ClobberMemory();
  }
  done(state);
}

void openssl_encode(benchmark::State &state) {
  const Bytes bytes = plain(size_of(state));
  Bytes to(veltro::base64::encoded_length(bytes.size()) + 1);
  for ([[maybe_unused]] auto step : state) {
    EVP_EncodeBlock(to.data(), bytes.data(), static_cast<int>(bytes.size()));
    benchmark::ClobberMemory();
  }
  done(state);
}

template <bool Refusing> void kernel_decode(benchmark::State &state, bool lines) {
  const std::string text = code(size_of(state), lines);
  std::uint8_t table[256];
  veltro::base64::make_table(table);
  Bytes to(text.size() + 3);
  for ([[maybe_unused]] auto step : state) {
    const auto decoded =
        Refusing ? veltro::base64::decode_refusing(text.data(), text.size(), table, to.data())
                 : veltro::base64::decode_dropping(text.data(), text.size(), to.data());
    if (decoded.length != size_of(state))
      state.SkipWithError("wrong length");
    benchmark::ClobberMemory();
  }
  done(state);
}

void refusing(benchmark::State &state, bool lines) {
  kernel_decode<true>(state, lines);
}

void dropping(benchmark::State &state, bool lines) {
  kernel_decode<false>(state, lines);
}

void openssl_decode(benchmark::State &state, bool lines) {
  const std::string text = code(size_of(state), lines);
  Bytes to(text.size() + 3);
  EVP_ENCODE_CTX *const context = EVP_ENCODE_CTX_new();
  for ([[maybe_unused]] auto step : state) {
    int written = 0;
    int rest = 0;
    EVP_DecodeInit(context);
    EVP_DecodeUpdate(context, to.data(), &written,
                     reinterpret_cast<const unsigned char *>(text.data()),
                     static_cast<int>(text.size()));
    EVP_DecodeFinal(context, to.data() + written, &rest);
    if (std::cmp_not_equal(written + rest, size_of(state)))
      state.SkipWithError("wrong length");
    benchmark::ClobberMemory();
  }
  EVP_ENCODE_CTX_free(context);
  done(state);
}

// The whole methods, with the objects that they return.

template <typename Call> void method(benchmark::State &state, const Call &call) {
  for ([[maybe_unused]] auto step : state) {
    @autoreleasepool {
      benchmark::DoNotOptimize(call());
    }
  }
  done(state);
}

NSData *data_of(benchmark::State &state) {
  const Bytes bytes = plain(size_of(state));
  return [NSData dataWithBytes:bytes.data() length:bytes.size()];
}

NSString *string_of(benchmark::State &state, bool lines) {
  return [NSString stringWithUTF8String:code(size_of(state), lines).c_str()];
}

template <typename Make> void encode_method(benchmark::State &state, const Make &make) {
  @autoreleasepool {
    NSData *const data = data_of(state);
    method(state, [&] { return make(data); });
  }
}

template <typename Make> void decode_method(benchmark::State &state, bool lines, const Make &make) {
  @autoreleasepool {
    NSString *const string = string_of(state, lines);
    method(state, [&] {
      NSData *const data = make(string);
      if ([data length] != size_of(state))
        state.SkipWithError("wrong length");
      return data;
    });
  }
}

NSString *glib_encoded(NSData *data) {
  char *const text = g_base64_encode(static_cast<const guchar *>([data bytes]), [data length]);
  return [[[NSString alloc] initWithBytesNoCopy:text
                                         length:strlen(text)
                                       encoding:NSASCIIStringEncoding
                                   freeWhenDone:YES] autorelease];
}

NSData *glib_decoded(NSString *string) {
  gsize length = 0;
  guchar *const bytes = g_base64_decode([string UTF8String], &length);
  return [NSData dataWithBytesNoCopy:bytes length:length freeWhenDone:YES];
}

NSString *libb64_encoded(NSData *data) {
  auto *const text = static_cast<char *>(malloc([data length] * 2 + 8));
  base64_encodestate codec;
  base64_init_encodestate(&codec);
  int length = base64_encode_block(static_cast<const char *>([data bytes]),
                                   static_cast<int>([data length]), text, &codec);
  length += base64_encode_blockend(text + length, &codec);
  return [[[NSString alloc] initWithBytesNoCopy:text
                                         length:static_cast<NSUInteger>(length)
                                       encoding:NSASCIIStringEncoding
                                   freeWhenDone:YES] autorelease];
}

NSData *libb64_decoded(NSString *string) {
  const char *const text = [string UTF8String];
  const std::size_t size = strlen(text);
  auto *const bytes = static_cast<char *>(malloc(size));
  base64_decodestate codec;
  base64_init_decodestate(&codec);
  const int length = base64_decode_block(text, static_cast<int>(size), bytes, &codec);
  return [NSData dataWithBytesNoCopy:bytes length:static_cast<NSUInteger>(length) freeWhenDone:YES];
}

/// What a method would take that made its result by nothing but the kernel.
void kernel_and_malloc_encode(benchmark::State &state) {
  const Bytes bytes = plain(size_of(state));
  method(state, [&] {
    auto *const text = static_cast<char *>(malloc(veltro::base64::encoded_length(bytes.size())));
    veltro::base64::encode(bytes.data(), bytes.size(), text);
    benchmark::DoNotOptimize(text);
    free(text);
    return nil;
  });
}

void kernel_and_malloc_decode(benchmark::State &state, bool lines) {
  const std::string text = code(size_of(state), lines);
  std::uint8_t table[256];
  veltro::base64::make_table(table);
  method(state, [&] {
    auto *const bytes =
        static_cast<std::uint8_t *>(malloc(veltro::base64::decoded_capacity(text.size())));
    veltro::base64::decode_refusing(text.data(), text.size(), table, bytes);
    benchmark::DoNotOptimize(bytes);
    free(bytes);
    return nil;
  });
}

/// The string of a text that is there.
void foundation_encode(benchmark::State &state) {
  std::string text = code(size_of(state), false);
  method(state, [&] {
    return [[[NSString alloc] initWithBytesNoCopy:text.data()
                                           length:text.size()
                                         encoding:NSASCIIStringEncoding
                                     freeWhenDone:NO] autorelease];
  });
}

/// The text of a string, and the data of bytes that are there.
void foundation_decode(benchmark::State &state, bool lines) {
  @autoreleasepool {
    const Bytes bytes = plain(size_of(state));
    NSString *const string = string_of(state, lines);
    method(state, [&] {
      @autoreleasepool {
        benchmark::DoNotOptimize([string cStringUsingEncoding:NSASCIIStringEncoding]);
      }
      return [NSData dataWithBytes:bytes.data() length:bytes.size()];
    });
  }
}

void sizes(benchmark::internal::Benchmark *benchmark) {
  benchmark->Arg(48)->Arg(1 << 10)->Arg(64 << 10)->Arg(16 << 20);
}

} // namespace

#define SIZES ->Apply(sizes)

BENCHMARK(copy)->Name("memory/copy") SIZES;
BENCHMARK(kernel_encode)->Name("encode/veltro") SIZES;
BENCHMARK(openssl_encode)->Name("encode/openssl") SIZES;
BENCHMARK_CAPTURE(refusing, , false)->Name("decode-refusing/veltro") SIZES;
BENCHMARK_CAPTURE(openssl_decode, , false)->Name("decode-refusing/openssl") SIZES;
BENCHMARK_CAPTURE(dropping, , false)->Name("decode-dropping/veltro") SIZES;
BENCHMARK_CAPTURE(openssl_decode, , false)->Name("decode-dropping/openssl") SIZES;
BENCHMARK_CAPTURE(refusing, , true)->Name("decode-refusing-lines/veltro") SIZES;
BENCHMARK_CAPTURE(openssl_decode, , true)->Name("decode-refusing-lines/openssl") SIZES;
BENCHMARK_CAPTURE(dropping, , true)->Name("decode-dropping-lines/veltro") SIZES;
BENCHMARK_CAPTURE(openssl_decode, , true)->Name("decode-dropping-lines/openssl") SIZES;

#define ENCODE(name, call)                                                                         \
  BENCHMARK_CAPTURE(encode_method, , [](NSData *data) { return call; })->Name(name) SIZES

ENCODE("method-encode/veltro", [ZLTUtils base64EncodeData:data]);
ENCODE("method-encode/veltro-first-codec", [ZLTUtils encodeBase64WithData:data]);
BENCHMARK(kernel_and_malloc_encode)->Name("method-encode/kernel-and-malloc") SIZES;
BENCHMARK(foundation_encode)->Name("method-encode/foundation-only") SIZES;
ENCODE("method-encode/gnustep", [data base64EncodedStringWithOptions:0]);
ENCODE("method-encode/glib", glib_encoded(data));
ENCODE("method-encode/libb64", libb64_encoded(data));

#define DECODE(name, lines, call)                                                                  \
  BENCHMARK_CAPTURE(decode_method, , lines, [](NSString *string) { return call; })->Name(name) SIZES

#define DECODE_ALL(group, lines)                                                                   \
  DECODE(group "/veltro", lines, [ZLTUtils base64DecodeString:string]);                            \
  DECODE(group "/veltro-first-codec", lines, [ZLTUtils decodeBase64WithString:string]);            \
  BENCHMARK_CAPTURE(kernel_and_malloc_decode, , lines)->Name(group "/kernel-and-malloc") SIZES;    \
  BENCHMARK_CAPTURE(foundation_decode, , lines)->Name(group "/foundation-only") SIZES;             \
  DECODE(group "/gnustep", lines,                                                                  \
         [[[NSData alloc] initWithBase64EncodedString:string                                       \
                                              options:NSDataBase64DecodingIgnoreUnknownCharacters] \
             autorelease]);                                                                        \
  DECODE(group "/glib", lines, glib_decoded(string));                                              \
  DECODE(group "/libb64", lines, libb64_decoded(string))

DECODE_ALL("method-decode", false);
DECODE_ALL("method-decode-lines", true);

BENCHMARK_MAIN();
