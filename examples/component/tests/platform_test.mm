// What the component asks of the platform: these functions are the test's own, and stand in for the
// platform's in this program.

#import "Component.h"
#import "check.h"

#include <Security/Security.h>
#include <stdarg.h>
#include <string.h>
#include <sys/sysctl.h>

static NSDictionary *added;
static OSStatus status_of_adding;

OSStatus SecItemAdd(CFDictionaryRef attributes, CFTypeRef *result) {
  [added release];
  added = [(NSDictionary *)attributes copy];
  return status_of_adding;
}

/// No process runs.
int sysctl(int *name, unsigned int name_length, void *buffer, size_t *length, void *new_value,
           size_t new_length) {
  *length = 0;
  return 0;
}

int main(void) {
  @autoreleasepool {
    Component *instance = [[[Component alloc] initWithService:@"test"] autorelease];

    status_of_adding = errSecSuccess;
    CHECK([instance storeSecret:@"rosebud"]);
    CHECK([[added objectForKey:(id)kSecAttrService] isEqual:@"test"]);
    NSData *secret = [added objectForKey:(id)kSecValueData];
    CHECK([secret length] == 7 && memcmp([secret bytes], "rosebud", 7) == 0);

    status_of_adding = errSecInteractionNotAllowed;
    CHECK(![instance storeSecret:@"rosebud"]);

    CHECK([instance lastMessages:1 withUser:@"anna"] == nil);
  }
  return failures != 0;
}
