#include "FakeClock.h"

#include <dlfcn.h>
#include <time.h>

#include <atomic>

namespace {

std::atomic<bool> g_engaged{false};
std::atomic<long long> g_nowNs{0};

typedef int (*ClockGettimeFn)(clockid_t, struct timespec*);

ClockGettimeFn RealClockGettime() {
  static std::atomic<ClockGettimeFn> real{nullptr};
  ClockGettimeFn fn = real.load(std::memory_order_acquire);
  if (fn == nullptr) {
    fn = reinterpret_cast<ClockGettimeFn>(dlsym(RTLD_NEXT, "clock_gettime"));
    real.store(fn, std::memory_order_release);
  }
  return fn;
}

}  // namespace

// Interposes on the C library's clock_gettime for the whole test program, the shared library
// under test included.
extern "C" int clock_gettime(clockid_t clockId, struct timespec* ts) noexcept {
  if (clockId == CLOCK_MONOTONIC && g_engaged.load(std::memory_order_acquire)) {
    const long long ns = g_nowNs.load(std::memory_order_acquire);
    ts->tv_sec = static_cast<time_t>(ns / 1000000000LL);
    ts->tv_nsec = static_cast<long>(ns % 1000000000LL);
    return 0;
  }
  return RealClockGettime()(clockId, ts);
}

namespace testsupport {

FakeClock::FakeClock(long long startMs) {
  SetMs(startMs);
  g_engaged.store(true, std::memory_order_release);
}

FakeClock::~FakeClock() { g_engaged.store(false, std::memory_order_release); }

void FakeClock::SetMs(long long ms) { g_nowNs.store(ms * 1000000LL, std::memory_order_release); }

void FakeClock::AdvanceMs(long long ms) {
  g_nowNs.fetch_add(ms * 1000000LL, std::memory_order_acq_rel);
}

long long FakeClock::NowMs() const { return g_nowNs.load(std::memory_order_acquire) / 1000000LL; }

}  // namespace testsupport
