// veltro base64: files of any size through either of the library's two codecs, a piece at a time.

#include "commands.hpp"
#include "io/base64_decoder.hpp"
#include "io/exit.hpp"

#import <veltro/veltro.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

namespace veltro::tool {
namespace {

/// How much is read at a time: whole groups of three bytes and of four characters.
constexpr std::size_t kPiece = std::size_t{3} << 16;

struct Base64Options {
  std::string file = "-";
  bool lenient = false;
  bool strict = false;
};

struct Closes {
  void operator()(std::FILE *file) const { std::fclose(file); }
};

/// The input; standard input for "-".
class Input {
public:
  explicit Input(const std::string &path)
      : opened_(path == "-" ? nullptr : std::fopen(path.c_str(), "rb")),
        file_(path == "-" ? stdin : opened_.get()) {}

  explicit operator bool() const { return file_ != nullptr; }
  [[nodiscard]] bool failed() const { return std::ferror(file_) != 0; }

  /// Appends up to a piece; nothing at the end.
  bool read(std::string &to) {
    if (std::feof(file_) != 0 || failed())
      return false;
    const std::size_t before = to.size();
    to.resize(before + kPiece);
    to.resize(before + std::fread(to.data() + before, 1, kPiece, file_));
    return to.size() != before;
  }

private:
  std::unique_ptr<std::FILE, Closes> opened_;
  std::FILE *file_;
};

bool write(const void *bytes, std::size_t size) {
  return std::fwrite(bytes, 1, size, stdout) == size;
}

int finished(const Input &input, const std::string &path) {
  if (input.failed())
    return answered_no(path + ": " + std::strerror(errno));
  if (std::fflush(stdout) != 0)
    return answered_no(std::string("standard output: ") + std::strerror(errno));
  return 0;
}

int encode(const Base64Options &options) {
  Input input(options.file);
  if (!input)
    return answered_no(options.file + ": " + std::strerror(errno));
  std::string plain;
  bool any = false;
  while (input.read(plain)) {
    @autoreleasepool {
      // Only the last piece may end inside a group, which pads it.
      NSData *const data = [NSData dataWithBytesNoCopy:plain.data()
                                                length:plain.size()
                                          freeWhenDone:NO];
      NSString *const text = [ZLTUtils base64EncodeData:data];
      const char *const characters = [text UTF8String];
      if (characters == nullptr || !write(characters, [text length]))
        return answered_no("standard output: " + std::string(std::strerror(errno)));
      any = true;
    }
    plain.clear();
  }
  if (any && !write("\n", 1))
    return answered_no("standard output: " + std::string(std::strerror(errno)));
  return finished(input, options.file);
}

int decode(const Base64Options &options) {
  Input input(options.file);
  if (!input)
    return answered_no(options.file + ": " + std::strerror(errno));
  Base64Decoder decoder(options.lenient);
  std::string piece;
  std::string bytes;
  for (bool more = true; more; piece.clear(), bytes.clear()) {
    more = input.read(piece);
    if (!more && input.failed())
      break;
    if (!(more ? decoder.take(piece, bytes) : decoder.finish(bytes)))
      return answered_no(options.file + ": not valid Base64");
    if (!write(bytes.data(), bytes.size()))
      return answered_no("standard output: " + std::string(std::strerror(errno)));
  }
  return finished(input, options.file);
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
