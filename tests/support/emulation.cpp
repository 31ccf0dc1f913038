// What QEMU's user mode lacks of Linux, for programs that run in it. A program's own definition
// comes before that of a shared object, so these take the places of the platform's and the C
// library's.

#include "machine/processes/launch.hpp"
#include "machine/processes/running.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// The launcher of this program (cmake/cross/launcher), where `path` stands for the program itself:
/// beside it is its bundle, and it is what can be started again.
const char *launcher_for(const char *path) {
  return std::string_view(path) == "/proc/self/exe" ? std::getenv("VELTRO_LAUNCHER") : nullptr;
}

} // namespace

extern "C" ssize_t readlink(const char *path, char *target, std::size_t size) {
  const char *const launcher = launcher_for(path);
  if (launcher == nullptr)
    return readlinkat(AT_FDCWD, path, target, size);
  const std::size_t length = std::min(size, std::strlen(launcher));
  std::memcpy(target, launcher, length);
  return static_cast<ssize_t>(length);
}

extern "C" int execv(const char *path, char *const *arguments) {
  const char *const launcher = launcher_for(path);
  return execve(launcher != nullptr ? launcher : path, arguments, environ);
}

namespace veltro::host {
namespace {

/// How this process hears of the program: its process, and an errno made negative if it cannot be.
struct Report {
  int writing_end;
  void send(int number) const { static_cast<void>(write(writing_end, &number, sizeof number)); }
};

[[noreturn]] void become(const char *executable, const std::vector<std::string> &changes,
                         Report report) {
  for (const std::string &change : changes)
    putenv(const_cast<char *>(change.c_str()));
  setsid();
  for (int number = 1; number < NSIG; ++number)
    std::signal(number, SIG_DFL);
  const int null = open("/dev/null", O_RDWR);
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    dup2(null, standard);
  const Report kept{STDERR_FILENO + 1};
  dup3(report.writing_end, kept.writing_end, O_CLOEXEC);
  closefrom(kept.writing_end + 1);
  sigset_t none;
  sigemptyset(&none);
  char *const arguments[]{const_cast<char *>(executable), nullptr};
  if (chdir("/") == 0 && sigprocmask(SIG_SETMASK, &none, nullptr) == 0)
    execv(executable, arguments);
  kept.send(-errno);
  _exit(1);
}

} // namespace

// QEMU knows no process that shares its parent's memory and ends without a signal, which is what
// the platform starts. Unlike that, this sends a SIGCHLD.
Launch launch(const std::string &executable, const std::vector<std::string> &changes) {
  int pipe_ends[2];
  if (pipe2(pipe_ends, O_CLOEXEC) != 0)
    return {0, errno};
  const pid_t middle = fork();
  if (middle == 0) {
    const Report report{pipe_ends[1]};
    const pid_t program = fork();
    if (program == 0)
      become(executable.c_str(), changes, report);
    report.send(program > 0 ? program : -errno);
    _exit(0);
  }
  close(pipe_ends[1]);
  waitpid(middle, nullptr, 0);

  Launch launched{0, middle < 0 ? EAGAIN : 0};
  for (int number = 0; read(pipe_ends[0], &number, sizeof number) > 0;)
    (number > 0 ? launched.process : launched.error) = std::abs(number);
  close(pipe_ends[0]);
  if (launched.error != 0)
    return {0, launched.error};
  // Until the process shows the program: it has its command line a little later.
  constexpr int kLooks = 1000;
  for (int look = 0; look < kLooks && !runs(launched.process, executable); ++look)
    usleep(1000);
  return launched;
}

} // namespace veltro::host
