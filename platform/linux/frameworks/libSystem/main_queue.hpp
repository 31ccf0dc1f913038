// What waits for the main thread, in the order in which it becomes due. A timer descriptor of the
// kernel becomes readable when something is due; whoever watches it on the main thread drains.
#pragma once

#include "machine/files/file.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>

namespace veltro::host {

/// Nanoseconds of the clock that dispatch times are given in; it stands still while the machine
/// sleeps.
std::uint64_t dispatch_clock();

class MainQueue {
public:
  using Work = std::function<void()>;

  MainQueue();

  /// Readable when drain() has something to do.
  [[nodiscard]] int descriptor() const { return timer_.number(); }

  /// Adds `work`, due at `when` on dispatch_clock(); what is due already takes its place behind all
  /// that was added before. Any thread.
  void add(std::uint64_t when, Work work);

  /// Adds `work`, due now. Any thread.
  void add(Work work) { add(0, std::move(work)); }

  /// Runs all that was due when it was called. Called by work that it runs it does nothing: the
  /// queue is serial, also through a nested run loop. Main thread only.
  void drain();

private:
  Work next_due_at(std::uint64_t now);
  void set_draining(bool draining);
  void arm();

  const File timer_;
  std::mutex mutex_;
  std::multimap<std::uint64_t, Work> work_; ///< by the time when it is due
  bool draining_ = false;
};

/// The one main queue of this process; from the first call on the main thread's run loop drains it,
/// in the default and the common modes. Any thread, whether or not the run loop is running already.
MainQueue &main_queue();

/// Whether the caller is on the process's first thread.
bool on_main_thread();

} // namespace veltro::host
