// abrsim's answers to the library's clock and stream lookups. Each simulation runs in a process
// of its own, so one process-wide simulated time is enough.
#include <dlfcn.h>
#include <time.h>

#include <cstdint>

#include "Platform.h"

namespace {

long long g_simulatedMs = 0;

// The engine's stream record as the checker reads it: the third 32-bit word is the bit rate.
struct StreamRecord {
  uint32_t words[4];
};
std::vector<StreamRecord> g_records;

}  // namespace

// The library reads its clock through clock_gettime; this program's definition takes precedence
// over the C library's, so the up timer and the measurement blocks run on simulated time.
extern "C" int clock_gettime(clockid_t clockId, struct timespec* ts) noexcept {
  if (clockId == CLOCK_MONOTONIC) {
    ts->tv_sec = static_cast<time_t>(g_simulatedMs / 1000);
    ts->tv_nsec = static_cast<long>((g_simulatedMs % 1000) * 1000000);
    return 0;
  }
  typedef int (*Real)(clockid_t, struct timespec*);
  static Real real = reinterpret_cast<Real>(dlsym(RTLD_NEXT, "clock_gettime"));
  return real(clockId, ts);
}

void* strmengine::CHLSDataHandler::GetStreamInfo(int index) {
  if (index < 0 || static_cast<size_t>(index) >= g_records.size()) return nullptr;
  return g_records[index].words;
}

namespace abrsim {

void SetSimulatedClockMs(long long ms) { g_simulatedMs = ms; }

void SetStreamBitrates(const std::vector<int>& bitrates) {
  g_records.clear();
  for (int bps : bitrates) g_records.push_back(StreamRecord{{0, 0, static_cast<uint32_t>(bps), 0}});
}

strmengine::CHLSDataHandler* StreamHandler() {
  static strmengine::CHLSDataHandler handler;
  return &handler;
}

}  // namespace abrsim
