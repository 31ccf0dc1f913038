#include "crossings_arm.hpp"

#ifdef __arm__

#include "code_memory.hpp"
#include "message_send.hpp"
#include "word_lists_arm.hpp"

#include <dlfcn.h>
#include <link.h>

namespace veltro::loader {
namespace {

constexpr uint32_t kLoadCrossing = 0xe59fc000; // ldr r12, of the word behind the next instruction
constexpr uint32_t kLoadWay = 0xe59ff000;      // ldr pc, of the word behind that one
constexpr size_t kPlace = 6; // words: both instructions, what they load, the crossing

/// Whether the address lies in code of a shared object or the program.
bool is_linux_code(const void *address) {
  struct Search {
    uintptr_t address;
    bool found;
  } search{reinterpret_cast<uintptr_t>(address), false};
  dl_iterate_phdr(
      [](dl_phdr_info *info, size_t, void *data) {
        auto &wanted = *static_cast<Search *>(data);
        for (int i = 0; i < info->dlpi_phnum; ++i) {
          const ElfW(Phdr) &part = info->dlpi_phdr[i];
          if (part.p_type == PT_LOAD && (part.p_flags & PF_X) &&
              wanted.address - (info->dlpi_addr + part.p_vaddr) < part.p_memsz)
            wanted.found = true;
        }
        return int(wanted.found);
      },
      &search);
  if (!search.found)
    return false;
  // Linkers may put constants into the segment of the code.
  Dl_info info{};
  void *symbol = nullptr;
  return dladdr1(address, &info, &symbol, RTLD_DL_SYMENT) == 0 || !symbol ||
         info.dli_saddr != address ||
         ELF32_ST_TYPE(static_cast<const ElfW(Sym) *>(symbol)->st_info) != STT_OBJECT;
}

bool is_for_images(const void *function) {
  for (const auto known : {veltro_loader_send, veltro_loader_send_super,
                           veltro_loader_send_structure, veltro_loader_send_super_structure})
    if (function == reinterpret_cast<const void *>(known))
      return true;
  return false;
}

} // namespace

Crossings::Crossings(size_t most) : size_(most * kPlace * sizeof(uint32_t)) {
  if (size_ > 0)
    start_ = next_ = static_cast<uint32_t *>(map_code(size_));
}

void *Crossings::add(void *code, const void *words, void (*way)()) {
  uint32_t *const place = next_;
  next_ += kPlace;
  place[0] = kLoadCrossing;
  place[1] = kLoadWay;
  place[2] = uint32_t(reinterpret_cast<uintptr_t>(place + 4));
  place[3] = uint32_t(reinterpret_cast<uintptr_t>(way));
  place[4] = uint32_t(reinterpret_cast<uintptr_t>(code));
  place[5] = uint32_t(reinterpret_cast<uintptr_t>(words));
  return place;
}

void *Crossings::into_image(void *code, std::string_view types) {
  return add(code, objc::words_into_image(types), veltro_loader_enter);
}

void *Crossings::out_of_image(void *function) {
  if (!function || is_for_images(function) || !is_linux_code(function))
    return function;
  return add(function, objc::words_out_of_image({}), veltro_loader_leave);
}

void Crossings::finish() {
  if (size_ > 0)
    protect_code(start_, size_);
}

} // namespace veltro::loader

#endif
