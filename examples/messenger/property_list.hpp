#pragma once

#import <Foundation/Foundation.h>

namespace veltro::messenger {

/// `object` where it is of the class, else nil.
template <typename Class> Class *kind(id object) {
  return [object isKindOfClass:[Class class]] ? static_cast<Class *>(object) : nil;
}

/// What the dictionary holds under the key where that is of the class, else nil.
template <typename Class> Class *entry(NSDictionary *dictionary, NSString *key) {
  return kind<Class>([dictionary objectForKey:key]);
}

/// What a binary property list holds (autoreleased); nil where the bytes are none.
id property_list(NSData *bytes);

} // namespace veltro::messenger
