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

/// Reads the keys of the archive form; a key that is missing leaves its property empty.
/// @param coder A keyed unarchiver; nil leaves all properties empty.
/// @return The message, which the caller owns; nil only where `init` returns nil.
- (id)initWithCoder:(NSCoder *)coder;

/// Writes the four keys of the archive form, references that are nil included. Fails only as the
/// archiver does, which raises for a content that cannot be archived.
/// @param coder A keyed archiver; for nil nothing is written.
- (void)encodeWithCoder:(NSCoder *)coder;

/// The four values in one line, for people to read.
/// @return The line, autoreleased; never nil.
- (NSString *)description;

/// The message body: a string as a rule, but any object that can be archived; nil at first.
/// Retained, not copied.
@property (nonatomic, retain) id content;

/// YES for a message that the device's user sent, NO for a received one and at first.
@property (nonatomic, assign) BOOL outgoing;

/// When the message was sent; nil at first. Retained, not copied.
@property (nonatomic, retain) NSDate *timestamp;

/// The user whose chat the message belongs to; nil at first. Retained, not copied.
@property (nonatomic, retain) NSString *userIdentifier;

/// Whether the class takes part in secure coding.
/// @return YES, never NO.
+ (BOOL)supportsSecureCoding;

@end

#endif
