// The run's time series: written as CSV and drawn as an SVG plot.
#pragma once

#include <string>
#include <vector>

namespace strmplay {

struct TraceSample {
  double time = 0.0;         // seconds of playback-model time since the start
  int measuredKbps = 0;      // the bandwidth checker's current estimate
  int linkKbps = 0;          // the link's rate (schedule and cap), 0 when unknown
  int selectedKbps = 0;      // declared bitrate of the variant being fetched
  int variant = 0;           // its index
  double bufferSeconds = 0;  // playback buffer
  bool playing = false;      // false while starting up or rebuffering
};

struct TraceEvent {
  double time = 0.0;
  std::string text;  // e.g. "switch 2 -> 0"
};

class Trace {
 public:
  void Add(const TraceSample& s) { m_samples.push_back(s); }
  void AddEvent(double time, const std::string& text) { m_events.push_back({time, text}); }
  const std::vector<TraceSample>& Samples() const { return m_samples; }
  bool WriteCsv(const std::string& path, std::string& error) const;
  // title goes above the plot.
  bool WriteSvg(const std::string& path, const std::string& title, std::string& error) const;

 private:
  std::vector<TraceSample> m_samples;
  std::vector<TraceEvent> m_events;
};

}  // namespace strmplay
