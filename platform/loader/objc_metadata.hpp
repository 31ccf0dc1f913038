#pragma once

#include "image.hpp"

#include <map>

namespace veltro::loader::objc {

struct Method {
  std::string_view name, types;
  uint64_t code = 0; // address
};

struct InstanceVariable {
  std::string_view name, type;
  uint32_t size = 0;
  uint8_t alignment = 0; // as a power of two
  uint64_t offset_slot =
      0; // where the image keeps the offset, in offset_size() bytes; 0 if nowhere
};

/// A class of the image, by the address of its structure, or one of others, by its symbol.
using ClassReference = Pointer;

struct Class {
  uint64_t address = 0, metaclass = 0;
  std::string_view name;
  ClassReference superclass; // null for a root
  std::vector<InstanceVariable> variables;
  std::vector<Method> methods, class_methods;
  std::vector<uint64_t> protocols;
};

struct Category {
  std::string_view name;
  ClassReference on;
  std::vector<Method> methods, class_methods;
  std::vector<uint64_t> protocols;
};

/// Required and optional methods are not told apart, since GCC's runtime does not either.
struct Protocol {
  std::string_view name;
  std::vector<uint64_t> parents;
  std::vector<Method> methods, class_methods; // without code
};

struct ConstantString {
  uint64_t address = 0;
  uint64_t characters = 0; // address
  uint64_t length = 0;     // of units
  bool utf16 = false;      // else bytes of ASCII
};

struct Slot {
  uint64_t address = 0; // of a pointer of the image
  uint64_t target = 0;  // the structure of the image that it points to
};

struct Selector {
  uint64_t slot = 0;
  std::string_view name;
};

/// What Objective-C of an image holds that a runtime has to be told. Properties are not read: GCC's
/// runtime keeps none, and their accessors are methods.
struct Metadata {
  std::vector<Class> classes; // superclasses first
  std::vector<Category> categories;
  std::map<uint64_t, Protocol> protocols; // by address
  std::vector<Selector> selectors;
  std::vector<Slot> class_slots; // to classes and metaclasses of the image
  std::vector<Slot> protocol_slots;
  std::vector<ConstantString> strings;
};

Metadata read_metadata(const Image &image);

/// The bytes that compiled code keeps an instance variable's offset in.
constexpr unsigned offset_size(Processor processor) {
  return processor == Processor::x86_64 ? 8 : 4;
}

} // namespace veltro::loader::objc
