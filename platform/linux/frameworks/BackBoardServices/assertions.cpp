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

struct Assertion::State {
  const std::string identifier;
  std::function<void(bool)> report;     ///< empty once it was called
  enum { due, held, over } phase = due; ///< guarded by the monitor's mutex
  std::string executable;
  std::vector<pid_t> processes;
  int looks = 0;
};

namespace {

using State = Assertion::State;

constexpr auto kBetweenLooks = std::chrono::milliseconds(100);
// A process that starts later is found by a look through the whole process table, now and then.
constexpr int kLooksBetweenSearches = 5;

struct Monitor {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<std::shared_ptr<State>> states;
  bool running = false;
};

// Never destroyed: its thread may outlast the process's static objects.
Monitor &monitor() {
  static Monitor &only = *new Monitor;
  return only;
}

void find_processes(State &state) {
  const AppRecord app = installed_app(state.identifier);
  state.executable = app != nullptr ? app->executable_path() : "";
  state.processes = processes_running(state.executable);
}

void acquire(State &state) {
  find_processes(state);
  std::unique_lock lock(monitor().mutex);
  const bool acquired = state.phase == State::due && !state.processes.empty();
  state.phase = acquired ? State::held : State::over;
  lock.unlock();
  std::exchange(state.report, nullptr)(acquired);
}

void poll(State &state) {
  if (state.report)
    acquire(state);
  else if (++state.looks % kLooksBetweenSearches == 0)
    find_processes(state);
  for (const pid_t process : state.processes)
    if (stopped_by_signal(process) && runs(process, state.executable)) {
      const std::lock_guard lock(monitor().mutex);
      if (state.phase == State::held)
        kill(process, SIGCONT);
    }
}

[[noreturn]] void run() {
  Monitor &all = monitor();
  while (true) {
    std::unique_lock lock(all.mutex);
    all.changed.wait(lock, [&] { return !all.states.empty(); });
    const std::vector<std::shared_ptr<State>> states = all.states;
    lock.unlock();
    for (const auto &state : states)
      poll(*state);
    lock.lock();
    std::erase_if(all.states,
                  [](const auto &state) { return !state->report && state->phase == State::over; });
    all.changed.wait_for(lock, kBetweenLooks, [&] {
      return std::ranges::any_of(all.states, [](const auto &state) { return !!state->report; });
    });
  }
}

} // namespace

Assertion::Assertion(std::string identifier, std::function<void(bool)> report)
    : state_(std::make_shared<State>(std::move(identifier), std::move(report))) {
  Monitor &all = monitor();
  const std::lock_guard lock(all.mutex);
  all.states.push_back(state_);
  all.changed.notify_all();
  if (!std::exchange(all.running, true))
    std::thread(run).detach();
}

Assertion::~Assertion() {
  give_up();
}

bool Assertion::valid() const {
  const std::lock_guard lock(monitor().mutex);
  return state_->phase == State::held;
}

void Assertion::give_up() {
  const std::lock_guard lock(monitor().mutex);
  state_->phase = State::over;
}

bool is_kept_alive(const std::string &identifier) {
  const std::lock_guard lock(monitor().mutex);
  return std::ranges::any_of(monitor().states, [&](const auto &state) {
    return state->identifier == identifier && state->phase == State::held;
  });
}

} // namespace veltro::host
