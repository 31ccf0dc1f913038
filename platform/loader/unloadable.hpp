#pragma once

#include <stdexcept>

namespace veltro::loader {

/// Why an image cannot be loaded, in one line that does not name the file.
struct Unloadable : std::runtime_error {
  using std::runtime_error::runtime_error;
};

} // namespace veltro::loader
