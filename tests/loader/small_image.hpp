#pragma once

#include "platform/loader/contents.hpp"

#include <gtest/gtest.h>

#include <initializer_list>

namespace veltro::test {

using Octets = std::vector<uint8_t>;

template <class T> void append(Octets &to, T value) {
  const auto *const bytes = reinterpret_cast<const uint8_t *>(&value);
  to.insert(to.end(), bytes, bytes + sizeof value);
}

inline void append(Octets &to, std::string_view text, size_t size) {
  to.insert(to.end(), text.begin(), text.end());
  to.resize(to.size() + size - text.size());
}

/// A thin image of three segments, 64 bits wide unless it is narrow(): __TEXT at 0, whose contents
/// come at kText, __DATA at kData, each of 0x1000 bytes, and __LINKEDIT at 0x2000. What is to be
/// broken is broken by way of the members.
struct SmallImage {
  static constexpr uint64_t kText = 0x800, kData = 0x1000, kLink = 0x2000;

  struct Section {
    std::string_view segment, name;
    uint64_t address, size;
    uint32_t flags = 0;
  };

  uint32_t magic = 0xfeedfacf, processor = 0x01000007, subtype = 3, file_type = 6;
  uint32_t text_protection = 5, data_protection = 3, data_flags = 0;
  uint64_t data_size = 0x1000, data_address = kData, link_size = 0x1000;
  // Empty, so that a test names only what it breaks. NOLINTBEGIN(readability-redundant-member-init)
  Octets rebases{}, binds{}, lazy_binds{}, exports{};
  std::vector<Section> sections{};
  std::vector<Octets> commands{}; // besides segments and dyld info
  // NOLINTEND(readability-redundant-member-init)
  Octets contents = Octets(kLink);
  bool wide = true;

  /// One for 32-bit ARM.
  static SmallImage narrow() {
    return {.magic = 0xfeedface, .processor = 12, .subtype = 9, .wide = false};
  }

  template <class T> SmallImage &put(uint64_t address, T value) {
    std::memcpy(&contents.at(address), &value, sizeof value);
    return *this;
  }

  SmallImage &put_word(uint64_t address, uint64_t value) {
    return wide ? put(address, value) : put(address, uint32_t(value));
  }

  SmallImage &put_text(uint64_t address, std::string_view text) {
    std::memcpy(&contents.at(address), text.data(), text.size());
    return *this;
  }

  /// A pointer to another place of the image.
  SmallImage &point(uint64_t from, uint64_t to) {
    put_word(from, to);
    append(rebases, {0x11, 0x21}); // a pointer, in segment 1
    append_uleb(rebases, from - kData);
    append(rebases, {0x51});
    return *this;
  }

  SmallImage &bind(uint64_t from, std::string_view symbol, bool weak = false) {
    append(binds, {0x11, uint8_t(weak ? 0x41 : 0x40)});
    append(binds, symbol, symbol.size() + 1);
    append(binds, {0x51, 0x71});
    append_uleb(binds, from - kData);
    append(binds, {0x90});
    return *this;
  }

  SmallImage &section(Section section) {
    sections.push_back(section);
    return *this;
  }

  Octets bytes() const {
    Octets load;
    put_segment(load, "__TEXT", 0, 0x1000, 0, 0x1000, text_protection, 0);
    put_segment(load, "__DATA", data_address, data_size, kData, 0x1000, data_protection,
                data_flags);
    const uint64_t link = rebases.size() + binds.size() + lazy_binds.size() + exports.size();
    put_segment(load, "__LINKEDIT", kLink, link_size, kLink, link, 1, 0);
    put_dyld_info(load);
    for (const Octets &command : commands)
      load.insert(load.end(), command.begin(), command.end());
    Octets file;
    for (const uint32_t word : {magic, processor, subtype, file_type, uint32_t(4 + commands.size()),
                                uint32_t(load.size()), 0u})
      append(file, word);
    if (wide)
      append(file, 0u);
    file.insert(file.end(), load.begin(), load.end());
    file.insert(file.end(), contents.begin() + ptrdiff_t(file.size()), contents.end());
    for (const Octets *part : {&rebases, &binds, &lazy_binds, &exports})
      file.insert(file.end(), part->begin(), part->end());
    return file;
  }

  static void append(Octets &to, std::initializer_list<uint8_t> bytes) {
    to.insert(to.end(), bytes);
  }
  template <class T> static void append(Octets &to, T value) { test::append(to, value); }
  static void append(Octets &to, std::string_view text, size_t size) {
    test::append(to, text, size);
  }

  static void append_uleb(Octets &to, uint64_t value) {
    for (; value > 0x7f; value >>= 7)
      to.push_back(uint8_t(0x80 | (value & 0x7f)));
    to.push_back(uint8_t(value));
  }

private:
  void append_word(Octets &to, uint64_t value) const {
    if (wide)
      append(to, value);
    else
      append(to, uint32_t(value));
  }

  void put_segment(Octets &to, std::string_view name, uint64_t address, uint64_t size,
                   uint64_t offset, uint64_t file_size, uint32_t protection, uint32_t flags) const {
    Octets own;
    uint32_t count = 0;
    for (const Section &section : sections) {
      if (section.segment != name)
        continue;
      ++count;
      append(own, section.name, 16);
      append(own, section.segment, 16);
      append_word(own, section.address);
      append_word(own, section.size);
      append(own, uint32_t(section.address));
      for (const uint32_t word : {0u, 0u, 0u, section.flags, 0u, 0u})
        append(own, word);
      if (wide)
        append(own, 0u);
    }
    append(to, wide ? 0x19u : 0x1u);
    append(to, uint32_t((wide ? 72 : 56) + own.size()));
    append(to, name, 16);
    for (const uint64_t word : {address, size, offset, file_size})
      append_word(to, word);
    for (const uint32_t word : {protection, protection, count, flags})
      append(to, word);
    to.insert(to.end(), own.begin(), own.end());
  }

  void put_dyld_info(Octets &to) const {
    append(to, 0x80000022u);
    append(to, 48u);
    auto offset = uint32_t(kLink);
    const Octets none;
    for (const Octets *part : {&rebases, &binds, &none, &lazy_binds, &exports}) {
      append(to, offset);
      append(to, uint32_t(part->size()));
      offset += uint32_t(part->size());
    }
  }
};

/// Why the bytes of a file are not loaded; empty if they would be.
inline std::string reason(const Octets &file,
                          loader::Processor processor = loader::Processor::x86_64) {
  try {
    (void)loader::read_contents({file, "the file"}, processor);
    return "";
  } catch (const loader::Unloadable &unloadable) {
    return unloadable.what();
  }
}

inline std::string reason(const SmallImage &image) {
  return reason(image.bytes(), image.wide ? loader::Processor::x86_64 : loader::Processor::armv7);
}

} // namespace veltro::test
