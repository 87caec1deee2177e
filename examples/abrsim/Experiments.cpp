#include "Experiments.h"

#include <cstdio>

#include "Evaluate.h"
#include "Format.h"
#include "Oracle.h"

namespace abrsim {

namespace {

Trace SquareWave(double halfPeriod) {
  Trace trace;
  std::string error;
  trace.Set({{0, 4.0}, {halfPeriod, 1.0}}, error);
  return trace;
}

}  // namespace

std::string SquareWaveTable(const Setup& setup, const LibrarySettings& grouped) {
  std::string text = "| half-period s | defaults: kbit/s, QoE | " + Describe(grouped) +
                     ": kbit/s, QoE | its up timer at the end s (raises) | oracle: kbit/s, QoE |\n"
                     "|---:|---:|---:|---:|---:|\n";
  for (double half : {4.0, 8.0, 12.0, 16.0, 24.0, 32.0, 48.0}) {
    const Trace trace = SquareWave(half);
    const Link link(trace, setup.roundTripSeconds, setup.efficiency);
    const Figures plain = RunLibrary(setup, link, LibrarySettings()).figures;
    LibraryStats stats;
    const Figures timed = RunLibrary(setup, link, grouped, &stats).figures;
    const Figures best = Oracle(setup, link).session.figures;
    Appendf(text, "| %.0f | %.0f, %.1f | %.0f, %.1f | %d (%d) | %.0f, %.1f |\n", half,
            plain.averageKbps, plain.qoe, timed.averageKbps, timed.qoe, stats.finalUpTimer,
            stats.upTimerRaises, best.averageKbps, best.qoe);
  }
  return text;
}

std::string MarginTable(const Setup& setup) {
  std::string text =
      "| variant kbit/s | required, relative margin (fresh switcher) kbit/s | required once the "
      "top variant was estimated kbit/s |\n|---:|---:|---:|\n";
  strmcommon::BandwidthChecker checker;
  strmcommon::AdaptiveSegSwitcher seen;
  seen.Init(&checker);
  seen.SetSwitchParam(0, 0);
  seen.GetEstimateBandwidth(setup.ladderKbps.back() * 1000);
  for (int kbps : setup.ladderKbps) {
    strmcommon::AdaptiveSegSwitcher fresh;
    fresh.Init(&checker);
    fresh.SetSwitchParam(0, 0);
    Appendf(text, "| %d | %.0f | %.0f |\n", kbps, fresh.GetEstimateBandwidth(kbps * 1000) / 1000.0,
            seen.GetEstimateBandwidth(kbps * 1000) / 1000.0);
  }
  return text;
}

}  // namespace abrsim
