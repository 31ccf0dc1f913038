// Follows libsodium's documentation of crypto_aead_xchacha20poly1305_ietf and crypto_kdf.

#include "frameworks/Security/sealing.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sodium.h>
#include <utility>

namespace veltro::host::keychain {
namespace {

// A sealed secret: this byte, the nonce, and the encrypted secret with its tag.
constexpr char kSealedForm = 1;
constexpr std::size_t kNonceLength = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr std::size_t kTagLength = crypto_aead_xchacha20poly1305_ietf_ABYTES;
constexpr std::size_t kSealedExtra = 1 + kNonceLength + kTagLength;

static_assert(kMasterKeyLength == crypto_kdf_KEYBYTES);

const unsigned char *bytes_of(std::string_view text) {
  return reinterpret_cast<const unsigned char *>(text.data());
}

template <typename Number> void append_number(std::string &out, Field::Type type, Number number) {
  std::array<char, 1 + sizeof number> raw{static_cast<char>(type)};
  std::memcpy(&raw[1], &number, sizeof number);
  out.append(raw.data(), raw.size());
}

std::string associated_data(const Fields &fields) {
  std::string out;
  out.reserve(256); // enough for most
  for (const Field &field : fields)
    switch (field.type) {
    case Field::Type::absent:
      out += static_cast<char>(field.type);
      break;
    case Field::Type::integer:
      append_number(out, field.type, field.integer);
      break;
    case Field::Type::real:
      append_number(out, field.type, field.real);
      break;
    case Field::Type::text:
    case Field::Type::data:
      append_number(out, field.type, static_cast<std::uint64_t>(field.bytes.size()));
      out += field.bytes;
      break;
    }
  return out;
}

/// Never empty, so that it is told from none.
Secret new_secret(std::size_t length) {
  auto *const bytes = static_cast<unsigned char *>(std::malloc(std::max<std::size_t>(length, 1)));
  if (bytes == nullptr)
    throw std::bad_alloc();
  return {bytes, {length}};
}

} // namespace

void wipe(std::span<unsigned char> bytes) {
  sodium_memzero(bytes.data(), bytes.size());
}

SealingKey::SealingKey(std::span<const unsigned char, kMasterKeyLength> master) {
  crypto_kdf_derive_from_key(bytes.data(), bytes.size(), 1, "keychain", master.data());
}

SealingKey::~SealingKey() {
  wipe(bytes);
}

void WipeAndFree::operator()(unsigned char *bytes) const {
  wipe({bytes, length});
  std::free(bytes);
}

Secret secret_of(std::string_view bytes) {
  Secret secret = new_secret(bytes.size());
  std::ranges::copy(bytes, secret.get());
  return secret;
}

std::string seal(const SealingKey &key, const Fields &fields, std::string_view secret) {
  const std::string attributes = associated_data(fields);
  std::string sealed(kSealedExtra + secret.size(), kSealedForm); // the rest is written over
  auto *const nonce = reinterpret_cast<unsigned char *>(sealed.data()) + 1;
  randombytes_buf(nonce, kNonceLength);
  crypto_aead_xchacha20poly1305_ietf_encrypt(nonce + kNonceLength, nullptr, bytes_of(secret),
                                             secret.size(), bytes_of(attributes), attributes.size(),
                                             nullptr, nonce, key.bytes.data());
  return sealed;
}

bool unseal(const SealingKey &key, const Fields &fields, std::string_view sealed, Secret *secret) {
  if (sealed.size() < kSealedExtra || sealed.front() != kSealedForm)
    return false;
  const std::string attributes = associated_data(fields);
  const unsigned char *const nonce = bytes_of(sealed) + 1;
  const unsigned char *const encrypted = nonce + kNonceLength;
  const std::size_t length = sealed.size() - kSealedExtra;
  Secret plain = secret != nullptr ? new_secret(length) : Secret();
  // With nowhere to decrypt to, libsodium only verifies the tag.
  if (crypto_aead_xchacha20poly1305_ietf_decrypt_detached(
          plain.get(), nullptr, encrypted, length, encrypted + length, bytes_of(attributes),
          attributes.size(), nonce, key.bytes.data()) != 0)
    return false;
  if (secret != nullptr)
    *secret = std::move(plain);
  return true;
}

} // namespace veltro::host::keychain
