#include "gcc_protocols.hpp"

#include "lasting.hpp"
#include "types.hpp"

/// Declared nowhere.
extern "C" void __objc_protocols_add_protocol(const char *name, struct objc_protocol *protocol);

namespace veltro::loader::objc {
namespace {

// The forms that GCC writes; its runtime's header keeps them to itself.
struct MethodList {
  int count;
  struct objc_method_description list[1];
};
struct GccProtocol;
struct ProtocolList {
  ProtocolList *next;
  size_t count;
  GccProtocol *list[1];
};
struct GccProtocol {
  ::Class isa;
  const char *name;
  ProtocolList *parents;
  MethodList *methods, *class_methods;
};

/// Zeros that the runtime keeps a pointer to for good: a T, and `more` bytes behind it.
template <class T> T *allocate(size_t more = 0) {
  return static_cast<T *>(objc_calloc(1, sizeof(T) + more));
}

MethodList *descriptions(const std::vector<Method> &methods) {
  if (methods.empty())
    return nullptr;
  MethodList *const made = allocate<MethodList>((methods.size() - 1) * sizeof made->list[0]);
  for (const Method &method : methods) {
    char *const types = lasting(types_for_gcc(method.types));
    const SEL name = sel_registerTypedName(std::string(method.name).c_str(), types);
    made->list[made->count++] = {name, types};
  }
  return made;
}

} // namespace

GccProtocols::GccProtocols(const Metadata &metadata) {
  std::vector<std::pair<GccProtocol *, const Protocol *>> made;
  for (const auto &[address, protocol] : metadata.protocols) {
    const std::string name(protocol.name);
    ::Protocol *known = objc_getProtocol(name.c_str());
    if (!known) {
      auto *const fresh = allocate<GccProtocol>();
      fresh->isa = objc_getClass("Protocol");
      fresh->name = lasting(name);
      fresh->methods = descriptions(protocol.methods);
      fresh->class_methods = descriptions(protocol.class_methods);
      __objc_protocols_add_protocol(fresh->name, reinterpret_cast<struct objc_protocol *>(fresh));
      made.emplace_back(fresh, &protocol);
      known = reinterpret_cast<::Protocol *>(fresh);
    }
    protocols_.emplace(address, known);
  }
  // A protocol may stand before those that it adopts.
  for (const auto &[protocol, of] : made) {
    if (of->parents.empty())
      continue;
    ProtocolList *const parents =
        allocate<ProtocolList>((of->parents.size() - 1) * sizeof parents->list[0]);
    for (const uint64_t parent : of->parents)
      parents->list[parents->count++] = reinterpret_cast<GccProtocol *>(protocols_.at(parent));
    protocol->parents = parents;
  }
}

} // namespace veltro::loader::objc
