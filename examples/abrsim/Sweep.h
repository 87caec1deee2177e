// The sweep: the library's rule over a grid of the engine's knobs, per trace set, ranked by QoE.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "Evaluate.h"
#include "Report.h"

namespace abrsim {

struct SweepGrid {
  std::vector<int> upTimers = {0, 5, 10, 20};
  std::vector<int> margins = {0, 128, 256, 512};  // 0 is the relative margin
  std::vector<unsigned int> monitors = {200, 250, 500};
  std::vector<int> groups = {0, 2, 3};
};

// Every combination, on top of `base` (start variant, poll interval).
std::vector<LibrarySettings> Expand(const SweepGrid& grid, const LibrarySettings& base);

struct SweepPoint {
  LibrarySettings settings;
  RuleTotals totals;
};

// For each set, every setting's totals, best QoE first (ties keep grid order).
std::vector<std::vector<SweepPoint>> RunSweep(const Setup& setup, const std::vector<TraceSet>& sets,
                                              const std::vector<LibrarySettings>& settings,
                                              int workers, bool& ok);

// The ranking per set: the best settings, the library's defaults beside them, and the best value
// each knob reaches.
void PrintSweep(FILE* out, const std::vector<TraceSet>& sets,
                const std::vector<std::vector<SweepPoint>>& ranking, const LibrarySettings& base,
                int top);

// The same as a Markdown table per set: the `top` best settings and the defaults.
std::string MarkdownSweep(const std::vector<TraceSet>& sets,
                          const std::vector<std::vector<SweepPoint>>& ranking,
                          const LibrarySettings& base, int top);

}  // namespace abrsim
