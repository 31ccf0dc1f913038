#include "objc_registration.hpp"

#include "constant_strings.hpp"
#include "entry_stubs.hpp"
#include "gcc_protocols.hpp"
#include "symbols.hpp"
#include "types.hpp"
#include "variadic_calls.hpp"

#include <algorithm>
#include <unordered_map>
extern "C" {
#include <objc/runtime.h>
}

namespace veltro::loader::objc {
namespace {

::Class imported_class(const Import &import) {
  const ClassSymbol symbol = class_symbol(import.name);
  if (symbol.name.empty() || symbol.metaclass)
    throw Unloadable("broken: a class is expected in place of " + std::string(import.name));
  return objc_getClass(std::string(symbol.name).c_str());
}

::Class metaclass_of(::Class of) {
  return object_getClass(reinterpret_cast<id>(of));
}

class Registration {
public:
  Registration(const Metadata &metadata, const Memory &memory)
      : metadata_(metadata), memory_(memory), stubs_(metadata, memory), protocols_(metadata) {}

  void run() {
    for (const Selector &selector : metadata_.selectors)
      memory_.put_pointer(selector.slot, selector_to_send(std::string(selector.name).c_str()));
    register_constant_strings(metadata_.strings, memory_);
    for (const Class &found : metadata_.classes)
      add_class(found);
    for (const Category &found : metadata_.categories)
      add_category(found);
    for (const Slot &slot : metadata_.class_slots)
      memory_.put_pointer(slot.address, registered_.at(slot.target));
    for (const Slot &slot : metadata_.protocol_slots)
      memory_.put_pointer(slot.address, protocols_.at(slot.target));
  }

private:
  ::Class class_for(const ClassReference &reference) const {
    if (reference.import)
      return imported_class(*reference.import);
    return reference.address != 0 ? registered_.at(reference.address) : nullptr;
  }

  void add_class(const Class &found) {
    const ::Class made =
        objc_allocateClassPair(class_for(found.superclass), std::string(found.name).c_str(), 0);
    const ::Class metaclass = metaclass_of(made);
    std::vector<std::string> names;
    names.reserve(found.variables.size());
    for (const InstanceVariable &variable : found.variables)
      names.push_back(add_variable(made, variable, names.size()));
    add_methods(made, found.methods);
    add_methods(metaclass, found.class_methods);
    objc_registerClassPair(made);
    // Not before: the runtime finds no instance variable of a class in the making.
    for (size_t i = 0; i < names.size(); ++i)
      store_offset(made, names[i], found.variables[i].offset_slot);
    add_protocols(made, found.protocols);
    registered_.emplace(found.address, made);
    registered_.emplace(found.metaclass, metaclass);
  }

  /// Returns the name that the variable got: the runtime takes none twice, be it of a superclass,
  /// and none that is empty.
  static std::string add_variable(::Class to, const InstanceVariable &variable, size_t number) {
    std::string name(variable.name);
    const std::string type = types_for_gcc(variable.type);
    const size_t size = std::max(variable.size, 1u);
    if (!class_addIvar(to, name.c_str(), size, variable.alignment, type.c_str())) {
      name = std::string(class_getName(to)) + "." + std::to_string(number) + "." + name;
      (void)class_addIvar(to, name.c_str(), size, variable.alignment, type.c_str());
    }
    return name;
  }

  /// What is compiled into the image holds for the superclasses of its own platform.
  void store_offset(::Class made, const std::string &name, uint64_t slot) const {
    if (slot == 0)
      return;
    const ptrdiff_t offset = ivar_getOffset(class_getInstanceVariable(made, name.c_str()));
    if (offset_size(kThisProcessor) == 8)
      memory_.put(slot, int64_t(offset));
    else
      memory_.put(slot, int32_t(offset));
  }

  void add_category(const Category &found) {
    const ::Class on = class_for(found.on);
    if (!on)
      return; // a weakly imported class that is missing
    add_methods(on, found.methods);
    add_methods(metaclass_of(on), found.class_methods);
    add_protocols(on, found.protocols);
  }

  void add_methods(::Class to, const std::vector<Method> &methods) const {
    for (const Method &method : methods) {
      const std::string types = types_for_gcc(method.types);
      const SEL selector = sel_registerTypedName(std::string(method.name).c_str(), types.c_str());
      const auto code = reinterpret_cast<IMP>(stubs_.entry(method));
      // A category's method takes the place of one that the class itself has.
      if (!class_addMethod(to, selector, code, types.c_str()))
        method_setImplementation(class_getInstanceMethod(to, selector), code);
    }
  }

  void add_protocols(::Class to, const std::vector<uint64_t> &protocols) {
    for (const uint64_t protocol : protocols)
      class_addProtocol(to, protocols_.at(protocol));
  }

  const Metadata &metadata_;
  const Memory &memory_;
  EntryStubs stubs_;
  GccProtocols protocols_;
  // The image's structures and what stands for them.
  std::unordered_map<uint64_t, ::Class> registered_;
};

} // namespace

void check_registration(const Metadata &metadata) {
  for (const Class &found : metadata.classes) {
    const std::string name(found.name);
    if (objc_lookUpClass(name.c_str()))
      throw Unloadable("brings class " + name + ", which this process has already");
    if (found.superclass.import && !imported_class(*found.superclass.import))
      throw Unloadable("brings class " + name + " without its superclass " +
                       std::string(found.superclass.import->name));
  }
  for (const Category &found : metadata.categories)
    if (found.on.import)
      (void)imported_class(*found.on.import);
}

void register_metadata(const Metadata &metadata, const Memory &memory) {
  Registration(metadata, memory).run();
}

} // namespace veltro::loader::objc
