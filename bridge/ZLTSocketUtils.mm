#import <veltro/ZLTSocketUtils.h>

namespace {

NSInteger server_port = 0;

} // namespace

@implementation ZLTSocketUtils

+ (NSInteger)socketPort {
  return server_port;
}

+ (void)setSocketPort:(NSInteger)port {
  server_port = port;
}

@end
