// The number that Core Graphics and UIKit measure in.
#pragma once

#include <float.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

// GNUstep's Foundation defines the same type under the same guard.
#if !defined(CGFLOAT_DEFINED)
#if defined(__LP64__)
typedef double CGFloat;
#define CGFLOAT_IS_DBL 1
#define CGFLOAT_MIN DBL_MIN
#define CGFLOAT_MAX DBL_MAX
#else
typedef float CGFloat;
#define CGFLOAT_MIN FLT_MIN
#define CGFLOAT_MAX FLT_MAX
#endif
#define CGFLOAT_DEFINED 1
#endif
