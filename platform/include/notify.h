// Darwin notifications as far as this library and observers of what it posts use them.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define NOTIFY_STATUS_OK 0
#define NOTIFY_STATUS_INVALID_NAME 1
#define NOTIFY_STATUS_INVALID_TOKEN 2
#define NOTIFY_STATUS_INVALID_FILE 4
#define NOTIFY_STATUS_FAILED 1000000

/// For notify_register_file_descriptor: use the descriptor that an earlier registration gave.
#define NOTIFY_REUSE 0x00000001

/// Tells every observer of `name`, in every process.
uint32_t notify_post(const char *name);

/// Observes `name` for notify_check.
uint32_t notify_register_check(const char *name, int *out_token);

/// Observes `name` through a descriptor: for each notification the token can be read from it, as
/// four bytes in network order. Notifications that find it full are lost.
uint32_t notify_register_file_descriptor(const char *name, int *notify_fd, int flags,
                                         int *out_token);

/// Leaves in `check` whether `name` was posted since the last call; for the first call it is 1.
uint32_t notify_check(int token, int *check);

/// Ends the registration; a descriptor is closed with the last registration that uses it.
uint32_t notify_cancel(int token);

#ifdef __cplusplus
}
#endif
