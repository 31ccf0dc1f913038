#include "frameworks/Security/results.hpp"

#include "frameworks/Security/dictionary_parts.hpp"

#include <array>

namespace veltro::host::keychain {
namespace {

NSData *new_data(Secret secret) {
  const std::size_t length = secret.get_deleter().length;
  return [[classes().data alloc] initWithBytesNoCopy:secret.release()
                                              length:length
                                        freeWhenDone:YES];
}

id new_value(Kind kind, const Field &field) {
  switch (kind) {
  case Kind::data:
    return [[classes().data alloc] initWithBytes:field.bytes.data() length:field.bytes.size()];
  case Kind::number:
    return [[classes().number alloc] initWithLongLong:field.integer];
  case Kind::boolean:
  case Kind::synchronizable:
    return [(id)(field.integer != 0 ? kCFBooleanTrue : kCFBooleanFalse) retain];
  case Kind::date:
    return [[classes().date alloc] initWithTimeIntervalSinceReferenceDate:field.real];
  case Kind::text:
  case Kind::accessible:
    break;
  }
  return [[classes().string alloc] initWithBytes:field.bytes.data()
                                          length:field.bytes.size()
                                        encoding:NSUTF8StringEncoding];
}

} // namespace

Results::Results(bool attributes) : last_(attributes ? kAttributes.size() : 0) {}

Results::~Results() {
  for (const Value &value : last_)
    [value.object release];
}

// The rows of one listing mostly have the same group, accessibility and service as the row before.
id Results::value(std::size_t at, const Field &field) {
  Value &last = last_[at];
  if (last.object == nil || last.integer != field.integer || last.real != field.real ||
      last.bytes != field.bytes) {
    [last.object release];
    last.object = new_value(kAttributes[at].kind, field);
    last.integer = field.integer;
    last.real = field.real;
    last.bytes = field.bytes;
  }
  return last.object;
}

void Results::wipe_secret_of(id result) {
  NSData *const secret = [result isKindOfClass:classes().dictionary]
                             ? [result objectForKey:(id)kSecValueData]
                             : (NSData *)result;
  if (secret != nil)
    wipe({static_cast<unsigned char *>(const_cast<void *>([secret bytes])), [secret length]});
}

id Results::new_result(const Fields &fields, Secret secret) {
  NSData *const data = secret ? new_data(std::move(secret)) : nil;
  if (last_.empty())
    return data;
  std::array<id, kAttributes.size() + 1> values;
  std::array<id, kAttributes.size() + 1> keys;
  std::size_t count = 0;
  for (std::size_t at = 0; at < kAttributes.size(); ++at)
    if (fields[at].present()) {
      // An item that was never changed has one date.
      const bool unchanged = at == modified && fields[at].real == fields[created].real;
      keys[count] = (id)*kKeys[at];
      values[count++] = value(unchanged ? created : at, fields[at]);
    }
  if (data != nil) {
    keys[count] = (id)kSecValueData;
    values[count++] = data;
  }
  NSDictionary *const result = [[classes().dictionary alloc] initWithObjects:values.data()
                                                                     forKeys:keys.data()
                                                                       count:count];
  [data release];
  return result;
}

} // namespace veltro::host::keychain
