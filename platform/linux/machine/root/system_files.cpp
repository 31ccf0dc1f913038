#include "machine/root/system_files.hpp"

#include "machine/property_lists/plist_strings.hpp"
#include "machine/root/device_root.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace veltro::host {
namespace {

namespace fs = std::filesystem;

constexpr const char *kFrameworks[] = {"/System/Library/Frameworks",
                                       "/System/Library/PrivateFrameworks"};

bool write(const fs::path &path, std::string_view text) {
  std::error_code ignored;
  fs::create_directories(path.parent_path(), ignored);
  std::ofstream file(path, std::ios::binary);
  file << text;
  return file.flush().good();
}

bool write_folder(const fs::path &staging, std::string_view folder) {
  const std::string inside = std::string(folder) + '/';
  bool complete = chmod(staging.c_str(), 0755) == 0;
  for (const SystemFile &file : system_files())
    if (file.path.starts_with(inside))
      complete = complete && write(staging / file.path.substr(inside.size()), file.text);
  return complete;
}

} // namespace

void provide_system_folder(std::string_view folder) {
  const fs::path place = on_this_machine(folder);
  std::error_code error;
  if (fs::exists(fs::symlink_status(place, error)))
    return;
  fs::create_directories(place.parent_path(), error);
  std::string staging = place.parent_path() / ".providing-XXXXXX";
  if (mkdtemp(staging.data()) == nullptr)
    return;
  // Where the rename fails somebody else was faster.
  if (write_folder(staging, folder))
    fs::rename(staging, place, error);
  fs::remove_all(staging, error);
}

std::string system_framework(const std::string &identifier) {
  constexpr const char *kIdentifier = "CFBundleIdentifier";
  constexpr std::string_view kInfo = "/Info.plist";
  for (const SystemFile &file : system_files())
    if (file.path.ends_with(kInfo))
      provide_system_folder(file.path.substr(0, file.path.size() - kInfo.size()));
  for (const char *folder : kFrameworks) {
    std::error_code error;
    for (fs::directory_iterator entry(on_this_machine(folder), error), end; !error && entry != end;
         entry.increment(error)) {
      const fs::path &path = entry->path();
      if (path.extension() == ".framework" &&
          plist_strings(path / "Info.plist", {kIdentifier}).values[kIdentifier] == identifier)
        return path;
    }
  }
  return {};
}

} // namespace veltro::host
