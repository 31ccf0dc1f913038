// veltro base64: files of any size through either of the library's two codecs, a piece at a time.

#include "commands.hpp"
#include "exit.hpp"

#import <veltro/veltro.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace veltro::tool {
namespace {

/// How much is read at a time: whole groups of three bytes and of four characters.
constexpr std::size_t kPiece = 12 * 16 * 1024;

struct Base64Options {
  std::string file = "-";
  bool lenient = false;
  bool strict = false;
};

/// The input; standard input for "-".
class Input {
public:
  explicit Input(const std::string &path)
      : file_(path == "-" ? stdin : std::fopen(path.c_str(), "rb")) {}
  ~Input() {
    if (file_ != nullptr && file_ != stdin)
      std::fclose(file_);
  }
  Input(const Input &) = delete;
  Input &operator=(const Input &) = delete;

  explicit operator bool() const { return file_ != nullptr; }
  [[nodiscard]] bool failed() const { return std::ferror(file_) != 0; }

  /// Appends up to a piece; nothing at the end.
  bool read(std::string &to) {
    const std::size_t before = to.size();
    to.resize(before + kPiece);
    to.resize(before + std::fread(to.data() + before, 1, kPiece, file_));
    return to.size() != before;
  }

private:
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

bool is_value(char character) {
  return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
         (character >= '0' && character <= '9') || character == '+' || character == '/';
}

/// How many characters of `text` end with a whole group. Both codecs decode such a piece by itself
/// as they do within the whole.
std::size_t whole_groups(const std::string &text) {
  std::size_t end = 0;
  std::size_t values = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (is_value(text[at]))
      ++values;
    if (values % 4 == 0)
      end = at + 1;
  }
  return end;
}

/// Decodes the first `size` characters and takes them off; NO where they are invalid.
bool decode_piece(std::string &text, std::size_t size, bool lenient, bool &written) {
  @autoreleasepool {
    // A zero would end the codec's text in its middle.
    if (text.find('\0') < size)
      return false;
    NSString *const piece = [[[NSString alloc] initWithBytes:text.data()
                                                      length:size
                                                    encoding:NSASCIIStringEncoding] autorelease];
    NSData *const data =
        lenient ? [ZLTUtils decodeBase64WithString:piece] : [ZLTUtils base64DecodeString:piece];
    if (piece == nil || data == nil)
      return false;
    written = write([data bytes], [data length]);
  }
  text.erase(0, size);
  return true;
}

int decode(const Base64Options &options) {
  Input input(options.file);
  if (!input)
    return answered_no(options.file + ": " + std::strerror(errno));
  std::string text;
  bool written = true;
  bool more = true;
  while (more) {
    more = input.read(text);
    const std::size_t size = more ? whole_groups(text) : text.size();
    if (!decode_piece(text, size, options.lenient, written))
      return answered_no(options.file + ": not valid Base64");
    if (!written)
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
  from->callback([options, &run] { run = [options] { return decode(*options); }; });
}

} // namespace veltro::tool
