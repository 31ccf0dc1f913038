// Items as the objects that the item functions return.
#pragma once

#include "frameworks/Security/attributes.hpp"
#include "frameworks/Security/sealing.hpp"

#import <Foundation/Foundation.h>

#include <string>
#include <string_view>
#include <vector>

namespace veltro::host::keychain {

/// Makes the results of one call; values that many items share become one object.
class Results {
public:
  explicit Results(bool attributes);
  ~Results();
  Results(const Results &) = delete;
  Results &operator=(const Results &) = delete;

  /// The secret, a dictionary of attributes, or one of both where there is a secret. The caller
  /// owns it, and the secret's bytes become its own.
  id new_result(const Fields &fields, Secret secret);

  /// Overwrites the secret in a result that nobody gets.
  static void wipe_secret_of(id result);

private:
  /// An object and what it was made of.
  struct Value {
    std::string bytes;
    std::int64_t integer = 0;
    double real = 0;
    id object = nil;
  };

  /// The object for a value, which holds until the next item.
  id value(std::size_t at, const Field &field);

  std::vector<Value> last_; ///< of each attribute; none where attributes are not wanted
};

} // namespace veltro::host::keychain
