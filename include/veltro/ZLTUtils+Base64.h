#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <veltro/ZLTUtils.h>

/// Two Base64 codecs. Both use the standard alphabet with "=" padding and never break lines; they
/// differ in what they make of empty input, padding, white space and errors. Every method may be
/// called on any thread.
@interface ZLTUtils (Base64)

/// The encoding of `data`. The length is taken modulo 2^32 as a signed number: where that is not
/// above 0, as for 2 GiB up to and with 4 GiB, the result is nil; beyond 4 GiB it is the encoding
/// of that many of the first bytes.
/// @param data The bytes; may be nil.
/// @return The encoding, autoreleased; nil for nil or empty data, for a length as above, and where
/// there is no memory.
+ (NSString *)encodeBase64WithData:(NSData *)data;

/// The encoding of the string's UTF-8 bytes, by encodeBase64WithData:.
/// @param string The string; may be nil.
/// @return The encoding, autoreleased; nil for nil or an empty string, and where
/// encodeBase64WithData: returns nil.
+ (NSString *)encodeBase64WithString:(NSString *)string;

/// The bytes that `string` encodes. Skips tab, line feed, form feed, carriage return and space; a
/// vertical tab is invalid. Skips "=" too, but refuses it after the first character of a group
/// unless another "=" follows. A lone last character without padding is dropped.
/// @param string The encoding; may be nil.
/// @return The bytes, autoreleased, which are none for an empty string; nil where `string` is nil,
/// not ASCII or invalid, and where there is no memory.
+ (NSData *)decodeBase64WithString:(NSString *)string;

/// The encoding of `data`.
/// @param data The bytes; may be nil.
/// @return The encoding, autoreleased; the empty string for nil or empty data; nil where there is
/// no memory.
+ (NSString *)base64EncodeData:(NSData *)data;

/// The bytes that `string` encodes. Skips every kind of white space and "=" anywhere; a lone last
/// character is invalid.
/// @param string The encoding; may be nil.
/// @return The bytes, autoreleased, which are none for an empty string; nil where `string` is nil,
/// not ASCII or invalid, and where there is no memory.
+ (NSData *)base64DecodeString:(NSString *)string;

@end

#endif
