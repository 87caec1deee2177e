// A throughput trace: from each listed time on, the link carries the listed rate.
#pragma once

#include <string>
#include <vector>

namespace abrsim {

struct TracePoint {
  double seconds;  // from this time on ...
  double kbps;     // ... the link carries this many kilobits per second
};

class Trace {
 public:
  // Reads "<seconds> <kbit/s>" lines; '#' starts a comment. Times must not decrease. On failure
  // returns false and says why in `error`.
  bool Load(const std::string& path, std::string& error);
  // Bits per second at `seconds` after the start.
  double BpsAt(double seconds) const;
  // The time of the last point: where the simulation ends.
  double EndSeconds() const { return m_points.empty() ? 0.0 : m_points.back().seconds; }
  bool Empty() const { return m_points.empty(); }

 private:
  std::vector<TracePoint> m_points;
};

}  // namespace abrsim
