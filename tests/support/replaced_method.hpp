// Another implementation of a method for as long as an object lives.
#pragma once

#import <Foundation/Foundation.h>
#import <objc/runtime.h>

namespace veltro::test {

/// Replaces a method that the class implements itself. `Function` is a plain function that takes
/// `id, SEL` and the method's arguments.
class ReplacedMethod {
public:
  template <typename Function>
  ReplacedMethod(Method method, Function *replacement)
      : method_(method),
        original_(method_setImplementation(
            method, reinterpret_cast<IMP>(reinterpret_cast<void *>(replacement)))) {}
  ~ReplacedMethod() { method_setImplementation(method_, original_); }
  ReplacedMethod(const ReplacedMethod &) = delete;
  ReplacedMethod &operator=(const ReplacedMethod &) = delete;

private:
  Method method_;
  IMP original_;
};

} // namespace veltro::test
