#include "machine/apps/app_installer.hpp"

#include "machine/apps/app_registry.hpp"
#include "machine/files/file_lock.hpp"
#include "machine/property_lists/plist_strings.hpp"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace veltro::host {
namespace {

namespace fs = std::filesystem;

constexpr const char *kInProgress = ".installing-";

std::string last_error() {
  return std::strerror(errno);
}

/// A hidden folder in `parent` that goes away with the object, unless it has been moved.
class Staging {
public:
  explicit Staging(const std::string &parent) : path_(parent + '/' + kInProgress + "XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr)
      path_.clear();
  }
  ~Staging() {
    std::error_code ignored;
    if (!path_.empty())
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

std::string new_container_name() {
  std::ifstream kernel("/proc/sys/kernel/random/uuid");
  std::string name;
  std::getline(kernel, name);
  for (char &character : name)
    if (character >= 'a' && character <= 'f')
      character = static_cast<char>(character - 'a' + 'A');
  return name;
}

std::string create_folders(const std::string &folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  return error ? "cannot create " + folder + ": " + error.message() : "";
}

std::string name_container(const std::string &container, const std::string &identifier) {
  return write_plist_string(container + '/' + kContainerMetadataFile, kContainerIdentifierKey,
                            identifier)
             ? ""
             : "cannot write to " + container;
}

std::string why_no_program(const InstalledApp &app) {
  if (app.executable.empty())
    return "Info.plist: no CFBundleExecutable";
  struct stat status{};
  if (stat(app.executable_path().c_str(), &status) != 0)
    return "executable " + app.executable + ": " + last_error();
  if (!S_ISREG(status.st_mode) || (status.st_mode & S_IXUSR) == 0)
    return "executable " + app.executable + ": not an executable file";
  return {};
}

/// Makes sure that the app has a data container.
std::string provide_data_container(const std::string &identifier) {
  const std::string folder = data_containers_folder();
  if (std::string problem = create_folders(folder); !problem.empty())
    return problem;
  clear_leftovers(folder);
  if (!find_data_container(identifier).empty())
    return {};
  const Staging staging(folder);
  if (staging.path().empty())
    return "cannot write to " + folder + ": " + last_error();
  for (const char *part : {"/Documents", "/Library/Caches", "/Library/Preferences", "/tmp"})
    if (std::string problem = create_folders(staging.path() + part); !problem.empty())
      return problem;
  if (std::string problem = name_container(staging.path(), identifier); !problem.empty())
    return problem;
  const std::string container = folder + '/' + new_container_name();
  return rename(staging.path().c_str(), container.c_str()) == 0
             ? ""
             : "cannot write to " + folder + ": " + last_error();
}

/// Gives the staged container its place; what was there before ends up in the staging folder.
bool put_in_place(const std::string &staged, const std::string &container, bool replaces) {
  if (!replaces)
    return rename(staged.c_str(), container.c_str()) == 0;
  if (renameat2(AT_FDCWD, staged.c_str(), AT_FDCWD, container.c_str(), RENAME_EXCHANGE) == 0)
    return true;
  // Not every file system can exchange; then there is a moment without the app.
  const std::string aside = staged + "-old";
  if (errno != EINVAL || rename(container.c_str(), aside.c_str()) != 0)
    return false;
  if (rename(staged.c_str(), container.c_str()) != 0) {
    rename(aside.c_str(), container.c_str());
    return false;
  }
  // The old one is hidden by now: where it cannot be moved, the next installer clears it away.
  rename(aside.c_str(), staged.c_str());
  return true;
}

std::string stage_bundle(const fs::path &bundle, const std::string &staging,
                         const std::string &identifier) {
  const fs::path copy = fs::path(staging) / bundle.filename();
  std::error_code error;
  fs::copy(bundle, copy, fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
  if (error)
    return "cannot copy " + bundle.string() + ": " + error.message();
  // What was copied counts, not what was looked at before.
  std::string problem;
  const InstalledApp app = read_app_bundle(copy.string(), problem);
  if (problem.empty() && app.identifier != identifier)
    problem = "Info.plist: changed meanwhile";
  if (problem.empty())
    problem = why_no_program(app);
  if (problem.empty())
    problem = name_container(staging, identifier);
  if (problem.empty() && chmod(staging.c_str(), 0755) != 0)
    problem = "cannot write to " + staging + ": " + last_error();
  return problem;
}

std::string install(const fs::path &bundle, const std::string &identifier) {
  const std::string containers = bundle_containers_folder();
  if (std::string problem = create_folders(containers); !problem.empty())
    return problem;
  const FileLock lock(containers);
  clear_leftovers(containers);
  const AppRecord installed = installed_app(identifier);
  if (installed != nullptr && installed->type == AppType::system)
    return identifier + " is a system app";
  const Staging staging(containers);
  if (staging.path().empty())
    return "cannot write to " + containers + ": " + last_error();
  if (std::string problem = stage_bundle(bundle, staging.path(), identifier); !problem.empty())
    return problem;
  if (std::string problem = provide_data_container(identifier); !problem.empty())
    return problem;
  const std::string container =
      installed != nullptr ? installed->container_path : containers + '/' + new_container_name();
  if (!put_in_place(staging.path(), container, installed != nullptr))
    return "cannot write to " + containers + ": " + last_error();
  return {};
}

} // namespace

std::string install_app(const std::string &bundle_path) {
  std::error_code error;
  fs::path bundle = fs::absolute(bundle_path, error).lexically_normal();
  if (!bundle.has_filename())
    bundle = bundle.parent_path();
  std::string problem;
  if (!fs::is_directory(bundle, error))
    problem = error ? error.message() : "not a folder";
  else if (bundle.extension() != ".app")
    problem = "the folder's name does not end in .app";
  else if (bundle.filename().string().starts_with('.'))
    problem = "the folder's name is hidden";
  InstalledApp app;
  if (problem.empty())
    app = read_app_bundle(bundle.string(), problem);
  if (problem.empty())
    problem = why_no_program(app);
  if (problem.empty())
    problem = install(bundle, app.identifier);
  return problem;
}

std::string remove_app(const std::string &identifier) {
  const std::string containers = bundle_containers_folder();
  const FileLock lock(containers);
  const AppRecord app = installed_app(identifier);
  if (app == nullptr)
    return "no app is installed with the identifier " + identifier;
  if (app->type == AppType::system)
    return identifier + " is a system app";
  clear_leftovers(containers);
  const Staging bundles(containers);
  if (bundles.path().empty() ||
      rename(app->container_path.c_str(), (bundles.path() + "/bundle").c_str()) != 0)
    return "cannot write to " + containers + ": " + last_error();
  if (app->data_path.empty())
    return {};
  const Staging data(data_containers_folder());
  if (data.path().empty() || rename(app->data_path.c_str(), (data.path() + "/data").c_str()) != 0)
    return "cannot write to " + data_containers_folder() + ": " + last_error();
  return {};
}

} // namespace veltro::host
