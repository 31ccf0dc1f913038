#pragma once

#include <Foundation/NSObject.h>

@class NSData, NSError;

typedef NS_ENUM(NSUInteger, NSPropertyListFormat) {
  NSPropertyListOpenStepFormat = 1,
  NSPropertyListXMLFormat_v1_0 = 100,
  NSPropertyListBinaryFormat_v1_0 = 200,
};

@interface NSPropertyListSerialization : NSObject
+ (NSData *)dataWithPropertyList:(id)list
                          format:(NSPropertyListFormat)format
                         options:(NSUInteger)options
                           error:(NSError **)error;
+ (id)propertyListWithData:(NSData *)data
                   options:(NSUInteger)options
                    format:(NSPropertyListFormat *)format
                     error:(NSError **)error;
@end
