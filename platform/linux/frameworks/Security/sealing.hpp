// Sealing of secrets with libsodium: XChaCha20-Poly1305 with a random nonce an item and the item's
// attributes as associated data, so that a secret opens in its own row only. The attributes carry
// a keyed checksum of their own, for listings, which open no secret.
#pragma once

#include "frameworks/Security/attributes.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace veltro::host::keychain {

inline constexpr std::size_t master_key_length = 32;
using MasterKey = std::array<unsigned char, master_key_length>;
using Checksum = std::array<unsigned char, 16>;

/// The working keys that come of one master key; wiped when the object goes away.
class Keys {
public:
  explicit Keys(const MasterKey &master);
  ~Keys();
  Keys(const Keys &) = delete;
  Keys &operator=(const Keys &) = delete;

  std::array<unsigned char, 32> secrets;
  std::array<unsigned char, 16> attributes;
};

/// The bytes of a secret outside the store; wiped when the object goes away.
class Secret {
public:
  Secret() = default;
  explicit Secret(std::size_t length);
  ~Secret();
  Secret(Secret &&other) noexcept;
  Secret &operator=(Secret &&other) noexcept;
  Secret(const Secret &) = delete;
  Secret &operator=(const Secret &) = delete;

  [[nodiscard]] unsigned char *bytes() const { return bytes_; }
  [[nodiscard]] std::size_t length() const { return length_; }
  [[nodiscard]] std::string_view view() const;
  /// Whether there was memory for it.
  explicit operator bool() const { return bytes_ != nullptr; }

  /// Gives the bytes to the caller, who frees them with free().
  [[nodiscard]] unsigned char *take();

private:
  unsigned char *bytes_ = nullptr;
  std::size_t length_ = 0;
};

/// Makes libsodium ready; false where it cannot be.
bool sealing_is_ready();

/// A new master key.
MasterKey new_master_key();

/// Overwrites `bytes`, also where nobody reads them again.
void wipe(std::span<unsigned char> bytes);

/// Replaces `out` by the attributes in the form that secrets are bound to.
void write_bound_form(const Fields &fields, std::string &out);

/// The attributes that such a form was made of, as views of it.
Fields fields_of_bound_form(std::string_view bound);

Checksum checksum_of(const Keys &keys, std::string_view bound);

/// Whether the attributes are those that were stored: by their checksum or, where that suffered
/// itself, by the secret, which is bound to them.
bool are_as_stored(const Keys &keys, std::string_view bound, std::string_view checksum,
                   std::string_view sealed);

/// Replaces `out` by `secret`, sealed.
void seal(const Keys &keys, std::string_view bound, std::string_view secret, std::string &out);

/// The secret, or an empty object where `sealed` was not sealed with these keys and attributes.
Secret open(const Keys &keys, std::string_view bound, std::string_view sealed);

} // namespace veltro::host::keychain
