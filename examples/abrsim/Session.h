// The simulated player: fetches a video's segments one after another over a link, asking a rule
// before each which variant to fetch, and keeps the buffer, the stalls and the start-up time.
#pragma once

#include <string>
#include <vector>

#include "Qoe.h"
#include "Trace.h"

namespace abrsim {

// The video and the player, the same for every rule.
struct Setup {
  std::vector<int> ladderKbps = {300, 750, 1200, 1850, 2850, 4300};
  double segmentSeconds = 4;
  int segments = 150;  // ten minutes of video
  double maxBufferSeconds = 60;
  double roundTripSeconds = 0.08;
  double efficiency = 0.95;  // share of the link's rate that is payload
};

// Payload bytes of one segment of `kbps`.
double SegmentBytes(const Setup& setup, int kbps);

// Chooses the variant of each segment.
class Rule {
 public:
  virtual ~Rule() = default;
  virtual std::string Name() const = 0;
  // Before segment `index` is requested at `now` with `bufferSeconds` buffered. `current` is the
  // variant of the previous segment, -1 before the first. Returns the variant to fetch.
  virtual int Choose(int index, double now, double bufferSeconds, int current) = 0;
  // Segment `index` of `variant` was requested at `request`; its `bytes` of payload began to
  // flow at `payloadStart` over `link` and were all in at `end`.
  virtual void Downloaded(int index, int variant, double request, double payloadStart, double bytes,
                          double end, const Link& link) {}
};

struct SessionResult {
  std::vector<SegmentRecord> segments;
  double startupSeconds = 0;
  Figures figures;
};

// Plays the whole video. The player requests a segment as soon as the buffer leaves room for it
// under the cap; playback begins when the first segment is in and stalls whenever the buffer
// runs dry.
SessionResult Play(const Setup& setup, const Link& link, Rule& rule);

}  // namespace abrsim
