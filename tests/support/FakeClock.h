// A monotonic clock the test drives by hand. While a FakeClock lives, clock_gettime on
// CLOCK_MONOTONIC, in the test program and in the library alike, answers the fake time, so
// vas_getTime() returns it; other clocks, and every call when no FakeClock lives, go to the
// system. The test binary's own definition of clock_gettime interposes on the C library's.
#pragma once

namespace testsupport {

class FakeClock {
 public:
  // Engages the fake clock at `startMs` milliseconds.
  explicit FakeClock(long long startMs = 1000000);
  ~FakeClock();
  FakeClock(const FakeClock&) = delete;
  FakeClock& operator=(const FakeClock&) = delete;

  void SetMs(long long ms);
  void AdvanceMs(long long ms);
  long long NowMs() const;
};

}  // namespace testsupport
