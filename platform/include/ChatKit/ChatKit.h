// ChatKit as far as this library uses it.
#pragma once

#import <Foundation/Foundation.h>

#ifdef __cplusplus
extern "C" {
#endif

/// ChatKit's own bundle, or nil where it cannot be had. Its strings are in the table "ChatKit".
// Weak: a release may lack it, and the library has to load there all the same.
__attribute__((weak)) NSBundle *CKFrameworkBundle(void);

#ifdef __cplusplus
}
#endif
