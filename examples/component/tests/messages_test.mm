// The request that the component makes, and what it makes of the reply: the channel's method is
// replaced by the test's own, so that no messaging app is needed.

#import "Component.h"
#import "check.h"

#import <objc/runtime.h>
#import <veltro/veltro.h>

static char sent_request;
static NSData *sent_payload;
static NSData *reply;

static NSData *send_in_place(id self, SEL command, char request, NSData *payload) {
  sent_request = request;
  sent_payload = payload;
  return reply;
}

static ZLTWhatsAppMessage *message(NSString *text) {
  ZLTWhatsAppMessage *made = [[[ZLTWhatsAppMessage alloc] init] autorelease];
  [made setContent:text];
  return made;
}

int main(void) {
  @autoreleasepool {
    method_setImplementation(class_getClassMethod([ZLTUtils class], @selector(sendMessage:
                                                                              messageData:)),
                             (IMP)send_in_place);
    Component *instance = [[[Component alloc] initWithService:@"test"] autorelease];

    reply = [NSKeyedArchiver
        archivedDataWithRootObject:[NSArray
                                       arrayWithObjects:message(@"one"), message(@"two"), nil]];
    NSArray *messages = [instance lastMessages:2 withUser:@"anna"];
    CHECK([messages count] == 2);
    CHECK([[[messages objectAtIndex:1] content] isEqual:@"two"]);

    CHECK(sent_request == 2);
    NSDictionary *question = [NSPropertyListSerialization propertyListWithData:sent_payload
                                                                       options:0
                                                                        format:NULL
                                                                         error:NULL];
    CHECK([[question objectForKey:@"UserIdentifier"] isEqual:@"anna"]);
    CHECK([[question objectForKey:@"Last"] integerValue] == 2);

    reply = [NSData data];
    CHECK([instance lastMessages:2 withUser:@"anna"] == nil);
  }
  return failures != 0;
}
