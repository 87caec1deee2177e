// What the library asks of its surroundings during a simulation: the monotonic clock and the
// engine's stream records. abrsim answers from SimPlatform.cpp; its tests answer through the test
// support's fake clock and stream table.
#pragma once

#include <vector>

#include "CHLSDataHandler.h"

namespace abrsim {

// From now on the library's clock reads `ms`.
void SetSimulatedClockMs(long long ms);
// Stream i declares bitrates[i] bits per second.
void SetStreamBitrates(const std::vector<int>& bitrates);
// The handler the bandwidth checker asks for stream records.
strmengine::CHLSDataHandler* StreamHandler();

}  // namespace abrsim
