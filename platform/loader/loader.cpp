// The order of things: everything is read and checked before this process is changed, and what can
// still be missing is looked for before the runtime is told of the first class, which it keeps
// for ever.

#include "VeltroLoader/VeltroLoader.h"
#include "call_frames.hpp"
#include "contents.hpp"
#include "entries_arm.hpp"
#include "memory.hpp"
#include "objc_registration.hpp"
#include "symbols.hpp"
#include "variadic_calls.hpp"

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

extern "C" void __register_frame(void *frames); // not of 32-bit ARM's unwinder

struct VLImage {
  veltro::loader::Memory memory;
  veltro::loader::Exports exports;
  std::vector<uint8_t> frames; // the unwinder keeps reading them
  // By address, what this process calls for exported functions where that is not their own code.
  std::map<uint64_t, void *> entries;
};

namespace veltro::loader {
namespace {

/// Images that were loaded, which stay.
struct Loaded {
  std::mutex mutex;
  std::vector<std::unique_ptr<VLImage>> images;
};

Loaded &loaded() {
  // Not destroyed: code of the images may still run while the process ends.
  static auto *const all = new Loaded;
  return *all;
}

void *find_in(const VLImage &image, std::string_view name) {
  const auto found = image.exports.find(name);
  return found != image.exports.end() ? image.memory.at(found->second) : nullptr;
}

void *find_loaded(std::string_view name) {
  for (const auto &image : loaded().images)
    if (void *const found = find_in(*image, name))
      return found;
  return nullptr;
}

std::vector<uint8_t> read_file(const char *path) {
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file < 0)
    throw Unloadable(std::strerror(errno));
  struct stat status{};
  std::vector<uint8_t> bytes;
  ssize_t count = -1;
  if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
    bytes.resize(size_t(status.st_size));
    size_t have = 0;
    while ((count = read(file, bytes.data() + have, bytes.size() - have)) > 0)
      have += size_t(count);
    bytes.resize(have);
  }
  const int error = errno;
  close(file);
  if (!S_ISREG(status.st_mode))
    throw Unloadable("not a file");
  if (count < 0)
    throw Unloadable(std::strerror(error));
  return bytes;
}

std::vector<uint8_t> call_frames(const std::vector<FrameEntry> &entries, const Memory &memory) {
  CallFrameWriter writer(
      kThisProcessor, [&](uint64_t address) { return uint64_t(memory.at(address)); },
      [&](uint64_t address) { return uint64_t(memory.get<uintptr_t>(address)); });
  for (const FrameEntry &entry : entries)
    writer.add(entry);
  return writer.finish();
}

VLImage *load(const char *path) {
  const std::vector<uint8_t> file = read_file(path);
  const std::scoped_lock lock(loaded().mutex);
  Contents contents = read_contents({file, "the file"}, kThisProcessor);
  const Image &image = contents.image;
  const objc::Metadata &metadata = contents.metadata;
  objc::check_variadic_calls(image.fixups().symbols, metadata);

  std::vector<void *> imports = resolve_imports(image.fixups().symbols, find_loaded);
  objc::check_registration(metadata);
  auto result =
      std::unique_ptr<VLImage>(new VLImage{Memory(image), std::move(contents.exports), {}, {}});
  if constexpr (kThisProcessor == Processor::armv7)
    make_exits(imports);
  Memory &memory = result->memory;
  memory.rebase(image.fixups().rebases);
  for (const Bind &bind : image.fixups().binds) {
    const auto target = reinterpret_cast<uintptr_t>(imports[bind.symbol]);
    memory.put(bind.address, target != 0 ? target + uintptr_t(bind.addend) : 0);
  }
  if constexpr (kThisProcessor == Processor::armv7)
    result->entries = make_entries(image, result->exports, memory);
  result->frames = call_frames(contents.frames, memory);

  objc::register_metadata(metadata, memory);
  memory.protect_constants(image.header());
  if constexpr (kThisProcessor != Processor::armv7)
    __register_frame(result->frames.data());
  memory.keep();
  loaded().images.push_back(std::move(result));
  return loaded().images.back().get();
}

} // namespace
} // namespace veltro::loader

VLImage *VLImageLoad(const char *path, char **error) {
  try {
    return veltro::loader::load(path);
  } catch (const std::exception &reason) {
    if (error)
      *error = strdup((std::string(path) + ": " + reason.what()).c_str());
    return nullptr;
  }
}

void *VLImageFindSymbol(const VLImage *image, const char *name) {
  const auto found = image->exports.find("_" + std::string(name));
  if (found == image->exports.end())
    return nullptr;
  const auto entry = image->entries.find(found->second);
  return entry != image->entries.end() ? entry->second : image->memory.at(found->second);
}
