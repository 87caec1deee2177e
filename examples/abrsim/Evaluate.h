// Trace sets, and every rule run over one trace: the library's rule with two settings, the
// reference rules and the oracle, on one simulated player.
#pragma once

#include <string>
#include <vector>

#include "LibraryRule.h"
#include "Qoe.h"
#include "Session.h"
#include "Trace.h"

namespace abrsim {

struct TraceSet {
  std::string name;
  std::vector<Trace> traces;
};

// Each path is a trace file, a directory of trace files (one set, named after the directory), or
// a directory of such directories (one set each). Files end in ".txt"; sets and traces come in
// name order.
bool LoadSets(const std::vector<std::string>& paths, std::vector<TraceSet>& sets,
              std::string& error);

enum RuleId { kLibrary, kLibraryBest, kThroughput, kBuffer, kOracle, kRuleCount };
const char* RuleName(int rule);

// What every rule did on one trace. Trivially copyable: it travels between processes as bytes.
struct TraceOutcome {
  bool present[kRuleCount] = {};
  Figures figures[kRuleCount];
  LibraryStats library[2];  // the two library runs
  double traceSeconds = 0;
  double meanMbps = 0;
};

// Runs the rules on `trace`: the library with `settings`, again with `best` if it is given, the
// reference rules and, if `oracle`, the oracle.
TraceOutcome RunTrace(const Setup& setup, const Trace& trace, const LibrarySettings& settings,
                      const LibrarySettings* best, bool oracle);

// The library's rule alone.
SessionResult RunLibrary(const Setup& setup, const Link& link, const LibrarySettings& settings,
                         LibraryStats* stats = nullptr);

// "up=10,margin=128,monitor=250,groups=2,start=0,poll=50": any subset, in any order.
bool ParseSettings(const std::string& text, LibrarySettings& settings);
std::string SettingsKey(const LibrarySettings& settings);

}  // namespace abrsim
