// What the compact encodings of each processor say, as published in
// <mach-o/compact_unwind_encoding.h>, in DWARF's instructions: where the caller's frame begins (the
// CFA), and how far below it each register was saved.

#include "call_frames.hpp"

#include <array>

namespace veltro::loader {
namespace {

constexpr uint8_t kDefineCfa = 0x0c, kCfaOffset = 0x0e, kOffset = 0x80, kOffsetExtended = 0x05;
constexpr uint32_t kModeMask = 0x0f000000;

[[noreturn]] void unknown() {
  throw Unloadable("has functions whose frames no compact entry describes");
}

void define_cfa(std::vector<uint8_t> &to, unsigned from, uint64_t offset) {
  to.push_back(kDefineCfa);
  put_uleb(to, from);
  put_uleb(to, offset);
}

void define_cfa_offset(std::vector<uint8_t> &to, uint64_t offset) {
  to.push_back(kCfaOffset);
  put_uleb(to, offset);
}

/// `number` was saved `below` bytes below the CFA.
void saved(std::vector<uint8_t> &to, unsigned number, uint64_t below) {
  if (number < 64) {
    to.push_back(uint8_t(kOffset | number));
  } else {
    to.push_back(kOffsetExtended);
    put_uleb(to, number);
  }
  put_uleb(to, below / 8);
}

// rbx, r12 to r15 and rbp, from 1 on, by DWARF's numbers.
constexpr std::array<unsigned, 7> kRegisters{0, 3, 12, 13, 14, 15, 6};
constexpr unsigned kFramePointer = 6;

/// The frame pointer is kept, and registers in a run of words below it.
void x86_64_framed(std::vector<uint8_t> &to, uint32_t encoding) {
  constexpr unsigned kPlaces = 5;
  define_cfa(to, kFramePointer, 16);
  saved(to, kFramePointer, 16);
  const uint64_t lowest = encoding >> 16 & 0xff;
  for (unsigned i = 0; i < kPlaces; ++i) {
    const unsigned number = encoding >> (3 * i) & 7;
    if (number == 0)
      continue;
    if (number >= kRegisters.size() || lowest < i)
      unknown();
    saved(to, kRegisters[number], 16 + 8 * (lowest - i));
  }
}

/// No frame pointer: a number of registers pushed in an order that a number from 0 to 719 stands
/// for.
void x86_64_frameless(std::vector<uint8_t> &to, uint32_t encoding, uint64_t size) {
  const unsigned count = encoding >> 10 & 7;
  if (count > 6 || size < 8 * (uint64_t(count) + 1))
    unknown();
  define_cfa_offset(to, size);
  unsigned permutation = encoding & 0x3ff;
  std::vector<unsigned> left{1, 2, 3, 4, 5, 6};
  // How many orders there are for what is left behind each digit.
  unsigned orders = 1;
  for (unsigned i = 1; i < count; ++i)
    orders *= 6 - i;
  for (unsigned i = 0; i < count; ++i) {
    const unsigned digit = permutation / orders;
    if (digit >= left.size())
      unknown();
    permutation %= orders;
    if (i + 1 < count)
      orders /= 5 - i;
    saved(to, kRegisters[left[digit]], 8 + uint64_t(8) * (count - i));
    left.erase(left.begin() + ptrdiff_t(digit));
  }
}

void x86_64(std::vector<uint8_t> &to, const FrameEntry &entry) {
  const uint32_t encoding = entry.encoding;
  switch (encoding & kModeMask) {
  case 0x01000000:
    return x86_64_framed(to, encoding);
  case 0x02000000:
    return x86_64_frameless(to, encoding, uint64_t(8) * (encoding >> 16 & 0xff));
  case 0x03000000: // and words pushed before the stack pointer moves
    return x86_64_frameless(to, encoding,
                            uint64_t(entry.stack_size) + uint64_t(8) * (encoding >> 13 & 7));
  default:
    unknown();
  }
}

void arm64(std::vector<uint8_t> &to, uint32_t encoding) {
  uint64_t below = 0;
  switch (encoding & kModeMask) {
  case 0x04000000: // x29 and x30 are kept
    define_cfa(to, 29, 16);
    saved(to, 29, 16);
    saved(to, 30, 8);
    below = 24;
    break;
  case 0x02000000:
    define_cfa_offset(to, uint64_t(16) * (encoding >> 12 & 0xfff));
    below = 8;
    break;
  default:
    unknown();
  }
  // In pairs: x19 to x28, then d8 to d15.
  for (unsigned i = 0; i < 9; ++i) {
    if (!(encoding & 1u << (i < 5 ? i : i + 3)))
      continue;
    const unsigned first = i < 5 ? 19 + 2 * i : 72 + 2 * (i - 5);
    saved(to, first, below);
    saved(to, first + 1, below + 8);
    below += 16;
  }
}

} // namespace

std::vector<uint8_t> call_frame_instructions(Processor processor, const FrameEntry &entry) {
  std::vector<uint8_t> instructions;
  if (processor == Processor::x86_64)
    x86_64(instructions, entry);
  else
    arm64(instructions, entry.encoding);
  return instructions;
}

} // namespace veltro::loader
