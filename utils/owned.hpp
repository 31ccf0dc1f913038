// Local ownership of Objective-C and Core Foundation objects: released when the scope ends, also
// when an exception of the platform passes through it.
#pragma once

#include <CoreFoundation/CFBase.h>

#import <Foundation/Foundation.h>

#include <utility>

namespace veltro {

/// Owns one reference to an Objective-C object, or nothing.
template <typename Object> class Owned {
public:
  /// Adopts the caller's reference.
  explicit Owned(Object object) : object_(object) {}
  ~Owned() { [object_ release]; }
  Owned(const Owned &) = delete;
  Owned &operator=(const Owned &) = delete;

  [[nodiscard]] Object get() const { return object_; }

  /// Gives the reference to the caller.
  [[nodiscard]] Object take() { return std::exchange(object_, nil); }

private:
  Object object_;
};

/// Owns one reference to a Core Foundation object, or nothing.
template <typename Reference> class OwnedCF {
public:
  /// Adopts the caller's reference.
  explicit OwnedCF(Reference reference) : reference_(reference) {}
  ~OwnedCF() {
    if (reference_ != nullptr)
      CFRelease(reference_);
  }
  OwnedCF(const OwnedCF &) = delete;
  OwnedCF &operator=(const OwnedCF &) = delete;

  [[nodiscard]] Reference get() const { return reference_; }
  explicit operator bool() const { return reference_ != nullptr; }

private:
  Reference reference_;
};

} // namespace veltro
