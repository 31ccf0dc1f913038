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
#include <set>
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
       entry.increment(error))
    if (std::string name = entry->path().filename().string(); !name.starts_with('.'))
      names.push_back(std::move(name));
  std::ranges::sort(names);
  return names;
}

/// What names the app of a data container.
std::string metadata_file(const std::string &container) {
  return data_containers_folder() + '/' + container + '/' + kContainerMetadataFile;
}

using Watches = std::vector<WatchedPath>;

bool all_unchanged(const Watches &watches) {
  return std::ranges::all_of(watches, &WatchedPath::unchanged);
}

bool all_same(const Watches &watches) {
  return std::ranges::all_of(watches, &WatchedPath::same);
}

/// An app and what its record was read from.
struct Entry {
  AppRecord app;
  Watches sources;
};

class Index {
  /// Runs `question` under the lock, and logs what it complained about after that.
  template <typename Question> auto ask(Question question) {
    std::unique_lock lock(mutex_);
    auto result = question();
    const std::vector<std::string> complaints = std::exchange(complaints_, {});
    lock.unlock();
    std::ranges::for_each(complaints, log_line);
    return result;
  }

public:
  AppRecord find(std::string_view identifier) {
    return ask([&] {
      if (!same_folders())
        read();
      auto found = entries_.find(identifier);
      if (!all_unchanged(found != entries_.end() ? found->second.sources : identities_)) {
        read();
        found = entries_.find(identifier);
      }
      return found != entries_.end() ? found->second.app : nullptr;
    });
  }

  std::vector<AppRecord> all() {
    return ask([&] {
      if (!same_folders() || !all_unchanged(identities_) || !all_unchanged(others_))
        read();
      std::vector<AppRecord> apps;
      apps.reserve(entries_.size());
      for (const auto &[identifier, entry] : entries_)
        apps.push_back(entry.app);
      return apps;
    });
  }

private:
  bool same_folders() const { return root_ == device_root() && all_unchanged(folders_); }

  /// An app that is replaced meanwhile has its old folder emptied under the reader, which then
  /// looks again. Bounded: what changes all the time is returned as it was seen last.
  void read() {
    const std::set<std::string> known = problems_;
    for (int attempt = 0; attempt < 10; ++attempt) {
      read_once();
      if (all_same(folders_) && all_same(identities_) && all_same(others_))
        break;
    }
    std::ranges::set_difference(problems_, known, std::back_inserter(complaints_));
  }

  void read_once() {
    root_ = device_root();
    // Looked at before they are read, so that a change in between shows.
    folders_ = {WatchedPath(system_apps_folder()), WatchedPath(bundle_containers_folder()),
                WatchedPath(data_containers_folder())};
    identities_.clear();
    others_.clear();
    owned_.clear();
    unowned_.clear();
    entries_.clear();
    problems_.clear();
    read_data_containers();
    read_bundles(system_apps_folder(), nullptr);
    for (const std::string &name : names_in(bundle_containers_folder())) {
      const WatchedPath container(bundle_containers_folder() + '/' + name);
      const bool has_app = read_bundles(container.path(), &container);
      (has_app ? others_ : identities_).push_back(container);
    }
  }

  void read_data_containers() {
    for (const std::string &name : names_in(data_containers_folder())) {
      const WatchedPath file(metadata_file(name));
      PlistStrings metadata = plist_strings(file.path(), {kContainerIdentifierKey});
      if (!metadata.problem.empty())
        log_corrupt_file(file.path());
      others_.push_back(file);
      if (const std::string owner = metadata.values[kContainerIdentifierKey]; owner.empty())
        unowned_.push_back(file);
      else
        owned_.emplace(owner, file);
    }
  }

  /// Whether `folder`, which is a `container` or that of the system's apps, holds an app.
  bool read_bundles(const std::string &folder, const WatchedPath *container) {
    bool has_app = false;
    for (const std::string &name : names_in(folder)) {
      if (!name.ends_with(".app"))
        continue;
      const std::string path = std::string(folder).append(1, '/').append(name);
      const WatchedPath info(path + "/Info.plist");
      identities_.push_back(info);
      std::string problem;
      InstalledApp app = read_app_bundle(path, problem);
      if (const auto other = entries_.find(app.identifier); other != entries_.end())
        problem = "has the identifier of " + other->second.app->bundle_path;
      else if (problem.empty() && container != nullptr && has_app)
        problem = "its container holds another app";
      if (problem.empty()) {
        enter(std::move(app), info, container);
        has_app = true;
      } else {
        problems_.insert(
            std::string("App bundle left out: ").append(path).append(": ").append(problem));
      }
    }
    return has_app;
  }

  void enter(InstalledApp app, const WatchedPath &info, const WatchedPath *container) {
    Watches sources{info};
    if (container != nullptr) {
      app.type = AppType::user;
      app.container_path = container->path();
      sources.push_back(*container);
    }
    if (const auto data = owned_.find(app.identifier); data != owned_.end()) {
      app.data_path = fs::path(data->second.path()).parent_path();
      sources.push_back(data->second);
    } else {
      // A container without a name may get this app's at any time.
      sources.insert(sources.end(), unowned_.begin(), unowned_.end());
    }
    const auto record = std::make_shared<const InstalledApp>(std::move(app));
    entries_.emplace(record->identifier, Entry{record, std::move(sources)});
  }

  std::mutex mutex_;
  std::string root_;
  Watches folders_;
  Watches identities_; ///< where an identifier can come: Info.plists, and containers without an app
  Watches others_;     ///< the other containers, and what names the data containers
  std::map<std::string, WatchedPath> owned_; ///< what names the data container of an app
  Watches unowned_;                          ///< what may name one later
  std::map<std::string, Entry, std::less<>> entries_;
  std::set<std::string> problems_;
  std::vector<std::string> complaints_;
};

// Never destroyed: another thread may still ask while the process ends.
Index &index() {
  static Index &only = *new Index;
  return only;
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
  PlistStrings info =
      plist_strings(bundle_path + "/Info.plist",
                    {"CFBundleIdentifier", "CFBundleDisplayName", "CFBundleName",
                     "CFBundleExecutable", "CFBundleShortVersionString", "CFBundleVersion"});
  InstalledApp app;
  const std::string executable = info.values["CFBundleExecutable"];
  if (!info.problem.empty())
    problem = "Info.plist: " + info.problem;
  else if (info.values["CFBundleIdentifier"].empty())
    problem = "Info.plist: no CFBundleIdentifier";
  else if (executable.find('/') != std::string::npos || executable == "." || executable == "..")
    problem = "Info.plist: CFBundleExecutable is no file name";
  if (!problem.empty())
    return app;
  app.identifier = info.values["CFBundleIdentifier"];
  app.name = first_of({info.values["CFBundleDisplayName"], info.values["CFBundleName"],
                       fs::path(bundle_path).stem().string()});
  app.version =
      first_of({info.values["CFBundleShortVersionString"], info.values["CFBundleVersion"]});
  app.executable = executable;
  app.bundle_path = bundle_path;
  return app;
}

std::string find_data_container(const std::string &identifier) {
  for (const std::string &name : names_in(data_containers_folder()))
    if (plist_strings(metadata_file(name), {kContainerIdentifierKey})
            .values[kContainerIdentifierKey] == identifier)
      return data_containers_folder() + '/' + name;
  return {};
}

} // namespace veltro::host
