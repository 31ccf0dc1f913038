#include "machine/property_lists/property_list.hpp"

#import <Foundation/Foundation.h>

namespace veltro::host {

NSDictionary *dictionary_in(NSData *data) {
  @try {
    id list = [NSPropertyListSerialization propertyListWithData:data
                                                        options:NSPropertyListImmutable
                                                         format:nullptr
                                                          error:nullptr];
    return [list isKindOfClass:[NSDictionary class]] ? list : nil;
  } @catch (NSException *) {
    return nil;
  }
}

} // namespace veltro::host
