#include "secret_input.hpp"

#include "whole_file.hpp"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <termios.h>
#include <unistd.h>

namespace veltro::tool {
namespace {

constexpr std::uint8_t control_c = 3;

/// The terminal with its echo off, for as long as the object lives. Signals from the keyboard are
/// off as well, so that none can leave it so.
class SilentTerminal {
public:
  explicit SilentTerminal(int file) : file_(file), changed_(tcgetattr(file, &before_) == 0) {
    termios silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
    changed_ = changed_ && tcsetattr(file, TCSAFLUSH, &silent) == 0;
  }
  ~SilentTerminal() {
    if (changed_)
      tcsetattr(file_, TCSAFLUSH, &before_);
  }
  SilentTerminal(const SilentTerminal &) = delete;
  SilentTerminal &operator=(const SilentTerminal &) = delete;

  explicit operator bool() const { return changed_; }

private:
  int file_;
  termios before_{};
  bool changed_;
};

void say(int terminal, std::string_view text) {
  [[maybe_unused]] const ssize_t written = write(terminal, text.data(), text.size());
}

std::string ask(int terminal, std::vector<std::uint8_t> &bytes) {
  const SilentTerminal silent(terminal);
  if (!silent)
    return "the terminal does not let a secret be typed unseen";
  say(terminal, "Password: ");
  std::uint8_t byte = 0;
  ssize_t count = 0;
  while ((count = read(terminal, &byte, 1)) == 1 && byte != '\n' && byte != control_c &&
         bytes.size() < SecretBytes::kLimit)
    bytes.push_back(byte);
  say(terminal, "\n");
  return count == 1 && byte == '\n' ? "" : "no secret was typed";
}

void drop_line_end(std::vector<std::uint8_t> &bytes) {
  if (!bytes.empty() && bytes.back() == '\n')
    bytes.pop_back();
}

} // namespace

SecretBytes::~SecretBytes() {
  explicit_bzero(bytes.data(), bytes.size());
}

std::string read_secret(const std::string &file, SecretBytes &secret) {
  secret.bytes.reserve(SecretBytes::kLimit + 1);
  if (file.empty() && isatty(STDIN_FILENO) != 0)
    return ask(STDIN_FILENO, secret.bytes);
  std::string trouble = read_whole_file(
      file.empty() ? "-" : file,
      {SecretBytes::kLimit, "a secret of more than a megabyte is too long"}, secret.bytes);
  drop_line_end(secret.bytes);
  return trouble;
}

} // namespace veltro::tool
