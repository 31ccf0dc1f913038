// In which register of 64-bit ARM each argument comes: numbers and pointers take the general
// registers x0 to x7 in turn; floating-point numbers, and structures of up to four of one kind of
// them, others.

#include "widening.hpp"

#include "method_types.hpp"

namespace veltro::loader::objc {
namespace {

constexpr unsigned kRegisters = 8;

/// How many general registers an argument takes.
unsigned registers_of(const Type &type) {
  const bool is_structure = type.kind == '{';
  if (type.floats > 0 && (!is_structure || type.floats <= 4))
    return 0;
  if (!is_structure || type.size > 16)
    return 1; // a large structure comes by its address
  return unsigned((type.size + 7) / 8);
}

/// The instruction that widens register `number`, or 0.
uint32_t widening_of(char kind, unsigned number) {
  const uint32_t same = number << 5 | number;
  switch (kind) {
  case 'c':
    return 0x13001c00 | same; // sxtb
  case 's':
    return 0x13003c00 | same; // sxth
  case 'C':
  case 'B':
    return 0x53001c00 | same; // uxtb
  case 'S':
    return 0x53003c00 | same; // uxth
  default:
    return 0;
  }
}

} // namespace

std::vector<uint32_t> widening_instructions(std::string_view method_types) {
  std::vector<uint32_t> instructions;
  TypeReader types(method_types, 8);
  (void)types.argument(); // the result
  for (unsigned next = 0; next < kRegisters && !types.at_end();) {
    const Type type = types.argument();
    const unsigned count = registers_of(type);
    if (next + count > kRegisters)
      break; // on the stack, as all that follows
    if (const uint32_t instruction = widening_of(type.kind, next))
      instructions.push_back(instruction);
    next += count;
  }
  return instructions;
}

} // namespace veltro::loader::objc
