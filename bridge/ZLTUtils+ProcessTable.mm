#import <veltro/UIDevice+ZLT.h>
#import <veltro/ZLTUtils+ProcessTable.h>

@implementation ZLTUtils (ProcessTable)

+ (BOOL)isWhatsAppRunning {
  return [[UIDevice currentDevice] __zltIsProcessRunning:@"WhatsApp"];
}

@end
