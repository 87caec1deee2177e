// A measured throughput trace and the link it stands for: "<seconds> <Mbit/s>" lines, each rate
// holding until the next line's time; a run longer than the trace wraps around to its start.
#pragma once

#include <string>
#include <vector>

namespace abrsim {

struct TracePoint {
  double seconds;  // from this time on ...
  double mbps;     // ... the link carries this many megabits per second
};

class Trace {
 public:
  // Reads "<seconds> <Mbit/s>" lines (tabs or spaces; '#' starts a comment). Times start at or
  // after 0 and increase; rates are not negative and not all zero. On failure returns false and
  // says why in `error`.
  bool Load(const std::string& path, std::string& error);
  // The same from points given directly (tests, the constant link).
  bool Set(std::vector<TracePoint> points, std::string& error);
  const std::vector<TracePoint>& Points() const { return m_points; }
  // One pass through the trace: the last rate holds as long as the step before it (1 s for a
  // single point), then the trace starts again.
  double PeriodSeconds() const { return m_period; }
  const std::string& Name() const { return m_name; }
  void SetName(std::string name) { m_name = std::move(name); }

 private:
  std::vector<TracePoint> m_points;
  double m_period = 0;
  std::string m_name;
};

// The network a player sees over a trace: every request waits one round trip before its first
// byte, then the payload arrives at `efficiency` times the trace's rate.
class Link {
 public:
  Link(const Trace& trace, double roundTripSeconds, double efficiency);

  // Payload bits per second at `seconds`.
  double BpsAt(double seconds) const;
  // When the last of `bytes` has arrived, for payload that starts flowing at `start`.
  double Finish(double start, double bytes) const;
  // The same for several sizes at one start, in ascending order: end[i] for bytes[i].
  void Finish(double start, const double* bytes, int count, double* end) const;
  double RoundTrip() const { return m_roundTrip; }

 private:
  // Payload bytes delivered from time 0 to `seconds`.
  double Delivered(double seconds) const;
  // The earliest time by which `bytes` have been delivered since time 0.
  double TimeOf(double bytes) const;

  std::vector<double> m_start;   // start time of each step within one period
  std::vector<double> m_rate;    // payload bytes per second of each step
  std::vector<double> m_before;  // bytes delivered in the period before each step
  double m_period;
  double m_perPeriod;  // bytes delivered in one whole period
  double m_roundTrip;
};

}  // namespace abrsim
