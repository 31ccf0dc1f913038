// veltro chat: the conversations of the reference messenger.

#include "commands.hpp"
#include "io/checks.hpp"
#include "io/exit.hpp"
#include "io/json.hpp"
#include "io/messenger.hpp"
#include "io/moment.hpp"
#include "io/whole_file.hpp"

#import <veltro/ZLTWhatsAppMessage.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <limits>
#include <memory>
#include <vector>

namespace veltro::tool {
namespace {

constexpr char kListChats = 1;
constexpr char kReadChat = 2;
constexpr char kSendMessage = 3;
constexpr char kMarkChatRead = 4;

struct ChatOptions {
  std::string user;
  std::optional<std::string> text;
  std::optional<std::int64_t> last;
  std::optional<std::string> since;
  std::optional<long> port;
  bool received = false;
  bool empty = false;
  bool json = false;
};

NSString *string(const std::string &text) {
  return [[[NSString alloc] initWithBytes:text.data()
                                   length:text.size()
                                 encoding:NSUTF8StringEncoding] autorelease];
}

std::string text_of(id object) {
  NSData *bytes = [[object description] dataUsingEncoding:NSUTF8StringEncoding];
  return {static_cast<const char *>([bytes bytes]), [bytes length]};
}

std::string number_of(NSDictionary *record, NSString *key) {
  return std::to_string([[record objectForKey:key] longLongValue]);
}

std::string time_of(ZLTWhatsAppMessage *message) {
  return utc_text([message timestamp]);
}

/// A text for the terminal: further lines indented, no other control characters.
std::string printable(const std::string &text) {
  std::string out;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (character == '\n')
      out += "\n    ";
    else
      out += (byte < 0x20 && character != '\t') || byte == 0x7F ? '?' : character;
  }
  return out;
}

std::string json_message(ZLTWhatsAppMessage *message) {
  return "{\"user\": " + json_string(text_of([message userIdentifier])) +
         ", \"text\": " + json_string(text_of([message content])) +
         ", \"outgoing\": " + ([message outgoing] ? "true" : "false") +
         ", \"time\": " + json_string(time_of(message)) + "}";
}

std::string plain_message(ZLTWhatsAppMessage *message) {
  return time_of(message) + ([message outgoing] ? "  > " : "  < ") +
         printable(text_of([message content]));
}

std::string chat_line(NSDictionary *chat, bool as_json) {
  ZLTWhatsAppMessage *newest = [chat objectForKey:@"Newest"];
  const std::string user = text_of([chat objectForKey:@"UserIdentifier"]);
  const std::string messages = number_of(chat, @"Messages");
  const std::string unread = number_of(chat, @"Unread");
  if (as_json)
    return "{\"user\": " + json_string(user) + ", \"messages\": " + messages +
           ", \"unread\": " + unread + ", \"newest\": " + json_message(newest) + "}";
  return printable(user) + "  (" + unread + " unread of " + messages + ")\n    " +
         plain_message(newest);
}

/// Sends the request and gives the object in its reply to `print`.
template <typename Print>
int ask(char identifier, NSData *payload, const ChatOptions &options, Print print) {
  NSData *reply = ask_messenger(identifier, payload, options.port);
  if ([reply length] == 0)
    return nothing_came(options.port);
  bool understood = false;
  @try {
    if (id object = [NSKeyedUnarchiver unarchiveObjectWithData:reply]) {
      print(object);
      understood = true;
    }
  } @catch (NSException *) {
    understood = false;
  }
  if (!understood)
    return failure("the reply is not an archive of what was asked for");
  return flushed(0);
}

NSData *list_of(NSDictionary *arguments) {
  return [NSPropertyListSerialization dataWithPropertyList:arguments
                                                    format:NSPropertyListBinaryFormat_v1_0
                                                   options:0
                                                     error:nullptr];
}

int print_chats(const ChatOptions &options) {
  return ask(kListChats, [NSData data], options, [&](NSArray *chats) {
    for (NSDictionary *chat in chats)
      std::cout << chat_line(chat, options.json) << '\n';
  });
}

int read(const ChatOptions &options) {
  NSMutableDictionary *arguments = [NSMutableDictionary dictionary];
  [arguments setObject:string(options.user) forKey:@"UserIdentifier"];
  if (options.last)
    [arguments setObject:[NSNumber numberWithLongLong:*options.last] forKey:@"Last"];
  if (options.since) {
    NSDate *const since = moment_from(*options.since);
    if (since == nil)
      return usage_error("--since: no date: " + *options.since);
    [arguments setObject:since forKey:@"Since"];
  }
  return ask(kReadChat, list_of(arguments), options, [&](NSArray *messages) {
    for (ZLTWhatsAppMessage *message in messages)
      std::cout << (options.json ? json_message(message) : plain_message(message)) << '\n';
  });
}

/// The text on standard input without the line end that it was typed or printed with; what went
/// wrong, or nothing.
std::string read_text(std::string &text) {
  std::vector<std::uint8_t> bytes;
  if (std::string problem =
          read_whole_file("-", {std::numeric_limits<std::size_t>::max(), ""}, bytes);
      !problem.empty())
    return "standard input: " + problem;
  text.assign(bytes.begin(), bytes.end());
  if (text.ends_with('\n'))
    text.pop_back();
  if (text.ends_with('\r') && bytes.back() == '\n')
    text.pop_back();
  return "";
}

int say(const ChatOptions &options) {
  std::string said = options.text.value_or("");
  if (!options.text) {
    if (const std::string problem = read_text(said); !problem.empty())
      return failure(problem);
    if (said.empty() && !options.empty)
      return usage_error("there is no text on standard input; --empty sends an empty one");
  }
  NSString *const text = string(said);
  if (text == nil)
    return usage_error("the text on standard input is not UTF-8");
  ZLTWhatsAppMessage *message = [[[ZLTWhatsAppMessage alloc] init] autorelease];
  [message setUserIdentifier:string(options.user)];
  [message setContent:text];
  [message setOutgoing:options.received ? NO : YES];
  [message setTimestamp:[NSDate date]];
  return ask(kSendMessage, [NSKeyedArchiver archivedDataWithRootObject:message], options,
             [&](NSDictionary *kept) {
               if (options.json)
                 std::cout << "{\"number\": " << number_of(kept, @"Number") << "}\n";
             });
}

int mark_read(const ChatOptions &options) {
  return ask(kMarkChatRead, list_of(@{@"UserIdentifier" : string(options.user)}), options,
             [&](NSDictionary *marked) {
               const std::string count = number_of(marked, @"Marked");
               std::cout << (options.json ? "{\"marked\": " + count + "}" : count + " marked")
                         << '\n';
             });
}

} // namespace

