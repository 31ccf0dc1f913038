// The keys under which the texts of keychain errors are looked up.
#pragma once

#include <stdint.h>

namespace veltro {

struct ErrorText {
  int32_t status;
  const char *key;
};

inline constexpr ErrorText kErrorTexts[] = {
    {-4, "errSecUnimplemented"},
    {-50, "errSecParam"},
    {-108, "errSecAllocate"},
    {-1001, "ZLTKeyChainErrorBadArguments"},
    {-25291, "errSecNotAvailable"},
    {-25293, "errSecAuthFailed"},
    {-25299, "errSecDuplicateItem"},
    {-25300, "errSecItemNotFound"},
    {-25308, "errSecInteractionNotAllowed"},
    {-26275, "errSecDecode"},
};

/// The key for a status that is an error; one and the same for all that have no text of their own.
constexpr const char *error_text_key(int32_t status) {
  for (const ErrorText &text : kErrorTexts)
    if (text.status == status)
      return text.key;
  return "errSecDefault";
}

} // namespace veltro
