// The picture of a run: QoE per trace for each rule, one panel per trace set, and the timeline of
// one trace under the library's rule (link rate, the library's estimate, the chosen bitrate, the
// oracle's choice and the buffer).
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Evaluate.h"
#include "Qoe.h"

namespace abrsim {

struct Timeline {
  std::string title;
  std::vector<std::pair<double, double>> linkKbps;  // (seconds, payload kbit/s) from then on
  std::vector<std::pair<double, int>> estimates;    // (seconds, bit/s) from then on
  std::vector<SegmentRecord> library;
  std::vector<SegmentRecord> oracle;
  double segmentSeconds = 4;
};

// The whole picture as an SVG document. `timeline` may be null.
std::string Picture(const std::vector<TraceSet>& sets, const std::vector<TraceOutcome>& outcomes,
                    const Timeline* timeline);

}  // namespace abrsim
