// A test is a program that says which checks failed, and exits with 1 where any did.
#include <stdio.h>

static int failures = 0;

#define CHECK(condition)                                                                           \
  do {                                                                                             \
    if (!(condition)) {                                                                            \
      fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition);                              \
      failures++;                                                                                  \
    }                                                                                              \
  } while (0)
