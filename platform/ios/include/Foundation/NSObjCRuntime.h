#pragma once

#include <Foundation/NSFoundationVersionNumber.h>
#include <objc/objc.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define FOUNDATION_EXPORT extern "C"
#else
#define FOUNDATION_EXPORT extern
#endif

#if __LP64__
typedef long NSInteger;
typedef unsigned long NSUInteger;
#else
typedef int NSInteger;
typedef unsigned int NSUInteger;
#endif

#define NS_ENUM(type, name)                                                                        \
  enum name : type name;                                                                           \
  enum name : type
// In C++ a set of options is a plain integer, so that options can be joined without a cast.
#define NS_OPTIONS(type, name)                                                                     \
  type name;                                                                                       \
  enum : type

typedef NS_ENUM(NSInteger, NSComparisonResult) {
  NSOrderedAscending = -1,
  NSOrderedSame = 0,
  NSOrderedDescending = 1
};

typedef struct _NSRange {
  NSUInteger location;
  NSUInteger length;
} NSRange;

#define NSIntegerMin (-__INTPTR_MAX__ - 1)

enum : NSInteger { NSNotFound = __INTPTR_MAX__ };

@class NSString;

FOUNDATION_EXPORT SEL NSSelectorFromString(NSString *name);
FOUNDATION_EXPORT void NSLog(NSString *format, ...) __attribute__((format(__NSString__, 1, 2)));
