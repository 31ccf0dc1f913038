// Copies of blocks for the platform's own use, made by this implementation even in a program whose
// link order puts another _Block_copy first.
#pragma once

namespace veltro::host {

/// A copy that outlives the block's scope, or one more reference to a block that already does. Null
/// for null, and where memory ran out.
void *copy_block(const void *block);

/// Gives back one reference made by copy_block.
void release_block(const void *block);

} // namespace veltro::host
