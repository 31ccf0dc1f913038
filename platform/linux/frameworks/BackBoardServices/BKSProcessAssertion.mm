// BKSProcessAssertion. Follows how components of jailbroken devices use the private class: an
// assertion is acquired where the app runs, and on Linux it continues the app's process whenever a
// signal has stopped it. Flags and reason, which weigh assertions against each other, and process
// identifiers in place of bundle identifiers are left out.

#import <BackBoardServices/BKSProcessAssertion.h>

#include "frameworks/BackBoardServices/assertions.hpp"
#include "frameworks/libSystem/blocks.hpp"
#include "machine/text/utf8.hpp"

namespace {

using Handler = void (^)(BOOL);

std::function<void(bool)> call_of(Handler handler) {
  const std::shared_ptr<void> copy(veltro::host::copy_block(handler), veltro::host::release_block);
  return [copy](bool acquired) {
    if (copy == nullptr)
      return;
    @autoreleasepool {
      reinterpret_cast<Handler>(copy.get())(acquired ? YES : NO);
    }
  };
}

veltro::host::Assertion *held(void *assertion) {
  return static_cast<veltro::host::Assertion *>(assertion);
}

} // namespace

@implementation BKSProcessAssertion

- (id)initWithBundleIdentifier:(NSString *)bundleIdentifier
                         flags:(unsigned int)flags
                        reason:(unsigned int)reason
                          name:(NSString *)name
                   withHandler:(void (^)(BOOL acquired))handler {
  self = [super init];
  if (self != nil) {
    _assertion =
        new veltro::host::Assertion(veltro::host::utf8_of(bundleIdentifier), call_of(handler));
  }
  return self;
}

// An object that another initialiser made, such as a program's own in place of the above, has no
// assertion.

- (BOOL)valid {
  return _assertion != nullptr && held(_assertion)->valid() ? YES : NO;
}

- (void)invalidate {
  if (_assertion != nullptr)
    held(_assertion)->give_up();
}

- (void)dealloc {
  delete held(_assertion);
  [super dealloc];
}

@end
