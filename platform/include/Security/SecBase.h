// The status codes of the Security framework that the keychain returns.
#pragma once

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
  errSecSuccess = 0,
  errSecUnimplemented = -4,
  errSecDiskFull = -34,
  errSecIO = -36,
  errSecParam = -50,
  errSecWrPerm = -61,
  errSecAllocate = -108,
  errSecNotAvailable = -25291,
  errSecAuthFailed = -25293,
  errSecDuplicateItem = -25299,
  errSecItemNotFound = -25300,
  errSecInteractionNotAllowed = -25308,
  errSecDecode = -26275,
};

#ifdef __cplusplus
}
#endif
