// Moving a whole block over a stream whose calls may move less than they were asked for.
#pragma once

#include <concepts>

namespace veltro {

/// Calls `move(position, bytes left)` until `count` bytes have been moved. False as soon as a call
/// moves less than one; what was moved before stays moved. Without bytes to move there is no call.
/// A stream that moves more than it was asked for has moved enough.
template <typename Byte, std::unsigned_integral Word, typename Move>
bool transfer_all(Byte *bytes, Word count, Move move) {
  for (Word total = 0; total < count;) {
    const auto moved = move(bytes + total, count - total);
    if (moved < 1)
      return false;
    total += static_cast<Word>(moved);
  }
  return true;
}

} // namespace veltro
