// Reading the process table, against the least that anyone can do with /proc, and against procps'
// own library; and the checks that stand on the table.

#include "bridge/process_table.hpp"

#import <veltro/UIDevice+ZLT.h>
#import <veltro/ZLTUtils+ProcessTable.h>

#include <array>
#include <benchmark/benchmark.h>
#include <cctype>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <libproc2/pids.h>
#include <unistd.h>

namespace {

void table_veltro(benchmark::State &state) {
  for (auto _ : state) {
    const veltro::ProcessTable table;
    benchmark::DoNotOptimize(table.count());
    state.counters["processes"] = static_cast<double>(table.count());
  }
}
BENCHMARK(table_veltro)->Name("process-table/veltro");

// Opens, reads and closes one file a process, and keeps nothing.
void table_bare(benchmark::State &state) {
  for (auto _ : state) {
    DIR *const proc = opendir("/proc");
    std::array<char, 512> name;
    while (const dirent *entry = readdir(proc)) {
      if (std::isdigit(static_cast<unsigned char>(entry->d_name[0])) == 0)
        continue;
      std::array<char, 300> path;
      std::snprintf(path.data(), path.size(), "%s/stat", entry->d_name);
      const int file = openat(dirfd(proc), path.data(), O_RDONLY | O_CLOEXEC);
      if (file < 0)
        continue;
      benchmark::DoNotOptimize(read(file, name.data(), name.size()));
      close(file);
    }
    closedir(proc);
  }
}
BENCHMARK(table_bare)->Name("process-table/bare-loop");

void table_libproc2(benchmark::State &state) {
  std::array<pids_item, 2> items{PIDS_ID_PID, PIDS_CMD};
  for (auto _ : state) {
    pids_info *info = nullptr;
    procps_pids_new(&info, items.data(), static_cast<int>(items.size()));
    benchmark::DoNotOptimize(procps_pids_reap(info, PIDS_FETCH_TASKS_ONLY));
    procps_pids_unref(&info);
  }
}
BENCHMARK(table_libproc2)->Name("process-table/libproc2");

void list_veltro(benchmark::State &state) {
  for (auto _ : state)
    @autoreleasepool {
      benchmark::DoNotOptimize([[UIDevice currentDevice] __zltRunningProcesses]);
    }
}
BENCHMARK(list_veltro)->Name("process-list/veltro");

void check_veltro(benchmark::State &state) {
  for (auto _ : state)
    @autoreleasepool {
      benchmark::DoNotOptimize([ZLTUtils isWhatsAppRunning]);
    }
}
BENCHMARK(check_veltro)->Name("running-check/veltro");

} // namespace

BENCHMARK_MAIN();
