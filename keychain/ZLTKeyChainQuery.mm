#import <Foundation/NSFoundationVersionNumber.h>
#import <veltro/ZLTKeyChain.h>
#import <veltro/ZLTKeyChainQuery.h>

#include "keychain/error_table.hpp"
#include "utils/owned.hpp"

#include <CoreFoundation/CoreFoundation.h>
#include <Security/Security.h>

namespace {

// The Foundation of iOS 6.1, the last release without synchronised items, is 993 with any fraction.
constexpr double kFirstFoundationWithSynchronization = 994.0;

/// The attribute's value for a mode; nil for one that is none.
id synchronizable(ZLTKeyChainQuerySynchronizationMode mode) {
  switch (mode) {
  case ZLTKeyChainQuerySynchronizationModeAny:
    return (id)kSecAttrSynchronizableAny;
  case ZLTKeyChainQuerySynchronizationModeNo:
    return (id)kCFBooleanFalse;
  case ZLTKeyChainQuerySynchronizationModeYes:
    return (id)kCFBooleanTrue;
  }
  return nil;
}

/// Whether the status is success; otherwise stores its error where one is wanted.
BOOL succeeded(ZLTKeyChainQuery *query, OSStatus status, NSError **error) {
  if (status != errSecSuccess && error != nullptr)
    *error = [[query class] errorWithCode:status];
  return status == errSecSuccess;
}

} // namespace

@implementation ZLTKeyChainQuery

+ (BOOL)isSynchronizationAvailable {
  return NSFoundationVersionNumber >= kFirstFoundationWithSynchronization;
}

+ (NSError *)errorWithCode:(OSStatus)code {
  if (code == errSecSuccess)
    return nil;
  NSString *const key = [NSString stringWithCString:veltro::error_text_key(code)
                                           encoding:NSUTF8StringEncoding];
  NSString *const text = [[NSBundle mainBundle] localizedStringForKey:key
                                                                value:@""
                                                                table:@"ZLTKeyChain"];
  NSDictionary *const information =
      text != nil ? [NSDictionary dictionaryWithObject:text forKey:NSLocalizedDescriptionKey] : nil;
  return [NSError errorWithDomain:kZLTKeyChainErrorDomain code:code userInfo:information];
}

- (NSMutableDictionary *)query {
  NSMutableDictionary *const query = [NSMutableDictionary dictionaryWithCapacity:3];
  [query setObject:(id)kSecClassGenericPassword forKey:(id)kSecClass];
  if ([self service] != nil)
    [query setObject:[self service] forKey:(id)kSecAttrService];
  if ([self account] != nil)
    [query setObject:[self account] forKey:(id)kSecAttrAccount];
  if ([self accessGroup] != nil)
    [query setObject:[self accessGroup] forKey:(id)kSecAttrAccessGroup];
  // A mode that is none of the three has no value; that the dictionary refuses it is the check.
  if ([[self class] isSynchronizationAvailable])
    [query setObject:synchronizable([self synchronizationMode]) forKey:(id)kSecAttrSynchronizable];
  return query;
}

- (BOOL)save:(NSError **)error {
  if ([self service] == nil || [self account] == nil || [self passwordData] == nil)
    return succeeded(self, ZLTKeyChainErrorBadArguments, error);
  // Mostly there is nothing to delete, which is no failure of the save.
  [self deleteItem:nullptr];
  NSMutableDictionary *const query = [self query];
  [query setObject:[self passwordData] forKey:(id)kSecValueData];
  if ([self label] != nil)
    [query setObject:[self label] forKey:(id)kSecAttrLabel];
  if (const CFTypeRef accessible = [ZLTKeyChain accessibilityType]; accessible != nullptr)
    [query setObject:(id)accessible forKey:(id)kSecAttrAccessible];
  return succeeded(self, SecItemAdd((CFDictionaryRef)query, nullptr), error);
}

- (BOOL)deleteItem:(NSError **)error {
  if ([self service] == nil || [self account] == nil)
    return succeeded(self, ZLTKeyChainErrorBadArguments, error);
  return succeeded(self, SecItemDelete((CFDictionaryRef)[self query]), error);
}

- (BOOL)fetch:(NSError **)error {
  if ([self service] == nil || [self account] == nil)
    return succeeded(self, ZLTKeyChainErrorBadArguments, error);
  NSMutableDictionary *const query = [self query];
  [query setObject:(id)kCFBooleanTrue forKey:(id)kSecReturnData];
  [query setObject:(id)kSecMatchLimitOne forKey:(id)kSecMatchLimit];
  CFTypeRef found = nullptr;
  const OSStatus status = SecItemCopyMatching((CFDictionaryRef)query, &found);
  const veltro::OwnedCF owned(found);
  if (status == errSecSuccess)
    [self setPasswordData:(NSData *)owned.get()];
  return succeeded(self, status, error);
}

- (NSArray *)fetchAll:(NSError **)error {
  NSMutableDictionary *const query = [self query];
  [query setObject:(id)kCFBooleanTrue forKey:(id)kSecReturnAttributes];
  [query setObject:(id)kSecMatchLimitAll forKey:(id)kSecMatchLimit];
  CFTypeRef found = nullptr;
  const OSStatus status = SecItemCopyMatching((CFDictionaryRef)query, &found);
  NSArray *const items = [(NSArray *)found autorelease];
  if (!succeeded(self, status, error) && error != nullptr)
    return nil;
  return items;
}

- (void)setPasswordObject:(id<NSCoding>)object {
  [self setPasswordData:[NSKeyedArchiver archivedDataWithRootObject:object]];
}

- (id<NSCoding>)passwordObject {
  if ([[self passwordData] length] == 0)
    return nil;
  return [NSKeyedUnarchiver unarchiveObjectWithData:[self passwordData]];
}

- (void)setPassword:(NSString *)password {
  [self setPasswordData:[password dataUsingEncoding:NSUTF8StringEncoding]];
}

- (NSString *)password {
  if ([[self passwordData] length] == 0)
    return nil;
  return [[[NSString alloc] initWithData:[self passwordData]
                                encoding:NSUTF8StringEncoding] autorelease];
}

- (void)dealloc {
  [_account release];
  [_service release];
  [_label release];
  [_accessGroup release];
  [_passwordData release];
  [super dealloc];
}

@synthesize account = _account;
@synthesize service = _service;
@synthesize label = _label;
@synthesize accessGroup = _accessGroup;
@synthesize synchronizationMode = _synchronizationMode;
@synthesize passwordData = _passwordData;

@end
