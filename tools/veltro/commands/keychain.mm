// veltro keychain: the items of this machine's keychain.

#include "commands.hpp"
#include "io/exit.hpp"
#include "io/json.hpp"
#include "io/secret_input.hpp"
#include "io/table.hpp"
#include "io/whole_file.hpp"

#include <Security/Security.h>

#import <veltro/veltro.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <unistd.h>
#include <utility>
#include <vector>

namespace veltro::tool {
namespace {

struct Options {
  std::optional<std::string> service, label, group;
  std::string account, password_file, accessible;
  std::string sync = "any";
  bool object = false;
  bool json = false;
};

const std::map<std::string, ZLTKeyChainQuerySynchronizationMode> kModes{
    {"any", ZLTKeyChainQuerySynchronizationModeAny},
    {"no", ZLTKeyChainQuerySynchronizationModeNo},
    {"yes", ZLTKeyChainQuerySynchronizationModeYes},
};

const std::map<std::string, CFStringRef> kAccessibilities{
    {"when-unlocked", kSecAttrAccessibleWhenUnlocked},
    {"after-first-unlock", kSecAttrAccessibleAfterFirstUnlock},
    {"always", kSecAttrAccessibleAlways},
    {"when-passcode-set-this-device-only", kSecAttrAccessibleWhenPasscodeSetThisDeviceOnly},
    {"when-unlocked-this-device-only", kSecAttrAccessibleWhenUnlockedThisDeviceOnly},
    {"after-first-unlock-this-device-only", kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly},
    {"always-this-device-only", kSecAttrAccessibleAlwaysThisDeviceOnly},
};

template <typename Value>
std::vector<std::string> names_of(const std::map<std::string, Value> &of) {
  std::vector<std::string> names;
  names.reserve(of.size());
  for (const auto &[name, value] : of)
    names.push_back(name);
  return names;
}

NSString *text(const std::string &string) {
  return [NSString stringWithUTF8String:string.c_str()];
}

std::string text(NSString *string) {
  NSData *const utf8 = [string dataUsingEncoding:NSUTF8StringEncoding];
  return {static_cast<const char *>([utf8 bytes]), [utf8 length]};
}

ZLTKeyChainQuery *query_for(const Options &options) {
  ZLTKeyChainQuery *const query = [[[ZLTKeyChainQuery alloc] init] autorelease];
  if (options.service)
    [query setService:text(*options.service)];
  [query setAccount:text(options.account)];
  if (options.label)
    [query setLabel:text(*options.label)];
  if (options.group)
    [query setAccessGroup:text(*options.group)];
  [query setSynchronizationMode:kModes.at(options.sync)];
  return query;
}

int failed(NSError *error) {
  return failure(text([error localizedDescription]));
}

/// The object that the text of a property list describes; nil where it describes none.
id object_of(NSData *source) {
  return [NSPropertyListSerialization propertyListWithData:source
                                                   options:NSPropertyListImmutable
                                                    format:nullptr
                                                     error:nullptr];
}

int set(const Options &options) {
  SecretBytes secret;
  if (const std::string trouble = read_secret(options.password_file, secret); !trouble.empty())
    return failure((options.password_file.empty() ? "standard input" : options.password_file) +
                   ": " + trouble);
  NSData *const bytes = [NSData dataWithBytesNoCopy:secret.bytes.data()
                                             length:secret.bytes.size()
                                       freeWhenDone:NO];
  ZLTKeyChainQuery *const query = query_for(options);
  if (options.object) {
    id object = object_of(bytes);
    if (object == nil)
      return failure("the secret is no property list");
    [query setPasswordObject:object];
  } else
    [query setPasswordData:bytes];
  if (!options.accessible.empty())
    [ZLTKeyChain setAccessibilityType:kAccessibilities.at(options.accessible)];
  NSError *error = nil;
  return [query save:&error] ? 0 : failed(error);
}

/// The archived object as an XML property list; nil where the secret is no archive of one.
NSData *described_object(ZLTKeyChainQuery *query) {
  @try {
    id object = [query passwordObject];
    return object == nil
               ? nil
               : [NSPropertyListSerialization dataWithPropertyList:object
                                                            format:NSPropertyListXMLFormat_v1_0
                                                           options:0
                                                             error:nullptr];
  } @catch (NSException *) {
    return nil;
  }
}

int get(const Options &options) {
  ZLTKeyChainQuery *const query = query_for(options);
  NSError *error = nil;
  if (![query fetch:&error])
    return failed(error);
  NSData *const bytes = options.object ? described_object(query) : [query passwordData];
  if (bytes == nil)
    return failure("the secret is not the archive of a property list");
  const std::string trouble =
      write_whole_file("-", {static_cast<const std::uint8_t *>([bytes bytes]), [bytes length]});
  if (!trouble.empty())
    return failure("standard output: " + trouble);
  // For people: the prompt starts on a line of its own. Programs get the bytes.
  if (isatty(STDOUT_FILENO) != 0)
    std::cout << '\n';
  return 0;
}

int rm(const Options &options) {
  NSError *error = nil;
  return [query_for(options) deleteItem:&error] ? 0 : failed(error);
}

std::string moment(NSDate *date) {
  const auto seconds = static_cast<std::time_t>(std::floor([date timeIntervalSince1970]));
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text.data();
}

std::string accessibility_name(NSString *value) {
  for (const auto &[name, constant] : kAccessibilities)
    if ([value isEqualToString:(NSString *)constant])
      return name;
  return text(value);
}

const std::vector<std::string> kColumns{"service", "account",    "label",   "group",
                                        "sync",    "accessible", "created", "modified"};

/// What is listed of an item, by kColumns.
using Record = std::vector<std::string>;

Record record_of(NSDictionary *item) {
  return {
      text([item objectForKey:kZLTKeyChainWhereKey]),
      text([item objectForKey:kZLTKeyChainAccountKey]),
      text([item objectForKey:kZLTKeyChainLabelKey]),
      text([item objectForKey:(id)kSecAttrAccessGroup]),
      [[item objectForKey:(id)kSecAttrSynchronizable] boolValue] ? "yes" : "no",
      accessibility_name([item objectForKey:(id)kSecAttrAccessible]),
      moment([item objectForKey:kZLTKeyChainCreatedAtKey]),
      moment([item objectForKey:kZLTKeyChainLastModifiedKey]),
  };
}

void print_json(const std::vector<Record> &records) {
  for (const Record &record : records) {
    std::string line;
    for (std::size_t at = 0; at < record.size(); ++at)
      line += (at == 0 ? "{" : ", ") + json_string(kColumns[at]) + ": " + json_string(record[at]);
    std::cout << line << "}\n";
  }
}

int list(const Options &options) {
  ZLTKeyChainQuery *const query = query_for(options);
  [query setAccount:nil];
  NSError *error = nil;
  NSArray *const items = [query fetchAll:&error];
  // A list of none is a list.
  if (items == nil && [error code] != errSecItemNotFound)
    return failed(error);
  std::vector<Record> records;
  for (NSDictionary *const item in items)
    records.push_back(record_of(item));
  std::ranges::sort(records, {},
                    [](const Record &record) { return std::pair(record[0], record[1]); });
  if (options.json)
    print_json(records);
  else
    print_table(kColumns, records);
  return flushed(0);
}

using Operation = int (*)(const Options &);

/// One of the operations as a subcommand of `parent`, with the options that all of them have.
CLI::App *add_operation(CLI::App *parent, const char *name, const char *help,
                        const std::shared_ptr<Options> &options, Action &run, Operation operation) {
  CLI::App *const command = parent->add_subcommand(name, help);
  command->add_option("--group", options->group, "The access group");
  command->add_option("--sync", options->sync, "Whether the item is synchronised")
      ->check(CLI::IsMember(names_of(kModes)))
      ->capture_default_str();
  command->callback([=, &run] { run = [=] { return operation(*options); }; });
  return command;
}

void add_names(CLI::App *command, const std::shared_ptr<Options> &options) {
  command->add_option("SERVICE", options->service, "The item's service")->required();
  command->add_option("ACCOUNT", options->account, "The item's account")->required();
}

} // namespace

void add_keychain(CLI::App &app, Action &run) {
  CLI::App *const parent = app.add_subcommand("keychain", "Keep secrets in the keychain");
  parent->require_subcommand(1);
  const auto options = std::make_shared<Options>();

  CLI::App *const setting = add_operation(
      parent, "set",
      "Store a secret, read from a prompt or standard input; one line end at its end is dropped",
      options, run, set);
  add_names(setting, options);
  setting->add_option("--label", options->label, "A label for people to read");
  setting->add_option("--password-file", options->password_file, "Read the secret from this file");
  setting->add_option("--accessible", options->accessible, "When the item may be read")
      ->check(CLI::IsMember(names_of(kAccessibilities)));
  setting->add_flag("--object", options->object,
                    "The secret is a property list; store the archive of what it describes");

  CLI::App *const getting =
      add_operation(parent, "get", "Print a secret, byte for byte", options, run, get);
  add_names(getting, options);
  getting->add_flag("--object", options->object,
                    "The secret is an archived object; print it as a property list");

  add_names(add_operation(parent, "rm", "Delete an item", options, run, rm), options);

  CLI::App *const listing =
      add_operation(parent, "list", "List items, without their secrets", options, run, list);
  listing->add_option("SERVICE", options->service, "List the items of this service only");
  listing->add_flag("--json", options->json, "Print one JSON object a line");
}

} // namespace veltro::tool
