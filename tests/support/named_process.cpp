#include "support/named_process.hpp"

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace veltro::test {

NamedProcess::NamedProcess(const char *command_name) {
  int named[2];
  if (pipe(named) != 0)
    throw std::runtime_error("no pipe");
  pid_ = fork();
  if (pid_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    prctl(PR_SET_NAME, command_name);
    close(named[0]);
    close(named[1]); // tells the parent
    for (;;)
      pause();
  }
  close(named[1]);
  char nothing = 0;
  while (pid_ > 0 && read(named[0], &nothing, 1) < 0) {
  }
  close(named[0]);
  if (pid_ < 0)
    throw std::runtime_error("no process");
}

NamedProcess::~NamedProcess() {
  kill(pid_, SIGKILL);
  while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

} // namespace veltro::test
