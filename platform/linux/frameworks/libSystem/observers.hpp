// Darwin notifications between processes: under the device root a folder for each observed name,
// and in it a named pipe for each observer, called PROCESS.TOKEN. A post writes the token, as four
// bytes in network order, into every pipe of the folder. A pipe that is full is passed over, and
// one that nobody has open any more is removed.
#pragma once

#include <string>

namespace veltro::host {

/// Where the observers of `name` are; empty for a name that is none.
std::string observers_folder(const std::string &name);

/// Tells all observers that are listed in `folder`.
void tell_observers(const std::string &folder);

/// Lists an observer in `folder` and opens its pipe, or lists it with `pipe_of`, the path of a pipe
/// that is open already. Its path is left in `path`. The descriptor, 0 for a pipe that was open, or
/// -1 where it could not be listed.
int list_observer(const std::string &folder, int token, const std::string &pipe_of,
                  std::string &path);

} // namespace veltro::host
