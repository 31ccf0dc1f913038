#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

void *memchr(const void *block, int byte, size_t size);
int memcmp(const void *left, const void *right, size_t size);
void *memcpy(void *to, const void *from, size_t size);
void *memmove(void *to, const void *from, size_t size);
void *memset(void *block, int byte, size_t size);
char *strchr(const char *string, int character);
int strcmp(const char *left, const char *right);
size_t strlen(const char *string);
int strncmp(const char *left, const char *right, size_t size);
char *strpbrk(const char *string, const char *set);
char *strrchr(const char *string, int character);
char *strstr(const char *string, const char *part);

#ifdef __cplusplus
}
#endif
