// A folder of a test's own, and the environment that keeps the user's home out of the tests.
#pragma once

#include <filesystem>
#include <string>

namespace veltro::test {

/// A new empty folder, removed with all that it holds when the object goes away.
class ScratchFolder {
public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder &) = delete;
  ScratchFolder &operator=(const ScratchFolder &) = delete;

  [[nodiscard]] const std::filesystem::path &path() const { return path_; }

private:
  std::filesystem::path path_;
};

/// The scratch folder of this test process: HOME is its "home", VELTRO_ROOT its "root".
const std::filesystem::path &scratch();

/// The device root of this test process.
std::filesystem::path device_root();

} // namespace veltro::test
