#include "argument_words.hpp"

#include "method_types.hpp"
#include "unloadable.hpp"

#include <string>

namespace veltro::loader::objc {
namespace {

constexpr uint64_t kWord = 4;
constexpr uint64_t kMostWords = 96;

void check_result(const Type &result, std::string_view types) {
  // Darwin returns a structure in a register only where all of it could be a single integer.
  if (result.kind == '{' && result.size > 0 && result.size <= kWord && result.floats > 0)
    throw Unloadable("returns a small structure in another way than Linux: " + std::string(types));
}

uint64_t words_of(const Type &type, std::string_view types) {
  if (type.kind == '{' && type.size != type.packed_size)
    throw Unloadable("takes a structure that is laid out otherwise on Linux: " +
                     std::string(types));
  return (type.packed_size + kWord - 1) / kWord;
}

} // namespace

ArgumentWords argument_words(std::string_view method_types) {
  TypeReader types(method_types, kWord);
  ArgumentWords words;
  const auto add_word = [&] {
    words.to_image.push_back(uint8_t(words.from_image.size()));
    words.from_image.push_back(uint8_t(words.to_image.size() - 1));
  };
  const Type result = types.argument();
  check_result(result, method_types);
  if (result.kind == '{' && result.size > kWord)
    add_word(); // where to put it
  while (!types.at_end()) {
    const Type type = types.argument();
    if (type.alignment > kWord && words.from_image.size() % 2 != 0)
      words.from_image.push_back(0); // a gap, in which anything may be
    const uint64_t count = words_of(type, method_types);
    if (words.from_image.size() + count > kMostWords)
      throw Unloadable("takes more arguments than can be passed on: " + std::string(method_types));
    for (uint64_t i = 0; i < count; ++i)
      add_word();
  }
  for (unsigned i = 0; i < kUnknownWords; ++i)
    add_word();
  return words;
}

} // namespace veltro::loader::objc
