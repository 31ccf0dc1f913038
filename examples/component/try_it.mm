// try_it USER: prints what was said last with a user of the messaging app.

#import "Component.h"

#import <veltro/veltro.h>

#include <stdio.h>

int main(int argc, char **argv) {
  @autoreleasepool {
    if (argc != 2) {
      fprintf(stderr, "usage: try_it USER\n");
      return 2;
    }
    Component *instance = [[[Component alloc] initWithService:@"Component"] autorelease];
    NSString *user = [NSString stringWithUTF8String:argv[1]];
    for (ZLTWhatsAppMessage *message in [instance lastMessages:3 withUser:user])
      printf("%s %s\n", [message outgoing] ? ">" : "<", [[message content] UTF8String]);
  }
  return 0;
}
