#include "variadic_calls.hpp"

#ifndef __aarch64__

namespace veltro::loader::objc {

void check_variadic_calls(const std::vector<Import> &, const Metadata &) {}

SEL selector_to_send(const char *name) {
  return sel_registerName(name);
}

void *variadic_function(std::string_view) {
  return nullptr;
}

} // namespace veltro::loader::objc

#endif
