// A Base64 text that comes in pieces, through the kernels of either of the library's two decoders.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace veltro::tool {

/// Returns for a text in pieces what the codec returns for the whole, but for zeros, which end the
/// codec's text and are refused here. Of the text it keeps what counts of an open group, no more
/// than three characters.
class Base64Decoder {
public:
  explicit Base64Decoder(bool lenient);

  /// Takes the text's next piece and appends the bytes of the whole groups to `bytes`; false where
  /// the codec refuses the text, whatever follows.
  bool take(std::string_view piece, std::string &bytes);

  /// The text ends here: appends the bytes of its last group; false where the codec refuses it.
  bool finish(std::string &bytes);

  /// How many characters are kept for the next piece.
  [[nodiscard]] std::size_t held() const { return text_.size(); }

private:
  bool decode(std::size_t size, std::string &bytes);
  bool keep_what_counts();
  [[nodiscard]] bool skips(char character, std::size_t place) const;

  bool lenient_;
  std::array<std::uint8_t, 256> table_{}; // the second codec's
  std::string text_;
};

} // namespace veltro::tool
