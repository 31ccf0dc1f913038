#import "Component.h"

#import "ownership.h"

#import <veltro/veltro.h>

/// The request that reads a chat.
static const char kReadChat = 2;

static NSString *const kAccount = @"secret";

@implementation Component

@synthesize service = _service;

- (id)initWithService:(NSString *)service {
  self = [super init];
  if (self != nil)
    _service = [service copy];
  return self;
}

- (void)dealloc {
  OWN_RELEASE(_service);
  OWN_SUPER_DEALLOC();
}

- (NSArray *)lastMessages:(NSInteger)count withUser:(NSString *)user {
  // The server inside the messaging app publishes its port here while it runs.
  NSDictionary *server =
      [[NSUserDefaults standardUserDefaults] persistentDomainForName:@"com.norvane.Veltro.Server"];
  [ZLTSocketUtils setSocketPort:[[server objectForKey:@"Port"] integerValue]];

  NSDictionary *question =
      [NSDictionary dictionaryWithObjectsAndKeys:user, @"UserIdentifier",
                                                 [NSNumber numberWithInteger:count], @"Last", nil];
  NSData *payload =
      [NSPropertyListSerialization dataWithPropertyList:question
                                                 format:NSPropertyListBinaryFormat_v1_0
                                                options:0
                                                  error:NULL];
  NSData *reply = [ZLTUtils sendMessage:kReadChat messageData:payload];
  return [reply length] != 0 ? [NSKeyedUnarchiver unarchiveObjectWithData:reply] : nil;
}

- (BOOL)storeSecret:(NSString *)secret {
  return [ZLTKeyChain setPassword:secret forService:_service account:kAccount];
}

- (NSString *)secret {
  return [ZLTKeyChain passwordForService:_service account:kAccount];
}

@end
