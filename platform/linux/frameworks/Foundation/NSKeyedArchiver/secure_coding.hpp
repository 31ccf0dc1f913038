// Which classes may pass through an archiver that requires secure coding.
#pragma once

#import <Foundation/Foundation.h>

namespace veltro::host {

/// Whether `candidate` declares secure coding, and declares it at least as far down the hierarchy
/// as it overrides initWithCoder:. A class of Foundation's own need not repeat the declaration.
bool supports_secure_coding(Class candidate);

/// Whether instances of `candidate` are made by Foundation's own initWithCoder:.
bool foundation_decodes(Class candidate);

} // namespace veltro::host
