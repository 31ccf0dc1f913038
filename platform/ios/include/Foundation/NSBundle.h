#pragma once

#include <Foundation/NSObject.h>

@interface NSBundle : NSObject
@property (readonly, getter=isLoaded) BOOL loaded;
+ (NSBundle *)mainBundle;
+ (NSBundle *)bundleWithIdentifier:(NSString *)identifier;
+ (NSBundle *)bundleWithPath:(NSString *)path;
- (BOOL)load;
- (NSString *)localizedStringForKey:(NSString *)key value:(NSString *)value table:(NSString *)table;
@end
