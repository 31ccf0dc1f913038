#pragma once

#ifdef __cplusplus
extern "C" {
#endif
int isspace(int character);
#ifdef __cplusplus
}
#endif
