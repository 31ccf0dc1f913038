#pragma once

#import <Foundation/Foundation.h>

/// While such an assertion is valid, the app's process is kept from being suspended. Private to the
/// system.
@interface BKSProcessAssertion : NSObject {
  void *_assertion;
}

/// Asks for an assertion on the running app with that bundle identifier. The result comes later and
/// on another thread: `handler`, which may be nil, is called once with whether it was acquired.
- (id)initWithBundleIdentifier:(NSString *)bundleIdentifier
                         flags:(unsigned int)flags
                        reason:(unsigned int)reason
                          name:(NSString *)name
                   withHandler:(void (^)(BOOL acquired))handler;

/// Whether the assertion was acquired and not yet invalidated.
@property (nonatomic, readonly) BOOL valid;

/// Gives the assertion up; so does releasing the object.
- (void)invalidate;

@end
