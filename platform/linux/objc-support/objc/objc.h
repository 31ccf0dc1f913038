// GCC's <objc/objc.h>, with nil, Nil, YES and NO as source for the device knows them: there nil
// fits every pointer, such as the NSError ** of `error:nil`, and @YES is a boolean NSNumber.
#pragma once

#include_next <objc/objc.h>

#undef nil
#undef Nil
#ifdef __cplusplus
#define nil nullptr
#define Nil nullptr
#else
#define nil ((void *)0)
#define Nil ((void *)0)
#endif

#undef YES
#undef NO
#define YES __objc_yes
#define NO __objc_no
