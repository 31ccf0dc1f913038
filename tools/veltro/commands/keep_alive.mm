// veltro keep-alive: holds the process assertion on the messaging app.

#include "commands.hpp"
#include "io/checks.hpp"
#include "io/exit.hpp"
#include "io/messenger.hpp"

#import <VeltroHost/VeltroHost.h>
#import <veltro/veltro.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <ctime>
#include <iostream>
#include <memory>
#include <optional>
#include <unistd.h>

namespace veltro::tool {
namespace {

timespec time_of(double seconds) {
  const auto whole = static_cast<time_t>(seconds);
  return {.tv_sec = whole,
          .tv_nsec = static_cast<long>((seconds - static_cast<double>(whole)) * 1e9)};
}

/// Until Ctrl-C or a request to end, or for as long as given.
void wait_for_the_end(const std::optional<double> &seconds) {
  sigset_t ends;
  sigemptyset(&ends);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    sigaddset(&ends, signal);
  pthread_sigmask(SIG_BLOCK, &ends, nullptr);
  const timespec limit = time_of(seconds.value_or(0));
  sigtimedwait(&ends, nullptr, seconds ? &limit : nullptr);
}

/// The result of the assertion comes on another thread, and only to the library.
bool is_granted() {
  NSString *const app = [NSString stringWithUTF8String:kMessagingApp];
  constexpr int kTries = 200;
  for (int i = 0; i < kTries; ++i) {
    if (VHIsKeptAlive(app))
      return true;
    usleep(10'000);
  }
  return false;
}

int keep_alive(const std::optional<double> &seconds) {
  NSString *const app = [NSString stringWithUTF8String:kMessagingApp];
  if (NSString *const obstacle = VHLaunchObstacle(app); obstacle != nil)
    return failure(std::string("cannot keep ") + kMessagingApp +
                   " alive: " + [obstacle UTF8String] + how_to_have_one());
  [ZLTUtils startProcessAssertion];
  if (!is_granted()) {
    [ZLTUtils stopProcessAssertion];
    return failure("the assertion was not granted: the app of " +
                   std::string([VHDeviceRoot() UTF8String]) + " does not run" + how_to_have_one());
  }
  std::cout << "granted\n" << std::flush;
  wait_for_the_end(seconds);
  [ZLTUtils stopProcessAssertion];
  std::cout << "dropped\n" << std::flush;
  return flushed(0);
}

} // namespace

void add_keep_alive(CLI::App &app, Action &run) {
  CLI::App *command = app.add_subcommand(
      "keep-alive", "Launch the messaging app where it does not run, and keep it from being "
                    "suspended until Ctrl-C");
  const auto seconds = std::make_shared<std::optional<double>>();
  command->add_option("--for", *seconds, "Give up after so many seconds")
      ->check(seconds_check(0, kMostSeconds));
  command->callback([seconds, &run] { run = [seconds] { return keep_alive(*seconds); }; });
}

} // namespace veltro::tool
