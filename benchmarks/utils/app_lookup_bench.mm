// A user app's installed directory by its identifier, in device roots of 5 and of 500 apps. Peers:
// one stat of every container and its Info.plist, the least that a reader without an index would
// pay; and reading every Info.plist at every call.
#import <veltro/veltro.h>

#include "machine/apps/app_registry.hpp"
#include "support/app_bundles.hpp"
#include "support/scratch.hpp"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <map>
#include <sys/stat.h>
#include <thread>

namespace {

namespace fs = std::filesystem;

/// A device root of some user apps.
class Root {
public:
  explicit Root(std::int64_t apps) {
    for (std::int64_t number = 0; number < apps; ++number)
      veltro::test::lay_user_app("org.example.app" + std::to_string(number), "App",
                                 "U" + std::to_string(number), folder_.path());
    wanted_ = "org.example.app" + std::to_string(apps / 2);
    // The index trusts a folder only once its last change is a moment ago.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }

  /// Makes this root the one that the process uses, and reads its apps.
  void use() const {
    setenv("VELTRO_ROOT", folder_.path().c_str(), 1);
    veltro::host::installed_apps();
  }
  [[nodiscard]] NSString *new_wanted() const {
    return [[NSString alloc] initWithUTF8String:wanted_.c_str()];
  }
  [[nodiscard]] fs::path containers() const {
    return folder_.path() / "var/mobile/Containers/Bundle/Application";
  }

private:
  veltro::test::ScratchFolder folder_;
  std::string wanted_;
};

/// The root of so many apps, made once and in use from here on.
const Root &root_of(std::int64_t apps) {
  static std::map<std::int64_t, Root> roots;
  const Root &root = roots.try_emplace(apps, apps).first->second;
  root.use();
  return root;
}

void look_up(benchmark::State &state) {
  const Root &root = root_of(state.range(0));
  NSString *wanted = root.new_wanted();
  for (auto _ : state) {
    @autoreleasepool {
      if ([ZLTUtils applicationInstalledDirectory:wanted] == nil)
        state.SkipWithError("not found");
    }
  }
  [wanted release];
}

void look_up_unknown(benchmark::State &state) {
  root_of(state.range(0));
  for (auto _ : state) {
    @autoreleasepool {
      if ([ZLTUtils applicationInstalledDirectory:@"org.example.none"] != nil)
        state.SkipWithError("found");
    }
  }
}

void stat_every_folder(benchmark::State &state) {
  const Root &root = root_of(state.range(0));
  std::vector<std::string> paths;
  for (const auto &container : fs::directory_iterator(root.containers())) {
    paths.push_back(container.path());
    paths.push_back(container.path() / "App.app/Info.plist");
  }
  for (auto _ : state) {
    for (const std::string &path : paths) {
      struct stat status{};
      benchmark::DoNotOptimize(stat(path.c_str(), &status));
    }
  }
}

void read_every_info(benchmark::State &state) {
  const Root &root = root_of(state.range(0));
  NSString *wanted = root.new_wanted();
  for (auto _ : state) {
    @autoreleasepool {
      bool found = false;
      for (const auto &container : fs::directory_iterator(root.containers())) {
        const std::string path = container.path() / "App.app/Info.plist";
        NSDictionary *info = [NSDictionary
            dictionaryWithContentsOfFile:[NSString stringWithUTF8String:path.c_str()]];
        found = found || [[info objectForKey:@"CFBundleIdentifier"] isEqual:wanted];
      }
      if (!found)
        state.SkipWithError("not found");
    }
  }
  [wanted release];
}

BENCHMARK(look_up)->Name("app_lookup/veltro")->Arg(5)->Arg(500);
BENCHMARK(stat_every_folder)->Name("app_lookup/stat_every_folder")->Arg(5)->Arg(500);
BENCHMARK(read_every_info)->Name("app_lookup/read_every_info")->Arg(5)->Arg(500);
BENCHMARK(look_up_unknown)->Name("unknown_app/veltro")->Arg(5)->Arg(500);
BENCHMARK(stat_every_folder)->Name("unknown_app/stat_every_folder")->Arg(5)->Arg(500);

} // namespace

BENCHMARK_MAIN();
