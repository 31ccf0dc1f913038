// Processes that end as soon as they have started, one after another.
#pragma once

#include <atomic>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace veltro::test {

/// Keeps starting children, and reaping them, until the object goes away.
class ShortLivedProcesses {
public:
  ShortLivedProcesses() : forks_([this] { run(); }) {}
  ~ShortLivedProcesses() {
    done_ = true;
    forks_.join();
  }
  ShortLivedProcesses(const ShortLivedProcesses &) = delete;
  ShortLivedProcesses &operator=(const ShortLivedProcesses &) = delete;

  /// The last that was started, which may be gone; 0 before the first.
  [[nodiscard]] pid_t latest() const { return latest_; }

private:
  void run() {
    while (!done_) {
      const pid_t child = fork();
      if (child == 0)
        _exit(0);
      latest_ = child;
      waitpid(child, nullptr, 0);
    }
  }

  std::atomic<pid_t> latest_ = 0;
  std::atomic<bool> done_ = false;
  std::thread forks_; // last: it uses the others
};

} // namespace veltro::test
