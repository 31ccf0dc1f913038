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

namespace veltro::host {
namespace {

namespace fs = std::filesystem;

std::runtime_error cannot_write(const std::string &folder) {
  return std::runtime_error("cannot write to " + folder + ": " + std::strerror(errno));
}

/// Moves from or to `folder`.
void move(const std::string &folder, const std::string &from, const std::string &to) {
  if (rename(from.c_str(), to.c_str()) != 0)
    throw cannot_write(folder);
}

/// A folder in a hidden one in `parent`, which goes away with the object. Only under the lock:
/// whoever holds it knows that what is there already has been given up.
class Staging {
public:
  explicit Staging(const std::string &parent) : hidden_(parent + "/.installing") {
    clear();
    // What cannot be cleared away is in nobody's way.
    if ((mkdir(hidden_.c_str(), 0700) != 0 && errno != EEXIST) ||
        mkdtemp(path_.data()) == nullptr || mkdir(container().c_str(), 0700) != 0)
      throw cannot_write(parent);
  }
  ~Staging() { clear(); }
  Staging(const Staging &) = delete;
  Staging &operator=(const Staging &) = delete;

  /// A new container, and where an old one is put.
  [[nodiscard]] std::string container() const { return path_ + "/new"; }
  [[nodiscard]] std::string old_container() const { return path_ + "/old"; }

private:
  void clear() const {
    std::error_code ignored;
    fs::remove_all(hidden_, ignored);
  }

  const std::string hidden_;
  std::string path_ = hidden_ + "/XXXXXX";
};

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
  const Staging staging(folder);
  if (!find_data_container(identifier).empty())
    return;
  for (const char *part : {"/Documents", "/Library/Caches", "/Library/Preferences", "/tmp"})
    create_folders(staging.container() + part);
  name_container(staging.container(), identifier);
  move(folder, staging.container(), new_container(folder));
}

void stage_bundle(const fs::path &bundle, const std::string &container,
                  const std::string &identifier) {
  const fs::path copy = fs::path(container) / bundle.filename();
  std::error_code error;
  fs::copy(bundle, copy, fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
  if (error)
    throw std::runtime_error("cannot copy " + bundle.string() + ": " + error.message());
  // What was copied counts, not what was looked at before.
  if (read_installable(copy).identifier != identifier)
    throw std::runtime_error("Info.plist: changed meanwhile");
  name_container(container, identifier);
  if (chmod(container.c_str(), 0755) != 0)
    throw cannot_write(container);
}

/// Puts the staged container in the place of an installed one.
void replace(const std::string &folder, const std::string &container, const Staging &staging) {
  const std::string fresh = staging.container();
  if (renameat2(AT_FDCWD, fresh.c_str(), AT_FDCWD, container.c_str(), RENAME_EXCHANGE) == 0)
    return;
  if (errno != EINVAL)
    throw cannot_write(folder);
  // Not every file system can exchange; then there is a moment without the app.
  move(folder, container, staging.old_container());
  if (rename(fresh.c_str(), container.c_str()) != 0) {
    const std::runtime_error problem = cannot_write(folder);
    rename(staging.old_container().c_str(), container.c_str());
    throw problem;
  }
}

void install(const fs::path &bundle, const std::string &identifier) {
  const std::string containers = bundle_containers_folder();
  create_folders(containers);
  const FileLock lock(containers);
  const AppRecord installed = installed_app(identifier);
  if (installed != nullptr && installed->type == AppType::system)
    throw std::runtime_error(identifier + " is a system app");
  const Staging staging(containers);
  stage_bundle(bundle, staging.container(), identifier);
  provide_data_container(identifier);
  if (installed != nullptr)
    replace(containers, installed->container_path, staging);
  else
    move(containers, staging.container(), new_container(containers));
}

void remove(const std::string &identifier) {
  const std::string containers = bundle_containers_folder();
  const FileLock lock(containers);
  const AppRecord app = installed_app(identifier);
  if (app == nullptr)
    throw std::runtime_error("no app is installed with the identifier " + identifier);
  if (app->type == AppType::system)
    throw std::runtime_error(identifier + " is a system app");
  // Each staging folder takes with it what was moved there.
  move(containers, app->container_path, Staging(containers).old_container());
  const std::string data = data_containers_folder();
  if (!app->data_path.empty())
    move(data, app->data_path, Staging(data).old_container());
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
