// libveltro.so without the library: it loads the image for devices that VELTRO_IMAGE names, or else
// the one that `make ios` built beside it, and exports what that exports. Where the image cannot be
// loaded the process says so in one line on standard error and exits with status 2.

#include <VeltroLoader/VeltroLoader.h>

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace {

struct Constant {
  const char *name;
  void **value;
};

} // namespace

// The constants, which have to be writable here: a program may hold a copy of their storage. And
// the symbols by which Linux's linker knows classes, which hold nothing.
#include "exports.inc"

namespace {

[[noreturn]] void refuse(const std::string &reason) {
  (void)std::fprintf(stderr, "libveltro: %s\n", reason.c_str());
  _exit(2);
}

/// The folder of this file is device/SLICE/lib, and that of the image ios/SLICE.
std::string image_path() {
  if (const char *const named = std::getenv("VELTRO_IMAGE"))
    return named;
  Dl_info own{};
  dladdr(reinterpret_cast<const void *>(&image_path), &own);
  const std::filesystem::path folder = std::filesystem::path(own.dli_fname).parent_path();
  return (folder / "../../../ios/" VELTRO_SLICE "/libveltro.dylib").lexically_normal();
}

bool load() {
  const std::string path = image_path();
  char *error = nullptr;
  const VLImage *const image = VLImageLoad(path.c_str(), &error);
  if (!image)
    refuse(error);
  for (const Constant &constant : constants) {
    void *const *const found = static_cast<void **>(VLImageFindSymbol(image, constant.name));
    if (!found)
      refuse(path + ": exports no " + constant.name);
    *constant.value = *found;
  }
  return true;
}

// As this file's last static object: when it is made the platform's shared objects are whole, and
// no code of the program's has run.
[[maybe_unused]] const bool loaded = load();

} // namespace

#ifdef __arm__
// Programs name this library before the C library, but not the loader.
extern "C" const void *__gnu_Unwind_Find_exidx(const void *address, int *count) {
  return VLImageFindUnwindTable(address, count);
}
#endif
