// Grand Central Dispatch as far as this library uses it: once-guards, times, and the main queue.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct dispatch_queue_s *dispatch_queue_t;
typedef void (^dispatch_block_t)(void);
typedef uint64_t dispatch_time_t;
/// Zero before the block has run. It must have static storage.
typedef intptr_t dispatch_once_t;

#define DISPATCH_TIME_NOW ((dispatch_time_t)0)
#define DISPATCH_TIME_FOREVER (~(dispatch_time_t)0)

#define NSEC_PER_SEC 1000000000ull
#define NSEC_PER_MSEC 1000000ull
#define USEC_PER_SEC 1000000ull
#define NSEC_PER_USEC 1000ull

extern struct dispatch_queue_s _dispatch_main_q;

/// The queue whose blocks run on the main thread, one after the other.
#define dispatch_get_main_queue() (&_dispatch_main_q)

/// Runs `block` at the first call for `predicate`; a call meanwhile waits until it has run.
void dispatch_once(dispatch_once_t *predicate, dispatch_block_t block);

/// The time `delta` nanoseconds after `when`, which is DISPATCH_TIME_NOW or an earlier result.
dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);

/// Runs a copy of `block` on `queue` as soon as possible once `when` has come. Any thread.
void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block);

/// Runs a copy of `block` on `queue`, after those that it already holds. Any thread.
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);

/// Runs `block` on `queue` after those that it already holds and returns when it has run. Called
/// from a block of the same queue, or for the main queue from the main thread, it can never return:
/// the process is ended with a trap.
void dispatch_sync(dispatch_queue_t queue, dispatch_block_t block);

#ifdef __cplusplus
}
#endif
