#include "Session.h"

#include <algorithm>

namespace abrsim {

double SegmentBytes(const Setup& setup, int kbps) {
  return kbps * 1000.0 * setup.segmentSeconds / 8;
}

SessionResult Play(const Setup& setup, const Link& link, Rule& rule) {
  SessionResult result;
  const int top = static_cast<int>(setup.ladderKbps.size()) - 1;
  const double room = setup.maxBufferSeconds - setup.segmentSeconds;
  double now = 0;
  double buffer = 0;
  int current = -1;
  for (int index = 0; index < setup.segments; ++index) {
    if (buffer > room) {
      now += buffer - room;
      buffer = room;
    }
    const int variant = std::clamp(rule.Choose(index, now, buffer, current), 0, top);
    const int kbps = setup.ladderKbps[variant];
    const double bytes = SegmentBytes(setup, kbps);
    const double payloadStart = now + link.RoundTrip();
    const double end = link.Finish(payloadStart, bytes);
    rule.Downloaded(index, variant, now, payloadStart, bytes, end, link);

    const double took = end - now;
    SegmentRecord record{variant, static_cast<double>(kbps), now, end, buffer, 0.0};
    if (index == 0) {
      result.startupSeconds = took;
      buffer = setup.segmentSeconds;
    } else {
      record.stallSeconds = std::max(0.0, took - buffer);
      buffer = std::max(0.0, buffer - took) + setup.segmentSeconds;
    }
    result.segments.push_back(record);
    now = end;
    current = variant;
  }
  result.figures = Score(result.segments, result.startupSeconds, setup.segmentSeconds);
  return result;
}

}  // namespace abrsim
