// The two operations on blocks, as the device's <Block.h> has them.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/// A copy of the block that outlives its scope, or one more reference to a block that already does.
/// Null where there is no memory. Any thread.
void *_Block_copy(const void *block);

/// Gives back one reference made by _Block_copy. Any thread.
void _Block_release(const void *block);

#ifdef __cplusplus
}
#endif

/// The same, with the type of the block that they are given.
#define Block_copy(...) ((__typeof(__VA_ARGS__))_Block_copy((const void *)(__VA_ARGS__)))
#define Block_release(...) _Block_release((const void *)(__VA_ARGS__))
