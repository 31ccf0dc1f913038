#include "symbols.hpp"

#include "variadic_calls.hpp"

#include <dlfcn.h>
extern "C" {
#include <objc/runtime.h>
}

namespace veltro::loader {
namespace {

constexpr std::string_view kClass = "_OBJC_CLASS_$_", kMetaclass = "_OBJC_METACLASS_$_";

void *find_class(const ClassSymbol &symbol) {
  const std::string name(symbol.name);
  return symbol.metaclass ? objc_getMetaClass(name.c_str()) : objc_getClass(name.c_str());
}

void *find(std::string_view symbol, FindLoaded find_loaded) {
  if (const ClassSymbol class_of = class_symbol(symbol); !class_of.name.empty())
    return find_class(class_of);
  if (void *const entry = objc::variadic_function(symbol))
    return entry;
  if (void *const ours = runtime_symbol(symbol))
    return ours;
  if (void *const function = compiler_function(symbol))
    return function;
  if (!symbol.starts_with('_'))
    return nullptr;
  // From the program on, as the dynamic linker looks: a test's own definition comes first.
  if (void *const found = dlsym(RTLD_DEFAULT, std::string(symbol.substr(1)).c_str()))
    return found;
  return find_loaded(symbol);
}

} // namespace

ClassSymbol class_symbol(std::string_view symbol) {
  if (symbol.starts_with(kClass))
    return {symbol.substr(kClass.size()), false};
  if (symbol.starts_with(kMetaclass))
    return {symbol.substr(kMetaclass.size()), true};
  return {};
}

std::vector<void *> resolve_imports(const std::vector<Import> &imports, FindLoaded find_loaded) {
  std::vector<void *> resolved;
  for (const Import &import : imports) {
    void *const found = find(import.name, find_loaded);
    if (!found && !import.weak)
      throw Unloadable("needs " + std::string(import.name) +
                       ", which nothing in this process defines");
    resolved.push_back(found);
  }
  return resolved;
}

} // namespace veltro::loader
