#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <Foundation/Foundation.h>
#import <veltro/ZLTExport.h>

/// One chat message. Components in different processes hand messages to each other as keyed
/// archives of this class, whose keys are "Content", "Outgoing", "Timestamp" and "UserIdentifier".
///
/// Unarchive messages without requiring secure coding: a user identifier does not pass the class
/// test that a secure unarchiver makes. A plain value, to be used by one thread at a time.
VELTRO_EXPORT
@interface ZLTWhatsAppMessage : NSObject <NSSecureCoding> {
@private
  id _content;
  BOOL _outgoing;
  NSDate *_timestamp;
  NSString *_userIdentifier;
}

/// Reads the keys of the archive form; a key that is missing leaves its property empty, and so does
/// a nil coder. The caller owns the message.
- (id)initWithCoder:(NSCoder *)coder;

/// Writes the four keys of the archive form, references that are nil included.
- (void)encodeWithCoder:(NSCoder *)coder;

/// The four values in one line (autoreleased).
- (NSString *)description;

/// The message body: a string as a rule, but any object that can be archived. Retained, not copied.
@property (nonatomic, retain) id content;

/// YES for a message that the device's user sent, NO for a received one.
@property (nonatomic, assign) BOOL outgoing;

/// When the message was sent. Retained, not copied.
@property (nonatomic, retain) NSDate *timestamp;

/// The user whose chat the message belongs to. Retained, not copied.
@property (nonatomic, retain) NSString *userIdentifier;

/// Always YES.
+ (BOOL)supportsSecureCoding;

@end

#endif
