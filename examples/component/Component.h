#import <Foundation/Foundation.h>

/// What was said last in a chat of the messaging app, and a secret kept in the keychain.
@interface Component : NSObject {
  NSString *_service;
}

/// The service under which the secret is kept.
@property (nonatomic, copy) NSString *service;

- (id)initWithService:(NSString *)service;

/// The newest `count` messages with a user, the oldest first: `ZLTWhatsAppMessage` objects
/// (autoreleased). Nil where the messaging app does not run, or says nothing.
- (NSArray *)lastMessages:(NSInteger)count withUser:(NSString *)user;

/// Keeps the secret in place of the one before. NO where the keychain refuses.
- (BOOL)storeSecret:(NSString *)secret;

/// The secret (autoreleased); nil where there is none.
- (NSString *)secret;

@end
