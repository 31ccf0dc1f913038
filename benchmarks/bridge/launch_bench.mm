// From the launch call to the running process, against a plain posix_spawn of the same executable.
// The launch also looks through the machine's processes, so that it starts no second one.

#import <UIKit/UIKit.h>

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <spawn.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern "C" char **environ;

namespace {

namespace fs = std::filesystem;

/// A device root of its own with one app, which ends at once.
class Root {
public:
  Root() : path_((fs::temp_directory_path() / "veltro-bench-XXXXXX").string()) {
    if (mkdtemp(path_.data()) == nullptr)
      std::abort();
    setenv("VELTRO_ROOT", path_.c_str(), 1);
    const fs::path bundle = fs::path(path_) / "Applications/Short.app";
    fs::create_directories(bundle);
    fs::copy_file("/bin/true", bundle / "Short");
    std::ofstream(bundle / "Info.plist")
        << "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist "
           "version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>org.example.short"
           "</string><key>CFBundleExecutable</key><string>Short</string></dict></plist>";
    executable_ = bundle / "Short";
  }
  ~Root() { fs::remove_all(path_); }
  Root(const Root &) = delete;
  Root &operator=(const Root &) = delete;

  [[nodiscard]] const std::string &executable() const { return executable_; }

private:
  std::string path_;
  std::string executable_;
};

const Root &root() {
  static const Root only;
  return only;
}

/// Waits, outside the measured time, until no process runs the app: a launch would find it. The
/// detached process is this one's to reap, as the machine's first process may take its time.
void wait_until_ended() {
  constexpr useconds_t kLongEnough = 3000;
  usleep(kLongEnough);
  while (waitpid(-1, nullptr, WNOHANG) > 0) {
  }
}

void launch_call(benchmark::State &state) {
  root();
  UIApplication *const application = [UIApplication sharedApplication];
  for ([[maybe_unused]] auto _ : state) {
    @autoreleasepool {
      if (![application launchApplicationWithIdentifier:@"org.example.short" suspended:YES]) {
        state.SkipWithError("not launched");
        break;
      }
    }
    state.PauseTiming();
    wait_until_ended();
    state.ResumeTiming();
  }
}

void plain_spawn(benchmark::State &state) {
  const std::string &executable = root().executable();
  std::vector<char *> arguments{const_cast<char *>(executable.c_str()), nullptr};
  for ([[maybe_unused]] auto _ : state) {
    pid_t process = 0;
    if (posix_spawn(&process, executable.c_str(), nullptr, nullptr, arguments.data(), environ) !=
        0) {
      state.SkipWithError("not spawned");
      break;
    }
    state.PauseTiming();
    wait_until_ended();
    state.ResumeTiming();
  }
}

BENCHMARK(launch_call)->Name("launch/veltro")->UseRealTime();
BENCHMARK(plain_spawn)->Name("launch/posix_spawn")->UseRealTime();

} // namespace

int main(int argc, char **argv) {
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
