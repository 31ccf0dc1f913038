// The installed apps: an index over the app bundles under the device root, in the device's layout.
//
//   Applications/<Name>.app                                       a system app
//   var/mobile/Containers/Bundle/Application/<UUID>/<Name>.app    a user app in its container
//   var/mobile/Containers/Data/Application/<UUID>                 a data container, whose metadata
//                                                                 names the app that owns it
//
// The index is kept for the process and read again where folders or files changed. Every lookup
// compares the three folders above and the files of the result with what was read; only a lookup
// that finds nothing compares everything. A bundle that cannot be read is left out with one log
// line. All functions may be called on any thread.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace veltro::host {

enum class AppType { system, user };

struct InstalledApp {
  std::string identifier;
  std::string name;           ///< the display name, else the bundle name, else the folder's
  std::string version;        ///< CFBundleShortVersionString, else CFBundleVersion; may be empty
  std::string executable;     ///< CFBundleExecutable; empty where Info.plist names none
  std::string bundle_path;    ///< absolute, on this machine
  std::string container_path; ///< the container of a user app's bundle; empty for a system app
  std::string data_path;      ///< the data container; empty where there is none
  AppType type = AppType::system;

  /// The executable inside the bundle; empty where Info.plist names none. It need not exist.
  [[nodiscard]] std::string executable_path() const;
};

using AppRecord = std::shared_ptr<const InstalledApp>;

/// The app with that bundle identifier, or nothing. Of several, a system app comes first, then the
/// first by path.
AppRecord installed_app(std::string_view identifier);

/// All apps, ordered by identifier.
std::vector<AppRecord> installed_apps();

/// The folders of the layout, on this machine.
std::string system_apps_folder();
std::string bundle_containers_folder();
std::string data_containers_folder();

/// The file in a container that names its app, and the key in it.
inline constexpr const char *kContainerMetadataFile =
    ".com.apple.mobile_container_manager.metadata.plist";
inline constexpr const char *kContainerIdentifierKey = "MCMMetadataIdentifier";

/// What Info.plist of the bundle in `bundle_path` says, without containers and type. Where the
/// bundle is broken the result's identifier is empty and `problem` says why.
InstalledApp read_app_bundle(const std::string &bundle_path, std::string &problem);

/// The data container that belongs to `identifier`, or an empty path; reads the disk.
std::string find_data_container(const std::string &identifier);

} // namespace veltro::host
