// What message_send_arm.S asks: which code a message runs, and how its arguments are arranged.

#include "word_lists_arm.hpp"

#ifdef __arm__

#include "argument_words.hpp"
#include "super_lookup.hpp"
#include "unloadable.hpp"

#include <cstdlib>
#include <map>
#include <mutex>
#include <string>
#include <unordered_map>

namespace veltro::loader::objc {
namespace {

struct Lists {
  const WordList *into_image, *out_of_image;
};

const WordList *list_of(const Words &words) {
  auto *const list = static_cast<WordList *>(objc_malloc(sizeof(uint32_t) + words.size()));
  list->count = uint32_t(words.size());
  std::copy(words.begin(), words.end(), list->from);
  return list;
}

Lists read_lists(std::string_view types) {
  ArgumentWords words;
  try {
    words = argument_words(types);
  } catch (const Unloadable &) {
    words = argument_words("v");
  }
  return {list_of(words.to_image), list_of(words.from_image)};
}

/// Those of all types that were met. Not destroyed: messages may be sent while the process ends.
struct Known {
  std::mutex mutex;
  std::map<std::string, Lists, std::less<>> by_types;
  std::unordered_map<const void *, Lists> by_address; // of types that the runtime keeps
};

Known &known() {
  static auto *const all = new Known;
  return *all;
}

Lists lists_of(std::string_view types) {
  if (types.empty())
    types = "v";
  const std::scoped_lock lock(known().mutex);
  const auto found = known().by_types.find(types);
  if (found != known().by_types.end())
    return found->second;
  return known().by_types.emplace(types, read_lists(types)).first->second;
}

const WordList *words_of_method(::Class of, SEL selector) {
  const Method method = of ? class_getInstanceMethod(of, selector) : nullptr;
  const char *const types = method ? method_getTypeEncoding(method) : nullptr;
  if (!types)
    return words_out_of_image({});
  {
    const std::scoped_lock lock(known().mutex);
    const auto found = known().by_address.find(types);
    if (found != known().by_address.end())
      return found->second.out_of_image;
  }
  const Lists lists = lists_of(types);
  const std::scoped_lock lock(known().mutex);
  return known().by_address.emplace(types, lists).first->second.out_of_image;
}

struct Target {
  IMP code;
  const WordList *words;
};

} // namespace

const WordList *words_into_image(std::string_view types) {
  return lists_of(types).into_image;
}

const WordList *words_out_of_image(std::string_view types) {
  return lists_of(types).out_of_image;
}

extern "C" {

/// The message's receiver and selector are words[first] and the one behind it.
[[gnu::visibility("hidden")]] void veltro_loader_find_method(uintptr_t *words, unsigned first,
                                                             Target *target) {
  veltro_loader_take_blocks(words);
  const id receiver = reinterpret_cast<id>(words[first]);
  const SEL selector = reinterpret_cast<SEL>(words[first + 1]);
  *target = {objc_msg_lookup(receiver, selector),
             words_of_method(object_getClass(receiver), selector)};
}

[[gnu::visibility("hidden")]] void veltro_loader_find_super_method(uintptr_t *words, unsigned first,
                                                                   Target *target) {
  veltro_loader_take_blocks(words);
  const auto *const super = reinterpret_cast<const VeltroLoaderSuper *>(words[first]);
  const SEL selector = reinterpret_cast<SEL>(words[first + 1]);
  *target = {veltro_loader_super_lookup(super, selector),
             words_of_method(class_getSuperclass(super->sender), selector)};
  words[first] = reinterpret_cast<uintptr_t>(super->receiver);
}
}

} // namespace veltro::loader::objc

#endif
