// The types of methods as compilers encode them, of which only sizes, alignments and what consists
// of floating-point numbers matter here.

#include "method_types.hpp"

#include "unloadable.hpp"

#include <algorithm>

namespace veltro::loader::objc {
namespace {

constexpr unsigned kDeepest = 32; // structures within structures
constexpr uint64_t kLargest = 1u << 24;

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

[[noreturn]] void unreadable() {
  throw Unloadable("broken: method types that cannot be read");
}

uint64_t round_up(uint64_t value, uint64_t to) {
  return (value + to - 1) / to * to;
}

Type scalar(char kind, uint64_t size) {
  return {
      .kind = kind, .size = size, .alignment = std::max<uint64_t>(size, 1), .packed_size = size};
}

Type floating(char kind, uint64_t size) {
  Type type = scalar(kind, size);
  type.floats = 1;
  type.float_size = size;
  return type;
}

} // namespace

Type TypeReader::argument() {
  const Type type = next(0);
  while (!rest_.empty() &&
         (is_digit(rest_.front()) || rest_.front() == '-' || rest_.front() == '+'))
    rest_.remove_prefix(1);
  return type;
}

char TypeReader::take() {
  if (rest_.empty())
    unreadable();
  const char c = rest_.front();
  rest_.remove_prefix(1);
  return c;
}

bool TypeReader::take_if(char c) {
  if (rest_.empty() || rest_.front() != c)
    return false;
  rest_.remove_prefix(1);
  return true;
}

void TypeReader::skip_past(char c) {
  while (take() != c) {
  }
}

uint64_t TypeReader::number() {
  uint64_t value = 0;
  while (!rest_.empty() && is_digit(rest_.front()) && value < kLargest)
    value = 10 * value + uint64_t(take() - '0');
  return value;
}

Type TypeReader::next(unsigned depth) {
  if (depth > kDeepest)
    unreadable();
  while (!rest_.empty() &&
         std::string_view("rnNoORVA|").find(rest_.front()) != std::string_view::npos)
    rest_.remove_prefix(1);
  const char kind = take();
  switch (kind) {
  case '^':
    (void)next(depth + 1);
    return scalar(kind, pointer_size_);
  case '@':
    if (take_if('?') && take_if('<'))
      skip_past('>');
    if (take_if('"'))
      skip_past('"');
    return scalar(kind, pointer_size_);
  case '{':
    return aggregate('}', depth);
  case '(':
    return aggregate(')', depth);
  case '[':
    return array(depth);
  case 'j': { // complex
    Type whole = next(depth + 1);
    whole.kind = kind;
    whole.float_size = whole.size;
    whole.floats = 2;
    whole.size *= 2;
    whole.packed_size *= 2;
    return whole;
  }
  case 'b':
    (void)number();
    return scalar(kind, 4);
  default:
    return pointer_or_number(kind);
  }
}

Type TypeReader::pointer_or_number(char kind) const {
  switch (kind) {
  case 'f':
    return floating(kind, 4);
  case 'd':
  case 'D':
    return floating(kind, 8);
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
    return scalar(kind, 8);
  case '#':
  case ':':
  case '*':
  case '?':
    return scalar(kind, pointer_size_);
  default:
    unreadable();
  }
}

/// The contents of a structure or union, from behind its bracket.
Type TypeReader::aggregate(char end, unsigned depth) {
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
    if (end == '}') {
      whole.size = round_up(whole.size, field.alignment) + field.size;
      whole.packed_size =
          round_up(whole.packed_size, std::min<uint64_t>(field.alignment, 4)) + field.packed_size;
      whole.floats += field.floats;
    } else {
      whole.size = std::max(whole.size, field.size);
      whole.packed_size = std::max(whole.packed_size, field.packed_size);
      whole.floats = std::max(whole.floats, field.floats);
    }
  }
  whole.size = round_up(whole.size, whole.alignment);
  whole.packed_size = round_up(whole.packed_size, std::min<uint64_t>(whole.alignment, 4));
  if (!only_floats)
    whole.floats = 0;
  return whole;
}

Type TypeReader::array(unsigned depth) {
  const uint64_t count = number();
  Type whole = next(depth + 1);
  if (!take_if(']') || whole.size > kLargest)
    unreadable();
  whole.kind = '[';
  whole.size *= count;
  whole.packed_size *= count;
  whole.floats = unsigned(std::min<uint64_t>(whole.floats * count, 5));
  return whole;
}

} // namespace veltro::loader::objc
