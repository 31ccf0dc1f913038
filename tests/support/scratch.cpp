#include "support/scratch.hpp"

#include <cstdlib>
#include <stdexcept>

namespace veltro::test {

ScratchFolder::ScratchFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "veltro-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr)
    throw std::runtime_error("no scratch folder");
  path_ = name;
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

const std::filesystem::path &scratch() {
  static const ScratchFolder folder;
  return folder.path();
}

std::filesystem::path device_root() {
  return scratch() / "root";
}

} // namespace veltro::test
