// The upper bound: the best sequence of variants for a trace known in advance, found by dynamic
// programming over the segments on the same simulated player as the rules.
#pragma once

#include <vector>

#include "Session.h"

namespace abrsim {

// The buffer level is kept in steps of this many seconds between segments.
constexpr double kOracleBufferStep = 0.1;

struct OracleResult {
  std::vector<int> variants;  // the best variant of each segment
  SessionResult session;      // the player's figures for that sequence
  long long states = 0;       // states visited, over all segments
};

// After each segment the sessions that reach the same variant with the buffer in the same step
// of `bufferStep` seconds are merged into the one with the best score so far (the earlier one on
// a tie). Times and buffer levels themselves stay exact, so the sequence found is played out as
// it is and its score is a true session's; the merge is the only approximation, and it can only
// miss a better sequence, never report one that does not exist.
OracleResult Oracle(const Setup& setup, const Link& link, double bufferStep = kOracleBufferStep);

// A rule that plays a fixed sequence of variants.
class FixedRule : public Rule {
 public:
  explicit FixedRule(std::vector<int> variants) : m_variants(std::move(variants)) {}
  std::string Name() const override { return "oracle"; }
  int Choose(int index, double, double, int) override { return m_variants[index]; }

 private:
  std::vector<int> m_variants;
};

}  // namespace abrsim
