// Reading the process table, against the least that anyone can do with /proc, and against procps'
// own library; and the checks that stand on the table.

#include "bare_process_loop.hpp"

#include "bridge/process_table.hpp"

#import <veltro/UIDevice+ZLT.h>
#import <veltro/ZLTUtils+ProcessTable.h>

#include <array>
#include <benchmark/benchmark.h>
#include <libproc2/pids.h>

namespace {

void table_veltro(benchmark::State &state) {
  for (auto _ : state) {
    const veltro::ProcessTable table;
    benchmark::DoNotOptimize(table.count());
    state.counters["processes"] = static_cast<double>(table.count());
  }
}
BENCHMARK(table_veltro)->Name("process-table/veltro");

void table_bare(benchmark::State &state) {
  for (auto _ : state)
    veltro::bench::bare_process_loop();
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
