// Waiting on a condition with a deadline, so a hang fails a test instead of stalling it.
#pragma once

#include <chrono>
#include <thread>

namespace testsupport {

template <typename Pred>
bool WaitFor(Pred pred, std::chrono::milliseconds deadline = std::chrono::seconds(10),
             std::chrono::microseconds step = std::chrono::microseconds(200)) {
  auto end = std::chrono::steady_clock::now() + deadline;
  while (!pred()) {
    if (std::chrono::steady_clock::now() >= end) return pred();
    std::this_thread::sleep_for(step);
  }
  return true;
}

}  // namespace testsupport
