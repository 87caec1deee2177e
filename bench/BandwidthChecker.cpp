// The per-chunk and per-poll costs of BandwidthChecker, and the allocations they make (none is
// allowed on the download thread's chunk path).
#include "BandwidthChecker.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "AdaptiveSegSwitcher.h"
#include "Clock.h"

namespace {

std::atomic<long long> g_allocations{0};

// The engine's stream record: the third 32-bit word is the declared bit rate.
uint32_t g_record[4] = {0, 0, 3000000, 0};

}  // namespace

void* operator new(std::size_t size) {
  g_allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

void* strmengine::CHLSDataHandler::GetStreamInfo(int index) {
  return index >= 0 ? g_record : nullptr;
}

namespace {

// One body chunk on the download thread.
void BM_AddRxTimeInfo(benchmark::State& state) {
  strmengine::CHLSDataHandler handler;
  strmcommon::BandwidthChecker checker;
  checker.Init(&handler);
  checker.Start();
  unsigned int t = 1000;
  const long long before = g_allocations.load();
  for (auto _ : state) {
    checker.AddRxTimeInfo(t, t + 3, 16384, 2, 7, 0);
    t += 3;
  }
  state.counters["allocs/chunk"] = benchmark::Counter(
      static_cast<double>(g_allocations.load() - before), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_AddRxTimeInfo);

// The low-latency drop, made before the lock.
void BM_AddRxTimeInfoLowLatencyDrop(benchmark::State& state) {
  strmengine::CHLSDataHandler handler;
  strmcommon::BandwidthChecker checker;
  checker.Init(&handler);
  checker.Setllsegbw(true);
  for (auto _ : state) checker.AddRxTimeInfo(0, 500, 16384, 2, 7, 0);
}
BENCHMARK(BM_AddRxTimeInfoLowLatencyDrop);

// The common idle poll: the block is not due, no lock is taken.
void BM_OnPollingIdle(benchmark::State& state) {
  strmengine::CHLSDataHandler handler;
  strmcommon::BandwidthChecker checker;
  checker.Init(&handler);
  checker.Start();
  const long long now = 0;
  for (auto _ : state) checker.OnPolling(now);
}
BENCHMARK(BM_OnPollingIdle);

// A poll that closes a block, pushes a sample and walks the ring.
void BM_OnPollingClose(benchmark::State& state) {
  strmengine::CHLSDataHandler handler;
  strmcommon::BandwidthChecker checker;
  checker.Init(&handler);
  checker.Start();
  checker.AddRxTimeInfo(0, 1, 1, 2, 0, 0);
  long long now = 1000000;
  unsigned int t = 0;
  for (auto _ : state) {
    checker.AddRxTimeInfo(t, t + 100, 50000, 2, 0, 0);
    t += 300;
    now += 300;
    checker.OnPolling(now);
  }
}
BENCHMARK(BM_OnPollingClose);

// One segment's decision on a six-variant ladder with groups.
void BM_ProcessAdaptiveSeg(benchmark::State& state) {
  strmengine::CHLSDataHandler handler;
  strmcommon::BandwidthChecker checker;
  checker.Init(&handler);
  checker.Start();
  checker.AddRxTimeInfo(0, 1, 1, 2, 0, 0);
  checker.AddRxTimeInfo(0, 1000, 3000000, 2, 0, 0);  // 10 s of media at 24 Mbit/s
  checker.OnPolling(static_cast<long long>(strmcommon::vas_getTime()) + 1000);
  strmcommon::AdaptiveSegSwitcher switcher;
  switcher.Init(&checker);
  switcher.SetSwitchParam(10, 0);
  switcher.ResetData({{400000, 640, 360, 0},
                      {800000, 960, 540, 0},
                      {1600000, 1280, 720, 0},
                      {2400000, 1280, 720, 0},
                      {3000000, 1920, 1080, 0},
                      {6000000, 3840, 2160, 0}},
                     false);
  for (auto _ : state) benchmark::DoNotOptimize(switcher.ProcessAdaptiveSeg(5, 10000));
}
BENCHMARK(BM_ProcessAdaptiveSeg);

}  // namespace

BENCHMARK_MAIN();
