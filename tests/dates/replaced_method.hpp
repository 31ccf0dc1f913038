// A method of a platform class replaced for as long as a test needs it.
#pragma once

#import <Foundation/Foundation.h>

#include <objc/runtime.h>

namespace veltro::test {

template <typename Function> class ReplacedMethod {
public:
  ReplacedMethod(Class owner, SEL selector, Function replacement)
      : method_(class_getInstanceMethod(owner, selector)), original_(set(replacement)) {}
  ~ReplacedMethod() { set(original_); }
  ReplacedMethod(const ReplacedMethod &) = delete;
  ReplacedMethod &operator=(const ReplacedMethod &) = delete;

  [[nodiscard]] Function original() const { return original_; }

private:
  Function set(Function implementation) {
    void *const address = reinterpret_cast<void *>(implementation);
    void *const before =
        reinterpret_cast<void *>(method_setImplementation(method_, reinterpret_cast<IMP>(address)));
    return reinterpret_cast<Function>(before);
  }

  Method method_;
  Function original_;
};

} // namespace veltro::test
