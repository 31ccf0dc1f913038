// The app that tests install: writes how it was started to "launched" in its home, then counts in
// "beats" there for as long as it is there, which is two minutes at most.

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string text_of(const char *variable) {
  const char *value = std::getenv(variable);
  return value != nullptr ? value : "";
}

int blocked_signals() {
  sigset_t blocked;
  sigprocmask(SIG_SETMASK, nullptr, &blocked);
  int count = 0;
  for (int number = 1; number < NSIG; ++number)
    count += sigismember(&blocked, number) == 1 ? 1 : 0;
  return count;
}

int ignored_signals() {
  int ignored = 0;
  for (int number = 1; number < NSIG; ++number) {
    struct sigaction action{};
    if (sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
      ++ignored;
  }
  return ignored;
}

std::string descriptors() {
  std::string list;
  for (int number = 0; number < 256; ++number) {
    std::error_code missing;
    const fs::path target = fs::read_symlink("/proc/self/fd/" + std::to_string(number), missing);
    if (!missing)
      list += std::to_string(number) + '=' + target.string() + ' ';
  }
  return list;
}

void describe(const fs::path &file) {
  const fs::path unfinished = file.string() + ".part";
  {
    const std::string open = descriptors();
    std::ofstream out(unfinished);
    out << "pid " << getpid() << "\nsession " << getsid(0) << "\ndescriptors " << open
        << "\nfolder " << fs::current_path().string() << "\nhome " << text_of("HOME") << "\nroot "
        << text_of("VELTRO_ROOT") << "\nkept " << text_of("VELTRO_TEST_KEPT") << "\nblocked "
        << blocked_signals() << "\nignored " << ignored_signals() << '\n';
  }
  fs::rename(unfinished, file);
}

} // namespace

int main() {
  alarm(120);
  const fs::path home = text_of("HOME");
  describe(home / "launched");
  for (long beats = 0;; ++beats) {
    if (!(std::ofstream(home / "beats") << beats << '\n'))
      return 0;
    usleep(10'000);
  }
}
