// One source for both ways to manage memory: by hand, as on Linux, and under ARC, as a device build
// may have it. Write ownership out with these; under ARC they come to nothing.
#pragma once

#include <Block.h>

#if __has_feature(objc_arc)
#define OWN_RETAIN(object) (object)
#define OWN_RELEASE(object) ((void)(object))
#define OWN_AUTORELEASE(object) (object)
#define OWN_SUPER_DEALLOC() ((void)0)
/// An object from a function of Core Foundation whose result the caller owns; autoreleased.
#define OWN_TAKE(object) ((__bridge_transfer id)(object))
/// A block that outlives its scope, and its end.
#define OWN_COPY_BLOCK(block) ((__typeof(block))[(block) copy])
#define OWN_RELEASE_BLOCK(block) ((void)(block))
#else
#define OWN_RETAIN(object) [(object) retain]
#define OWN_RELEASE(object) [(object) release]
#define OWN_AUTORELEASE(object) [(object) autorelease]
#define OWN_SUPER_DEALLOC() [super dealloc]
#define OWN_TAKE(object) [(id)(object) autorelease]
#define OWN_COPY_BLOCK(block) Block_copy(block)
#define OWN_RELEASE_BLOCK(block) Block_release(block)
#endif
