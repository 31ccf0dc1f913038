#include "machine/property_lists/property_list.hpp"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <string_view>

namespace veltro::host {

bool begins_as_property_list(NSData *data) {
  const std::string_view start(static_cast<const char *>([data bytes]),
                               std::min<std::size_t>([data length], 6));
  return start == "bplist" || start.starts_with("<") || start.starts_with("\xEF\xBB\xBF<");
}

NSDictionary *dictionary_in(NSData *data) {
  if (!begins_as_property_list(data))
    return nil;
  id const list = [NSPropertyListSerialization propertyListWithData:data
                                                            options:NSPropertyListImmutable
                                                             format:nullptr
                                                              error:nullptr];
  return [list isKindOfClass:[NSDictionary class]] ? list : nil;
}

} // namespace veltro::host
