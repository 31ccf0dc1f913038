// A real process under a command name of the test's choice.
#pragma once

#include <sys/types.h>

namespace veltro::test {

/// Runs, and does nothing, until the object goes away or the test process ends.
class NamedProcess {
public:
  /// The kernel keeps the first 15 bytes of `command_name`.
  explicit NamedProcess(const char *command_name);
  ~NamedProcess();
  NamedProcess(const NamedProcess &) = delete;
  NamedProcess &operator=(const NamedProcess &) = delete;

  [[nodiscard]] pid_t pid() const { return pid_; }

private:
  pid_t pid_;
};

} // namespace veltro::test
