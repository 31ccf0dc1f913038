#include "machine/apps/app_installer.hpp"

#include "machine/apps/app_registry.hpp"
#include "machine/files/file_lock.hpp"
#include "machine/property_lists/plist_strings.hpp"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace veltro::host {
namespace {

namespace fs = std::filesystem;

constexpr const char *kInProgress = ".installing-";

std::runtime_error cannot_write(const fs::path &folder) {
  return std::runtime_error("cannot write to " + folder.string() + ": " + std::strerror(errno));
}

void move(const fs::path &from, const fs::path &to) {
  if (rename(from.c_str(), to.c_str()) != 0)
    throw cannot_write(from.parent_path());
}

/// A hidden folder in `parent` that goes away with the object, unless it has been moved.
class Staging {
public:
  explicit Staging(const std::string &parent) : path_(parent + '/' + kInProgress + "XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr)
      throw cannot_write(parent);
  }
  ~Staging() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  Staging(const Staging &) = delete;
  Staging &operator=(const Staging &) = delete;

  [[nodiscard]] const std::string &path() const { return path_; }

private:
  std::string path_;
};

/// Only under the lock: whoever holds it knows that what is in progress has been given up.
void clear_leftovers(const std::string &folder) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code ignored;
    if (entry->path().filename().string().starts_with(kInProgress))
      fs::remove_all(entry->path(), ignored);
  }
}

/// A folder for a new container in `folder`.
std::string new_container(const std::string &folder) {
  std::ifstream kernel("/proc/sys/kernel/random/uuid");
  std::string name;
  std::getline(kernel, name);
  std::ranges::transform(name, name.begin(), toupper);
  return folder + '/' + name;
}

void create_folders(const std::string &folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error)
    throw std::runtime_error("cannot create " + folder + ": " + error.message());
}

void name_container(const std::string &container, const std::string &identifier) {
  if (!write_plist_string(container + '/' + kContainerMetadataFile, kContainerIdentifierKey,
                          identifier))
    throw std::runtime_error("cannot write to " + container);
}

InstalledApp read_installable(const fs::path &bundle) {
  std::string problem;
  InstalledApp app = read_app_bundle(bundle, problem);
  if (!problem.empty())
    throw std::runtime_error(problem);
  if (app.executable.empty())
    throw std::runtime_error("Info.plist: no CFBundleExecutable");
  const std::string executable = "executable " + app.executable + ": ";
  struct stat status{};
  if (stat(app.executable_path().c_str(), &status) != 0)
    throw std::runtime_error(executable + std::strerror(errno));
  if (!S_ISREG(status.st_mode) || (status.st_mode & S_IXUSR) == 0)
    throw std::runtime_error(executable + "not an executable file");
  return app;
}

/// Makes sure that the app has a data container.
void provide_data_container(const std::string &identifier) {
  const std::string folder = data_containers_folder();
  create_folders(folder);
  clear_leftovers(folder);
  if (!find_data_container(identifier).empty())
    return;
  const Staging staging(folder);
  for (const char *part : {"/Documents", "/Library/Caches", "/Library/Preferences", "/tmp"})
    create_folders(staging.path() + part);
  name_container(staging.path(), identifier);
  move(staging.path(), new_container(folder));
}

/// Exchanges the staged container with the one that it replaces.
void exchange(const std::string &staged, const std::string &container) {
  if (renameat2(AT_FDCWD, staged.c_str(), AT_FDCWD, container.c_str(), RENAME_EXCHANGE) == 0)
    return;
  if (errno != EINVAL)
    throw cannot_write(bundle_containers_folder());
  // Not every file system can exchange; then there is a moment without the app.
  const std::string aside = staged + "-old";
  move(container, aside);
  if (rename(staged.c_str(), container.c_str()) != 0) {
    const std::runtime_error problem = cannot_write(bundle_containers_folder());
    rename(aside.c_str(), container.c_str());
    throw problem;
  }
  // The old one is hidden by now: where it cannot be moved, the next installer clears it away.
  rename(aside.c_str(), staged.c_str());
}

void stage_bundle(const fs::path &bundle, const std::string &staging,
                  const std::string &identifier) {
  const fs::path copy = fs::path(staging) / bundle.filename();
  std::error_code error;
  fs::copy(bundle, copy, fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
  if (error)
    throw std::runtime_error("cannot copy " + bundle.string() + ": " + error.message());
  // What was copied counts, not what was looked at before.
  if (read_installable(copy).identifier != identifier)
    throw std::runtime_error("Info.plist: changed meanwhile");
  name_container(staging, identifier);
  if (chmod(staging.c_str(), 0755) != 0)
    throw cannot_write(staging);
}

void install(const fs::path &bundle, const std::string &identifier) {
  const std::string containers = bundle_containers_folder();
  create_folders(containers);
  const FileLock lock(containers);
  clear_leftovers(containers);
  const AppRecord installed = installed_app(identifier);
  if (installed != nullptr && installed->type == AppType::system)
    throw std::runtime_error(identifier + " is a system app");
  const Staging staging(containers);
  stage_bundle(bundle, staging.path(), identifier);
  provide_data_container(identifier);
  if (installed != nullptr)
    exchange(staging.path(), installed->container_path);
  else
    move(staging.path(), new_container(containers));
}

void remove(const std::string &identifier) {
  const std::string containers = bundle_containers_folder();
  const FileLock lock(containers);
  const AppRecord app = installed_app(identifier);
  if (app == nullptr)
    throw std::runtime_error("no app is installed with the identifier " + identifier);
  if (app->type == AppType::system)
    throw std::runtime_error(identifier + " is a system app");
  clear_leftovers(containers);
  const Staging bundles(containers);
  move(app->container_path, bundles.path() + "/bundle");
  if (!app->data_path.empty()) {
    const Staging data(data_containers_folder());
    move(app->data_path, data.path() + "/data");
  }
}

template <typename Action> std::string problem_of(Action action) {
  try {
    action();
    return {};
  } catch (const std::runtime_error &problem) {
    return problem.what();
  }
}

} // namespace

std::string install_app(const std::string &bundle_path) {
  std::error_code error;
  fs::path bundle = fs::absolute(bundle_path, error).lexically_normal();
  if (!bundle.has_filename())
    bundle = bundle.parent_path();
  if (!fs::is_directory(bundle, error))
    return error ? error.message() : "not a folder";
  if (bundle.extension() != ".app")
    return "the folder's name does not end in .app";
  if (bundle.filename().string().starts_with('.'))
    return "the folder's name is hidden";
  return problem_of([&] { install(bundle, read_installable(bundle).identifier); });
}

std::string remove_app(const std::string &identifier) {
  return problem_of([&] { remove(identifier); });
}

} // namespace veltro::host