void add_chat(CLI::App &app, Action &run) {
  CLI::App *chat = app.add_subcommand("chat", "Read and write the reference messenger's chats");
  chat->require_subcommand(1);
  const auto options = std::make_shared<ChatOptions>();
  const auto add = [&](const char *name, const char *help, int (*action)(const ChatOptions &)) {
    CLI::App *command = chat->add_subcommand(name, help);
    command
        ->add_option("--port", options->port,
                     "The messenger's port (else the one that is published)")
        ->check(port_check());
    command->add_flag("--json", options->json, "Print one JSON object a line");
    command->callback(
        [options, action, &run] { run = [options, action] { return action(*options); }; });
    return command;
  };
  const auto add_for_user = [&](const char *name, const char *help,
                                int (*action)(const ChatOptions &)) {
    CLI::App *command = add(name, help, action);
    command->add_option("USER", options->user, "The user whose chat it is")
        ->required()
        ->check(text_check());
    return command;
  };

  add("chats", "List the chats, the one with the newest message first", print_chats);
  CLI::App *command = add_for_user("read", "Print the messages with a user, oldest first", read);
  command->add_option("--last", options->last, "Only the newest so many")->check(count_check());
  command->add_option(
      "--since", options->since,
      "Only those since a date: now, @SECONDS since 1970, or ISO 8601 such as 2024-03-13, "
      "2024-03-13T15:30 or 2024-03-13T15:30:45.25-04:00, in TZ's zone where it names none");
  command = add_for_user("say", "Send a message to a user", say);
  command->add_option("TEXT", options->text,
                      "What to say (else standard input, without one line end at its end)");
  command->add_flag("--empty", options->empty,
                    "Send an empty text where standard input holds none");
  command->add_flag("--received", options->received, "Play the user, and be the one who sends");
  add_for_user("mark-read", "Mark the messages with a user as read", mark_read);
}

} // namespace veltro::tool
