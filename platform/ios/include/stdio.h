// The C++ headers want the type of a file and the end mark; the library reads and writes no files.
#pragma once

#include <stddef.h>

#define EOF (-1)

typedef struct __sFILE FILE;
typedef long long fpos_t;

#ifdef __cplusplus
extern "C" {
#endif
int remove(const char *path);
#ifdef __cplusplus
}
#endif
