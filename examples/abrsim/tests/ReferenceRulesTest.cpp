#include <gtest/gtest.h>

#include "ReferenceRules.h"

using abrsim::BufferRule;
using abrsim::ThroughputRule;

namespace {

// Feeds the throughput rule one download of `kbps` lasting `seconds`.
void Measure(ThroughputRule& rule, double kbps, double seconds) {
  abrsim::Trace trace;
  std::string error;
  ASSERT_TRUE(trace.Set({{0, 1}}, error));
  const abrsim::Link link(trace, 0, 1);
  rule.Downloaded(0, 0, 0, 0, kbps * 1000 / 8 * seconds, seconds, link);
}

}  // namespace

TEST(ThroughputRule, StartsLowestThenTakesTheHighestVariantUnderSeventyPercent) {
  ThroughputRule rule{abrsim::Setup()};
  EXPECT_EQ(rule.Choose(0, 0, 0, -1), 0);
  Measure(rule, 3000, 2);
  EXPECT_DOUBLE_EQ(rule.EstimateKbps(), 3000);
  // 0.7 x 3000 = 2100: 1850 is the highest under it.
  EXPECT_EQ(rule.Choose(1, 2, 4, 0), 3);
}

TEST(ThroughputRule, StaysUntilTheVariantExceedsNinetyFivePercent) {
  struct Case {
    double estimate;
    int current;
    int expected;
  } cases[] = {
      {3000, 4, 4},  // 2850 <= 0.95 x 3000 = 2850: stays although 0.7 would not choose it
      {2990, 4, 3},  // 2850 > 2840.5: down to the highest under 2840.5
      {1000, 4, 1},  // down to 750
      {200, 2, 0},   // nothing fits: the lowest
      {7000, 1, 5},  // 0.7 x 7000 = 4900: the top
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.estimate);
    ThroughputRule rule{abrsim::Setup()};
    Measure(rule, c.estimate, 1);
    EXPECT_EQ(rule.Choose(5, 10, 10, c.current), c.expected);
  }
}

TEST(ThroughputRule, TheEstimateHalvesItsMemoryEveryThreeSecondsOfDownload) {
  ThroughputRule rule{abrsim::Setup()};
  Measure(rule, 1000, 1);
  Measure(rule, 3000, 3);  // weight 1/2
  EXPECT_DOUBLE_EQ(rule.EstimateKbps(), 2000);
}

TEST(BufferRule, MapsTheBufferOntoTheLadderWithHysteresis) {
  struct Case {
    double buffer;
    int current;
    int expected;
  } cases[] = {
      {0, 3, 0},    // first segment aside, below the reservoir: the lowest
      {9.9, 5, 0},  // below the reservoir
      {50, 0, 5},   // reservoir + cushion: the highest
      {59, 2, 5},
      // Between: f = 300 + (B - 10) / 40 x 4000. At B = 20, f = 1300.
      {20, 0, 2},  // f passes 750: the highest under 1300 is 1200
      {20, 2, 2},  // between 750 and 1850: stays
      {20, 4, 3},  // f under 1850: the lowest over 1300 is 1850
      {11, 1, 1},  // f = 400: not under 300, not over 750: stays
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.buffer);
    BufferRule rule{abrsim::Setup()};
    EXPECT_EQ(rule.Choose(3, 30, c.buffer, c.current), c.expected);
  }
  BufferRule rule{abrsim::Setup()};
  EXPECT_EQ(rule.Choose(0, 0, 0, -1), 0);
}
