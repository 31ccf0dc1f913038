// Archiving and unarchiving messages; every figure is the time per message. The peers: GNUstep's
// own archiver, in a process that the platform has patched nothing of, and the bare bytes of the
// archive, which are its table of objects written and read as the plain property list that it is.
//
// GNUstep looks for each object among all that it wrote before: unpatched it archives a hundred
// messages at most here, and unarchives ten thousand from the archive that was written with the
// platform.

#include <array>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

extern "C" char **environ;

namespace {

/// A process of archives.mm.
class Archives {
public:
  explicit Archives(std::string program) {
    std::array<int, 2> requests{};
    std::array<int, 2> replies{};
    if (pipe2(requests.data(), O_CLOEXEC) != 0 || pipe2(replies.data(), O_CLOEXEC) != 0)
      std::abort();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, requests[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, replies[1], STDOUT_FILENO);
    program.insert(0, VELTRO_BUILD_DIR "/benchmarks/");
    const std::array<char *, 2> arguments{program.data(), nullptr};
    if (posix_spawn(&process_, program.c_str(), &actions, nullptr, arguments.data(), environ) != 0)
      std::abort();
    posix_spawn_file_actions_destroy(&actions);
    close(requests[0]);
    close(replies[1]);
    requests_ = fdopen(requests[1], "w");
    replies_ = fdopen(replies[0], "r");
  }
  ~Archives() {
    std::fclose(requests_); // which ends the process
    std::fclose(replies_);
    waitpid(process_, nullptr, 0);
  }
  Archives(const Archives &) = delete;
  Archives &operator=(const Archives &) = delete;

  double seconds(const std::string &request) {
    std::fprintf(requests_, "%s\n", request.c_str());
    std::fflush(requests_);
    double nanoseconds = 0;
    if (std::fscanf(replies_, "%lf", &nanoseconds) != 1)
      std::abort();
    return nanoseconds * 1e-9;
  }

private:
  pid_t process_ = 0;
  FILE *requests_ = nullptr;
  FILE *replies_ = nullptr;
};

/// The archive of so many messages, made once.
std::string archive_of(const std::string &count) {
  static const struct Folder {
    Folder() {
      if (mkdtemp(path.data()) == nullptr)
        std::abort();
    }
    ~Folder() { std::filesystem::remove_all(path); }
    std::string path = VELTRO_BUILD_DIR "/bench-XXXXXX";
  } folder;
  std::string path = folder.path + "/" + count;
  if (!std::filesystem::exists(path))
    Archives("archives_veltro").seconds("save " + count + " " + path);
  return path;
}

/// Counts what a request for so many messages takes as the time of one of them.
void time(benchmark::State &state, const char *program, const std::string &work) {
  const std::string count = std::to_string(state.range(0));
  const std::string request = work + " " + (work == "archive" ? count : archive_of(count));
  Archives archives(program);
  archives.seconds(request); // has the process make what it makes once
  for ([[maybe_unused]] auto _ : state)
    state.SetIterationTime(archives.seconds(request) / static_cast<double>(state.range(0)));
}

// The library takes an iteration for as long as one message took, so the iterations are counted
// here.
#define TIME(name, program, work, messages, iterations)                                            \
  BENCHMARK_CAPTURE(time, , program, work)                                                         \
      ->Name(name)                                                                                 \
      ->Arg(messages)                                                                              \
      ->Iterations(iterations)                                                                     \
      ->UseManualTime()
#define TIME_FEW(name, program, work)                                                              \
  TIME(name, program, work, 1, 100);                                                               \
  TIME(name, program, work, 100, 10)
#define TIME_ALL(name, program, work)                                                              \
  TIME_FEW(name, program, work);                                                                   \
  TIME(name, program, work, 10'000, 2)

TIME_ALL("archive-message/veltro", "archives_veltro", "archive");
TIME_FEW("archive-message/gnustep", "archives_gnustep", "archive");
TIME_ALL("archive-message/bytes", "archives_veltro", "write");
TIME_ALL("unarchive-message/veltro", "archives_veltro", "unarchive");
TIME_ALL("unarchive-message/gnustep", "archives_gnustep", "unarchive");
TIME_ALL("unarchive-message/bytes", "archives_veltro", "read");

} // namespace

BENCHMARK_MAIN();
