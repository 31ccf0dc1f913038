// veltro label: a localized label out of another bundle.

#include "commands.hpp"
#include "io/exit.hpp"

#import <veltro/veltro.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

namespace veltro::tool {
namespace {

struct Options {
  std::string identifier;
  std::string table;
  std::string key;
  std::string uikit_key;
  std::string couria_key;
};

NSString *text(const std::string &string) {
  return [NSString stringWithUTF8String:string.c_str()];
}

int print_label(NSString *label, const std::string &why_none) {
  if (label == nil)
    return failure(why_none);
  // Half a surrogate pair has no UTF-8: it is left out.
  NSData *const utf8 = [label dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
  std::cout.write(static_cast<const char *>([utf8 bytes]),
                  static_cast<std::streamsize>([utf8 length]))
      << '\n';
  return flushed(0);
}

int print_uikit_label(const Options &options) {
  return print_label([ZLTUtils localizedLabelFromUIKit:text(options.uikit_key)],
                     "UIKit's bundle cannot be had");
}

int print_couria_label(const Options &options) {
  return print_label([ZLTUtils couriaLocalizedString:text(options.couria_key)],
                     "ChatKit has no such label, and the Couria settings are not installed");
}

int print_bundle_label(const Options &options) {
  NSString *table = options.table.empty() ? nil : text(options.table);
  return print_label([ZLTUtils localizedLabel:text(options.identifier)
                                        table:table
                                          key:text(options.key)],
                     "no bundle has the identifier " + options.identifier);
}

} // namespace

void add_label(CLI::App &app, Action &run) {
  CLI::App *command = app.add_subcommand(
      "label", "Print a localized label of another bundle, in the language of the environment");
  const auto options = std::make_shared<Options>();
  const auto *identifier = command->add_option("ID", options->identifier, "The bundle identifier");
  const auto *table = command->add_option("TABLE", options->table,
                                          "The strings table; the empty text for the default one");
  const auto *key = command->add_option("KEY", options->key, "The label's key");
  const auto *uikit = command->add_option("--uikit", options->uikit_key,
                                          "Print UIKit's label for this key instead");
  const auto *couria = command->add_option(
      "--couria", options->couria_key, "Print ChatKit's or Couria's label for this key instead");

  command->callback([=, &run] {
    const bool bundle = identifier->count() + table->count() + key->count() > 0;
    const std::size_t forms = uikit->count() + couria->count() + (bundle ? 1 : 0);
    if (forms != 1 || (bundle && key->count() == 0))
      throw CLI::ValidationError("label",
                                 "give ID, TABLE and KEY, or --uikit KEY, or --couria KEY");
    run = [=] {
      if (bundle)
        return print_bundle_label(*options);
      return uikit->count() > 0 ? print_uikit_label(*options) : print_couria_label(*options);
    };
  });
}

} // namespace veltro::tool
