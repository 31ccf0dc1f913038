// What stands behind a CGDataProviderRef.
#pragma once

#include <CoreGraphics/CGDataProvider.h>

#import <Foundation/Foundation.h>

@interface VHDataProvider : NSObject
/// All bytes, which the caller owns.
- (NSData *)copyData;
@end
