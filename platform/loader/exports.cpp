// The trie of exports, as published in <mach-o/loader.h>: a node holds what is exported under the
// text on the way to it, and the edges that lead on from there.

#include "exports.hpp"

#include <set>

namespace veltro::loader {
namespace {

enum Flags : uint64_t { kKind = 0x3, kRegular = 0x0, kReexport = 0x8, kResolver = 0x10 };
constexpr size_t kLongestName = 4096;

struct Node {
  uint64_t offset;
  std::string name;
};

} // namespace

Exports read_exports(const Image &image) {
  const Bytes trie = image.header().exports;
  Exports exports;
  std::set<uint64_t> seen;
  std::vector<Node> pending;
  if (trie.size() > 0)
    pending.push_back({0, ""});
  while (!pending.empty()) {
    const Node node = std::move(pending.back());
    pending.pop_back();
    if (!seen.insert(node.offset).second)
      throw Unloadable("broken: two ways to one node of the exports");
    Cursor at(trie, node.offset);
    const uint64_t size = at.uleb();
    if (size > trie.size() - at.offset())
      trie.ends_too_early();
    const uint64_t edges = at.offset() + size;
    if (size > 0) {
      const uint64_t flags = at.uleb();
      if (flags & (kReexport | kResolver) || (flags & kKind) != kRegular)
        throw Unloadable("exports " + node.name + " as what is no function or variable of its own");
      const uint64_t value = at.uleb();
      if (value >= image.header().end - image.header().start)
        throw Unloadable("broken: " + node.name + " is exported from outside of the image");
      exports[node.name] = image.header().start + value;
    }
    at = Cursor(trie, edges);
    for (unsigned left = at.byte(); left > 0; --left) {
      const std::string_view edge = at.text();
      if (node.name.size() + edge.size() > kLongestName)
        throw Unloadable("broken: an exported name of more than 4096 characters");
      pending.push_back({at.uleb(), node.name + std::string(edge)});
    }
  }
  return exports;
}

} // namespace veltro::loader
