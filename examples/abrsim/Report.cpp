#include "Report.h"

#include <algorithm>

#include "Format.h"

namespace abrsim {

namespace {

const char kHeader[] = "%-14s %-46s %-12s %9s %8s %7s %8s %7s %8s %5s %8s\n";
const char kRow[] = "%-14s %-46s %-12s %9.0f %8.2f %6.2f%% %8.2f %7.2f %8.0f %5.1f %8.1f\n";

}  // namespace

RuleTotals Total(const std::vector<TraceOutcome>& outcomes, int rule) {
  RuleTotals t;
  double stall = 0;
  double video = 0;
  double switchKbps = 0;
  int switches = 0;
  double qoeSum = 0;
  double oracleSum = 0;
  bool oracle = true;
  for (const TraceOutcome& o : outcomes) {
    if (!o.present[rule]) continue;
    const Figures& f = o.figures[rule];
    ++t.traces;
    qoeSum += f.qoe;
    t.averageKbps += f.averageKbps;
    t.rebufferSeconds += f.rebufferSeconds;
    t.startupSeconds += f.startupSeconds;
    t.switchesPerMinute += f.switchesPerMinute;
    t.oscillations += f.oscillations;
    stall += f.rebufferSeconds;
    video += f.videoSeconds;
    switchKbps += f.averageSwitchKbps * f.switches;
    switches += f.switches;
    oracle = oracle && o.present[kOracle];
    if (o.present[kOracle]) oracleSum += o.figures[kOracle].qoe;
  }
  if (t.traces == 0) return t;
  t.qoe = qoeSum / t.traces;
  t.averageKbps /= t.traces;
  t.rebufferSeconds /= t.traces;
  t.startupSeconds /= t.traces;
  t.switchesPerMinute /= t.traces;
  t.oscillations /= t.traces;
  t.rebufferRatio = stall / (stall + video);
  t.averageSwitchKbps = switches > 0 ? switchKbps / switches : 0;
  t.shareOfOracle = oracle && oracleSum != 0 ? qoeSum / oracleSum : 0;
  return t;
}

std::vector<TraceOutcome> SetOutcomes(const std::vector<TraceSet>& sets,
                                      const std::vector<TraceOutcome>& outcomes, size_t index) {
  size_t first = 0;
  for (size_t s = 0; s < index; ++s) first += sets[s].traces.size();
  return std::vector<TraceOutcome>(
      outcomes.begin() + static_cast<long>(first),
      outcomes.begin() + static_cast<long>(first + sets[index].traces.size()));
}

void PrintTable(FILE* out, const std::vector<TraceSet>& sets,
                const std::vector<TraceOutcome>& outcomes, bool perTrace) {
  std::fprintf(out, kHeader, "set", "trace", "rule", "avg_kbps", "rebuf_s", "rebuf", "start_s",
               "sw/min", "sw_kbps", "osc", "QoE");
  size_t at = 0;
  for (const TraceSet& set : sets) {
    for (const Trace& trace : set.traces) {
      const TraceOutcome& o = outcomes[at++];
      if (!perTrace) continue;
      for (int r = 0; r < kRuleCount; ++r) {
        if (!o.present[r]) continue;
        const Figures& f = o.figures[r];
        std::fprintf(out, kRow, set.name.c_str(), trace.Name().c_str(), RuleName(r), f.averageKbps,
                     f.rebufferSeconds, 100 * f.rebufferRatio, f.startupSeconds,
                     f.switchesPerMinute, f.averageSwitchKbps, static_cast<double>(f.oscillations),
                     f.qoe);
      }
    }
  }
  std::fprintf(out, "\ntotals (means per trace; rebuffering ratio and switch size pooled)\n");
  std::fprintf(out, kHeader, "set", "traces", "rule", "avg_kbps", "rebuf_s", "rebuf", "start_s",
               "sw/min", "sw_kbps", "osc", "QoE");
  for (size_t s = 0; s < sets.size(); ++s) {
    const std::vector<TraceOutcome> mine = SetOutcomes(sets, outcomes, s);
    for (int r = 0; r < kRuleCount; ++r) {
      const RuleTotals t = Total(mine, r);
      if (t.traces == 0) continue;
      std::fprintf(out, kRow, sets[s].name.c_str(), std::to_string(t.traces).c_str(), RuleName(r),
                   t.averageKbps, t.rebufferSeconds, 100 * t.rebufferRatio, t.startupSeconds,
                   t.switchesPerMinute, t.averageSwitchKbps, t.oscillations, t.qoe);
    }
  }
}

void WriteCsv(FILE* out, const std::vector<TraceSet>& sets,
              const std::vector<TraceOutcome>& outcomes) {
  std::fprintf(out,
               "set,trace,rule,average_kbps,rebuffer_s,rebuffer_ratio,startup_s,"
               "switches_per_min,average_switch_kbps,oscillations,bitrate_term,rebuffer_term,"
               "smoothness_term,qoe\n");
  size_t at = 0;
  for (const TraceSet& set : sets) {
    for (const Trace& trace : set.traces) {
      const TraceOutcome& o = outcomes[at++];
      for (int r = 0; r < kRuleCount; ++r) {
        if (!o.present[r]) continue;
        const Figures& f = o.figures[r];
        std::fprintf(out, "%s,%s,%s,%.1f,%.3f,%.5f,%.3f,%.3f,%.1f,%d,%.3f,%.3f,%.3f,%.3f\n",
                     set.name.c_str(), trace.Name().c_str(), RuleName(r), f.averageKbps,
                     f.rebufferSeconds, f.rebufferRatio, f.startupSeconds, f.switchesPerMinute,
                     f.averageSwitchKbps, f.oscillations, f.bitrateTerm, f.rebufferTerm,
                     f.smoothnessTerm, f.qoe);
      }
    }
  }
}

std::string MarkdownTotals(const std::vector<TraceSet>& sets,
                           const std::vector<TraceOutcome>& outcomes,
                           const std::vector<std::string>& libraryLabels,
                           const std::vector<std::string>& bestLabels) {
  std::string text =
      "| set | rule | QoE per trace | of oracle | avg kbit/s | stalls s | rebuffering | "
      "start-up s | switches/min | switch kbit/s | oscillations |\n"
      "|---|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n";
  for (size_t s = 0; s < sets.size(); ++s) {
    const std::vector<TraceOutcome> mine = SetOutcomes(sets, outcomes, s);
    for (int r = 0; r < kRuleCount; ++r) {
      const RuleTotals t = Total(mine, r);
      if (t.traces == 0) continue;
      std::string rule = RuleName(r);
      if (r == kLibrary && s < libraryLabels.size()) rule += " (" + libraryLabels[s] + ")";
      if (r == kLibraryBest && s < bestLabels.size()) rule += " (" + bestLabels[s] + ")";
      Appendf(
          text,
          "| %s (%d) | %s | %.1f | %.0f %% | %.0f | %.2f | %.2f %% | %.2f | %.2f | %.0f | %.1f |\n",
          sets[s].name.c_str(), t.traces, rule.c_str(), t.qoe, 100 * t.shareOfOracle, t.averageKbps,
          t.rebufferSeconds, 100 * t.rebufferRatio, t.startupSeconds, t.switchesPerMinute,
          t.averageSwitchKbps, t.oscillations);
    }
  }
  return text;
}

std::string MarkdownWeakSpots(const std::vector<TraceSet>& sets,
                              const std::vector<TraceOutcome>& outcomes,
                              const std::vector<std::string>& bestLabels) {
  std::string text =
      "| set | library | first estimate s (mean / max) | decisions on the first-fragment "
      "average | up timer at the end s (mean / max) | raises | timers given up | moves up "
      "wanted but refused | of them: up timer started / other upgrade group / level, buffer or "
      "running timer | moves down refused (buffer of 8 s or more) | stalls on those segments s | "
      "stalls on first-fragment segments s |\n"
      "|---|---|---:|---:|---:|---:|---:|---:|---|---:|---:|---:|\n";
  for (size_t s = 0; s < sets.size(); ++s) {
    const std::vector<TraceOutcome> mine = SetOutcomes(sets, outcomes, s);
    for (int run = 0; run < 2; ++run) {
      const int rule = run == 0 ? kLibrary : kLibraryBest;
      double first = 0, firstMax = 0, fragment = 0, timer = 0, timerMax = 0;
      int raises = 0, givenUp = 0, refused = 0, started = 0, other = 0, silent = 0, n = 0;
      int downRefused = 0;
      double downStall = 0, fragmentStall = 0;
      for (const TraceOutcome& o : mine) {
        if (!o.present[rule]) continue;
        const LibraryStats& l = o.library[run];
        ++n;
        first += l.firstEstimateSeconds;
        firstMax = std::max(firstMax, l.firstEstimateSeconds);
        fragment += l.firstFragmentDecisions;
        timer += l.finalUpTimer;
        timerMax = std::max<double>(timerMax, l.finalUpTimer);
        raises += l.upTimerRaises;
        givenUp += l.timersGivenUp;
        refused += l.wantedUpRefused;
        started += l.reasons[static_cast<int>(Reason::kUpRefusedTimerStarted)];
        other += l.reasons[static_cast<int>(Reason::kUpRefusedUpgradeGroup)];
        silent += l.reasons[static_cast<int>(Reason::kUpRefusedSilent)];
        downRefused += l.downRefused;
        downStall += l.stallAfterDownRefused;
        fragmentStall += l.stallAfterFirstFragment;
      }
      if (n == 0) continue;
      const std::string label =
          run == 0 ? "defaults" : (s < bestLabels.size() ? bestLabels[s] : "best");
      Appendf(text,
              "| %s | %s | %.1f / %.1f | %.1f per trace | %.1f / %.0f | %d | %d | %.1f per trace "
              "| %d / %d / %d | %.1f per trace | %.2f per trace | %.2f per trace |\n",
              sets[s].name.c_str(), label.c_str(), first / n, firstMax, fragment / n, timer / n,
              timerMax, raises, givenUp, static_cast<double>(refused) / n, started, other, silent,
              static_cast<double>(downRefused) / n, downStall / n, fragmentStall / n);
    }
  }
  return text;
}

}  // namespace abrsim
