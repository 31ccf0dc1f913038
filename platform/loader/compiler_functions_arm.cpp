// What compiled code for 32-bit ARM asks of the system in place of instructions that the processor
// does not have, or need not have: Linux's linkers bring it along under other names.

#include "symbols.hpp"

#ifdef __arm__

namespace veltro::loader {
namespace {

template <class To, class From> To convert(From value) {
  return To(value);
}

template <class T> T divide(T number, T by) {
  return number / by;
}

template <class T> T remainder(T number, T by) {
  return number % by;
}

struct Function {
  std::string_view name;
  void *code;
};

template <class T> void *code_of(T *function) {
  return reinterpret_cast<void *>(function);
}

} // namespace

void *compiler_function(std::string_view name) {
  static const Function functions[]{
      {"___fixdfdi", code_of(convert<int64_t, double>)},
      {"___fixsfdi", code_of(convert<int64_t, float>)},
      {"___fixunsdfdi", code_of(convert<uint64_t, double>)},
      {"___fixunssfdi", code_of(convert<uint64_t, float>)},
      {"___floatdidf", code_of(convert<double, int64_t>)},
      {"___floatdisf", code_of(convert<float, int64_t>)},
      {"___floatundidf", code_of(convert<double, uint64_t>)},
      {"___floatundisf", code_of(convert<float, uint64_t>)},
      {"___divdi3", code_of(divide<int64_t>)},
      {"___udivdi3", code_of(divide<uint64_t>)},
      {"___divsi3", code_of(divide<int32_t>)},
      {"___udivsi3", code_of(divide<uint32_t>)},
      {"___moddi3", code_of(remainder<int64_t>)},
      {"___umoddi3", code_of(remainder<uint64_t>)},
      {"___modsi3", code_of(remainder<int32_t>)},
      {"___umodsi3", code_of(remainder<uint32_t>)},
  };
  for (const Function &function : functions)
    if (function.name == name)
      return function.code;
  return nullptr;
}

} // namespace veltro::loader

#else

namespace veltro::loader {

void *compiler_function(std::string_view) {
  return nullptr;
}

} // namespace veltro::loader

#endif
