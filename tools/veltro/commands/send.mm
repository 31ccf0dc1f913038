// veltro send: one request with any payload, the reply as it comes.

#include "commands.hpp"
#include "io/exit.hpp"
#include "io/messenger.hpp"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>

namespace veltro::tool {
namespace {

struct SendOptions {
  int identifier = 0;
  std::optional<std::string> text;
  std::optional<std::string> file;
  std::optional<long> port;
};

NSData *payload_of(const SendOptions &options) {
  if (options.text)
    return [NSData dataWithBytes:options.text->data() length:options.text->size()];
  if (options.file)
    return [NSData dataWithContentsOfFile:[NSString stringWithUTF8String:options.file->c_str()]];
  return [[NSFileHandle fileHandleWithStandardInput] readDataToEndOfFile];
}

int send(const SendOptions &options) {
  NSData *payload = payload_of(options);
  if (payload == nil)
    return answered_no("cannot read " + options.file.value_or("standard input"));
  NSData *reply = ask_messenger(static_cast<char>(options.identifier), payload, options.port);
  if ([reply length] == 0)
    return nothing_came(options.port);
  if (std::fwrite([reply bytes], 1, [reply length], stdout) != [reply length] ||
      std::fflush(stdout) != 0)
    return answered_no("cannot write the reply");
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
  command->add_option("--file", options->file, "The file that holds the payload")->excludes(text);
  command->add_option("--port", options->port,
                      "The server's port (else the one that is published)");
  command->callback([options, &run] { run = [options] { return send(*options); }; });
}

} // namespace veltro::tool
