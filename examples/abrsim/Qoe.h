// The viewing figures of one session and the linear QoE score over its segments.
#pragma once

#include <cmath>
#include <vector>

namespace abrsim {

// How the score weighs the viewing: per segment its bitrate in Mbit/s, less this many per second
// of waiting (start-up and stalls alike), less every change of bitrate in Mbit/s.
constexpr double kRebufferPenalty = 4.3;
// A change undone by an opposite change within this many seconds counts as an oscillation.
constexpr double kOscillationSeconds = 10.0;

// One fetched segment as the player saw it.
struct SegmentRecord {
  int variant;
  double kbps;            // bitrate of the variant fetched
  double requestSeconds;  // when the request went out
  double endSeconds;      // when its last byte arrived
  double bufferBefore;    // seconds buffered when the decision was made
  double stallSeconds;    // playback stalled while it downloaded (start-up not included)
};

struct Figures {
  int segments = 0;
  double videoSeconds = 0;
  double averageKbps = 0;
  double rebufferSeconds = 0;  // stalls after playback began
  double rebufferRatio = 0;    // stalls / (stalls + video)
  double startupSeconds = 0;   // first request to first segment in, playback begins then
  double switchesPerMinute = 0;
  double averageSwitchKbps = 0;
  int switches = 0;
  int oscillations = 0;
  double bitrateTerm = 0;     // sum of segment bitrates, Mbit/s
  double rebufferTerm = 0;    // penalty x (start-up + stalls)
  double smoothnessTerm = 0;  // sum of |bitrate change|, Mbit/s
  double qoe = 0;             // bitrateTerm - rebufferTerm - smoothnessTerm
};

// The figures of a session of `segmentSeconds` segments; the first segment's download is the
// start-up time.
Figures Score(const std::vector<SegmentRecord>& segments, double startupSeconds,
              double segmentSeconds);

// The score's contribution of one segment: its bitrate, less the penalty for `waitSeconds`, less
// the change from `previousKbps` (negative for the first segment, which has no change).
inline double SegmentQoe(double kbps, double previousKbps, double waitSeconds) {
  const double change = previousKbps < 0 ? 0.0 : std::fabs(kbps - previousKbps) / 1000;
  return kbps / 1000 - kRebufferPenalty * waitSeconds - change;
}

}  // namespace abrsim
