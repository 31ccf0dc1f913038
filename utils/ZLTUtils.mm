#import <veltro/ZLTUtils.h>

@implementation ZLTUtils
@end
