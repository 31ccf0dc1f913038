#include "frameworks/libSystem/main_queue.hpp"

#import <Foundation/Foundation.h>

#include <sys/syscall.h>
#include <unistd.h>

/// Watches the main queue's descriptor in the main thread's run loop.
@interface VHMainQueueWatcher : NSObject <RunLoopEvents> {
  veltro::host::MainQueue *_queue;
}
- (instancetype)initWithQueue:(veltro::host::MainQueue *)queue;
@end

@implementation VHMainQueueWatcher

- (instancetype)initWithQueue:(veltro::host::MainQueue *)queue {
  self = [super init];
  if (self != nil)
    _queue = queue;
  return self;
}

- (NSArray *)modes {
  return [NSArray
      arrayWithObjects:NSDefaultRunLoopMode, NSRunLoopCommonModes, @"UITrackingRunLoopMode", nil];
}

- (void)startWatching {
  if (veltro::host::on_main_thread())
    [self watch];
  else
    [self performSelectorOnMainThread:@selector(watch)
                           withObject:nil
                        waitUntilDone:NO
                                modes:[self modes]];
}

- (void)watch {
  NSRunLoop *loop = [NSRunLoop currentRunLoop];
  for (NSString *mode in [self modes])
    [loop addEvent:reinterpret_cast<void *>(static_cast<intptr_t>(_queue->descriptor()))
              type:ET_RDESC
           watcher:self
           forMode:mode];
}

- (void)receivedEvent:(void *)data
                 type:(RunLoopEventType)type
                extra:(void *)extra
              forMode:(NSString *)mode {
  _queue->drain([](const veltro::host::MainQueue::Work &work) {
    @autoreleasepool {
      work();
    }
  });
}

@end

namespace veltro::host {
namespace {

// Never given back: other threads may add to it until the process has ended.
MainQueue *watched_queue() {
  auto *const queue = new MainQueue;
  @autoreleasepool {
    [[[VHMainQueueWatcher alloc] initWithQueue:queue] startWatching];
  }
  return queue;
}

} // namespace

MainQueue &main_queue() {
  static MainQueue *const queue = watched_queue();
  return *queue;
}

bool on_main_thread() {
  return syscall(SYS_gettid) == getpid();
}

} // namespace veltro::host
