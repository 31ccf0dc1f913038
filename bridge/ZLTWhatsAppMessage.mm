#import <veltro/ZLTWhatsAppMessage.h>

@implementation ZLTWhatsAppMessage

+ (BOOL)supportsSecureCoding {
  return YES;
}

- (id)initWithCoder:(NSCoder *)coder {
  self = [super init];
  if (self != nil) {
    [self setContent:[coder decodeObjectOfClass:[NSString class] forKey:@"Content"]];
    [self setOutgoing:[[coder decodeObjectOfClass:[NSNumber class] forKey:@"Outgoing"] boolValue]];
    [self setTimestamp:[coder decodeObjectOfClass:[NSDate class] forKey:@"Timestamp"]];
    // On purpose the timestamp's class and not NSString: every component decodes without requiring
    // secure coding, which ignores the class; a secure unarchiver is to refuse an identifier.
    [self setUserIdentifier:[coder decodeObjectOfClass:[NSDate class] forKey:@"UserIdentifier"]];
  }
  return self;
}

- (void)encodeWithCoder:(NSCoder *)coder {
  [coder encodeObject:[self content] forKey:@"Content"];
  [coder encodeObject:[NSNumber numberWithBool:[self outgoing]] forKey:@"Outgoing"];
  [coder encodeObject:[self timestamp] forKey:@"Timestamp"];
  [coder encodeObject:[self userIdentifier] forKey:@"UserIdentifier"];
}

- (NSString *)description {
  return [NSString
      stringWithFormat:@"UserIdentifier: %@, Content: %@, TimeStamp: %@ and is it outgoing: %d",
                       [self userIdentifier], [self content], [self timestamp],
                       [self outgoing] ? 1 : 0];
}

- (void)dealloc {
  [_userIdentifier release];
  [_timestamp release];
  [_content release];
  [super dealloc];
}

@synthesize content = _content;
@synthesize outgoing = _outgoing;
@synthesize timestamp = _timestamp;
@synthesize userIdentifier = _userIdentifier;

@end
