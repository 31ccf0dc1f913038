// veltro send: one request with any payload, the reply as it comes.

#include "commands.hpp"
#include "io/checks.hpp"
#include "io/deadline.hpp"
#include "io/exit.hpp"
#include "io/messenger.hpp"
#include "io/whole_file.hpp"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <vector>

namespace veltro::tool {
namespace {

struct SendOptions {
  int identifier = 0;
  std::optional<std::string> text;
  std::optional<std::string> file;
  std::optional<long> port;
  std::optional<double> timeout;
};

/// The payload, "-" being standard input; what went wrong, or nothing.
std::string read_payload(const SendOptions &options, std::vector<std::uint8_t> &payload) {
  if (options.text) {
    payload.assign(options.text->begin(), options.text->end());
    return "";
  }
  return read_whole_file(options.file.value_or("-"), {std::numeric_limits<std::size_t>::max(), ""},
                         payload);
}

int send(const SendOptions &options) {
  std::vector<std::uint8_t> bytes;
  if (const std::string problem = read_payload(options, bytes); !problem.empty())
    return failure("cannot read " + options.file.value_or("standard input") + ": " + problem);
  NSData *const payload = [NSData dataWithBytesNoCopy:bytes.data()
                                               length:bytes.size()
                                         freeWhenDone:NO];
  if (options.timeout)
    fail_after(*options.timeout, "no reply within " + number_text(*options.timeout) + " seconds");
  NSData *const reply = ask_messenger(static_cast<char>(options.identifier), payload, options.port);
  if ([reply length] == 0)
    return nothing_came(options.port);
  if (std::fwrite([reply bytes], 1, [reply length], stdout) != [reply length] ||
      std::fflush(stdout) != 0)
    return failure("cannot write the reply");
  return 0;
}

} // namespace

void add_send(CLI::App &app, Action &run) {
  CLI::App *command = app.add_subcommand(
      "send", "Send one request to the messenger and write its reply to standard output.\n"
              "An empty reply looks like a failed request; both end with status 1");
  const auto options = std::make_shared<SendOptions>();
  command
      ->add_option("ID", options->identifier,
                   "The request's identifier; 255 is the same byte as -1")
      ->required()
      ->check(CLI::Range(-128, 255));
  CLI::Option *text =
      command->add_option("--text", options->text, "The payload (else standard input)");
  command
      ->add_option("--file", options->file,
                   "The file that holds the payload (- for standard input)")
      ->excludes(text);
  command->add_option("--port", options->port, "The server's port (else the one that is published)")
      ->check(port_check());
  command
      ->add_option("--timeout", options->timeout,
                   "Give up where the reply takes more than so many seconds (else wait for it)")
      ->check(seconds_check(0.001, kMostSeconds));
  command->callback([options, &run] { run = [options] { return send(*options); }; });
}

} // namespace veltro::tool
