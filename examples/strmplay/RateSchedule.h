// The link rate over time: "8000@0,1500@10,5000@20" is 8000 kbit/s from second 0, 1500 from
// second 10 and 5000 from second 20 on. An optional cap lowers every step.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace strmplay {

class RateSchedule {
 public:
  // Parses the text; false (with a reason) on a malformed step. Steps are sorted by time, and a
  // schedule whose first step starts after 0 holds that first rate from 0.
  bool Parse(const std::string& text, std::string& error);
  void SetCap(int kbps) { m_capKbps = kbps; }
  // kbit/s in force at the given second; 0 means unlimited (no steps and no cap).
  int RateAt(double seconds) const;
  const std::vector<std::pair<double, int>>& Steps() const { return m_steps; }
  std::string ToString() const;

 private:
  std::vector<std::pair<double, int>> m_steps;  // (from second, kbit/s)
  int m_capKbps = 0;
};

}  // namespace strmplay
