// Objective-C's metadata as compilers write it for the non-fragile runtime; the structures are
// those of the runtime's published sources.

#include "objc_metadata.hpp"

#include "objc_lists.hpp"

#include <set>

namespace veltro::loader::objc {
namespace {

constexpr const char *kClasses = "Objective-C classes";
constexpr const char *kCategories = "Objective-C categories";
constexpr const char *kProtocols = "Objective-C protocols";
constexpr const char *kSelectors = "Objective-C selectors";
constexpr const char *kStrings = "constant strings";
constexpr uint32_t kAsciiString = 0x7c8, kUtf16String = 0x7d0;

class Reader {
public:
  explicit Reader(const Image &image) : image_(image), word_(image.word()), lists_(image) {}

  Metadata read() {
    each("__objc_classlist", kClasses, [&](uint64_t slot) { read_class(slot); });
    order_classes();
    each("__objc_catlist", kCategories, [&](uint64_t slot) { read_category(slot); });
    for (const char *const references : {"__objc_classrefs", "__objc_superrefs"})
      each(references, kClasses, [&](uint64_t slot) { read_class_slot(slot); });
    each("__objc_protorefs", kProtocols, [&](uint64_t slot) {
      found_.protocol_slots.push_back({slot, image_.target(slot, kProtocols)});
      need({found_.protocol_slots.back().target});
    });
    each("__objc_selrefs", kSelectors, [&](uint64_t slot) {
      found_.selectors.push_back({slot, image_.text(image_.target(slot, kSelectors), kSelectors)});
    });
    read_strings();
    read_protocols();
    return std::move(found_);
  }

private:
  /// Calls `read` with the address of each pointer in a section.
  template <class F> void each(std::string_view section, const char *what, F read) {
    for (const Section &found : image_.data_sections(section)) {
      check_slots(found, word_, what);
      for (uint64_t at = 0; at < found.size; at += word_)
        read(found.address + at);
    }
  }

  /// The loader writes into these sections.
  void check_slots(const Section &section, uint64_t size, const char *what) {
    if (section.size % size != 0)
      throw Unloadable(std::string("broken: ") + what + " in a section of half an entry");
    image_.check_data(section.address, section.size, what);
  }

  /// The part of a class's structure that does not change.
  uint64_t constants_of(uint64_t class_address) {
    // Bits below are flags.
    const uint64_t address = image_.target(class_address + 4 * word_, kClasses) & ~(word_ - 1);
    (void)image_.at(address, field(7), kClasses);
    return address;
  }
  /// Where in it the n-th pointer is: three numbers come first, and one more for alignment.
  uint64_t field(uint64_t n) const { return (word_ == 8 ? 16 : 12) + n * word_; }

  void read_class(uint64_t slot) {
    Class found;
    found.address = image_.target(slot, kClasses);
    found.metaclass = image_.target(found.address, kClasses);
    found.superclass = image_.pointer(found.address + word_, kClasses);
    const uint64_t constants = constants_of(found.address);
    const uint64_t of_metaclass = constants_of(found.metaclass);
    found.name = image_.text(image_.target(constants + field(1), kClasses), kClasses);
    if (found.name.empty())
      throw Unloadable("broken: an Objective-C class without a name");
    if (!places_.try_emplace(found.address, found_.classes.size()).second ||
        !names_.insert(found.name).second)
      throw Unloadable("broken: class " + std::string(found.name) + " is there twice");
    metaclasses_.insert(found.metaclass);
    found.methods = lists_.methods(constants + field(2));
    found.protocols = lists_.protocols(constants + field(3));
    found.variables = lists_.variables(constants + field(4));
    found.class_methods = lists_.methods(of_metaclass + field(2));
    need(found.protocols);
    found_.classes.push_back(std::move(found));
  }

