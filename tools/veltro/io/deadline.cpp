#include "deadline.hpp"

#include <cmath>
#include <csignal>
#include <sys/time.h>
#include <unistd.h>

namespace veltro::tool {
namespace {

std::string last_words;

extern "C" void end_of_waiting(int /*signal*/) {
  // Nothing more can be done about a line that cannot be written.
  [[maybe_unused]] const ssize_t written =
      write(STDERR_FILENO, last_words.data(), last_words.size());
  _exit(1);
}

} // namespace

void fail_after(double seconds, const std::string &complaint) {
  last_words = "veltro: " + complaint + "\n";
  struct sigaction action{};
  action.sa_handler = end_of_waiting;
  sigaction(SIGALRM, &action, nullptr);
  const double whole = std::floor(seconds);
  itimerval timer{};
  timer.it_value.tv_sec = static_cast<time_t>(whole);
  timer.it_value.tv_usec = static_cast<suseconds_t>(std::ceil((seconds - whole) * 1e6));
  if (timer.it_value.tv_usec == 1'000'000) {
    timer.it_value.tv_usec = 0;
    ++timer.it_value.tv_sec;
  }
  setitimer(ITIMER_REAL, &timer, nullptr);
}

} // namespace veltro::tool
