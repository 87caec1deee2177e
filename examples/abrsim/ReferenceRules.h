// Two reference rules for comparison only: they are not part of the library and nothing in it
// uses them. Each is the small textbook form of its kind, run on the same simulated player as the
// library's rule.
#pragma once

#include "Session.h"

namespace abrsim {

// Throughput rule: an exponentially weighted average of the measured segment throughputs (weights
// halve every `halfLifeSeconds` of download time). It moves up to the highest variant under 0.7
// of the estimate, and when the current variant exceeds 0.95 of it, down to the highest variant
// under that.
class ThroughputRule : public Rule {
 public:
  static constexpr double kUpShare = 0.7;
  static constexpr double kDownShare = 0.95;
  static constexpr double kHalfLifeSeconds = 3;

  explicit ThroughputRule(const Setup& setup) : m_ladder(setup.ladderKbps) {}
  std::string Name() const override { return "throughput"; }
  int Choose(int index, double now, double bufferSeconds, int current) override;
  void Downloaded(int index, int variant, double request, double payloadStart, double bytes,
                  double end, const Link& link) override;
  double EstimateKbps() const { return m_estimateKbps; }

 private:
  // The highest variant of at most `kbps`, or the lowest.
  int HighestUnder(double kbps) const;

  std::vector<int> m_ladder;
  double m_estimateKbps = 0;
};

// Buffer rule (BBA-0): the rate follows the buffer. Below the reservoir the lowest variant, above
// reservoir + cushion the highest, in between a straight line from lowest to highest; the variant
// changes only when that line passes the next variant up or down.
class BufferRule : public Rule {
 public:
  static constexpr double kReservoirSeconds = 10;
  static constexpr double kCushionSeconds = 40;

  explicit BufferRule(const Setup& setup) : m_ladder(setup.ladderKbps) {}
  std::string Name() const override { return "buffer"; }
  int Choose(int index, double now, double bufferSeconds, int current) override;

 private:
  std::vector<int> m_ladder;
};

}  // namespace abrsim
