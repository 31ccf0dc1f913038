#include "machine/apps/app_registry.hpp"

#include "machine/files/watched_path.hpp"
#include "machine/log/log_line.hpp"
#include "machine/property_lists/corrupt_file.hpp"
#include "machine/property_lists/plist_strings.hpp"
#include "machine/root/device_root.hpp"

#include <algorithm>
#include <filesystem>
#include <map>
#include <mutex>
#include <type_traits>
#include <utility>

namespace veltro::host {
namespace {

namespace fs = std::filesystem;

/// The names in a folder, in order, without the hidden ones: an installer's work in progress is
/// hidden. Empty where the folder cannot be read.
std::vector<std::string> names_in(const std::string &folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    if (std::string name = entry->path().filename().string(); !name.starts_with('.'))
      names.push_back(std::move(name));
  }
  std::ranges::sort(names);
  return names;
}

bool all_unchanged(const std::vector<WatchedPath> &watches) {
  return std::ranges::all_of(watches, &WatchedPath::unchanged);
}

struct Bundle {
  WatchedPath info;
  InstalledApp app;
  std::string problem;
};

struct Container {
  WatchedPath folder;
  bool has_app;
};

struct DataContainer {
  WatchedPath metadata;
  std::string identifier;
};

/// An app and what its record was read from.
struct Entry {
  AppRecord app;
  std::vector<WatchedPath> sources;
};

class Index {
public:
  AppRecord find(std::string_view identifier) {
    return ask([&] {
      if (!same_folders())
        read();
      auto found = entries_.find(identifier);
      if (found != entries_.end() ? !all_unchanged(found->second.sources) : !same_identifiers()) {
        read();
        found = entries_.find(identifier);
      }
      return found != entries_.end() ? found->second.app : nullptr;
    });
  }

  std::vector<AppRecord> all() {
    return ask([&] {
      if (!same_folders() || !same_files())
        read();
      std::vector<AppRecord> apps;
      apps.reserve(entries_.size());
      for (const auto &[identifier, entry] : entries_)
        apps.push_back(entry.app);
      return apps;
    });
  }

private:
  /// Runs `question` under the lock, and logs what it complained about after that.
  template <typename Question> std::invoke_result_t<Question> ask(Question question) {
    std::vector<std::string> complaints;
    auto result = [&] {
      const std::lock_guard lock(mutex_);
      auto found = question();
      complaints.swap(complaints_);
      return found;
    }();
    std::ranges::for_each(complaints, log_line);
    return result;
  }

  bool same_folders() const {
    return root_ == device_root() && !folders_.empty() && all_unchanged(folders_);
  }

  /// Whether no identifier can have come: one stat for every bundle, or container without one.
  bool same_identifiers() const {
    return std::ranges::all_of(bundles_,
                               [](const auto &at) { return at.second.info.unchanged(); }) &&
           std::ranges::all_of(containers_, [](const Container &container) {
             return container.has_app || container.folder.unchanged();
           });
  }

  bool same_files() const {
    return same_identifiers() &&
           std::ranges::all_of(
               containers_,
               [](const Container &container) { return container.folder.unchanged(); }) &&
           std::ranges::all_of(data_,
                               [](const auto &at) { return at.second.metadata.unchanged(); });
  }

  /// An app that is replaced meanwhile has its old folder emptied under the reader, which then
  /// looks again. Bounded: what changes all the time is returned as it was seen last.
  void read() {
    for (int attempt = 0; attempt < 10; ++attempt) {
      read_once();
      if (as_it_was_read())
        return;
    }
  }

  bool as_it_was_read() const {
    return std::ranges::all_of(folders_, &WatchedPath::same) &&
           std::ranges::all_of(
               containers_, [](const Container &container) { return container.folder.same(); }) &&
           std::ranges::all_of(bundles_, [](const auto &at) { return at.second.info.same(); });
  }

  void read_once() {
    root_ = device_root();
    // Looked at before they are read, so that a change in between shows.
    folders_.clear();
    for (std::string folder :
         {system_apps_folder(), bundle_containers_folder(), data_containers_folder()})
      folders_.emplace_back(std::move(folder));
    containers_.clear();
    old_bundles_ = std::exchange(bundles_, {});
    entries_.clear();
    read_data_containers();
    read_bundles(system_apps_folder(), "", AppType::system);
    for (const std::string &name : names_in(bundle_containers_folder())) {
      const std::string container = bundle_containers_folder() + '/' + name;
      containers_.push_back({WatchedPath(container), false});
      read_bundles(container, container, AppType::user);
    }
    old_bundles_.clear();
  }

  void read_data_containers() {
    std::map<std::string, DataContainer> old = std::exchange(data_, {});
    for (const std::string &name : names_in(data_containers_folder())) {
      const std::string container = data_containers_folder() + '/' + name;
      const auto known = old.find(container);
      if (known != old.end() && known->second.metadata.unchanged())
        data_.insert(old.extract(known));
      else
        data_.emplace(container, read_data_container(container));
    }
    owners_.clear();
    for (const auto &[path, container] : data_)
      owners_.emplace(container.identifier, path);
  }

  static DataContainer read_data_container(const std::string &container) {
    WatchedPath metadata(container + '/' + kContainerMetadataFile);
    const PlistStrings list = plist_strings(metadata.path(), {kContainerIdentifierKey});
    if (!list.problem.empty())
      log_corrupt_file(metadata.path());
    return {std::move(metadata), list.value(kContainerIdentifierKey)};
  }

