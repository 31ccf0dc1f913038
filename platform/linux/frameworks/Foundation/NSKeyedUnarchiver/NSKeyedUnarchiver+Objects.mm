// What NSKeyedUnarchiver makes of one object of the archive, where GNUstep differs from the device.
//
// - requiresSecureCoding is enforced before the object is made: its class must be asked for, or
//   inherit from one that is, and must support secure coding. A key decoded without naming classes
//   may hold those of the key that the object itself stands under. Two exceptions: a collection's
//   elements may be property list objects also where only the collection was named, and
//   Foundation's other classes, which on the device name those of their parts, may have any of
//   Foundation's.
// - The text "$null" is not taken for the null reference.
//
// Follows Apple's references of NSKeyedUnarchiver and NSSecureCoding. Left out: the delegate's
// substitutes are not checked, and the failure policy that returns errors by itself.

#import "frameworks/Foundation/NSKeyedArchiver/secure_coding.hpp"
#include "frameworks/Foundation/replace_method.hpp"

#include <utility>

namespace {

using veltro::host::replace_method;

/// What the key that is being decoded may hold. Keys nest as the objects do.
struct Expectation {
  NSKeyedUnarchiver *coder = nil;
  NSString *key = nil;         ///< the key that classes were named for
  NSSet *classes = nil;        ///< the classes asked for; nil where any will do
  bool elements = false;       ///< the key holds a collection's elements
  bool parts = false;          ///< the key holds a part of an object of Foundation's
  NSUInteger class_record = 0; ///< the archive's record of the class of the object being made
};

thread_local Expectation innermost;

/// Puts an expectation on top while a key or an object is decoded, also when that raises.
class Expecting {
public:
  explicit Expecting(const Expectation &inner) : outer_(std::exchange(innermost, inner)) {}
  ~Expecting() { innermost = outer_; }
  Expecting(const Expecting &) = delete;
  Expecting &operator=(const Expecting &) = delete;

private:
  const Expectation outer_;
};

/// What holds for the next object of `coder`.
Expectation current(NSKeyedUnarchiver *coder) {
  return innermost.coder == coder ? innermost : Expectation{.coder = coder};
}

/// The record of that number in the archive, or nil.
id record_at(NSKeyedUnarchiver *coder, NSUInteger index) {
  static const Ivar objects = class_getInstanceVariable([NSKeyedUnarchiver class], "_objects");
  NSArray *const records = object_getIvar(coder, objects);
  return index < [records count] ? [records objectAtIndex:index] : nil;
}

id field(id record, NSString *name) {
  return [record isKindOfClass:[NSDictionary class]] ? [record objectForKey:name] : nil;
}

/// The record that `field` of the record refers to, or NSNotFound.
NSUInteger reference(id record, NSString *name) {
  const id number = field(field(record, name), @"CF$UID");
  return [number isKindOfClass:[NSNumber class]] ? [number unsignedIntegerValue] : NSNotFound;
}

/// The property list class that `found` inherits from; Nil where there is none.
Class property_list_class(Class found) {
  const Class classes[] = {[NSString class], [NSNumber class], [NSDate class],
                           [NSData class],   [NSArray class],  [NSDictionary class]};
  for (const Class candidate : classes)
    if ([found isSubclassOfClass:candidate])
      return candidate;
  return Nil;
}

/// The class of the object that `record` describes; Nil for a class that is not known here.
Class class_of(NSKeyedUnarchiver *coder, id record) {
  const id description = record_at(coder, reference(record, @"$class"));
  if (description == nil)
    return property_list_class([record class]);
  const id name = field(description, @"$classname");
  if (![name isKindOfClass:[NSString class]])
    return Nil;
  Class found = [coder classForClassName:name];
  if (found == Nil)
    found = [NSKeyedUnarchiver classForClassName:name];
  return found != Nil ? found : NSClassFromString(name);
}

bool is_expected(Class found, const Expectation &expectation) {
  if (expectation.classes == nil || (expectation.elements && property_list_class(found) != Nil) ||
      (expectation.parts && veltro::host::foundation_decodes(found)))
    return true;
  for (const Class expected in expectation.classes)
    if ([found isSubclassOfClass:expected])
      return true;
  return false;
}

void check(Class found, const Expectation &expectation) {
  // A class that is not known here is the unarchiver's own matter.
  if (found == Nil)
    return;
  if (!is_expected(found, expectation))
    [NSException raise:NSInvalidUnarchiveOperationException
                format:@"Key %@ holds an object of class '%@' and not of those asked for, %@.",
                       expectation.key, found, [expectation.classes allObjects]];
  if (!veltro::host::supports_secure_coding(found))
    [NSException raise:NSInvalidUnarchiveOperationException
                format:@"Secure coding is required and class '%@' does not support it.", found];
}

id (*decode_object)(id, SEL, unsigned);
id (*decode_elements)(id, SEL, NSString *);

id decode_checked(NSKeyedUnarchiver *self, SEL selector, unsigned index) {
  Expectation expectation = current(self);
  if (index != 0 && index == expectation.class_record)
    return decode_object(self, selector, index);

  const id record = record_at(self, index);
  Class found = Nil;
  if (index != 0 && record != nil) {
    if (field(record, @"$classname") != nil)
      [NSException raise:NSInvalidUnarchiveOperationException
                  format:@"A class stands where an object is asked for."];
    found = class_of(self, record);
    check(found, expectation);
  }

  expectation.class_record = reference(record, @"$class");
  expectation.elements = false;
  expectation.parts = found != Nil && veltro::host::foundation_decodes(found);
  const Expecting inside(expectation);
  return decode_object(self, selector, index);
}

/// The text "$null" where the record is an object that holds it, which GNUstep returns nil for.
id null_text(NSKeyedUnarchiver *coder, unsigned index) {
  const id record = record_at(coder, index);
  const id text = field(record, @"NS.string");
  if (![text isKindOfClass:[NSString class]] ||
      ![class_of(coder, record) isSubclassOfClass:[NSString class]])
    return nil;
  return [[[class_of(coder, record) alloc] initWithString:text] autorelease];
}

id decode(id self, SEL selector, unsigned index) {
  const id object = [self requiresSecureCoding] ? decode_checked(self, selector, index)
                                                : decode_object(self, selector, index);
  return object != nil ? object : null_text(self, index);
}

id decode_elements_checked(id self, SEL selector, NSString *key) {
  Expectation expectation = current(self);
  expectation.elements = true;
  expectation.parts = false;
  const Expecting inside(expectation);
  return decode_elements(self, selector, key);
}

} // namespace

VH_AT_LOAD(VHObjectDecoding) {
  const Class unarchiver = objc_getClass("NSKeyedUnarchiver");
  decode_object = replace_method(unarchiver, "_decodeObject:", decode);
  decode_elements =
      replace_method(unarchiver, "_decodeArrayOfObjectsForKey:", decode_elements_checked);
}

@implementation NSKeyedUnarchiver (VHExpectedClasses)

- (id)decodeObjectOfClass:(Class)expected forKey:(NSString *)key {
  if (![self requiresSecureCoding])
    return [self decodeObjectForKey:key];
  return [self decodeObjectOfClasses:[NSSet setWithObject:expected] forKey:key];
}

- (id)decodeObjectOfClasses:(NSSet *)expected forKey:(NSString *)key {
  if (![self requiresSecureCoding])
    return [self decodeObjectForKey:key];
  NSSet *const classes = expected != nil ? expected : [NSSet set];
  const Expecting inside({.coder = self, .key = key, .classes = classes});
  return [self decodeObjectForKey:key];
}

@end
