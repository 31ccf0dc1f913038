// What the files of the consumer offer each other: one of every language.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/// Whether a notification of the platform reaches its observer; in C.
int notifications_arrive(void);

/// The number of processes in the platform's table; in C++.
unsigned long processes(void);

/// The name of the library's class, as long as the program runs; in Objective-C.
const char *class_name(void);

/// How many of two objects whose ownership is written out are freed in the end; in Objective-C, for
/// both ways to manage memory.
int owners_freed(void);

#ifdef __cplusplus
}
#endif
