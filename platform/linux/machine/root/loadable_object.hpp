#pragma once

namespace veltro::host {

enum class Executable {
  missing,  ///< no regular file
  loadable, ///< a shared object, which a process can link while it runs
  program,  ///< anything else: a program, a script, a file of no known kind
};

Executable kind_of_executable(const char *path);

} // namespace veltro::host
