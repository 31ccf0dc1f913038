#include "frameworks/BackBoardServices/assertions.hpp"

#include "machine/apps/app_registry.hpp"
#include "machine/processes/running.hpp"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace veltro::host {
namespace {

constexpr auto kBetweenLooks = std::chrono::milliseconds(100);
// A process that starts later is found by a look through the whole process table, now and then.
constexpr int kLooksBetweenSearches = 5;

std::vector<pid_t> processes_of(const std::string &identifier, std::string &executable) {
  const AppRecord app = installed_app(identifier);
  if (app == nullptr || app->executable.empty())
    return {};
  executable = app->executable_path();
  return processes_running(executable);
}

} // namespace

struct Assertion::State {
  State(std::string app, std::function<void(bool)> on_result)
      : identifier(std::move(app)), report(std::move(on_result)) {}

  const std::string identifier;
  std::function<void(bool)> report; ///< empty once it was called
  std::string executable;
  std::vector<pid_t> processes;
  int looks = 0;
  // Guarded by the monitor's lock.
  bool acquired = false;
  bool given_up = false;
};

class Monitor {
public:
  static Monitor &shared() {
    // Never destroyed: its thread may outlast the process's static objects.
    static Monitor &monitor = *new Monitor;
    return monitor;
  }

  void add(const std::shared_ptr<Assertion::State> &state) {
    const std::lock_guard lock(mutex_);
    states_.push_back(state);
    if (std::exchange(running_, true))
      changed_.notify_all();
    else
      std::thread([this] { run(); }).detach();
  }

  void give_up(Assertion::State &state) {
    const std::lock_guard lock(mutex_);
    state.given_up = true;
    changed_.notify_all();
  }

  bool valid(const Assertion::State &state) {
    const std::lock_guard lock(mutex_);
    return state.acquired && !state.given_up;
  }

  bool valid(const std::string &identifier) {
    const std::lock_guard lock(mutex_);
    return std::ranges::any_of(states_, [&](const auto &state) {
      return state->identifier == identifier && state->acquired && !state->given_up;
    });
  }

private:
  void run() {
    std::unique_lock lock(mutex_);
    while (!states_.empty()) {
      const std::vector<std::shared_ptr<Assertion::State>> states = states_;
      lock.unlock();
      for (const auto &state : states)
        poll(*state);
      lock.lock();
      std::erase_if(states_, [](const auto &state) {
        return !state->report && (state->given_up || !state->acquired);
      });
      if (std::ranges::all_of(states_, [](const auto &state) { return !state->report; }))
        changed_.wait_for(lock, kBetweenLooks);
    }
    running_ = false;
  }

  void poll(Assertion::State &state) {
    if (state.report)
      acquire(state);
    else if (++state.looks % kLooksBetweenSearches == 0)
      state.processes = processes_of(state.identifier, state.executable);
    for (const pid_t process : state.processes)
      if (stopped_by_signal(process) && runs(process, state.executable))
        resume(state, process);
  }

  void acquire(Assertion::State &state) {
    state.processes = processes_of(state.identifier, state.executable);
    bool acquired = false;
    {
      const std::lock_guard lock(mutex_);
      acquired = state.acquired = !state.given_up && !state.processes.empty();
    }
    std::exchange(state.report, nullptr)(acquired);
  }

  void resume(const Assertion::State &state, pid_t process) {
    const std::lock_guard lock(mutex_);
    if (state.acquired && !state.given_up)
      kill(process, SIGCONT);
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::shared_ptr<Assertion::State>> states_;
  bool running_ = false;
};

Assertion::Assertion(std::string identifier, std::function<void(bool)> report)
    : state_(std::make_shared<State>(std::move(identifier), std::move(report))) {
  Monitor::shared().add(state_);
}

Assertion::~Assertion() {
  give_up();
}

bool Assertion::valid() const {
  return Monitor::shared().valid(*state_);
}

void Assertion::give_up() {
  Monitor::shared().give_up(*state_);
}

bool is_kept_alive(const std::string &identifier) {
  return Monitor::shared().valid(identifier);
}

} // namespace veltro::host
