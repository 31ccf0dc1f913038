// veltro base64: files of any size through either of the library's two codecs, a piece at a time.
// The codecs' kernels are called on the pieces, for a string of each would take longer than its
// code.

#include "utils/base64.hpp"
#include "commands.hpp"
#include "io/base64_decoder.hpp"
#include "io/descriptor.hpp"
#include "io/exit.hpp"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace veltro::tool {
namespace {

/// How much is read at a time: whole groups of three bytes, and little enough that whoever fills or
/// empties a pipe works meanwhile.
constexpr std::size_t kPiece = std::size_t{3} << 14;

struct Base64Options {
  std::string file = "-";
  bool lenient = false;
  bool strict = false;
};

int failed(const std::string &name) {
  return failure(name + ": " + std::strerror(errno));
}

/// Writes to standard output; a reader that has gone needs no word.
bool write_out(std::span<const std::uint8_t> bytes) {
  if (write_all(STDOUT_FILENO, bytes))
    return true;
  if (errno != EPIPE)
    failed("standard output");
  return false;
}

int encode(const Base64Options &options) {
  const Descriptor input = open_for_reading(options.file);
  widen_pipe(input.number());
  widen_pipe(STDOUT_FILENO);
  std::vector<std::uint8_t> plain(kPiece);
  std::vector<std::uint8_t> text(base64::encoded_length(kPiece) + 1);
  bool any = false;
  for (bool more = input.number() >= 0; more;) {
    const std::ptrdiff_t count = read_full(input.number(), plain);
    if (count < 0)
      return failed(options.file);
    // Only the last piece may end inside a group, which pads it.
    const auto length = static_cast<std::size_t>(count);
    base64::encode(plain.data(), length, reinterpret_cast<char *>(text.data()));
    std::size_t size = base64::encoded_length(length);
    any = any || length != 0;
    more = length == kPiece;
    if (!more && any)
      text[size++] = '\n';
    if (!write_out(std::span(text).first(size)))
      return 1;
  }
  return input.number() >= 0 ? 0 : failed(options.file);
}

int decode(const Base64Options &options) {
  const Descriptor input = open_for_reading(options.file);
  widen_pipe(input.number());
  widen_pipe(STDOUT_FILENO);
  Base64Decoder decoder(options.lenient);
  std::vector<std::uint8_t> text(kPiece);
  std::string bytes;
  for (bool more = input.number() >= 0; more; bytes.clear()) {
    const std::ptrdiff_t count = read_full(input.number(), text);
    if (count < 0)
      return failed(options.file);
    const std::string_view piece(reinterpret_cast<const char *>(text.data()),
                                 static_cast<std::size_t>(count));
    more = piece.size() == kPiece;
    if (!decoder.take(piece, bytes) || (!more && !decoder.finish(bytes)))
      return failure(options.file + ": not valid Base64");
    if (!write_out({reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size()}))
      return 1;
  }
  return input.number() >= 0 ? 0 : failed(options.file);
}

} // namespace

void add_base64(CLI::App &app, Action &run) {
  CLI::App *const command =
      app.add_subcommand("base64", "Encode and decode Base64, files of any size");
  command->require_subcommand(1);
  const auto options = std::make_shared<Base64Options>();

  CLI::App *const to = command->add_subcommand("encode", "Write the encoding, in one line");
  to->add_option("FILE", options->file, "The file to read; standard input if none or -");
  to->callback([options, &run] { run = [options] { return encode(*options); }; });

  CLI::App *const from = command->add_subcommand("decode", "Write the bytes that a text encodes");
  from->add_option("FILE", options->file, "The file to read; standard input if none or -");
  CLI::Option *const lenient = from->add_flag(
      "--lenient", options->lenient,
      "Drop a lone last character, and refuse vertical tabs (decodeBase64WithString:)");
  from->add_flag(
          "--strict", options->strict,
          "Refuse a lone last character, and skip = anywhere (base64DecodeString:); the default")
      ->excludes(lenient);
  from->footer(
      "The memory does not grow with the text. Where the text turns out to be invalid, bytes\n"
      "of what came before may be written already.");
  from->callback([options, &run] { run = [options] { return decode(*options); }; });
}

} // namespace veltro::tool
