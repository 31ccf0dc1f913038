#include "entries_arm.hpp"

#ifdef __arm__

#include "crossings_arm.hpp"

namespace veltro::loader {
namespace {

bool is_code(const Header &header, uint64_t address) {
  for (const Section &section : header.sections)
    if (section.segment == "__TEXT" && section.name == "__text" && address >= section.address)
      return address - section.address < section.size;
  return false;
}

} // namespace

void make_exits(std::vector<void *> &imports) {
  Crossings crossings(imports.size());
  for (void *&import : imports)
    import = crossings.out_of_image(import);
  crossings.finish();
}

std::map<uint64_t, void *> make_entries(const Image &image, const Exports &exports,
                                        const Memory &memory) {
  const Header &header = image.header();
  std::vector<uint64_t> kept;
  for (const Section &section : image.data_sections("__const"))
    for (const uint64_t at : image.fixups().rebases)
      if (at - section.address < section.size && is_code(header, image.target(at, "functions")))
        kept.push_back(at);
  Crossings crossings(kept.size() + exports.size());
  for (const uint64_t at : kept)
    memory.put_pointer(at, crossings.into_image(memory.get<uint8_t *>(at)));
  std::map<uint64_t, void *> entries;
  for (const auto &[name, address] : exports)
    if (is_code(header, address))
      entries[address] = crossings.into_image(memory.at(address));
  crossings.finish();
  add_image_code(memory.at(header.start), memory.at(header.end));
  return entries;
}

} // namespace veltro::loader

#endif
