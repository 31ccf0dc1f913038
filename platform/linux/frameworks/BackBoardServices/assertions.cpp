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

constexpr auto between_looks = std::chrono::milliseconds(100);
// A process that starts later is found by a look through the whole process table, now and then.
constexpr int looks_between_searches = 5;

std::vector<pid_t> processes_of(const std::string &identifier, std::string &executable) {
  const AppRecord app = installed_app(identifier);
  if (app == nullptr || app->executable.empty())
    return {};
  executable = app->executable_path();
  return processes_running(executable);
}

} // namespace

struct Assertion::State {
  State(std::string app, std::function<void(bool)> to_answer)
      : identifier(std::move(app)), answer(std::move(to_answer)) {}

  const std::string identifier;
  std::function<void(bool)> answer; ///< empty once it was called
  std::string executable;
  std::vector<pid_t> processes;
  int looks = 0;
  // Guarded by the keeper's lock.
  bool acquired = false;
  bool given_up = false;
};

class Keeper {
public:
  static Keeper &shared() {
    // Never destroyed: its thread may outlast the process's static objects.
    static Keeper &keeper = *new Keeper;
    return keeper;
  }

  void add(const std::shared_ptr<Assertion::State> &state) {
    const std::lock_guard lock(mutex_);
    states_.push_back(state);
    if (std::exchange(running_, true))
      changed_.notify_all();
    else
      std::thread([this] { keep(); }).detach();
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
  void keep() {
    std::unique_lock lock(mutex_);
    while (!states_.empty()) {
      const std::vector<std::shared_ptr<Assertion::State>> states = states_;
      lock.unlock();
      for (const auto &state : states)
        look_after(*state);
      lock.lock();
      std::erase_if(states_, [](const auto &state) {
        return !state->answer && (state->given_up || !state->acquired);
      });
      if (std::ranges::all_of(states_, [](const auto &state) { return !state->answer; }))
        changed_.wait_for(lock, between_looks);
    }
    running_ = false;
  }

  void look_after(Assertion::State &state) {
    if (state.answer)
      acquire(state);
    else if (++state.looks % looks_between_searches == 0)
      state.processes = processes_of(state.identifier, state.executable);
    for (const pid_t process : state.processes)
      if (stopped_by_signal(process) && runs(process, state.executable))
        go_on(state, process);
  }

  void acquire(Assertion::State &state) {
    state.processes = processes_of(state.identifier, state.executable);
    bool acquired = false;
    {
      const std::lock_guard lock(mutex_);
      acquired = state.acquired = !state.given_up && !state.processes.empty();
    }
    std::exchange(state.answer, nullptr)(acquired);
  }

  void go_on(const Assertion::State &state, pid_t process) {
    const std::lock_guard lock(mutex_);
    if (state.acquired && !state.given_up)
      kill(process, SIGCONT);
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::shared_ptr<Assertion::State>> states_;
  bool running_ = false;
};

Assertion::Assertion(std::string identifier, std::function<void(bool)> answer)
    : state_(std::make_shared<State>(std::move(identifier), std::move(answer))) {
  Keeper::shared().add(state_);
}

Assertion::~Assertion() {
  give_up();
}

bool Assertion::valid() const {
  return Keeper::shared().valid(*state_);
}

void Assertion::give_up() {
  Keeper::shared().give_up(*state_);
}

bool is_kept_alive(const std::string &identifier) {
  return Keeper::shared().valid(identifier);
}

} // namespace veltro::host
