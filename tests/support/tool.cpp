#include "support/tool.hpp"

#include "support/scratch.hpp"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace veltro::test {
namespace {

std::string contents(const std::string &path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

void redirect(int descriptor, const std::string &path, int flags) {
  const int file = open(path.c_str(), flags, 0600);
  if (file < 0 || dup2(file, descriptor) < 0)
    _exit(126);
  close(file);
}

} // namespace

RunningTool::RunningTool(const std::vector<std::string> &arguments, const std::string &input)
    : folder_((scratch() / "tool-XXXXXX").string()) {
  if (mkdtemp(folder_.data()) == nullptr)
    throw std::runtime_error("no folder for the tool's output");
  std::ofstream(folder_ + "/in", std::ios::binary) << input;
  const std::string program = VELTRO_BUILD_DIR "/bin/veltro";
  std::vector<char *> argv{const_cast<char *>(program.c_str())};
  for (const std::string &argument : arguments)
    argv.push_back(const_cast<char *>(argument.c_str()));
  argv.push_back(nullptr);
  process_ = fork();
  if (process_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    redirect(STDIN_FILENO, folder_ + "/in", O_RDONLY);
    redirect(STDOUT_FILENO, folder_ + "/out", O_WRONLY | O_CREAT);
    redirect(STDERR_FILENO, folder_ + "/error", O_WRONLY | O_CREAT);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
}

RunningTool::~RunningTool() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
}

ToolResult RunningTool::result() {
  int status = 0;
  waitpid(process_, &status, 0);
  process_ = 0;
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contents(folder_ + "/out"),
          contents(folder_ + "/error")};
}

ToolResult run_tool(const std::vector<std::string> &arguments, const std::string &input) {
  return RunningTool(arguments, input).result();
}

} // namespace veltro::test
