#pragma once

#ifdef __cplusplus
extern "C" {
#endif
int *__error(void);
#ifdef __cplusplus
}
#endif

#define errno (*__error())

#define ENOENT 2
#define ENOMEM 12
#define EINVAL 22
