#include "base64_decoder.hpp"

#include "utils/base64.hpp"

namespace veltro::tool {
namespace {

bool is_value(char character) {
  return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
         (character >= '0' && character <= '9') || character == '+' || character == '/';
}

/// Whether the codecs count the character, or refuse it.
bool is_unskipped(char character) {
  return static_cast<unsigned char>(character) > ' ' && character != '=';
}

/// How many characters of `text` end with a whole group. Both codecs decode such a piece by itself
/// as they do within the whole.
std::size_t whole_groups(std::string_view text) {
  std::uint8_t count = 0; // all that the rest of a division by four needs
  for (const char character : text)
    count = static_cast<std::uint8_t>(count + (is_unskipped(character) ? 1 : 0));
  std::size_t end = text.size();
  for (unsigned open = count % 4; open != 0;)
    if (is_unskipped(text[--end]))
      --open;
  return end;
}

} // namespace

Base64Decoder::Base64Decoder(bool lenient) : lenient_(lenient) {
  base64::make_table(table_.data());
}

bool Base64Decoder::take(std::string_view piece, std::string &bytes) {
  text_ += piece;
  return decode(whole_groups(text_), bytes) && keep_what_counts();
}

bool Base64Decoder::finish(std::string &bytes) {
  return decode(text_.size(), bytes);
}

/// Decodes the first `size` characters and takes them off.
bool Base64Decoder::decode(std::size_t size, std::string &bytes) {
  const std::size_t had = bytes.size();
  bytes.resize(had + base64::decoded_capacity(size));
  auto *const to = reinterpret_cast<std::uint8_t *>(bytes.data() + had);
  const auto decoded = lenient_ ? base64::decode_dropping(text_.data(), size, to)
                                : base64::decode_refusing(text_.data(), size, table_.data(), to);
  bytes.resize(had + decoded.length);
  text_.erase(0, size);
  return decoded.valid;
}

/// Drops what is skipped from the open group; false where there is what no continuation saves.
bool Base64Decoder::keep_what_counts() {
  std::size_t kept = 0;
  for (const char character : text_) {
    if (is_value(character))
      text_[kept++] = character;
    else if (!skips(character, kept))
      return false;
  }
  text_.resize(kept);
  return true;
}

/// Whether the codec skips the character, no value, after `place` values of a group, and continues
/// as if it had not been there.
bool Base64Decoder::skips(char character, std::size_t place) const {
  // After a group's first value the lenient codec lets "=" pass only before another one, so that a
  // row of them always fails at its last.
  if (character == '=')
    return !lenient_ || place != 1;
  return std::string_view(lenient_ ? "\t\n\f\r " : "\t\n\v\f\r ").find(character) !=
         std::string_view::npos;
}

} // namespace veltro::tool
