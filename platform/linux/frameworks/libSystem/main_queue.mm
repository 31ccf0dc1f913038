#include "frameworks/libSystem/main_queue.hpp"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace {

NSArray *modes() {
  return [NSArray
      arrayWithObjects:NSDefaultRunLoopMode, NSRunLoopCommonModes, @"UITrackingRunLoopMode", nil];
}

} // namespace

/// The class itself watches the main queue's descriptor in the main thread's run loop.
@interface VHMainQueueWatcher : NSObject
@end

@implementation VHMainQueueWatcher

+ (void)watch:(NSNumber *)descriptor {
  for (NSString *mode in modes())
    [[NSRunLoop currentRunLoop] addEvent:reinterpret_cast<void *>([descriptor integerValue])
                                    type:ET_RDESC
                                 watcher:static_cast<id<RunLoopEvents>>(self)
                                 forMode:mode];
}

+ (void)receivedEvent:(void *)data
                 type:(RunLoopEventType)type
                extra:(void *)extra
              forMode:(NSString *)mode {
  veltro::host::main_queue().drain();
}

@end

namespace veltro::host {

std::uint64_t dispatch_clock() {
  const std::chrono::nanoseconds now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(now.count());
}

MainQueue::MainQueue()
    : timer_(File::of(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC))) {}

void MainQueue::add(std::uint64_t when, Work work) {
  const std::lock_guard lock(mutex_);
  work_.emplace(std::max(when, dispatch_clock()), std::move(work));
  arm();
}

void MainQueue::drain() {
  if (draining_)
    return;
  set_draining(true);
  // Also when an exception of a block passes through.
  const std::unique_ptr<MainQueue, void (*)(MainQueue *)> at_end(
      this, [](MainQueue *queue) { queue->set_draining(false); });
  const std::uint64_t now = dispatch_clock();
  while (const Work work = next_due_at(now)) {
    @autoreleasepool {
      work();
    }
  }
}

MainQueue::Work MainQueue::next_due_at(std::uint64_t now) {
  const std::lock_guard lock(mutex_);
  if (work_.empty() || work_.begin()->first > now)
    return nullptr;
  return std::move(work_.extract(work_.begin()).mapped());
}

void MainQueue::set_draining(bool draining) {
  const std::lock_guard lock(mutex_);
  draining_ = draining;
  arm();
}

/// While it is drained nothing is armed: a nested run loop would wake for what it must not run.
void MainQueue::arm() {
  itimerspec at{};
  if (!draining_ && !work_.empty()) {
    const auto due = std::lldiv(static_cast<long long>(work_.begin()->first), 1'000'000'000);
    at.it_value = {due.quot, due.rem};
  }
  timerfd_settime(timer_.number(), TFD_TIMER_ABSTIME, &at, nullptr);
}

MainQueue &main_queue() {
  // Never given back: other threads may add to it until the process has ended.
  static MainQueue *const queue = [] {
    auto *const made = new MainQueue;
    @autoreleasepool {
      [VHMainQueueWatcher performSelectorOnMainThread:@selector(watch:)
                                           withObject:[NSNumber numberWithInt:made->descriptor()]
                                        waitUntilDone:on_main_thread()
                                                modes:modes()];
    }
    return made;
  }();
  return *queue;
}

bool on_main_thread() {
  return syscall(SYS_gettid) == getpid();
}

} // namespace veltro::host
