#include "Qoe.h"

#include <cmath>

namespace abrsim {

Figures Score(const std::vector<SegmentRecord>& segments, double startupSeconds,
              double segmentSeconds) {
  Figures f;
  f.segments = static_cast<int>(segments.size());
  f.videoSeconds = f.segments * segmentSeconds;
  f.startupSeconds = startupSeconds;
  double lastSwitchSeconds = 0;
  int lastDirection = 0;
  double switchKbps = 0;
  for (size_t i = 0; i < segments.size(); ++i) {
    const SegmentRecord& s = segments[i];
    f.bitrateTerm += s.kbps / 1000;
    f.rebufferSeconds += s.stallSeconds;
    if (i == 0 || s.kbps == segments[i - 1].kbps) continue;
    const double change = s.kbps - segments[i - 1].kbps;
    const int direction = change > 0 ? 1 : -1;
    f.smoothnessTerm += std::fabs(change) / 1000;
    switchKbps += std::fabs(change);
    if (f.switches > 0 && direction != lastDirection &&
        s.requestSeconds - lastSwitchSeconds <= kOscillationSeconds) {
      ++f.oscillations;
    }
    ++f.switches;
    lastSwitchSeconds = s.requestSeconds;
    lastDirection = direction;
  }
  if (f.segments > 0) f.averageKbps = f.bitrateTerm * 1000 / f.segments;
  if (f.videoSeconds > 0) {
    f.rebufferRatio = f.rebufferSeconds / (f.rebufferSeconds + f.videoSeconds);
    f.switchesPerMinute = f.switches / (f.videoSeconds / 60);
  }
  if (f.switches > 0) f.averageSwitchKbps = switchKbps / f.switches;
  f.rebufferTerm = kRebufferPenalty * (startupSeconds + f.rebufferSeconds);
  f.qoe = f.bitrateTerm - f.rebufferTerm - f.smoothnessTerm;
  return f;
}

}  // namespace abrsim
