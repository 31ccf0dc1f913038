#include "machine/property_lists/property_list.hpp"

#import <Foundation/Foundation.h>

#include "machine/property_lists/plist_strings.hpp"
#include "machine/property_lists/property_list_guard.hpp"
#include "machine/text/utf8.hpp"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace veltro::host {

id property_list_in(NSData *data) {
  return [NSPropertyListSerialization propertyListWithData:data
                                                   options:NSPropertyListImmutable
                                                    format:nullptr
                                                     error:nullptr];
}

NSDictionary *dictionary_in(NSData *data) {
  const std::string_view bytes = bytes_of(data);
  if (!bytes.starts_with("bplist") && !from_first_character(bytes).starts_with('<'))
    return nil;
  id const list = property_list_in(data);
  return [list isKindOfClass:[NSDictionary class]] ? list : nil;
}

PlistStrings plist_strings(const std::string &path, std::initializer_list<const char *> keys) {
  constexpr off_t kSizeLimit = off_t{16} << 20;
  PlistStrings result;
  struct stat status{};
  if (stat(path.c_str(), &status) != 0)
    result.problem = std::strerror(errno);
  else if (!S_ISREG(status.st_mode))
    result.problem = "not a file";
  else if (status.st_size > kSizeLimit)
    result.problem = "too large";
  if (!result.problem.empty())
    return result;
  @autoreleasepool {
    NSData *data = [NSData dataWithContentsOfFile:string_of(path)];
    NSDictionary *list = dictionary_in(data);
    if (list == nil)
      result.problem = data == nil ? "cannot be read" : "not a property list with a dictionary";
    for (const char *key : keys) {
      id value = [list objectForKey:string_of(key)];
      if ([value isKindOfClass:[NSString class]])
        result.values.emplace(key, utf8_of(value));
    }
  }
  return result;
}

bool write_plist_string(const std::string &path, const char *key, const std::string &value) {
  @autoreleasepool {
    NSDictionary *list = [NSDictionary dictionaryWithObject:string_of(value) forKey:string_of(key)];
    NSData *data = [NSPropertyListSerialization dataWithPropertyList:list
                                                              format:NSPropertyListXMLFormat_v1_0
                                                             options:0
                                                               error:nullptr];
    return [data writeToFile:string_of(path) atomically:NO] != NO;
  }
}

} // namespace veltro::host
