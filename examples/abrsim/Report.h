// The table of a run: per trace and rule, and totals per trace set; as text, CSV or Markdown.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "Evaluate.h"

namespace abrsim {

// One rule over a set of traces. Means are per trace, except the rebuffering ratio and the
// switch size, which are pooled over all of the set's segments and switches.
struct RuleTotals {
  int traces = 0;
  double qoe = 0;
  double averageKbps = 0;
  double rebufferSeconds = 0;
  double rebufferRatio = 0;
  double startupSeconds = 0;
  double switchesPerMinute = 0;
  double averageSwitchKbps = 0;
  double oscillations = 0;
  double shareOfOracle = 0;  // summed QoE over the oracle's summed QoE; 0 without the oracle
};

RuleTotals Total(const std::vector<TraceOutcome>& outcomes, int rule);

// `outcomes` holds one entry per trace, in the order of the sets and their traces.
void PrintTable(FILE* out, const std::vector<TraceSet>& sets,
                const std::vector<TraceOutcome>& outcomes, bool perTrace);
void WriteCsv(FILE* out, const std::vector<TraceSet>& sets,
              const std::vector<TraceOutcome>& outcomes);
// The totals per set as a Markdown table, with the library's two settings named.
std::string MarkdownTotals(const std::vector<TraceSet>& sets,
                           const std::vector<TraceOutcome>& outcomes,
                           const std::vector<std::string>& libraryLabels,
                           const std::vector<std::string>& bestLabels);

// The library's own figures behind its weak spots, per set, for both library runs: when the first
// estimate came, decisions made without one, what the up timer did, and which rule refused the
// moves up the bandwidth asked for.
std::string MarkdownWeakSpots(const std::vector<TraceSet>& sets,
                              const std::vector<TraceOutcome>& outcomes,
                              const std::vector<std::string>& bestLabels);

// The slice of `outcomes` that belongs to set `index`.
std::vector<TraceOutcome> SetOutcomes(const std::vector<TraceSet>& sets,
                                      const std::vector<TraceOutcome>& outcomes, size_t index);

}  // namespace abrsim
