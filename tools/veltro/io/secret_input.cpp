#include "secret_input.hpp"

#include "whole_file.hpp"

#include <array>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <string_view>
#include <sys/signalfd.h>
#include <termios.h>
#include <unistd.h>

namespace veltro::tool {
namespace {

/// The terminal with its echo off, for as long as the object lives. It gives whole lines, and
/// signals for the keys that mean them.
class SilentTerminal {
public:
  explicit SilentTerminal(int file) : file_(file), changed_(tcgetattr(file, &before_) == 0) {
    termios silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    silent.c_lflag |= ISIG | ICANON;
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

/// The signals that end or stop a process at a terminal wait while the object lives, so that none
/// of them leaves the terminal silent.
class WaitingSignals {
public:
  WaitingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGTSTP})
      sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, &before_);
    file_ = signalfd(-1, &signals, SFD_CLOEXEC);
  }
  ~WaitingSignals() {
    close(file_);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  WaitingSignals(const WaitingSignals &) = delete;
  WaitingSignals &operator=(const WaitingSignals &) = delete;

  /// Waits until there is something to read; the signal that came instead, or 0.
  [[nodiscard]] int before_input_at(int terminal) const {
    std::array<pollfd, 2> events{{{file_, POLLIN, 0}, {terminal, POLLIN, 0}}};
    signalfd_siginfo signal{};
    if (poll(events.data(), events.size(), -1) > 0 && events[0].revents != 0 &&
        read(file_, &signal, sizeof signal) == sizeof signal)
      return static_cast<int>(signal.ssi_signo);
    return 0;
  }

private:
  int file_;
  sigset_t before_{};
};

void say(int terminal, std::string_view text) {
  [[maybe_unused]] const ssize_t written = write(terminal, text.data(), text.size());
}

void wipe(std::vector<std::uint8_t> &bytes) {
  explicit_bzero(bytes.data(), bytes.size());
  bytes.clear();
}

/// Asks once, and returns the signal that came in between, or 0; `problem` becomes what went wrong.
int ask_once(int terminal, std::vector<std::uint8_t> &bytes, std::string &problem) {
  const WaitingSignals signals;
  const SilentTerminal silent(terminal);
  if (!silent) {
    problem = "the terminal does not let a secret be typed unseen";
    return 0;
  }
  say(terminal, "Password: ");
  std::uint8_t byte = 0;
  ssize_t count = 0;
  do {
    if (const int signal = signals.before_input_at(terminal); signal != 0) {
      wipe(bytes);
      say(terminal, "\n");
      return signal;
    }
    count = read(terminal, &byte, 1);
    if (count == 1 && byte != '\n')
      bytes.push_back(byte);
  } while (count == 1 && byte != '\n' && bytes.size() < SecretBytes::kLimit);
  say(terminal, "\n");
  if (count != 1 || byte != '\n')
    problem = "no secret was typed";
  return 0;
}

std::string ask(int terminal, std::vector<std::uint8_t> &bytes) {
  std::string problem;
  // The signal does what it would have done, now that the terminal is as it was; who comes back
  // from being stopped is asked again.
  while (const int signal = ask_once(terminal, bytes, problem))
    std::raise(signal);
  return problem;
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
