// Property lists that this platform reads itself.
#pragma once

@class NSData, NSDictionary;

namespace veltro::host {

/// What the property list `data` holds; nil where it is none. Never raises.
id property_list_in(NSData *data);

/// The dictionary that the property list `data`, binary or XML, holds; nil where it holds none.
/// Never raises. The old text format is not taken: GNUstep leaks what it reads of a text until it
/// finds that it is no property list.
NSDictionary *dictionary_in(NSData *data);

} // namespace veltro::host
