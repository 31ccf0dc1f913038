// Sealing of secrets with libsodium: XChaCha20-Poly1305 with a random nonce an item and the item's
// attributes as associated data, so that a secret unseals in its own row only and the tag also
// tells whether the attributes are those that were stored.
#pragma once

#include "frameworks/Security/attributes.hpp"

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace veltro::host::keychain {

inline constexpr std::size_t kMasterKeyLength = 32;
using MasterKey = std::array<unsigned char, kMasterKeyLength>;

/// The key for secrets, derived from a master key; wiped when the object goes away.
class SealingKey {
public:
  explicit SealingKey(std::span<const unsigned char, kMasterKeyLength> master);
  ~SealingKey();
  SealingKey(const SealingKey &) = delete;
  SealingKey &operator=(const SealingKey &) = delete;

  std::array<unsigned char, 32> bytes;
};

/// The bytes of a secret outside the database, which are wiped when they go. Who releases them
/// frees them with free().
struct WipeAndFree {
  std::size_t length = 0;
  void operator()(unsigned char *bytes) const;
};
using Secret = std::unique_ptr<unsigned char, WipeAndFree>;

/// A copy of `bytes`.
Secret secret_of(std::string_view bytes);

/// Overwrites `bytes`, also where nobody reads them again.
void wipe(std::span<unsigned char> bytes);

/// `secret`, sealed for an item with these attributes.
std::string seal(const SealingKey &key, const Fields &fields, std::string_view secret);

/// Whether `sealed` was made with this key and these attributes; its secret then goes to `secret`.
/// Where that is null the secret stays sealed.
bool unseal(const SealingKey &key, const Fields &fields, std::string_view sealed, Secret *secret);

} // namespace veltro::host::keychain