  void read_bundles(const std::string &folder, const std::string &container, AppType type) {
    for (const std::string &name : names_in(folder)) {
      if (!name.ends_with(".app"))
        continue;
      const std::string path = std::string(folder).append(1, '/').append(name);
      Bundle bundle = read_bundle(path);
      std::string problem = bundle.problem;
      if (problem.empty())
        problem = enter(bundle, container, type);
      complain(path, problem);
      bundle.problem = std::move(problem);
      bundles_.emplace(path, std::move(bundle));
    }
  }

  Bundle read_bundle(const std::string &path) const {
    const auto old = old_bundles_.find(path);
    if (old != old_bundles_.end() && old->second.info.unchanged()) {
      Bundle same = old->second;
      if (!same.app.identifier.empty())
        same.problem.clear();
      return same;
    }
    Bundle bundle{WatchedPath(path + "/Info.plist"), {}, {}};
    bundle.app = read_app_bundle(path, bundle.problem);
    return bundle;
  }

  /// Enters the app into the index; returns why not.
  std::string enter(const Bundle &bundle, const std::string &container, AppType type) {
    if (const auto other = entries_.find(bundle.app.identifier); other != entries_.end())
      return "has the identifier of " + other->second.app->bundle_path;
    if (!container.empty() && std::exchange(containers_.back().has_app, true))
      return "its container holds another app";
    auto app = std::make_shared<InstalledApp>(bundle.app);
    app->type = type;
    app->container_path = container;
    Entry entry{nullptr, {bundle.info}};
    if (!container.empty())
      entry.sources.push_back(containers_.back().folder);
    add_data_container(*app, entry.sources);
    entry.app = std::move(app);
    entries_.emplace(bundle.app.identifier, std::move(entry));
    return {};
  }

  // A container without a name may get this app's at any time.
  void add_data_container(InstalledApp &app, std::vector<WatchedPath> &sources) const {
    if (const auto owned = owners_.find(app.identifier); owned != owners_.end()) {
      app.data_path = owned->second;
      sources.push_back(data_.at(owned->second).metadata);
      return;
    }
    for (const auto &[path, container] : data_)
      if (container.identifier.empty())
        sources.push_back(container.metadata);
  }

  void complain(const std::string &path, const std::string &problem) {
    const auto old = old_bundles_.find(path);
    if (!problem.empty() && (old == old_bundles_.end() || old->second.problem != problem))
      complaints_.push_back("App bundle left out: " + path + ": " + problem);
  }

  std::mutex mutex_;
  std::string root_;
  std::vector<WatchedPath> folders_;
  std::vector<Container> containers_;
  std::map<std::string, Bundle> bundles_;
  std::map<std::string, Bundle> old_bundles_;
  std::map<std::string, DataContainer> data_;
  std::map<std::string, std::string> owners_; ///< data containers by identifier
  std::map<std::string, Entry, std::less<>> entries_;
  std::vector<std::string> complaints_;
};

// Never destroyed: another thread may still ask while the process ends.
Index &index() {
  static Index &only = *new Index;
  return only;
}

bool is_file_name(const std::string &name) {
  return name.find('/') == std::string::npos && name != "." && name != "..";
}

std::string first_of(std::initializer_list<std::string> candidates) {
  const auto *found =
      std::ranges::find_if(candidates, [](const auto &text) { return !text.empty(); });
  return found != candidates.end() ? *found : "";
}

} // namespace

std::string InstalledApp::executable_path() const {
  return executable.empty() ? "" : bundle_path + '/' + executable;
}

AppRecord installed_app(std::string_view identifier) {
  return index().find(identifier);
}

std::vector<AppRecord> installed_apps() {
  return index().all();
}

std::string system_apps_folder() {
  return on_this_machine("/Applications");
}

std::string bundle_containers_folder() {
  return on_this_machine("/var/mobile/Containers/Bundle/Application");
}

std::string data_containers_folder() {
  return on_this_machine("/var/mobile/Containers/Data/Application");
}

InstalledApp read_app_bundle(const std::string &bundle_path, std::string &problem) {
  const PlistStrings info =
      plist_strings(bundle_path + "/Info.plist",
                    {"CFBundleIdentifier", "CFBundleDisplayName", "CFBundleName",
                     "CFBundleExecutable", "CFBundleShortVersionString", "CFBundleVersion"});
  InstalledApp app;
  if (!info.problem.empty())
    problem = "Info.plist: " + info.problem;
  else if (info.value("CFBundleIdentifier").empty())
    problem = "Info.plist: no CFBundleIdentifier";
  else if (!is_file_name(info.value("CFBundleExecutable")))
    problem = "Info.plist: CFBundleExecutable is no file name";
  if (!problem.empty())
    return app;
  app.identifier = info.value("CFBundleIdentifier");
  app.name = first_of({info.value("CFBundleDisplayName"), info.value("CFBundleName"),
                       fs::path(bundle_path).stem().string()});
  app.version = first_of({info.value("CFBundleShortVersionString"), info.value("CFBundleVersion")});
  app.executable = info.value("CFBundleExecutable");
  app.bundle_path = bundle_path;
  return app;
}

std::string find_data_container(const std::string &identifier) {
  for (const std::string &name : names_in(data_containers_folder())) {
    const std::string container = data_containers_folder() + '/' + name;
    const PlistStrings list =
        plist_strings(container + '/' + kContainerMetadataFile, {kContainerIdentifierKey});
    if (list.value(kContainerIdentifierKey) == identifier)
      return container;
  }
  return {};
}

} // namespace veltro::host
