// The types that the C++ headers name; the library asks no C clock.
#pragma once

#include <stddef.h>

typedef unsigned long clock_t;
typedef long time_t;
struct tm;
struct timespec {
  time_t tv_sec;
  long tv_nsec;
};

#ifdef __cplusplus
extern "C" {
#endif
time_t time(time_t *now);
#ifdef __cplusplus
}
#endif
