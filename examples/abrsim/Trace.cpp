#include "Trace.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>

namespace abrsim {

bool Trace::Load(const std::string& path, std::string& error) {
  std::ifstream in(path);
  if (!in) {
    error = "cannot open " + path;
    return false;
  }
  std::vector<TracePoint> points;
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
    if (!(fields >> point.mbps) || (fields >> rest)) {
      error = path + ":" + std::to_string(number) + ": expected \"<seconds> <Mbit/s>\"";
      return false;
    }
    points.push_back(point);
  }
  const size_t slash = path.find_last_of('/');
  m_name = slash == std::string::npos ? path : path.substr(slash + 1);
  if (!Set(std::move(points), error)) {
    error = path + ": " + error;
    return false;
  }
  return true;
}

bool Trace::Set(std::vector<TracePoint> points, std::string& error) {
  if (points.empty()) {
    error = "no points";
    return false;
  }
  bool anyRate = false;
  for (size_t i = 0; i < points.size(); ++i) {
    const TracePoint& p = points[i];
    if (!(p.seconds >= 0) || !(p.mbps >= 0) || !std::isfinite(p.mbps) ||
        (i > 0 && !(p.seconds > points[i - 1].seconds))) {
      error = "point " + std::to_string(i + 1) +
              ": times must start at 0 or later and increase, rates must not be negative";
      return false;
    }
    anyRate = anyRate || p.mbps > 0;
  }
  if (!anyRate) {
    error = "every rate is zero";
    return false;
  }
  const size_t n = points.size();
  const double lastStep = n > 1 ? points[n - 1].seconds - points[n - 2].seconds : 1.0;
  m_period = points.back().seconds + lastStep;
  m_points = std::move(points);
  return true;
}

Link::Link(const Trace& trace, double roundTripSeconds, double efficiency)
    : m_period(trace.PeriodSeconds()), m_perPeriod(0), m_roundTrip(roundTripSeconds) {
  const std::vector<TracePoint>& points = trace.Points();
  // The time before the first point carries the first rate.
  for (size_t i = 0; i < points.size(); ++i) {
    const double start = i == 0 ? 0.0 : points[i].seconds;
    const double end = i + 1 < points.size() ? points[i + 1].seconds : m_period;
    m_start.push_back(start);
    m_rate.push_back(points[i].mbps * 1e6 / 8 * efficiency);
    m_before.push_back(m_perPeriod);
    m_perPeriod += m_rate.back() * (end - start);
  }
}

double Link::BpsAt(double seconds) const {
  const double within = seconds - std::floor(seconds / m_period) * m_period;
  const size_t i = std::upper_bound(m_start.begin(), m_start.end(), within) - m_start.begin() - 1;
  return m_rate[i] * 8;
}

double Link::Delivered(double seconds) const {
  const double periods = std::floor(seconds / m_period);
  const double within = seconds - periods * m_period;
  const size_t i = std::upper_bound(m_start.begin(), m_start.end(), within) - m_start.begin() - 1;
  return periods * m_perPeriod + m_before[i] + m_rate[i] * (within - m_start[i]);
}

double Link::TimeOf(double bytes) const {
  double periods = std::floor(bytes / m_perPeriod);
  double within = bytes - periods * m_perPeriod;
  // The earliest time: a period's last byte belongs to that period, not to the next one's start.
  if (within == 0 && periods > 0) {
    periods -= 1;
    within = m_perPeriod;
  }
  // The last step with bytes still to come at `within`, skipping steps that carry nothing.
  size_t i = std::lower_bound(m_before.begin(), m_before.end(), within) - m_before.begin();
  i = i == 0 ? 0 : i - 1;
  while (m_rate[i] == 0 && i > 0) --i;
  const double into = m_rate[i] > 0 ? (within - m_before[i]) / m_rate[i] : 0.0;
  return periods * m_period + m_start[i] + into;
}

double Link::Finish(double start, double bytes) const {
  if (bytes <= 0) return start;
  return std::max(start, TimeOf(Delivered(start) + bytes));
}

}  // namespace abrsim

namespace abrsim {

void Link::Finish(double start, const double* bytes, int count, double* end) const {
  // Walk the steps forward from the start: the sizes ascend, and a download spans few steps.
  const size_t steps = m_start.size();
  double periods = std::floor(start / m_period);
  const double within = start - periods * m_period;
  size_t i = std::upper_bound(m_start.begin(), m_start.end(), within) - m_start.begin() - 1;
  double base = periods * m_perPeriod;
  const double delivered = base + m_before[i] + m_rate[i] * (within - m_start[i]);
  auto stepEnd = [&](size_t step) {
    return base + (step + 1 < steps ? m_before[step + 1] : m_perPeriod);
  };
  for (int c = 0; c < count; ++c) {
    if (bytes[c] <= 0) {
      end[c] = start;
      continue;
    }
    const double target = delivered + bytes[c];
    while (stepEnd(i) < target) {
      if (++i == steps) {
        i = 0;
        base += m_perPeriod;
        periods += 1;
      }
    }
    end[c] = std::max(start,
                      periods * m_period + m_start[i] + (target - base - m_before[i]) / m_rate[i]);
  }
}

}  // namespace abrsim
