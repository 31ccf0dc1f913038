#include "frameworks/libSystem/main_queue.hpp"

#include <algorithm>
#include <ctime>
#include <sys/timerfd.h>
#include <unistd.h>

namespace veltro::host {
namespace {

constexpr std::uint64_t kNanosecondsPerSecond = 1'000'000'000;

} // namespace

std::uint64_t dispatch_clock() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * kNanosecondsPerSecond +
         static_cast<std::uint64_t>(now.tv_nsec);
}

MainQueue::MainQueue() : timer_(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)) {}

MainQueue::~MainQueue() {
  close(timer_);
}

void MainQueue::add(Work work) {
  const std::lock_guard lock(mutex_);
  insert(dispatch_clock(), std::move(work));
}

void MainQueue::add(std::uint64_t when, Work work) {
  const std::lock_guard lock(mutex_);
  // What is already due takes its place behind all that was added before.
  insert(std::max(when, dispatch_clock()), std::move(work));
}

void MainQueue::insert(std::uint64_t when, Work work) {
  work_.emplace(Due{when, added_++}, std::move(work));
  if (!draining_)
    arm();
}

void MainQueue::drain(const std::function<void(const Work &)> &run) {
  std::uint64_t expirations = 0;
  [[maybe_unused]] const auto length = read(timer_, &expirations, sizeof expirations);
  if (draining_)
    return;
  {
    const std::lock_guard lock(mutex_);
    draining_ = true;
  }
  const AtEnd finish([this] { finish_draining(); });
  const std::uint64_t now = dispatch_clock();
  while (const Work work = next_due_at(now))
    run(work);
}

MainQueue::Work MainQueue::next_due_at(std::uint64_t now) {
  const std::lock_guard lock(mutex_);
  if (work_.empty() || work_.begin()->first.first > now)
    return nullptr;
  return std::move(work_.extract(work_.begin()).mapped());
}

void MainQueue::finish_draining() {
  const std::lock_guard lock(mutex_);
  draining_ = false;
  arm();
}

void MainQueue::arm() {
  itimerspec at{};
  if (!work_.empty()) {
    const std::uint64_t due = work_.begin()->first.first;
    at.it_value.tv_sec = static_cast<time_t>(due / kNanosecondsPerSecond);
    at.it_value.tv_nsec = static_cast<long>(due % kNanosecondsPerSecond);
  }
  timerfd_settime(timer_, TFD_TIMER_ABSTIME, &at, nullptr);
}

} // namespace veltro::host
