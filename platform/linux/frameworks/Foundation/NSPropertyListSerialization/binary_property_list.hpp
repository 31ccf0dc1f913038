// Writing binary property lists.
#pragma once

#import <Foundation/Foundation.h>

namespace veltro::host {

/// `root` as a binary property list (autoreleased), each text and integer in it once; a dictionary
/// with the one key CF$UID becomes a keyed archive's reference. Nil where `root` holds an object
/// that property lists do not.
NSData *binary_property_list(id root);

} // namespace veltro::host
