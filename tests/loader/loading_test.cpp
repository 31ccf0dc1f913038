// Small images in this very process: what they import, what they get, and how their memory is
// protected.

#include "VeltroLoader/VeltroLoader.h"
#include "loader/small_image.hpp"
#include "support/scratch.hpp"

#include <fstream>
#include <sstream>

using namespace veltro::test;

extern "C" int loading_test_number;
int loading_test_number = 7;

namespace {

/// Exports "_table" at the start of __DATA.
const Octets kTable{0, 1, '_', 't', 'a', 'b', 'l', 'e', 0, 0x0a, 3, 0, 0x80, 0x20, 0};

std::string write(const Octets &bytes, const char *name = "image") {
  const std::string path = scratch() / name;
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char *>(bytes.data()), std::streamsize(bytes.size()));
  return path;
}

VLImage *load(const SmallImage &image) {
  char *error = nullptr;
  VLImage *const loaded = VLImageLoad(write(image.bytes()).c_str(), &error);
  EXPECT_NE(loaded, nullptr) << error;
  return loaded;
}

/// Why an image is not loaded, without the path that it begins with.
std::string refusal(const std::string &path) {
  char *error = nullptr;
  EXPECT_EQ(VLImageLoad(path.c_str(), &error), nullptr);
  const std::string line = error;
  free(error);
  EXPECT_EQ(line.substr(0, path.size() + 2), path + ": ");
  return line.substr(path.size() + 2);
}

std::string refusal(const SmallImage &image) {
  return refusal(write(image.bytes()));
}

/// How the page at `address` is protected, as "rw-p".
std::string protection(const void *address) {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    std::istringstream fields(line);
    uintptr_t start = 0, end = 0;
    char dash = 0;
    std::string found;
    fields >> std::hex >> start >> dash >> end >> found;
    if (uintptr_t(address) >= start && uintptr_t(address) < end)
      return found;
  }
  return "";
}

} // namespace

TEST(Loading, RebasesAndBinds) {
  SmallImage image{.exports = kTable};
  image.point(0x1000, 0x1008).put(0x1008, uint64_t(99));
  image.bind(0x1010, "_loading_test_number").bind(0x1018, "_nobody_defines_this", true);
  image.put(0x1018, uint64_t(5));
  auto *const table = static_cast<uint64_t **>(VLImageFindSymbol(load(image), "table"));
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(*table[0], 99u);
  EXPECT_EQ(reinterpret_cast<int *>(table[2]), &loading_test_number);
  EXPECT_EQ(table[3], nullptr);
}

TEST(Loading, BindsToWhatImagesBeforeExport) {
  SmallImage first{.exports = {0, 1, '_', 'f', 'i', 'r', 's', 't', 0, 0x0a, 3, 0, 0x80, 0x20, 0}};
  auto *const exported = VLImageFindSymbol(load(first), "first");
  SmallImage second{.exports = kTable};
  second.bind(0x1000, "_first");
  EXPECT_EQ(*static_cast<void **>(VLImageFindSymbol(load(second), "table")), exported);
}

TEST(Loading, ProtectsMemory) {
  auto *const writable =
      static_cast<uint8_t *>(VLImageFindSymbol(load({.exports = kTable}), "table"));
  EXPECT_EQ(protection(writable), "rw-p");
  EXPECT_EQ(protection(writable - 0x1000), "r-xp");
  EXPECT_EQ(protection(writable + 0x1000), "r--p");
  const SmallImage constant{.data_flags = 0x10, .exports = kTable};
  EXPECT_EQ(protection(VLImageFindSymbol(load(constant), "table")), "r--p");
}

TEST(Loading, NamesWhatIsMissing) {
  EXPECT_EQ(refusal("/nowhere/at.all"), "No such file or directory");
  EXPECT_EQ(refusal(scratch().string()), "not a file");
  EXPECT_EQ(refusal(write({}, "empty")), "truncated: within the file");
  EXPECT_EQ(refusal(SmallImage().bind(0x1000, "_nobody_defines_this")),
            "needs _nobody_defines_this, which nothing in this process defines");
  EXPECT_EQ(refusal(SmallImage().bind(0x1000, "nobody_defines_this")),
            "needs nobody_defines_this, which nothing in this process defines");
  EXPECT_EQ(refusal(SmallImage().bind(0x1000, "_OBJC_CLASS_$_NobodyDefinesThis")),
            "needs _OBJC_CLASS_$_NobodyDefinesThis, which nothing in this process defines");
  EXPECT_EQ(refusal({.data_size = 0x1800, .data_address = 0x1800, .link_size = 0}),
            "begins within a page: segment __DATA");
}
