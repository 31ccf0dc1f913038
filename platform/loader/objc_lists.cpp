// The lists of Objective-C's metadata: their own entry's size and count, then the entries.

#include "objc_lists.hpp"

namespace veltro::loader::objc {
namespace {

constexpr uint32_t kRelative = 0x80000000;
constexpr uint32_t kEntrySize = 0xfffc;
constexpr uint32_t kLargestAlignment = 4; // 16 bytes
constexpr uint32_t kLargestVariable = 1 << 24;
constexpr const char *kMethods = "Objective-C methods";
constexpr const char *kVariables = "Objective-C instance variables";
constexpr const char *kProtocols = "Objective-C protocols";

uint64_t moved(uint64_t address, int32_t by) {
  return address + uint64_t(int64_t(by));
}

} // namespace

void Lists::charge(uint64_t bytes) {
  if (bytes > left_)
    throw Unloadable("broken: Objective-C lists that share their contents");
  left_ -= bytes;
}

Lists::Entries Lists::entries(uint64_t slot, uint64_t smallest, const char *what) {
  const uint64_t list = image_.local_pointer(slot, what);
  if (list == 0)
    return {};
  const Bytes head = image_.at(list, 8, what);
  const auto size = head.get<uint32_t>(0);
  Entries entries{.address = list + 8,
                  .size = size & kEntrySize,
                  .count = head.get<uint32_t>(4),
                  .relative = (size & kRelative) != 0};
  if (entries.relative)
    smallest = 12;
  if (entries.size < smallest)
    throw Unloadable(std::string("broken: ") + what + " with entries of " +
                     std::to_string(entries.size) + " bytes");
  (void)image_.at(entries.address, entries.count * entries.size, what);
  charge(8 + entries.count * entries.size);
  return entries;
}

Method Lists::absolute_method(uint64_t at) {
  const uint64_t word = image_.word();
  return {.name = image_.text(image_.target(at, kMethods), kMethods),
          .types = image_.text(image_.target(at + word, kMethods), kMethods),
          .code = image_.local_pointer(at + 2 * word, kMethods)};
}

/// Offsets from themselves: to the pointer to the name, to the types, to the code.
Method Lists::relative_method(uint64_t at) {
  const auto target = [&](uint64_t field) {
    return moved(field, image_.at(field, 4, kMethods).get<int32_t>(0));
  };
  return {.name = image_.text(image_.target(target(at), kMethods), kMethods),
          .types = image_.text(target(at + 4), kMethods),
          .code = target(at + 8)};
}

std::vector<Method> Lists::methods(uint64_t slot, bool with_code) {
  const Entries list = entries(slot, 3 * image_.word(), kMethods);
  std::vector<Method> methods;
  for (uint32_t i = 0; i < list.count; ++i) {
    const uint64_t at = list.address + i * list.size;
    methods.push_back(list.relative ? relative_method(at) : absolute_method(at));
    if (with_code)
      image_.check_code(methods.back().code & ~uint64_t(1), 1, kMethods);
  }
  return methods;
}

std::vector<InstanceVariable> Lists::variables(uint64_t slot) {
  const uint64_t word = image_.word();
  const Entries list = entries(slot, 3 * word + 8, kVariables);
  std::vector<InstanceVariable> variables;
  for (uint32_t i = 0; i < list.count; ++i) {
    const uint64_t at = list.address + i * list.size;
    const Bytes numbers = image_.at(at + 3 * word, 8, kVariables);
    const auto alignment = numbers.get<uint32_t>(0);
    // All bits set: as a pointer is aligned.
    InstanceVariable variable;
    variable.size = numbers.get<uint32_t>(4);
    variable.alignment = uint8_t(alignment == ~0u ? word == 8 ? 3 : 2 : alignment);
    variable.offset_slot = image_.local_pointer(at, kVariables);
    if (alignment != ~0u && alignment > kLargestAlignment)
      throw Unloadable("broken: an Objective-C instance variable aligned to more than 16 bytes");
    if (variable.size > kLargestVariable)
      throw Unloadable("broken: an Objective-C instance variable of more than 16 MiB");
    if (variable.offset_slot != 0)
      image_.check_data(variable.offset_slot, offset_size(image_.header().processor), kVariables);
    // Padding between fields of bits has no name.
    if (const uint64_t name = image_.local_pointer(at + word, kVariables))
      variable.name = image_.text(name, kVariables);
    if (const uint64_t type = image_.local_pointer(at + 2 * word, kVariables))
      variable.type = image_.text(type, kVariables);
    variables.push_back(variable);
  }
  return variables;
}

std::vector<uint64_t> Lists::protocols(uint64_t slot) {
  const uint64_t list = image_.local_pointer(slot, kProtocols);
  if (list == 0)
    return {};
  const uint64_t word = image_.word();
  const uint64_t count = image_.at(list, word, kProtocols).word(0, word);
  if (count > left_ / word)
    throw Unloadable("broken: more Objective-C protocols than the image can hold");
  charge(word + count * word);
  std::vector<uint64_t> protocols;
  for (uint64_t i = 1; i <= count; ++i)
    if (const uint64_t protocol = image_.local_pointer(list + i * word, kProtocols))
      protocols.push_back(protocol);
  return protocols;
}

} // namespace veltro::loader::objc
