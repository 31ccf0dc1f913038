#include "machine/root/device_root.hpp"

#include "machine/device/environment.hpp"

#include <filesystem>
#include <pwd.h>
#include <unistd.h>
#include <utility>

namespace veltro::host {
namespace {

std::string home() {
  if (const std::string_view set = variable("HOME"); !set.empty())
    return std::string(set);
  const passwd *user = getpwuid(getuid());
  return user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "";
}

std::string without_trailing_slashes(std::string path) {
  while (path.size() > 1 && path.back() == '/')
    path.pop_back();
  return path;
}

} // namespace

std::string device_root() {
  if (std::string root(variable("VELTRO_ROOT")); !root.empty()) {
    std::error_code ignored;
    if (!root.starts_with('/'))
      root = std::filesystem::absolute(root, ignored);
    return without_trailing_slashes(std::move(root));
  }
  if (const std::string_view data = variable("XDG_DATA_HOME"); !data.empty())
    return without_trailing_slashes(std::string(data)) + "/veltro";
  return without_trailing_slashes(home()) + "/.local/share/veltro";
}

std::string on_this_machine(std::string_view device_path) {
  std::string path = device_root();
  if (path == "/")
    path.clear();
  if (!device_path.starts_with('/'))
    path += '/';
  path += device_path;
  return path;
}

} // namespace veltro::host
