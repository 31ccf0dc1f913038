// Follows libsodium's documentation of crypto_aead_xchacha20poly1305_ietf, crypto_kdf and
// crypto_shorthash_siphashx24.

#include "frameworks/Security/sealing.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sodium.h>
#include <utility>

namespace veltro::host::keychain {
namespace {

constexpr unsigned char sealed_form = 1;
constexpr std::size_t nonce_length = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr std::size_t tag_length = crypto_aead_xchacha20poly1305_ietf_ABYTES;
constexpr std::size_t sealed_extra = 1 + nonce_length + tag_length;

static_assert(master_key_length == crypto_kdf_KEYBYTES);
static_assert(sizeof(Checksum) == crypto_shorthash_siphashx24_BYTES);

const unsigned char *bytes_of(std::string_view text) {
  return reinterpret_cast<const unsigned char *>(text.data());
}

template <typename Number> void append_number(std::string &out, Number number) {
  std::array<char, sizeof number> raw{};
  std::memcpy(raw.data(), &number, sizeof number);
  out.append(raw.data(), raw.size());
}

template <typename Number> void take_number(std::string_view &in, Number &number) {
  in.copy(reinterpret_cast<char *>(&number), sizeof number);
  in.remove_prefix(sizeof number);
}

} // namespace

bool sealing_is_ready() {
  return sodium_init() >= 0;
}

MasterKey new_master_key() {
  MasterKey key;
  randombytes_buf(key.data(), key.size());
  return key;
}

void wipe(std::span<unsigned char> bytes) {
  sodium_memzero(bytes.data(), bytes.size());
}

Keys::Keys(const MasterKey &master) {
  crypto_kdf_derive_from_key(secrets.data(), secrets.size(), 1, "keychain", master.data());
  crypto_kdf_derive_from_key(attributes.data(), attributes.size(), 2, "keychain", master.data());
}

Keys::~Keys() {
  sodium_memzero(secrets.data(), secrets.size());
  sodium_memzero(attributes.data(), attributes.size());
}

Secret::Secret(std::size_t length)
    : bytes_(static_cast<unsigned char *>(std::malloc(std::max<std::size_t>(length, 1)))),
      length_(bytes_ != nullptr ? length : 0) {}

Secret::Secret(Secret &&other) noexcept
    : bytes_(std::exchange(other.bytes_, nullptr)), length_(std::exchange(other.length_, 0)) {}

Secret &Secret::operator=(Secret &&other) noexcept {
  std::swap(bytes_, other.bytes_);
  std::swap(length_, other.length_);
  return *this;
}

Secret::~Secret() {
  if (bytes_ != nullptr)
    sodium_memzero(bytes_, length_);
  std::free(bytes_);
}

std::string_view Secret::view() const {
  return {reinterpret_cast<const char *>(bytes_), length_};
}

unsigned char *Secret::take() {
  length_ = 0;
  return std::exchange(bytes_, nullptr);
}

void write_bound_form(const Fields &fields, std::string &out) {
  out.clear();
  for (const Field &field : fields) {
    out += static_cast<char>(field.type);
    switch (field.type) {
    case Field::Type::absent:
      break;
    case Field::Type::integer:
      append_number(out, field.integer);
      break;
    case Field::Type::real:
      append_number(out, field.real);
      break;
    case Field::Type::text:
    case Field::Type::data:
      append_number(out, static_cast<std::uint64_t>(field.bytes.size()));
      out += field.bytes;
      break;
    }
  }
}

Fields fields_of_bound_form(std::string_view bound) {
  Fields fields;
  for (Field &field : fields) {
    field.type = static_cast<Field::Type>(bound.front());
    bound.remove_prefix(1);
    std::uint64_t length = 0;
    switch (field.type) {
    case Field::Type::absent:
      break;
    case Field::Type::integer:
      take_number(bound, field.integer);
      break;
    case Field::Type::real:
      take_number(bound, field.real);
      break;
    case Field::Type::text:
    case Field::Type::data:
      take_number(bound, length);
      field.bytes = bound.substr(0, length);
      bound.remove_prefix(length);
      break;
    }
  }
  return fields;
}

Checksum checksum_of(const Keys &keys, std::string_view bound) {
  Checksum checksum;
  crypto_shorthash_siphashx24(checksum.data(), bytes_of(bound), bound.size(),
                              keys.attributes.data());
  return checksum;
}

void seal(const Keys &keys, std::string_view bound, std::string_view secret, std::string &out) {
  out.resize(sealed_extra + secret.size());
  auto *const form = reinterpret_cast<unsigned char *>(out.data());
  unsigned char *const nonce = form + 1;
  *form = sealed_form;
  randombytes_buf(nonce, nonce_length);
  crypto_aead_xchacha20poly1305_ietf_encrypt(nonce + nonce_length, nullptr, bytes_of(secret),
                                             secret.size(), bytes_of(bound), bound.size(), nullptr,
                                             nonce, keys.secrets.data());
}

Secret open(const Keys &keys, std::string_view bound, std::string_view sealed) {
  if (sealed.size() < sealed_extra || sealed.front() != sealed_form)
    return {};
  const unsigned char *const nonce = bytes_of(sealed) + 1;
  const std::size_t length = sealed.size() - sealed_extra;
  Secret secret(length);
  if (!secret || crypto_aead_xchacha20poly1305_ietf_decrypt(
                     secret.bytes(), nullptr, nullptr, nonce + nonce_length, length + tag_length,
                     bytes_of(bound), bound.size(), nonce, keys.secrets.data()) != 0)
    return {};
  return secret;
}

bool are_as_stored(const Keys &keys, std::string_view bound, std::string_view checksum,
                   std::string_view sealed) {
  const Checksum right = checksum_of(keys, bound);
  return (checksum.size() == right.size() &&
          sodium_memcmp(checksum.data(), right.data(), right.size()) == 0) ||
         open(keys, bound, sealed);
}

} // namespace veltro::host::keychain
