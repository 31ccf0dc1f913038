// Data providers. Follows Apple's CGDataProvider reference; providers of callbacks, files and URLs
// are left out.

#include "frameworks/CoreGraphics/data_provider.h"

/// Provides data that somebody had.
@interface VHGivenDataProvider : VHDataProvider {
@public
  NSData *data_;
}
@end

@implementation VHDataProvider

- (NSData *)copyData {
  return nil;
}

@end

@implementation VHGivenDataProvider

- (void)dealloc {
  [data_ release];
  [super dealloc];
}

- (NSData *)copyData {
  return [data_ retain];
}

@end

namespace {

VHDataProvider *object(CGDataProviderRef provider) {
  return reinterpret_cast<VHDataProvider *>(provider);
}

} // namespace

extern "C" {

CGDataProviderRef CGDataProviderCreateWithCFData(CFDataRef data) {
  if (data == nullptr)
    return nullptr;
  VHGivenDataProvider *const provider = [[VHGivenDataProvider alloc] init];
  provider->data_ = [(NSData *)data copy];
  return reinterpret_cast<CGDataProviderRef>(provider);
}

CFDataRef CGDataProviderCopyData(CGDataProviderRef provider) {
  return reinterpret_cast<CFDataRef>([object(provider) copyData]);
}

CGDataProviderRef CGDataProviderRetain(CGDataProviderRef provider) {
  return reinterpret_cast<CGDataProviderRef>([object(provider) retain]);
}

void CGDataProviderRelease(CGDataProviderRef provider) {
  [object(provider) release];
}

} // extern "C"
