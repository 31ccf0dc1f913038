// The attributes of a generic password, items as values in their order, and queries for them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace veltro::host::keychain {

enum class Kind : std::uint8_t { text, data, number, boolean, date, accessible, synchronizable };

struct Attribute {
  const char *key; ///< of the dictionaries, and the name of the column
  Kind kind;
};

// The order is part of the format: the columns stand in it, and so does the associated data.
inline constexpr std::array<Attribute, 15> kAttributes{{
    {"svce", Kind::text},
    {"acct", Kind::text},
    {"agrp", Kind::text},
    {"sync", Kind::synchronizable},
    {"cdat", Kind::date},
    {"mdat", Kind::date},
    {"pdmn", Kind::accessible},
    {"labl", Kind::text},
    {"desc", Kind::text},
    {"icmt", Kind::text},
    {"gena", Kind::data},
    {"crtr", Kind::number},
    {"type", Kind::number},
    {"invi", Kind::boolean},
    {"nega", Kind::boolean},
}};

enum Index : std::size_t { service, account, group, sync, created, modified, accessible };

/// One value. Text and data are views: of the query's objects, or of the row that a statement
/// stands on.
struct Field {
  enum class Type : std::uint8_t { absent, integer, real, text, data };

  Type type = Type::absent;
  std::int64_t integer = 0;
  double real = 0;
  std::string_view bytes;

  bool operator==(const Field &) const = default;
  [[nodiscard]] bool present() const { return type != Type::absent; }

  static Field of(std::int64_t value) { return {Type::integer, value, 0, {}}; }
  static Field of(double value) { return {Type::real, 0, value, {}}; }
  static Field text(std::string_view value) { return {Type::text, 0, 0, value}; }
  static Field data(std::string_view value) { return {Type::data, 0, 0, value}; }
};

using Fields = std::array<Field, kAttributes.size()>;

/// Which items are meant: those that have every value present in `fields`.
struct Query {
  Fields fields;
  bool any_sync = false;  ///< synchronised or not; else the flag decides, and its absence means no
  std::int64_t limit = 0; ///< 0 for all
};

} // namespace veltro::host::keychain
