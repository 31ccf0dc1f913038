// Data providers. Follows Apple's CGDataProvider reference; providers of callbacks, files and URLs
// are left out. A provider is the data that it provides.

#include <CoreGraphics/CGDataProvider.h>

#import <Foundation/Foundation.h>

extern "C" {

CGDataProviderRef CGDataProviderCreateWithCFData(CFDataRef data) {
  return reinterpret_cast<CGDataProviderRef>([(NSData *)data copy]);
}

CFDataRef CGDataProviderCopyData(CGDataProviderRef provider) {
  return reinterpret_cast<CFDataRef>(CGDataProviderRetain(provider));
}

CGDataProviderRef CGDataProviderRetain(CGDataProviderRef provider) {
  return reinterpret_cast<CGDataProviderRef>([reinterpret_cast<NSData *>(provider) retain]);
}

void CGDataProviderRelease(CGDataProviderRef provider) {
  [reinterpret_cast<NSData *>(provider) release];
}

} // extern "C"
