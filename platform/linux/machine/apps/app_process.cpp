#include "machine/apps/app_process.hpp"

#include "machine/files/file_lock.hpp"
#include "machine/processes/launch.hpp"
#include "machine/processes/running.hpp"
#include "machine/root/device_root.hpp"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace veltro::host {
namespace {

std::string obstacle(const AppRecord &app) {
  if (app == nullptr)
    return "no such app";
  if (app->executable.empty())
    return "the app names no executable";
  return access(app->executable_path().c_str(), X_OK) == 0 ? "" : std::strerror(errno);
}

/// The app's data container, or as for the system's own apps the user's home on the device.
std::string home_of(const InstalledApp &app) {
  std::string home = app.data_path.empty() ? on_this_machine("/var/mobile") : app.data_path;
  std::error_code ignored;
  std::filesystem::create_directories(home, ignored);
  return home;
}

} // namespace

std::string launch_obstacle(const std::string &identifier) {
  return obstacle(installed_app(identifier));
}

std::vector<pid_t> app_processes(const std::string &identifier) {
  const AppRecord app = installed_app(identifier);
  return processes_running(app != nullptr ? app->executable_path() : "");
}

std::string start_app(const std::string &identifier) {
  const AppRecord app = installed_app(identifier);
  if (std::string problem = obstacle(app); !problem.empty())
    return problem;
  // Held by whoever looks for an app's process and starts one, across processes.
  const FileLock lock(app->bundle_path);
  if (!lock)
    return std::strerror(lock.error());
  if (!processes_running(app->executable_path()).empty())
    return {};
  const Launch launched =
      launch(app->executable_path(), {"HOME=" + home_of(*app), "VELTRO_ROOT=" + device_root()});
  return launched.error == 0 ? "" : std::strerror(launched.error);
}

} // namespace veltro::host
