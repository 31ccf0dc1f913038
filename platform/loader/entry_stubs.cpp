#include "entry_stubs.hpp"

#include "widening.hpp"

#include <cerrno>
#include <sys/mman.h>

namespace veltro::loader::objc {
namespace {

constexpr uint32_t kNothing = 0xd503201f;    // nop
constexpr uint32_t kLoadTarget = 0x58000051; // ldr x17, of the word behind the next instruction
constexpr uint32_t kJump = 0xd61f0220;       // br x17

} // namespace

EntryStubs::EntryStubs(const Metadata &metadata, const Memory &memory) : memory_(memory) {
  if constexpr (kThisProcessor == Processor::arm64) {
    std::map<Key, std::vector<uint32_t>> stubs;
    const auto collect = [&](const std::vector<Method> &methods) {
      for (const Method &method : methods)
        if (auto code = widening_instructions(method.types); !code.empty())
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
  void *const mapped =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED)
    throw Unloadable(std::string("cannot be entered: ") + std::strerror(errno));
  auto *const code = static_cast<uint32_t *>(mapped);
  std::memcpy(code, all.data(), size);
  __builtin___clear_cache(reinterpret_cast<char *>(code),
                          reinterpret_cast<char *>(code + all.size()));
  if (mprotect(mapped, size, PROT_READ | PROT_EXEC) != 0)
    throw Unloadable(std::string("cannot be entered: ") + std::strerror(errno));
  for (const auto &[key, place] : places)
    stubs_[key] = code + place;
}

void *EntryStubs::entry(const Method &method) const {
  const auto stub = stubs_.find({method.code, method.types});
  return stub != stubs_.end() ? stub->second : memory_.at(method.code);
}

} // namespace veltro::loader::objc
