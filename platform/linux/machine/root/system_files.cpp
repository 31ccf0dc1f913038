#include "machine/root/system_files.hpp"

#include "machine/files/watched_path.hpp"
#include "machine/property_lists/plist_strings.hpp"
#include "machine/root/device_root.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <sys/stat.h>

namespace veltro::host {
namespace {

namespace fs = std::filesystem;

constexpr const char *kFrameworks[] = {"/System/Library/Frameworks",
                                       "/System/Library/PrivateFrameworks"};

bool exists(const std::string &path) {
  struct stat status{};
  return lstat(path.c_str(), &status) == 0;
}

bool write(const fs::path &path, std::string_view text) {
  std::error_code ignored;
  fs::create_directories(path.parent_path(), ignored);
  std::ofstream file(path, std::ios::binary);
  file << text;
  return file.flush().good();
}

bool write_folder(const std::string &staging, std::string_view folder) {
  bool complete = chmod(staging.c_str(), 0755) == 0;
  for (const SystemFile &file : system_files())
    if (file.path.starts_with(folder) && file.path.substr(folder.size()).starts_with('/'))
      complete =
          complete && write(staging + std::string(file.path.substr(folder.size())), file.text);
  return complete;
}

void provide_frameworks() {
  std::string_view last;
  for (const SystemFile &file : system_files()) {
    constexpr std::string_view kExtension = ".framework";
    const std::string_view folder =
        file.path.substr(0, file.path.find(kExtension) + kExtension.size());
    if (folder != last)
      provide_system_folder(folder);
    last = folder;
  }
}

struct Framework {
  WatchedPath info;
  std::string identifier;
};

/// The identifier of the framework in `path`; its Info.plist is read only when it changed.
std::string framework_identifier(const std::string &path) {
  static std::mutex mutex;
  static auto &known = *new std::map<std::string, Framework>;
  const std::lock_guard lock(mutex);
  const auto found = known.find(path);
  if (found != known.end() && found->second.info.unchanged())
    return found->second.identifier;
  WatchedPath info(path + "/Info.plist");
  std::string identifier =
      plist_strings(info.path(), {"CFBundleIdentifier"}).value("CFBundleIdentifier");
  known.insert_or_assign(path, Framework{std::move(info), identifier});
  return identifier;
}

} // namespace

void provide_system_folder(std::string_view folder) {
  const std::string place = on_this_machine(folder);
  if (exists(place))
    return;
  std::error_code error;
  fs::create_directories(fs::path(place).parent_path(), error);
  std::string staging = fs::path(place).parent_path() / ".providing-XXXXXX";
  if (mkdtemp(staging.data()) == nullptr)
    return;
  // Where the rename fails somebody else was faster.
  if (write_folder(staging, folder))
    fs::rename(staging, place, error);
  fs::remove_all(staging, error);
}

std::string system_framework(const std::string &identifier) {
  provide_frameworks();
  for (const char *folder : kFrameworks) {
    std::error_code error;
    for (fs::directory_iterator entry(on_this_machine(folder), error), end; !error && entry != end;
         entry.increment(error)) {
      const fs::path &path = entry->path();
      if (path.extension() == ".framework" && framework_identifier(path) == identifier)
        return path;
    }
  }
  return {};
}

} // namespace veltro::host
