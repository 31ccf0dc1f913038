// What waits for the main thread, in the order in which it becomes due. A timer descriptor of the
// kernel becomes readable when something is due; whoever watches it on the main thread drains.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <utility>

namespace veltro::host {

/// Nanoseconds of the clock that dispatch times are given in; it stands still while the machine
/// sleeps.
std::uint64_t dispatch_clock();

/// Calls a function when the scope ends, also when an exception of a block passes through it.
class AtEnd {
public:
  explicit AtEnd(std::function<void()> action) : action_(std::move(action)) {}
  ~AtEnd() { action_(); }
  AtEnd(const AtEnd &) = delete;
  AtEnd &operator=(const AtEnd &) = delete;

private:
  std::function<void()> action_;
};

class MainQueue {
public:
  using Work = std::function<void()>;

  MainQueue();
  ~MainQueue();
  MainQueue(const MainQueue &) = delete;
  MainQueue &operator=(const MainQueue &) = delete;

  /// Readable when drain() has something to do.
  [[nodiscard]] int descriptor() const { return timer_; }

  /// Adds `work`, due now: behind all that was added before. Any thread.
  void add(Work work);

  /// Adds `work`, due at `when` on dispatch_clock(). Any thread.
  void add(std::uint64_t when, Work work);

  /// Hands all that was due when it was called to `run`, one at a time. Called from within `run` it
  /// does nothing: the queue is serial, also through a nested run loop. Main thread only.
  void drain(const std::function<void(const Work &)> &run);

private:
  using Due = std::pair<std::uint64_t, std::uint64_t>; // the time, then the order of adding

  void insert(std::uint64_t when, Work work);
  Work next_due_at(std::uint64_t now);
  void finish_draining();
  void arm();

  const int timer_;
  std::mutex mutex_;
  std::map<Due, Work> work_;
  std::uint64_t added_ = 0;
  bool draining_ = false;
};

/// The one main queue of this process; from the first call on the main thread's run loop drains it,
/// in the default and the common modes. Any thread, whether or not the run loop is running already.
MainQueue &main_queue();

/// Whether the caller is on the process's first thread.
bool on_main_thread();

} // namespace veltro::host
