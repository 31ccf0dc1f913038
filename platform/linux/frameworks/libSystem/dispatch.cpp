// dispatch_once, dispatch_time and the main queue. Follows Apple's Dispatch reference. Queues other
// than the main queue, groups, semaphores, sources and wall-clock times are left out.

#include <dispatch/dispatch.h>

#include "frameworks/libSystem/blocks.hpp"
#include "frameworks/libSystem/main_queue.hpp"

#include <atomic>
#include <cstdio>
#include <memory>
#include <semaphore>

struct dispatch_queue_s {
  const char *label;
};

namespace {

using veltro::host::main_queue;

[[noreturn]] void client_bug(const char *what) {
  std::fprintf(stderr, "BUG IN CLIENT OF LIBDISPATCH: %s\n", what);
  __builtin_trap();
}

void check_queue(dispatch_queue_t queue) {
  if (queue != dispatch_get_main_queue())
    client_bug("not a queue of this process");
}

/// The call of a copy of `block`, which is released when the call is dropped.
veltro::host::MainQueue::Work call_of(dispatch_block_t block) {
  void *const copy = veltro::host::copy_block(reinterpret_cast<const void *>(block));
  const std::shared_ptr<void> owner(copy, veltro::host::release_block);
  return [owner] { reinterpret_cast<dispatch_block_t>(owner.get())(); };
}

constexpr dispatch_once_t kNotYet = 0;
constexpr dispatch_once_t kRunning = 1;
constexpr dispatch_once_t kDone = ~dispatch_once_t{0};

} // namespace

extern "C" {

dispatch_queue_s _dispatch_main_q = {"com.apple.main-thread"};

void dispatch_once(dispatch_once_t *predicate, dispatch_block_t block) {
  const std::atomic_ref state(*predicate);
  dispatch_once_t seen = kNotYet;
  if (state.compare_exchange_strong(seen, kRunning)) {
    block();
    state.store(kDone);
    state.notify_all();
  } else {
    state.wait(kRunning);
  }
}

dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta) {
  if (when == DISPATCH_TIME_FOREVER)
    return DISPATCH_TIME_FOREVER;
  if (when == DISPATCH_TIME_NOW)
    when = veltro::host::dispatch_clock();
  std::int64_t sum = 0;
  if (__builtin_add_overflow(static_cast<std::int64_t>(when), delta, &sum))
    return DISPATCH_TIME_FOREVER;
  return sum > 0 ? static_cast<dispatch_time_t>(sum) : 1;
}

void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block) {
  check_queue(queue);
  if (when != DISPATCH_TIME_FOREVER)
    main_queue().add(when, call_of(block));
}

void dispatch_async(dispatch_queue_t queue, dispatch_block_t block) {
  check_queue(queue);
  main_queue().add(call_of(block));
}

void dispatch_sync(dispatch_queue_t queue, dispatch_block_t block) {
  check_queue(queue);
  if (veltro::host::on_main_thread())
    client_bug("dispatch_sync called on queue already owned by current thread");
  std::binary_semaphore finished(0);
  // Released when the queue lets go of the work, also after an exception of the block.
  std::shared_ptr<std::binary_semaphore> pending(&finished, [](auto *one) { one->release(); });
  main_queue().add([pending = std::move(pending), block] { block(); });
  finished.acquire();
}

} // extern "C"
