// Comparison rules only; see ReferenceRules.h.
#include "ReferenceRules.h"

#include <cmath>

namespace abrsim {

int ThroughputRule::HighestUnder(double kbps) const {
  int best = 0;
  for (int i = 0; i < static_cast<int>(m_ladder.size()); ++i)
    if (m_ladder[i] <= kbps) best = i;
  return best;
}

int ThroughputRule::Choose(int, double, double, int current) {
  if (current < 0 || m_estimateKbps <= 0) return 0;
  const int up = HighestUnder(kUpShare * m_estimateKbps);
  if (up > current) return up;
  if (m_ladder[current] > kDownShare * m_estimateKbps)
    return HighestUnder(kDownShare * m_estimateKbps);
  return current;
}

void ThroughputRule::Downloaded(int, int, double request, double, double bytes, double end,
                                const Link&) {
  const double took = end - request;
  if (took <= 0) return;
  const double sample = bytes * 8 / took / 1000;
  if (m_estimateKbps <= 0) {
    m_estimateKbps = sample;
    return;
  }
  const double weight = 1 - std::exp2(-took / kHalfLifeSeconds);
  m_estimateKbps += weight * (sample - m_estimateKbps);
}

int BufferRule::Choose(int, double, double bufferSeconds, int current) {
  const int top = static_cast<int>(m_ladder.size()) - 1;
  if (current < 0) return 0;
  if (bufferSeconds < kReservoirSeconds) return 0;
  if (bufferSeconds >= kReservoirSeconds + kCushionSeconds) return top;
  const double f = m_ladder[0] + (bufferSeconds - kReservoirSeconds) / kCushionSeconds *
                                     (m_ladder[top] - m_ladder[0]);
  const int above = current < top ? current + 1 : top;
  const int below = current > 0 ? current - 1 : 0;
  if (f >= m_ladder[above]) {
    // The highest variant strictly under the line.
    int best = current;
    for (int i = current; i <= top; ++i)
      if (m_ladder[i] < f) best = i;
    return best;
  }
  if (f <= m_ladder[below]) {
    // The lowest variant strictly over the line.
    for (int i = 0; i <= current; ++i)
      if (m_ladder[i] > f) return i;
    return current;
  }
  return current;
}

}  // namespace abrsim
