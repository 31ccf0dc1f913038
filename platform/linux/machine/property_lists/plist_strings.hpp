// Property lists for the plain C++ of the platform: the few texts that it looks for.
#pragma once

#include <initializer_list>
#include <map>
#include <string>

namespace veltro::host {

struct PlistStrings {
  std::string problem; ///< why nothing was read; empty when the file is a property list
  std::map<std::string, std::string> values; ///< without those that are not there
};

/// Reads those of `keys` that the dictionary in `path` (XML or binary) gives a string. Never
/// raises, never waits: whatever is no regular file, larger than 16 MiB or no dictionary is a
/// problem.
PlistStrings plist_strings(const std::string &path, std::initializer_list<const char *> keys);

/// Writes a property list (XML) of one text to `path`; false where that is not possible.
bool write_plist_string(const std::string &path, const char *key, const std::string &value);

} // namespace veltro::host
