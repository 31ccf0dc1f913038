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

} // namespace

Results::Results(bool data, bool attributes)
    : data_(data), attributes_(attributes), last_(attributes ? kAttributes.size() : 0) {}

Results::~Results() {
  for (const Shared &value : last_)
    [value.object release];
}

id Results::new_value(std::size_t at, const Field &field) {
  switch (kAttributes[at].kind) {
  case Kind::data:
    return [[classes().data alloc] initWithBytes:field.bytes.data() length:field.bytes.size()];
  case Kind::number:
    return [[classes().number alloc] initWithLongLong:field.integer];
  case Kind::boolean:
  case Kind::synchronizable:
    return [(id)(field.integer != 0 ? kCFBooleanTrue : kCFBooleanFalse) retain];
  case Kind::date:
    return shared(created, field); // an item that was never changed has one date
  case Kind::text:
  case Kind::accessible:
    break;
  }
  return shared(at, field);
}

// The rows of one listing mostly have the same group, accessibility and service as the row before.
id Results::shared(std::size_t at, const Field &field) {
  Shared &last = last_[at];
  if (last.object == nil || last.bytes != field.bytes || last.real != field.real) {
    [last.object release];
    last.object = field.type == Field::Type::real
                      ? [[classes().date alloc] initWithTimeIntervalSinceReferenceDate:field.real]
                      : [[classes().string alloc] initWithBytes:field.bytes.data()
                                                         length:field.bytes.size()
                                                       encoding:NSUTF8StringEncoding];
    last.bytes = field.bytes;
    last.real = field.real;
  }
  return [last.object retain];
}

void Results::wipe_secret_of(id result) {
  NSData *const secret = [result isKindOfClass:classes().dictionary]
                             ? [result objectForKey:(id)kSecValueData]
                             : (NSData *)result;
  if (secret != nil)
    wipe({static_cast<unsigned char *>(const_cast<void *>([secret bytes])), [secret length]});
}

id Results::new_result(const Fields &fields, Secret secret) {
  if (!attributes_)
    return new_data(std::move(secret));
  std::array<id, kAttributes.size() + 1> values;
  std::array<id, kAttributes.size() + 1> keys;
  std::size_t count = 0;
  for (std::size_t at = 0; at < kAttributes.size(); ++at)
    if (fields[at].present()) {
      keys[count] = (id)*kKeys[at];
      values[count++] = new_value(at, fields[at]);
    }
  if (data_) {
    keys[count] = (id)kSecValueData;
    values[count++] = new_data(std::move(secret));
  }
  NSDictionary *const result = [[classes().dictionary alloc] initWithObjects:values.data()
                                                                     forKeys:keys.data()
                                                                       count:count];
  for (std::size_t at = 0; at < count; ++at)
    [values[at] release];
  return result;
}

} // namespace veltro::host::keychain
