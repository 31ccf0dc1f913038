#import <veltro/ZLTKeyChain.h>
#import <veltro/ZLTKeyChainQuery.h>

#include "utils/owned.hpp"

NSString *const kZLTKeyChainErrorDomain = @"com.norvane.veltro";
NSString *const kZLTKeyChainAccountKey = @"acct";
NSString *const kZLTKeyChainCreatedAtKey = @"cdat";
// The label's key on purpose: callers read labels under it.
NSString *const kZLTKeyChainClassKey = @"labl";
NSString *const kZLTKeyChainDescriptionKey = @"desc";
NSString *const kZLTKeyChainLabelKey = @"labl";
NSString *const kZLTKeyChainLastModifiedKey = @"mdat";
NSString *const kZLTKeyChainWhereKey = @"svce";

namespace {

CFTypeRef accessibility = nullptr;

} // namespace

@implementation ZLTKeyChain

+ (NSString *)passwordForService:(NSString *)service account:(NSString *)account {
  return [self passwordForService:service account:account error:nullptr];
}

+ (NSString *)passwordForService:(NSString *)service
                         account:(NSString *)account
                           error:(NSError **)error {
  const veltro::Owned query([[ZLTKeyChainQuery alloc] init]);
  [query.get() setService:service];
  [query.get() setAccount:account];
  [query.get() fetch:error];
  return [query.get() password];
}

+ (BOOL)deletePasswordForService:(NSString *)service account:(NSString *)account {
  return [self deletePasswordForService:service account:account error:nullptr];
}

+ (BOOL)deletePasswordForService:(NSString *)service
                         account:(NSString *)account
                           error:(NSError **)error {
  const veltro::Owned query([[ZLTKeyChainQuery alloc] init]);
  [query.get() setService:service];
  [query.get() setAccount:account];
  return [query.get() deleteItem:error];
}

+ (BOOL)setPassword:(NSString *)password
         forService:(NSString *)service
            account:(NSString *)account {
  return [self setPassword:password forService:service account:account error:nullptr];
}

+ (BOOL)setPassword:(NSString *)password
         forService:(NSString *)service
            account:(NSString *)account
              error:(NSError **)error {
  const veltro::Owned query([[ZLTKeyChainQuery alloc] init]);
  [query.get() setService:service];
  [query.get() setAccount:account];
  [query.get() setPassword:password];
  return [query.get() save:error];
}

+ (NSArray *)allAccounts {
  return [self allAccounts:nullptr];
}

+ (NSArray *)allAccounts:(NSError **)error {
  return [self accountsForService:nil error:error];
}

+ (NSArray *)accountsForService:(NSString *)service {
  return [self accountsForService:service error:nullptr];
}

+ (NSArray *)accountsForService:(NSString *)service error:(NSError **)error {
  const veltro::Owned query([[ZLTKeyChainQuery alloc] init]);
  [query.get() setService:service];
  return [query.get() fetchAll:error];
}

+ (CFStringRef)accessibilityType {
  return static_cast<CFStringRef>(accessibility);
}

+ (void)setAccessibilityType:(CFTypeRef)accessibilityType {
  // Retained first: the value may be the one that is already held.
  CFRetain(accessibilityType);
  if (accessibility != nullptr)
    CFRelease(accessibility);
  accessibility = accessibilityType;
}

@end
