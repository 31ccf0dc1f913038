// Patches a method of GNUstep: the class stays, its implementation of one method is replaced.
#pragma once

#import <Foundation/Foundation.h>

#include <cstdlib>
#include <objc/runtime.h>

namespace veltro::host {

/// Replaces the method of `owner` itself (not one that it inherits); returns the one before. To be
/// called from +load: earlier no message can be sent, later other code may have kept the old one.
/// Where a replaced method is the first that a class is sent, the runtime calls it before it has
/// initialized the class: a class method that stands for it first sends [self class].
template <typename Function>
Function replace_method(Class owner, const char *selector, Function replacement) {
  Method method = class_getInstanceMethod(owner, sel_registerName(selector));
  if (method == nullptr)
    std::abort();
  // By way of a function without a type: the compiler knows that these types do not match.
  using Untyped = void (*)();
  const IMP before = method_setImplementation(
      method, reinterpret_cast<IMP>(reinterpret_cast<Untyped>(replacement)));
  return reinterpret_cast<Function>(reinterpret_cast<Untyped>(before));
}

template <typename Function>
Function replace_class_method(Class owner, const char *selector, Function replacement) {
  return replace_method(object_getClass(owner), selector, replacement);
}

} // namespace veltro::host
