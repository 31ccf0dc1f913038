#include "entry_stubs.hpp"

#include "code_memory.hpp"
#include "crossings_arm.hpp"
#include "widening.hpp"

namespace veltro::loader::objc {
namespace {

constexpr uint32_t kNothing = 0xd503201f;    // nop
constexpr uint32_t kLoadTarget = 0x58000051; // ldr x17, of the word behind the next instruction
constexpr uint32_t kJump = 0xd61f0220;       // br x17

} // namespace

EntryStubs::EntryStubs(const Metadata &metadata, const Memory &memory) : memory_(memory) {
  if constexpr (kThisProcessor == Processor::x86_64)
    return;
  std::map<Key, std::vector<uint32_t>> stubs;
  const auto collect = [&](const std::vector<Method> &methods) {
    for (const Method &method : methods)
      if constexpr (kThisProcessor == Processor::armv7)
        stubs[{method.code, method.types}];
      else if (auto code = widening_instructions(method.types); !code.empty())
        stubs[{method.code, method.types}] = std::move(code);
  };
  const auto collect_all = [&](const auto &owners) {
    for (const auto &owner : owners) {
      collect(owner.methods);
      collect(owner.class_methods);
    }
  };
  collect_all(metadata.classes);
  collect_all(metadata.categories);
  if constexpr (kThisProcessor == Processor::armv7) {
    Crossings crossings(stubs.size());
    for (const auto &[key, none] : stubs)
      stubs_[key] = crossings.into_image(memory_.at(key.first), key.second);
    crossings.finish();
  } else {
    write(stubs);
  }
}

void EntryStubs::write(const std::map<Key, std::vector<uint32_t>> &stubs) {
  std::vector<uint32_t> all;
  std::map<Key, size_t> places;
  for (const auto &[key, instructions] : stubs) {
    places[key] = all.size();
    all.insert(all.end(), instructions.begin(), instructions.end());
    if (all.size() % 2 != 0)
      all.push_back(kNothing); // the target is aligned to its size
    all.push_back(kLoadTarget);
    all.push_back(kJump);
    const auto target = uint64_t(memory_.at(key.first));
    all.push_back(uint32_t(target));
    all.push_back(uint32_t(target >> 32));
  }
  if (all.empty())
    return;
  const size_t size = all.size() * sizeof all[0];
  auto *const code = static_cast<uint32_t *>(map_code(size));
  std::memcpy(code, all.data(), size);
  protect_code(code, size);
  for (const auto &[key, place] : places)
    stubs_[key] = code + place;
}

void *EntryStubs::entry(const Method &method) const {
  const auto stub = stubs_.find({method.code, method.types});
  return stub != stubs_.end() ? stub->second : memory_.at(method.code);
}

} // namespace veltro::loader::objc
