// Reading property lists without exceptions.
#pragma once

@class NSData, NSDictionary;

namespace veltro::host {

/// The dictionary that the property list `data` holds, or nil where it holds none. GNUstep answers
/// nil for some malformed lists and raises for others.
NSDictionary *dictionary_in(NSData *data);

} // namespace veltro::host
