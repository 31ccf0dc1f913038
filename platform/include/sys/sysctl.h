// The part of sysctl(3) that this library uses: the process table and variables by name. The
// records are laid out as on the device, for both word sizes; fields that nothing here reads are
// not named.
#pragma once

#include <stddef.h>

#define CTL_KERN 1
#define KERN_PROC 14
#define KERN_PROC_ALL 0

#define MAXCOMLEN 16

/// The kernel's own part of a process record.
struct extern_proc {
  void *p_links[4];
  int p_flag;
  char p_stat;
  int p_pid; ///< the process id
#ifdef __LP64__
  char p_times_and_signals[199];
#else
  char p_times_and_signals[135];
#endif
  char p_comm[MAXCOMLEN + 1]; ///< the short command name, zero-terminated
  void *p_rest[4];
};

/// One record of the process table.
struct kinfo_proc {
  struct extern_proc kp_proc;
#ifdef __LP64__
  void *kp_eproc[44];
#else
  void *kp_eproc[74];
#endif
};

#ifdef __cplusplus
static_assert(sizeof(kinfo_proc) == (sizeof(void *) == 8 ? 648 : 492));
static_assert(offsetof(kinfo_proc, kp_proc.p_pid) == (sizeof(void *) == 8 ? 40 : 24));
static_assert(offsetof(kinfo_proc, kp_proc.p_comm) == (sizeof(void *) == 8 ? 243 : 163));

extern "C" {
#endif

/// Reads the variable `name` of `namelen` numbers into `oldp`, whose size is `*oldlenp`; leaves the
/// number of bytes copied there. With a null `oldp` only the needed size is left, for the process
/// table with some space to spare. Returns 0, or -1 with errno: ENOMEM where the buffer is short
/// (as many whole records as fit are copied), ENOENT where there is no such variable, EPERM for an
/// attempt to write.
int sysctl(int *name, unsigned int namelen, void *oldp, size_t *oldlenp, void *newp, size_t newlen);

/// The same for a variable by its name; a text is copied with its terminating zero.
int sysctlbyname(const char *name, void *oldp, size_t *oldlenp, void *newp, size_t newlen);

#ifdef __cplusplus
}
#endif
