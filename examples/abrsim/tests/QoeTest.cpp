#include <gtest/gtest.h>

#include "Oracle.h"
#include "Qoe.h"
#include "Session.h"
#include "Trace.h"

using abrsim::Figures;
using abrsim::FixedRule;
using abrsim::SegmentRecord;

namespace {

// A 500/2000 kbit/s ladder of 4 s segments over a 1 Mbit/s link that delivers all of its rate
// with no round trip: a 500 kbit/s segment takes 2 s, a 2000 kbit/s one 8 s.
abrsim::Setup HandSetup(int segments) {
  abrsim::Setup setup;
  setup.ladderKbps = {500, 2000};
  setup.segments = segments;
  setup.roundTripSeconds = 0;
  setup.efficiency = 1;
  return setup;
}

abrsim::Trace OneMegabit() {
  abrsim::Trace trace;
  std::string error;
  EXPECT_TRUE(trace.Set({{0, 1.0}}, error));
  return trace;
}

}  // namespace

TEST(Qoe, HandMadeSessionsScoreAsWorkedOut) {
  struct Case {
    const char* name;
    std::vector<int> variants;
    double startup, stalls, bitrateTerm, smoothness, qoe;
    int switches, oscillations;
  } cases[] = {
      // 2 s start-up, then each 8 s segment on a 4 s buffer stalls 4 s: 5 - 4.3 x 10 - 3.
      {"low high high low", {0, 1, 1, 0}, 2, 8, 5, 3, 5 - 43 - 3, 2, 0},
      // Up at 2 s, down at 10 s: reversed within 10 s. Stall 4 s on the high segment.
      {"low high low", {0, 1, 0}, 2, 4, 3, 3, 3 - 4.3 * 6 - 3, 2, 1},
      // The buffer grows by 2 s a segment: no stall.
      {"low throughout", {0, 0, 0, 0}, 2, 0, 2, 0, 2 - 4.3 * 2, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const abrsim::Setup setup = HandSetup(static_cast<int>(c.variants.size()));
    const abrsim::Trace trace = OneMegabit();
    const abrsim::Link link(trace, 0, 1);
    FixedRule rule(c.variants);
    const Figures f = abrsim::Play(setup, link, rule).figures;
    EXPECT_DOUBLE_EQ(f.startupSeconds, c.startup);
    EXPECT_DOUBLE_EQ(f.rebufferSeconds, c.stalls);
    EXPECT_DOUBLE_EQ(f.bitrateTerm, c.bitrateTerm);
    EXPECT_DOUBLE_EQ(f.smoothnessTerm, c.smoothness);
    EXPECT_DOUBLE_EQ(f.rebufferTerm, 4.3 * (c.startup + c.stalls));
    EXPECT_NEAR(f.qoe, c.qoe, 1e-9);
    EXPECT_EQ(f.switches, c.switches);
    EXPECT_EQ(f.oscillations, c.oscillations);
  }
}

TEST(Qoe, FiguresPerMinuteAndPooledRatios) {
  // Four 4 s segments: 16 s of video; two switches of 1500 kbit/s each.
  std::vector<SegmentRecord> segments = {{0, 500, 0, 2, 0, 0},
                                         {1, 2000, 2, 10, 4, 4},
                                         {1, 2000, 10, 18, 4, 4},
                                         {0, 500, 18, 20, 4, 0}};
  const Figures f = abrsim::Score(segments, 2, 4);
  EXPECT_DOUBLE_EQ(f.videoSeconds, 16);
  EXPECT_DOUBLE_EQ(f.averageKbps, 1250);
  EXPECT_DOUBLE_EQ(f.switchesPerMinute, 2 / (16.0 / 60));
  EXPECT_DOUBLE_EQ(f.averageSwitchKbps, 1500);
  EXPECT_DOUBLE_EQ(f.rebufferRatio, 8.0 / (8 + 16));
}

TEST(Qoe, AChangeReversedAfterMoreThanTenSecondsIsNoOscillation) {
  std::vector<SegmentRecord> segments = {{0, 500, 0, 1, 0, 0},
                                         {1, 2000, 1, 2, 4, 0},
                                         {0, 500, 11.0, 12, 4, 0},
                                         {1, 2000, 21.5, 22, 4, 0}};
  // Up at 1 s, down at 11 s (exactly 10 s: counts), up again at 21.5 s (10.5 s: does not).
  EXPECT_EQ(abrsim::Score(segments, 1, 4).oscillations, 1);
}

TEST(Qoe, SegmentContributionHasNoChangeTermForTheFirstSegment) {
  EXPECT_DOUBLE_EQ(abrsim::SegmentQoe(1200, -1, 0), 1.2);
  EXPECT_DOUBLE_EQ(abrsim::SegmentQoe(1200, 300, 1), 1.2 - 4.3 - 0.9);
}
