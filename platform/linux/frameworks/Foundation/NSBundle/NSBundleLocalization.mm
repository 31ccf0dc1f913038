// NSBundle's localizations and strings tables. Follows Apple's NSBundle reference and its guide to
// bundles: a table of the bundle's folder itself comes first, then that of the localization that
// suits the user best, then that of the development region; a key that the first table found does
// not have gives the default value, or the key itself where that is nil or empty.
// Tables and languages are those of the moment. GNUstep's default NSShowNonLocalizedStrings and
// tables of plural rules are left out.

#import <Foundation/Foundation.h>

#include "frameworks/Foundation/NSBundle/languages.hpp"
#include "frameworks/Foundation/replace_method.hpp"
#include "machine/property_lists/corrupt_file.hpp"
#include "machine/property_lists/property_list.hpp"
#include "machine/text/utf8.hpp"

#include <filesystem>
#include <set>
#include <string_view>

namespace {

using veltro::host::replace_method;
using veltro::host::string_of;
using veltro::host::utf8_of;

namespace fs = std::filesystem;

/// The folders that hold a bundle's resources: its own and, where it has one, Resources.
std::vector<std::string> resource_folders(NSBundle *bundle) {
  std::vector<std::string> folders{utf8_of([bundle bundlePath])};
  if (std::string resources = utf8_of([bundle resourcePath]); resources != folders.front())
    folders.push_back(std::move(resources));
  return folders;
}

std::vector<std::string> localizations_in(const std::vector<std::string> &folders) {
  std::set<std::string> names;
  for (const std::string &folder : folders) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error))
      if (entry->path().extension() == ".lproj")
        names.insert(entry->path().stem());
  }
  return {names.begin(), names.end()};
}

std::vector<std::string> preferred_in(NSBundle *bundle, const std::vector<std::string> &available) {
  std::vector<std::string> wanted = veltro::host::user_languages();
  id region = [[bundle infoDictionary] objectForKey:@"CFBundleDevelopmentRegion"];
  if ([region isKindOfClass:[NSString class]])
    wanted.push_back(utf8_of(region));
  wanted.insert(wanted.end(), {"en", "Base"});
  return veltro::host::matching_localizations(available, wanted);
}

/// A property list, or Foundation's old format of text in UTF-8 or UTF-16.
NSDictionary *parse_table(NSData *data) {
  if (NSDictionary *const list = veltro::host::dictionary_in(data))
    return list;
  const std::string_view bytes = veltro::host::bytes_of(data);
  const bool wide = bytes.starts_with("\xFE\xFF") || bytes.starts_with("\xFF\xFE");
  NSString *source = [[[NSString alloc]
      initWithData:data
          encoding:wide ? NSUTF16StringEncoding : NSUTF8StringEncoding] autorelease];
  @try {
    return [source propertyListFromStringsFileFormat];
  } @catch (NSException *) {
    return nil;
  }
}

/// The strings in the file at `path`, or nil where there is no such table.
NSDictionary *table_at(const std::string &path) {
  NSData *data = [NSData dataWithContentsOfFile:string_of(path)];
  NSDictionary *strings = data != nil ? parse_table(data) : nil;
  if (strings == nil && (data == nil || [data length] != 0))
    veltro::host::log_corrupt_file(path);
  return strings;
}

NSDictionary *table_named(NSBundle *bundle, const std::string &name) {
  const std::vector<std::string> folders = resource_folders(bundle);
  std::vector<std::string> places{"/"};
  for (const std::string &language : preferred_in(bundle, localizations_in(folders)))
    places.push_back('/' + language + ".lproj/");
  for (const std::string &place : places)
    for (std::string path : folders) {
      path.append(place).append(name).append(".strings");
      if (NSDictionary *table = table_at(path); table != nil)
        return table;
    }
  return nil;
}

NSString *localized_string(NSBundle *self, SEL /*command*/, NSString *key, NSString *value,
                           NSString *table) {
  if (key == nil)
    return value != nil ? value : @"";
  id string =
      [table_named(self, [table length] != 0 ? utf8_of(table) : "Localizable") objectForKey:key];
  if ([string isKindOfClass:[NSString class]])
    return string;
  return [value length] != 0 ? value : key;
}

NSArray *names(const std::vector<std::string> &list) {
  NSMutableArray *array = [NSMutableArray array];
  for (const std::string &name : list)
    if (NSString *const text = string_of(name))
      [array addObject:text];
  return array;
}

NSArray *localizations(NSBundle *self, SEL /*command*/) {
  return names(localizations_in(resource_folders(self)));
}

NSArray *preferred_localizations(NSBundle *self, SEL /*command*/) {
  return names(preferred_in(self, localizations_in(resource_folders(self))));
}

} // namespace

VH_AT_LOAD(VHBundleLocalization) {
  Class bundle = objc_getClass("NSBundle");
  replace_method(bundle, "localizedStringForKey:value:table:", localized_string);
  replace_method(bundle, "localizations", localizations);
  replace_method(bundle, "preferredLocalizations", preferred_localizations);
}
