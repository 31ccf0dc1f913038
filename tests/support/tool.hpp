// Running the command-line tool of the build tree under test.
#pragma once

#include <initializer_list>
#include <string>
#include <sys/types.h>
#include <vector>

namespace veltro::test {

struct ToolResult {
  int status; ///< the exit status, or -1 where a signal ended it
  std::string out;
  std::string error;
};

/// Starts `bin/veltro` with this process's environment; its output goes to files of its own. It
/// does not outlive this process.
class RunningTool {
public:
  explicit RunningTool(const std::vector<std::string> &arguments, const std::string &input = "");
  ~RunningTool();
  RunningTool(const RunningTool &) = delete;
  RunningTool &operator=(const RunningTool &) = delete;

  /// Waits for its end.
  ToolResult result();

  [[nodiscard]] pid_t process() const { return process_; }

private:
  std::string folder_;
  pid_t process_;
};

/// Runs the tool to its end.
ToolResult run_tool(const std::vector<std::string> &arguments, const std::string &input = "");

} // namespace veltro::test
