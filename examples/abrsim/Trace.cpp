#include "Trace.h"

#include <fstream>
#include <sstream>

namespace abrsim {

bool Trace::Load(const std::string& path, std::string& error) {
  std::ifstream in(path);
  if (!in) {
    error = "cannot open " + path;
    return false;
  }
  m_points.clear();
  std::string line;
  int number = 0;
  while (std::getline(in, line)) {
    ++number;
    const size_t hash = line.find('#');
    if (hash != std::string::npos) line.erase(hash);
    std::istringstream fields(line);
    TracePoint point;
    if (!(fields >> point.seconds)) continue;  // blank or comment line
    std::string rest;
    if (!(fields >> point.kbps) || (fields >> rest) || point.kbps <= 0 || point.seconds < 0 ||
        (!m_points.empty() && point.seconds < m_points.back().seconds)) {
      error = path + ":" + std::to_string(number) +
              ": expected \"<seconds> <kbit/s>\" with a positive rate and non-decreasing time";
      return false;
    }
    m_points.push_back(point);
  }
  if (m_points.empty()) {
    error = path + ": no points";
    return false;
  }
  return true;
}

double Trace::BpsAt(double seconds) const {
  double kbps = m_points.front().kbps;
  for (const TracePoint& point : m_points) {
    if (point.seconds > seconds) break;
    kbps = point.kbps;
  }
  return kbps * 1000.0;
}

}  // namespace abrsim
