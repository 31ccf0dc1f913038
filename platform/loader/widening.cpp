// Reads method types just as far as to know in which register of 64-bit ARM each argument comes:
// numbers and pointers take the general registers x0 to x7 in turn; floating-point numbers, and
// structures of up to four of one kind of them, others.

#include "widening.hpp"

#include "unloadable.hpp"

#include <algorithm>

namespace veltro::loader::objc {
namespace {

constexpr unsigned kRegisters = 8;
constexpr unsigned kDeepest = 32; // structures within structures

struct Type {
  char kind = 0;     // as it is encoded
  uint64_t size = 0; // bytes
  uint64_t alignment = 1;
  unsigned floats = 0; // that all of it consists of, of `float_size` bytes each; 0 for other types
  uint64_t float_size = 0;
};

class TypeReader {
public:
  explicit TypeReader(std::string_view types) : rest_(types) {}

  bool at_end() const { return rest_.empty(); }

  /// A type and the place in an argument frame behind it, which old compilers counted.
  Type argument() {
    const Type type = next(0);
    while (!rest_.empty() &&
           (is_digit(rest_.front()) || rest_.front() == '-' || rest_.front() == '+'))
      rest_.remove_prefix(1);
    return type;
  }

private:
  static bool is_digit(char c) { return c >= '0' && c <= '9'; }

  [[noreturn]] static void unreadable() {
    throw Unloadable("broken: method types that cannot be read");
  }

  char take() {
    if (rest_.empty())
      unreadable();
    const char c = rest_.front();
    rest_.remove_prefix(1);
    return c;
  }

  bool take_if(char c) {
    if (rest_.empty() || rest_.front() != c)
      return false;
    rest_.remove_prefix(1);
    return true;
  }

  void skip_past(char c) {
    while (take() != c) {
    }
  }

  uint64_t number() {
    uint64_t value = 0;
    while (!rest_.empty() && is_digit(rest_.front()) && value < 1u << 24)
      value = 10 * value + uint64_t(take() - '0');
    return value;
  }

  Type next(unsigned depth) {
    if (depth > kDeepest)
      unreadable();
    while (!rest_.empty() &&
           std::string_view("rnNoORVA|").find(rest_.front()) != std::string_view::npos)
      rest_.remove_prefix(1);
    const char kind = take();
    switch (kind) {
    case '^':
      (void)next(depth + 1);
      return scalar(kind, 8);
    case '@':
      if (take_if('?') && take_if('<'))
        skip_past('>');
      if (take_if('"'))
        skip_past('"');
      return scalar(kind, 8);
    case '{':
      return aggregate('}', depth);
    case '(':
      return aggregate(')', depth);
    case '[':
      return array(depth);
    case 'j': { // complex
      const Type part = next(depth + 1);
      return {.kind = kind,
              .size = 2 * part.size,
              .alignment = part.alignment,
              .floats = 2,
              .float_size = part.size};
    }
    case 'b':
      (void)number();
      return scalar(kind, 4);
    case 'f':
      return {.kind = kind, .size = 4, .alignment = 4, .floats = 1, .float_size = 4};
    case 'd':
    case 'D':
      return {.kind = kind, .size = 8, .alignment = 8, .floats = 1, .float_size = 8};
    case 'v':
      return scalar(kind, 0);
    case 'c':
    case 'C':
    case 'B':
      return scalar(kind, 1);
    case 's':
    case 'S':
      return scalar(kind, 2);
    case 'i':
    case 'I':
    case 'l':
    case 'L':
      return scalar(kind, 4);
    case 'q':
    case 'Q':
    case '#':
    case ':':
    case '*':
    case '?':
      return scalar(kind, 8);
    default:
      unreadable();
    }
  }

  static Type scalar(char kind, uint64_t size) {
    return {.kind = kind, .size = size, .alignment = std::max<uint64_t>(size, 1)};
  }

  /// The contents of a structure or union, from behind its bracket.
  Type aggregate(char end, unsigned depth) {
    Type whole{.kind = '{'};
    bool only_floats = true;
    for (char c = take(); c != '='; c = take())
      if (c == end)
        return whole; // nothing is known of it: it stands behind a pointer
    while (!take_if(end)) {
      if (take_if('"'))
        skip_past('"');
      const Type field = next(depth + 1);
      whole.alignment = std::max(whole.alignment, field.alignment);
      only_floats = only_floats && field.floats > 0 &&
                    (whole.float_size == 0 || whole.float_size == field.float_size);
      whole.float_size = field.float_size;
      const uint64_t start = round_up(whole.size, field.alignment);
      if (end == '}') {
        whole.size = start + field.size;
        whole.floats += field.floats;
      } else {
        whole.size = std::max(whole.size, field.size);
        whole.floats = std::max(whole.floats, field.floats);
      }
    }
    whole.size = round_up(whole.size, whole.alignment);
    if (!only_floats)
      whole.floats = 0;
    return whole;
  }

  Type array(unsigned depth) {
    const uint64_t count = number();
    Type whole = next(depth + 1);
    if (!take_if(']') || whole.size > 1u << 24)
      unreadable();
    whole.kind = '[';
    whole.size *= count;
    whole.floats = unsigned(std::min<uint64_t>(whole.floats * count, 5));
    return whole;
  }

  static uint64_t round_up(uint64_t value, uint64_t to) { return (value + to - 1) / to * to; }

  std::string_view rest_;
};

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
  TypeReader types(method_types);
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
