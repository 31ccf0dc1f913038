// The bytes of an image.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreGraphics/CGBase.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct CGDataProvider *CGDataProviderRef;

/// Keeps `data`; null for null. The caller owns it.
CGDataProviderRef CGDataProviderCreateWithCFData(CFDataRef data);
/// All bytes; the caller owns the data. Null for null.
CFDataRef CGDataProviderCopyData(CGDataProviderRef provider);
CGDataProviderRef CGDataProviderRetain(CGDataProviderRef provider);
void CGDataProviderRelease(CGDataProviderRef provider);

#ifdef __cplusplus
}
#endif
