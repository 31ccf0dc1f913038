// Two calls of clone(2): the middle process awaits the program, as after vfork, and ends, so that
// the program is detached here. Neither announces its end with SIGCHLD, and plain wait calls of
// this process do not see them.

#include "machine/processes/launch.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <memory>
#include <sched.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" char **environ;

namespace veltro::host {
namespace {

constexpr std::size_t kStackSize = std::size_t{32} * 1024;
// Both give no signal at the end. The middle process changes nothing of what it shares.
constexpr int kMiddle = CLONE_VM | CLONE_VFORK | CLONE_FILES | CLONE_FS | CLONE_SIGHAND;
constexpr int kProgram = CLONE_VM | CLONE_VFORK;

/// A stack for each of the two processes; they run in this one's memory.
struct Stacks {
  alignas(16) std::array<std::byte, kStackSize> middle;
  alignas(16) std::array<std::byte, kStackSize> program;
};

struct Request {
  const char *executable;
  const char *name;
  char *const *arguments;
  char *const *environment;
  Stacks *stacks;
  Launch result;
};

// Both children run between clone and exec, where other threads may hold any lock: system calls
// only. Sanitizers know nothing of their stacks.

[[clang::no_sanitize("address")]] int become_the_program(void *argument) {
  auto *const request = static_cast<Request *>(argument);
  setsid();
  struct sigaction standard_way{};
  standard_way.sa_handler = SIG_DFL;
  for (int number = 1; number < NSIG; ++number)
    sigaction(number, &standard_way, nullptr);
  const int null = open("/dev/null", O_RDWR);
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    dup2(null, standard);
  closefrom(STDERR_FILENO + 1);
  // The kernel lets the starter continue a moment before it gives the process the program's name.
  prctl(PR_SET_NAME, request->name);
  sigset_t none;
  sigemptyset(&none);
  if (chdir("/") == 0 && sigprocmask(SIG_SETMASK, &none, nullptr) == 0)
    execve(request->executable, request->arguments, request->environment);
  request->result.error = errno;
  _exit(1);
}

[[clang::no_sanitize("address")]] int start_the_program(void *argument) {
  auto *const request = static_cast<Request *>(argument);
  std::byte *const top = request->stacks->program.data() + kStackSize;
  request->result.process = clone(become_the_program, top, kProgram, request);
  if (request->result.process < 0)
    request->result.error = errno;
  _exit(0);
}

std::string_view name_of(std::string_view variable) {
  return variable.substr(0, variable.find('='));
}

/// This process's environment with each of `changes` instead of its own.
std::vector<char *> environment_with(const std::vector<std::string> &changes) {
  std::vector<char *> variables;
  for (char **variable = environ; variable != nullptr && *variable != nullptr; ++variable)
    if (std::ranges::find(changes, name_of(*variable), name_of) == changes.end())
      variables.push_back(*variable);
  for (const std::string &change : changes)
    variables.push_back(const_cast<char *>(change.c_str()));
  variables.push_back(nullptr);
  return variables;
}

} // namespace

Launch launch(const std::string &executable, const std::vector<std::string> &changes) {
  const std::vector<char *> variables = environment_with(changes);
  const std::array<char *, 2> arguments{const_cast<char *>(executable.c_str()), nullptr};
  const auto stacks = std::make_unique_for_overwrite<Stacks>();
  const std::string name = executable.substr(executable.rfind('/') + 1);
  Request request{executable.c_str(), name.c_str(), arguments.data(),
                  variables.data(),   stacks.get(), {}};

  // A handler of this process must not run in the children, which share its memory, nor interrupt
  // the wait for them.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &before);
  const pid_t middle =
      clone(start_the_program, stacks->middle.data() + kStackSize, kMiddle, &request);
  if (middle < 0)
    request.result.error = errno;
  else
    waitpid(middle, nullptr, static_cast<int>(__WCLONE));
  pthread_sigmask(SIG_SETMASK, &before, nullptr);

  if (request.result.error != 0)
    request.result.process = 0;
  return request.result;
}

} // namespace veltro::host
