// A file that should hold a property list and holds none.
#pragma once

#include <string>

namespace veltro::host {

/// Logs that the file at `path` does not read and counts as missing: one line for each state of the
/// file, and none where there is no file.
void log_corrupt_file(const std::string &path);

/// Renames the file to the first of "PATH.corrupt-1", "PATH.corrupt-2" and so on that is free, and
/// logs that. To be called before such a file is replaced; false where it could not be renamed.
bool quarantine_file(const std::string &path);

} // namespace veltro::host
