// The test program's answers to the library's clock and stream lookups: the test support's fake
// clock, engaged for the program's whole life, and its stream table.
#include <cstddef>

#include "FakeClock.h"
#include "FakeStreamInfo.h"
#include "Platform.h"

namespace {

testsupport::FakeClock& Clock() {
  static auto* clock = new testsupport::FakeClock();
  return *clock;
}

testsupport::FakeStreamInfo& Streams() {
  static auto* streams = new testsupport::FakeStreamInfo();
  return *streams;
}

}  // namespace

namespace abrsim {

void SetSimulatedClockMs(long long ms) { Clock().SetMs(ms); }

void SetStreamBitrates(const std::vector<int>& bitrates) {
  for (size_t i = 0; i < bitrates.size(); ++i)
    Streams().SetBitrate(static_cast<int>(i), static_cast<unsigned int>(bitrates[i]));
}

strmengine::CHLSDataHandler* StreamHandler() { return Streams().Handler(); }

}  // namespace abrsim
