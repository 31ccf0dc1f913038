// The machine's running processes, by the program that they run.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace veltro::host {

/// The processes that run the file `executable` (absolute), be it a program or a script. Empty
/// where the file does not exist, or the path is empty.
std::vector<pid_t> processes_running(const std::string &executable);

/// Whether `process` still runs that file.
bool runs(pid_t process, const std::string &executable);

/// Whether `process` was stopped by a signal; false where a debugger holds it.
bool stopped_by_signal(pid_t process);

} // namespace veltro::host
