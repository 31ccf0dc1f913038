// Patches a method of GNUstep: the class stays, its implementation of one method is replaced.
#pragma once

#import <Foundation/Foundation.h>

#include <cstdlib>
#include <objc/runtime.h>
#include <utility>

namespace veltro::host {

/// method_setImplementation, which for a class that was sent nothing yet would write into the empty
/// table of methods that it shares with all others of its kind: the list of the class's own
/// methods, of which its table will be made, is what counts then.
inline IMP set_implementation(Class owner, Method method, IMP implementation) {
  struct ClassLayout {
    Class isa;
    Class super_class;
    const char *name;
    long version;
    unsigned long flags;
  };
  struct MethodLayout {
    SEL name;
    const char *types;
    IMP implementation;
  };
  constexpr unsigned long kInitialized = 4;
  if ((reinterpret_cast<ClassLayout *>(owner)->flags & kInitialized) == 0)
    return std::exchange(reinterpret_cast<MethodLayout *>(method)->implementation, implementation);
  // Has it make the table, where only the class's own methods were called.
  class_respondsToSelector(owner, method_getName(method));
  return method_setImplementation(method, implementation);
}

/// Replaces the method of `owner` itself (not one that it inherits); returns the one before. To be
/// called in VH_AT_LOAD: earlier no message can be sent, later other code may have kept the old
/// one. Where a replaced method is the first that a class is sent, the runtime calls it before it
/// has initialized the class: a class method that stands for it first sends [self class].
template <typename Function>
Function replace_method(Class owner, const char *selector, Function replacement) {
  Method method = class_getInstanceMethod(owner, sel_registerName(selector));
  if (method == nullptr)
    std::abort();
  // By way of a function without a type: the compiler knows that these types do not match.
  using Untyped = void (*)();
  const IMP before = set_implementation(
      owner, method, reinterpret_cast<IMP>(reinterpret_cast<Untyped>(replacement)));
  return reinterpret_cast<Function>(reinterpret_cast<Untyped>(before));
}

template <typename Function>
Function replace_class_method(Class owner, const char *selector, Function replacement) {
  return replace_method(object_getClass(owner), selector, replacement);
}

} // namespace veltro::host

/// Heads a function that runs when the platform loads, in the +load of a class of that name, which
/// has no other use.
// A class has no parentheses around its name. NOLINTBEGIN(bugprone-macro-parentheses)
#define VH_AT_LOAD(name)                                                                           \
  @interface name : NSObject                                                                       \
  @end                                                                                             \
  static void name##_at_load();                                                                    \
  @implementation name                                                                             \
  +(void)load {                                                                                    \
    name##_at_load();                                                                              \
  }                                                                                                \
  @end                                                                                             \
  static void name##_at_load()
// NOLINTEND(bugprone-macro-parentheses)
