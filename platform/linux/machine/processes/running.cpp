// Reads /proc as proc(5) documents it; leases as fcntl(2) does.

#include "machine/processes/running.hpp"

#include "machine/files/file.hpp"
#include "machine/processes/proc_folder.hpp"

#include <algorithm>
#include <array>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace veltro::host {
namespace {

/// Empty where the process has ended.
std::string contents(pid_t process, const char *file) {
  const File open("/proc/" + std::to_string(process) + '/' + file, O_RDONLY);
  return read_all(open.number()).value_or("");
}

/// Whether the kernel runs the file by an interpreter that its first line names.
bool is_script(const File &executable) {
  std::array<char, 2> start{};
  return pread(executable.number(), start.data(), start.size(), 0) == 2 &&
         start == std::array{'#', '!'};
}

/// What is compared: where the file really lies, and for a script, which the kernel runs by its
/// interpreter, the path that it hands to that.
struct Program {
  std::string path;
  std::string real_path;
  bool is_script = false;
};

std::optional<Program> program_at(const std::string &executable) {
  std::error_code error;
  std::string real_path = std::filesystem::canonical(executable, error).string();
  if (error)
    return std::nullopt;
  return Program{executable, std::move(real_path), is_script(File(executable, O_RDONLY))};
}

/// Whether the process's command line reads as the kernel writes it for a script: the interpreter,
/// an argument of the interpreter's if the script names one, and the script. The kernel notes it a
/// little after the process has the program; until then it is empty.
bool runs_script(pid_t process, const std::string &path) {
  if (contents(process, "comm") != path.substr(path.rfind('/') + 1, kKernelNameLength) + '\n')
    return false;
  const std::string line = contents(process, "cmdline");
  std::string_view rest(line);
  for (int argument = 0; argument <= 2 && !rest.empty(); ++argument) {
    const std::string_view text = rest.substr(0, rest.find('\0'));
    if (argument > 0 && text == path)
      return true;
    rest.remove_prefix(std::min(text.size() + 1, rest.size()));
  }
  return line.empty();
}

/// Whether nobody has the program open, and so nobody runs it: only then does the kernel grant a
/// lease for writing. False where it grants none at all, and for a script, which its interpreter
/// need not keep open.
bool is_open_nowhere(const std::string &executable) {
  const File file(executable, O_RDONLY);
  // Who opens the file meanwhile waits for the lease's end, of which this process would be told.
  return !is_script(file) && fcntl(file.number(), F_SETSIG, SIGURG) == 0 &&
         fcntl(file.number(), F_SETLEASE, F_WRLCK) == 0 &&
         fcntl(file.number(), F_SETLEASE, F_UNLCK) == 0;
}

bool runs(int proc, pid_t process, const Program &program) {
  std::array<char, PATH_MAX> target;
  const std::string_view executable = executable_of(proc, process, target);
  return executable == program.real_path ||
         (program.is_script && !executable.empty() && runs_script(process, program.path));
}

} // namespace

std::vector<pid_t> processes_running(const std::string &executable) {
  std::vector<pid_t> found;
  if (is_open_nowhere(executable))
    return found;
  const std::optional<Program> program = program_at(executable);
  const ProcFolder proc;
  if (!program || !proc)
    return found;
  while (const pid_t process = proc.next())
    if (runs(proc.descriptor(), process, *program))
      found.push_back(process);
  return found;
}

bool runs(pid_t process, const std::string &executable) {
  const std::optional<Program> program = program_at(executable);
  const ProcFolder proc;
  return program && proc && runs(proc.descriptor(), process, *program);
}

bool stopped_by_signal(pid_t process) {
  return fields_of(contents(process, "stat")).starts_with('T');
}

} // namespace veltro::host
