// Waiting on a condition with a deadline, so a hang fails a test instead of stalling it.
#pragma once

#include <time.h>

#include <chrono>
#include <thread>

namespace testsupport {

// A monotonic clock that FakeClock leaves alone: the fake replaces CLOCK_MONOTONIC, which
// std::chrono::steady_clock reads, so deadlines on this clock hold while a test drives fake time.
struct UnfakedClock {
  using duration = std::chrono::nanoseconds;
  using rep = duration::rep;
  using period = duration::period;
  using time_point = std::chrono::time_point<UnfakedClock>;
  static constexpr bool is_steady = true;

  static time_point now() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC_RAW, &ts);
    return time_point(std::chrono::seconds(ts.tv_sec) + std::chrono::nanoseconds(ts.tv_nsec));
  }
};

template <typename Pred>
bool WaitFor(Pred pred, std::chrono::milliseconds deadline = std::chrono::seconds(10),
             std::chrono::microseconds step = std::chrono::microseconds(200)) {
  auto end = UnfakedClock::now() + deadline;
  while (!pred()) {
    if (UnfakedClock::now() >= end) return pred();
    // A relative sleep, which the fake clock does not shorten or stretch either.
    std::this_thread::sleep_for(step);
  }
  return true;
}

}  // namespace testsupport
