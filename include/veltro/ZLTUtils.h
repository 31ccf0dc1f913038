#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <Foundation/Foundation.h>
#import <veltro/ZLTExport.h>

/// The class of the library's class methods. It is never instantiated and holds no state of its
/// own; each subsystem adds its methods in a category with a header of its own, named
/// `ZLTUtils+Module.h`.
VELTRO_EXPORT
@interface ZLTUtils : NSObject
@end

#endif