  /// Superclasses first, so that each is there when the runtime is told of a class below it.
  void order_classes() {
    std::vector<Class> ordered;
    std::vector<bool> placed(found_.classes.size());
    for (size_t i = 0; i < found_.classes.size(); ++i) {
      std::vector<size_t> chain;
      for (size_t at = i; !placed[at];
           at = place_of(found_.classes[at].superclass.address, kClasses)) {
        if (chain.size() == found_.classes.size())
          throw Unloadable("broken: class " + std::string(found_.classes[i].name) +
                           " is above itself");
        chain.push_back(at);
        if (found_.classes[at].superclass.address == 0)
          break;
      }
      for (; !chain.empty(); chain.pop_back()) {
        placed[chain.back()] = true;
        ordered.push_back(found_.classes[chain.back()]);
      }
    }
    found_.classes = std::move(ordered);
  }

  size_t place_of(uint64_t address, const char *what) {
    const auto place = places_.find(address);
    if (place == places_.end())
      throw Unloadable(std::string("broken: ") + what + " refer to a class that is in no list");
    return place->second;
  }

  void read_category(uint64_t slot) {
    const uint64_t address = image_.target(slot, kCategories);
    Category found;
    found.name = image_.text(image_.target(address, kCategories), kCategories);
    found.on = image_.pointer(address + word_, kCategories);
    if (!found.on)
      throw Unloadable("broken: category " + std::string(found.name) + " on no class");
    if (found.on.address != 0)
      (void)place_of(found.on.address, kCategories);
    found.methods = lists_.methods(address + 2 * word_);
    found.class_methods = lists_.methods(address + 3 * word_);
    found.protocols = lists_.protocols(address + 4 * word_);
    need(found.protocols);
    found_.categories.push_back(std::move(found));
  }

  void read_class_slot(uint64_t slot) {
    const Pointer pointer = image_.pointer(slot, kClasses);
    if (pointer.address == 0)
      return; // what it was bound to
    if (!metaclasses_.contains(pointer.address))
      (void)place_of(pointer.address, kClasses);
    found_.class_slots.push_back({slot, pointer.address});
  }

  void need(const std::vector<uint64_t> &protocols) {
    for (const uint64_t protocol : protocols)
      if (protocol != 0 && found_.protocols.try_emplace(protocol).second)
        pending_.push_back(protocol);
  }

  void read_protocols() {
    while (!pending_.empty()) {
      const uint64_t address = pending_.back();
      pending_.pop_back();
      Protocol found;
      found.name = image_.text(image_.target(address + word_, kProtocols), kProtocols);
      found.parents = lists_.protocols(address + 2 * word_);
      found.methods = lists_.methods(address + 3 * word_, false);
      found.class_methods = lists_.methods(address + 4 * word_, false);
      for (const Method &method : lists_.methods(address + 5 * word_, false))
        found.methods.push_back(method);
      for (const Method &method : lists_.methods(address + 6 * word_, false))
        found.class_methods.push_back(method);
      need(found.parents);
      found_.protocols[address] = std::move(found);
    }
  }

  /// A constant string: its class, flags, characters and length, a word each.
  void read_strings() {
    const uint64_t size = 4 * word_;
    for (const Section &section : image_.data_sections("__cfstring")) {
      check_slots(section, size, kStrings);
      for (uint64_t at = 0; at < section.size; at += size)
        read_string(section.address + at);
    }
  }

  void read_string(uint64_t at) {
    const auto flags = image_.at(at + word_, 4, kStrings).get<uint32_t>(0);
    if (flags != kAsciiString && flags != kUtf16String)
      throw Unloadable("has constant strings of a kind that is not known");
    const ConstantString string{.address = at,
                                .characters = image_.target(at + 2 * word_, kStrings),
                                .length = image_.at(at + 3 * word_, word_, kStrings).word(0, word_),
                                .utf16 = flags == kUtf16String};
    if (string.length > image_.slice().size())
      throw Unloadable("broken: constant strings longer than the image");
    (void)image_.at(string.characters, string.length * (string.utf16 ? 2 : 1), kStrings);
    found_.strings.push_back(string);
  }

  const Image &image_;
  const uint64_t word_;
  Lists lists_;
  Metadata found_;
  std::map<uint64_t, size_t> places_; // of classes, by address, before they are ordered
  std::set<uint64_t> metaclasses_;
  std::set<std::string_view> names_;
  std::vector<uint64_t> pending_; // protocols to read
};

} // namespace

Metadata read_metadata(const Image &image) {
  return Reader(image).read();
}

} // namespace veltro::loader::objc
