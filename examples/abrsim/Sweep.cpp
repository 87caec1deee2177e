#include "Sweep.h"

#include <algorithm>
#include <map>

#include "Format.h"
#include "Parallel.h"

namespace abrsim {

std::vector<LibrarySettings> Expand(const SweepGrid& grid, const LibrarySettings& base) {
  std::vector<LibrarySettings> out;
  for (int groups : grid.groups)
    for (int up : grid.upTimers)
      for (int margin : grid.margins)
        for (unsigned int monitor : grid.monitors) {
          LibrarySettings s = base;
          s.groups = groups;
          s.upTimerSeconds = up;
          s.marginKbps = margin;
          s.monitorMs = monitor;
          out.push_back(s);
        }
  return out;
}

std::vector<std::vector<SweepPoint>> RunSweep(const Setup& setup, const std::vector<TraceSet>& sets,
                                              const std::vector<LibrarySettings>& settings,
                                              int workers, bool& ok) {
  std::vector<const Trace*> traces;
  for (const TraceSet& set : sets)
    for (const Trace& trace : set.traces) traces.push_back(&trace);
  const int perSetting = static_cast<int>(traces.size());
  const int jobs = perSetting * static_cast<int>(settings.size());
  std::vector<Figures> figures;
  ok = RunParallel<Figures>(
      jobs, workers,
      [&](int job) {
        const Trace& trace = *traces[job % perSetting];
        const Link link(trace, setup.roundTripSeconds, setup.efficiency);
        return RunLibrary(setup, link, settings[job / perSetting]).figures;
      },
      figures);

  std::vector<std::vector<SweepPoint>> ranking(sets.size());
  for (size_t c = 0; c < settings.size(); ++c) {
    size_t at = c * perSetting;
    for (size_t s = 0; s < sets.size(); ++s) {
      std::vector<TraceOutcome> outcomes(sets[s].traces.size());
      for (TraceOutcome& o : outcomes) {
        o.present[kLibrary] = true;
        o.figures[kLibrary] = figures[at++];
      }
      ranking[s].push_back({settings[c], Total(outcomes, kLibrary)});
    }
  }
  for (std::vector<SweepPoint>& points : ranking) {
    std::stable_sort(points.begin(), points.end(), [](const SweepPoint& a, const SweepPoint& b) {
      return a.totals.qoe > b.totals.qoe;
    });
  }
  return ranking;
}

namespace {

void PrintPoint(FILE* out, int rank, const SweepPoint& p) {
  std::fprintf(out, "%5d  %-62s %8.1f %9.0f %8.2f %7.2f %7.1f\n", rank,
               Describe(p.settings).c_str(), p.totals.qoe, p.totals.averageKbps,
               p.totals.rebufferSeconds, p.totals.switchesPerMinute, p.totals.oscillations);
}

bool SameKnobs(const LibrarySettings& a, const LibrarySettings& b) {
  return a.upTimerSeconds == b.upTimerSeconds && a.marginKbps == b.marginKbps &&
         a.monitorMs == b.monitorMs && a.groups == b.groups && a.startVariant == b.startVariant &&
         a.pollMs == b.pollMs;
}

}  // namespace

void PrintSweep(FILE* out, const std::vector<TraceSet>& sets,
                const std::vector<std::vector<SweepPoint>>& ranking, const LibrarySettings& base,
                int top) {
  for (size_t s = 0; s < sets.size(); ++s) {
    const std::vector<SweepPoint>& points = ranking[s];
    if (points.empty()) continue;
    std::fprintf(out, "\n%s: %zu traces, %zu settings\n", sets[s].name.c_str(),
                 sets[s].traces.size(), points.size());
    std::fprintf(out, "%5s  %-62s %8s %9s %8s %7s %7s\n", "rank", "settings", "QoE", "avg_kbps",
                 "rebuf_s", "sw/min", "osc");
    for (int i = 0; i < top && i < static_cast<int>(points.size()); ++i)
      PrintPoint(out, i + 1, points[i]);
    for (size_t i = 0; i < points.size(); ++i) {
      if (!SameKnobs(points[i].settings, base)) continue;
      std::fprintf(out, "defaults:\n");
      PrintPoint(out, static_cast<int>(i) + 1, points[i]);
      std::fprintf(out, "the best settings gain %.1f QoE per trace over the defaults\n",
                   points[0].totals.qoe - points[i].totals.qoe);
    }
    // The best QoE each value of each knob reaches, whatever the other knobs.
    std::map<std::string, double> best;
    for (const SweepPoint& p : points) {
      const std::string keys[] = {"up timer " + std::to_string(p.settings.upTimerSeconds) + " s",
                                  p.settings.marginKbps == 0
                                      ? std::string("margin relative")
                                      : "margin " + std::to_string(p.settings.marginKbps),
                                  "monitor " + std::to_string(p.settings.monitorMs) + " ms",
                                  "groups " + std::to_string(p.settings.groups)};
      for (const std::string& key : keys)
        if (best.find(key) == best.end()) best[key] = p.totals.qoe;
    }
    std::fprintf(out, "best QoE per knob value:");
    for (const auto& [key, qoe] : best) std::fprintf(out, "  %s: %.1f;", key.c_str(), qoe);
    std::fprintf(out, "\n");
  }
}

std::string MarkdownSweep(const std::vector<TraceSet>& sets,
                          const std::vector<std::vector<SweepPoint>>& ranking,
                          const LibrarySettings& base, int top) {
  std::string text =
      "| set | rank | settings | QoE per trace | avg kbit/s | stalls s | switches/min | "
      "oscillations |\n|---|---:|---|---:|---:|---:|---:|---:|\n";
  for (size_t s = 0; s < sets.size(); ++s) {
    const std::vector<SweepPoint>& points = ranking[s];
    for (size_t i = 0; i < points.size(); ++i) {
      const bool defaults = SameKnobs(points[i].settings, base);
      if (static_cast<int>(i) >= top && !defaults) continue;
      const RuleTotals& t = points[i].totals;
      Appendf(text, "| %s | %zu | %s%s | %.1f | %.0f | %.2f | %.2f | %.1f |\n",
              sets[s].name.c_str(), i + 1, Describe(points[i].settings).c_str(),
              defaults ? " (defaults)" : "", t.qoe, t.averageKbps, t.rebufferSeconds,
              t.switchesPerMinute, t.oscillations);
    }
  }
  return text;
}

}  // namespace abrsim
