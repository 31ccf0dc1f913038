#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <veltro/ZLTUtils.h>

/// Two Base64 codecs. Both use the standard alphabet with "=" padding and never break lines; they
/// differ in what they make of empty input, padding, white space and errors. All results are
/// autoreleased. Every method may be called on any thread.
@interface ZLTUtils (Base64)

/// The encoding of `data`; nil for nil or empty data, and where there is no memory. The length is
/// taken modulo 2^32 as a signed number: where that is not above 0, as for 2 GiB up to and with
/// 4 GiB, the result is nil; beyond 4 GiB it is the encoding of that many of the first bytes.
+ (NSString *)encodeBase64WithData:(NSData *)data;

/// The encoding of the string's UTF-8 bytes; nil for nil or an empty string.
+ (NSString *)encodeBase64WithString:(NSString *)string;

/// The bytes that `string` encodes, or nil where it is nil, not ASCII, or invalid. Skips tab, line
/// feed, form feed, carriage return and space; a vertical tab is invalid. Skips "=" too, but
/// refuses it after the first character of a group unless another "=" follows. A lone last
/// character without padding is dropped. An empty string gives empty data.
+ (NSData *)decodeBase64WithString:(NSString *)string;

/// The encoding of `data`; the empty string for nil or empty data; nil where there is no memory.
+ (NSString *)base64EncodeData:(NSData *)data;

/// The bytes that `string` encodes, or nil where it is nil, not ASCII, or invalid. Skips every kind
/// of white space and "=" anywhere; a lone last character is invalid. An empty string gives empty
/// data.
+ (NSData *)base64DecodeString:(NSString *)string;

@end

#endif
