// What abrsim costs: the library's rule, the reference rules and the oracle on one trace, and the
// whole shared trace set (every rule, then the sweep of the engine's knobs) over all processors.
// The shared set's benchmarks are skipped when its directory is missing.
#include <benchmark/benchmark.h>
#include <sys/stat.h>
#include <time.h>

#include <string>
#include <vector>

#include "Evaluate.h"
#include "Oracle.h"
#include "Parallel.h"
#include "ReferenceRules.h"
#include "Sweep.h"
#include "dlog.h"
#include "dlog_capture.h"

namespace {

// abrsim answers CLOCK_MONOTONIC with simulated time, and the benchmark's own timer reads that
// clock too; so every benchmark here times itself on the raw clock.
double RawSeconds() {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC_RAW, &ts);
  return static_cast<double>(ts.tv_sec) + ts.tv_nsec / 1e9;
}

// Runs `body` once per iteration and reports the raw clock's time for it.
template <typename Body>
void Timed(benchmark::State& state, Body body) {
  for (auto _ : state) {
    const double start = RawSeconds();
    body();
    state.SetIterationTime(RawSeconds() - start);
  }
}

const abrsim::Trace& CommuteTrace() {
  static abrsim::Trace trace = [] {
    abrsim::Trace t;
    std::string error;
    t.Load(std::string(ABRSIM_TRACE_DIR) + "/commute.txt", error);
    return t;
  }();
  return trace;
}

// Ten minutes of video over the committed commute trace.
void BM_LibraryRuleTenMinutes(benchmark::State& state) {
  const abrsim::Setup setup;
  const abrsim::Link link(CommuteTrace(), setup.roundTripSeconds, setup.efficiency);
  Timed(state, [&] {
    benchmark::DoNotOptimize(abrsim::RunLibrary(setup, link, abrsim::LibrarySettings()));
  });
}
BENCHMARK(BM_LibraryRuleTenMinutes)->Unit(benchmark::kMillisecond)->UseManualTime();

void BM_ReferenceRulesTenMinutes(benchmark::State& state) {
  const abrsim::Setup setup;
  const abrsim::Link link(CommuteTrace(), setup.roundTripSeconds, setup.efficiency);
  Timed(state, [&] {
    abrsim::ThroughputRule throughput(setup);
    abrsim::BufferRule buffer(setup);
    benchmark::DoNotOptimize(abrsim::Play(setup, link, throughput));
    benchmark::DoNotOptimize(abrsim::Play(setup, link, buffer));
  });
}
BENCHMARK(BM_ReferenceRulesTenMinutes)->Unit(benchmark::kMillisecond)->UseManualTime();

void BM_OracleTenMinutes(benchmark::State& state) {
  const abrsim::Setup setup;
  const abrsim::Link link(CommuteTrace(), setup.roundTripSeconds, setup.efficiency);
  long long states = 0;
  Timed(state, [&] { states = abrsim::Oracle(setup, link).states; });
  state.counters["states"] = static_cast<double>(states);
}
BENCHMARK(BM_OracleTenMinutes)->Unit(benchmark::kMillisecond)->UseManualTime();

bool SharedSets(std::vector<abrsim::TraceSet>& sets) {
  struct stat st;
  std::string error;
  return stat(ABRSIM_SHARED_TRACE_DIR, &st) == 0 &&
         abrsim::LoadSets({ABRSIM_SHARED_TRACE_DIR}, sets, error);
}

// `abrsim run` over the shared set: every rule and the oracle on every trace.
void BM_SharedSetEveryRule(benchmark::State& state) {
  std::vector<abrsim::TraceSet> sets;
  if (!SharedSets(sets)) {
    state.SkipWithError("no shared traces");
    return;
  }
  std::vector<const abrsim::Trace*> traces;
  for (const abrsim::TraceSet& set : sets)
    for (const abrsim::Trace& trace : set.traces) traces.push_back(&trace);
  const abrsim::Setup setup;
  Timed(state, [&] {
    std::vector<abrsim::TraceOutcome> outcomes;
    abrsim::RunParallel<abrsim::TraceOutcome>(
        static_cast<int>(traces.size()), abrsim::DefaultWorkers(),
        [&](int i) {
          return abrsim::RunTrace(setup, *traces[i], abrsim::LibrarySettings(), nullptr, true);
        },
        outcomes);
  });
  state.counters["traces"] = static_cast<double>(traces.size());
  state.counters["workers"] = abrsim::DefaultWorkers();
}
BENCHMARK(BM_SharedSetEveryRule)->Unit(benchmark::kSecond)->Iterations(1)->UseManualTime();

// `abrsim sweep` over the shared set: the library alone over the whole grid.
void BM_SharedSetSweep(benchmark::State& state) {
  std::vector<abrsim::TraceSet> sets;
  if (!SharedSets(sets)) {
    state.SkipWithError("no shared traces");
    return;
  }
  const std::vector<abrsim::LibrarySettings> grid =
      abrsim::Expand(abrsim::SweepGrid(), abrsim::LibrarySettings());
  Timed(state, [&] {
    bool ok = false;
    benchmark::DoNotOptimize(
        abrsim::RunSweep(abrsim::Setup(), sets, grid, abrsim::DefaultWorkers(), ok));
  });
  state.counters["settings"] = static_cast<double>(grid.size());
}
BENCHMARK(BM_SharedSetSweep)->Unit(benchmark::kSecond)->Iterations(1)->UseManualTime();

}  // namespace

int main(int argc, char** argv) {
  dlog_stub_set_level(DLOG_SILENT);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
