// One input through every form of the codecs, compared with the model.
#pragma once

#include "base64_model.hpp"
#include "utils/base64_rules.hpp"

#include <cstdlib>
#include <memory>

namespace veltro::test {

/// A block of exactly `size` bytes, so that a sanitizer sees a single byte too many.
struct Block {
  explicit Block(std::size_t size) : bytes(static_cast<std::uint8_t *>(std::malloc(size))) {}
  ~Block() { std::free(bytes); }
  Block(const Block &) = delete;
  Block &operator=(const Block &) = delete;
  std::uint8_t *bytes;
};

/// The form that is called, with the vectors.
struct Fast {
  static constexpr auto encode = base64::encode;
  static constexpr auto dropping = base64::decode_dropping;
  static constexpr auto refusing = base64::decode_refusing;
};

/// Nothing but the rules, character by character.
struct Plain {
  static void encode(const std::uint8_t *bytes, std::size_t length, char *to) {
    base64::rules::encode(base64::kNoVectors, bytes, length, to);
  }
  static base64::Decoded dropping(const char *text, std::size_t length, std::uint8_t *to) {
    return base64::rules::decode(base64::kNoVectors, base64::rules::Dropping{}, text, length, to);
  }
  static base64::Decoded refusing(const char *text, std::size_t length, const std::uint8_t *table,
                                  std::uint8_t *to) {
    const base64::rules::Refusing codec{table};
    return base64::rules::decode(base64::kNoVectors, codec, text, length, to);
  }
};

template <typename Form = Fast> std::string encoded(const Bytes &bytes) {
  const std::size_t size = base64::encoded_length(bytes.size());
  const Block text(size);
  Form::encode(bytes.data(), bytes.size(), reinterpret_cast<char *>(text.bytes));
  return {reinterpret_cast<const char *>(text.bytes), size};
}

template <typename Form = Fast> std::optional<Bytes> decoded_dropping(const std::string &text) {
  const Block to(text.size());
  const auto result = Form::dropping(text.c_str(), text.size(), to.bytes);
  if (!result.valid)
    return std::nullopt;
  return Bytes(to.bytes, to.bytes + result.length);
}

template <typename Form = Fast> std::optional<Bytes> decoded_refusing(const std::string &text) {
  std::uint8_t table[256];
  base64::make_table(table);
  const Block to(base64::decoded_capacity(text.size()));
  const auto result = Form::refusing(text.c_str(), text.size(), table, to.bytes);
  if (!result.valid)
    return std::nullopt;
  return Bytes(to.bytes, to.bytes + result.length);
}

/// Whether one form agrees with the model on bytes, whose code is `code`, and on a text.
template <typename Form>
bool form_agrees(const Bytes &bytes, const std::string &code, const std::string &text) {
  return encoded<Form>(bytes) == code && decoded_dropping<Form>(code) == bytes &&
         decoded_refusing<Form>(code) == bytes &&
         decoded_dropping<Form>(text) == model_decode_dropping(text) &&
         decoded_refusing<Form>(text) == model_decode_refusing(text);
}

/// Whether all forms agree with the model on `input`, taken as bytes and as text. The text ends at
/// its first zero, as a C string does.
inline bool agrees_with_model(const std::uint8_t *input, std::size_t size) {
  const Bytes bytes(input, input + size);
  std::string text(reinterpret_cast<const char *>(input), size);
  text.resize(std::min(text.size(), text.find('\0')));
  const std::string code = model_encode(bytes);
  return form_agrees<Fast>(bytes, code, text) && form_agrees<Plain>(bytes, code, text);
}

} // namespace veltro::test
