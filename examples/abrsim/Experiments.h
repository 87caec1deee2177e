// Two small measurements behind the library's weak spots: square-wave links whose period meets
// the up timer, and what the estimate margin asks of each variant before and after it sticks.
#pragma once

#include <string>

#include "LibraryRule.h"
#include "Session.h"

namespace abrsim {

// Links alternating between 4 and 1 Mbit/s with half-periods from 4 to 48 s, under the library's
// defaults and under `grouped` (which should have groups and an up timer), beside the oracle.
std::string SquareWaveTable(const Setup& setup, const LibrarySettings& grouped);

// The bandwidth the library requires of each variant of the ladder, asked of fresh switchers with
// the relative margin, and of one that has once estimated the top variant.
std::string MarginTable(const Setup& setup);

}  // namespace abrsim
