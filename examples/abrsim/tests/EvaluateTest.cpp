#include <gtest/gtest.h>

#include "Evaluate.h"
#include "Oracle.h"
#include "ReferenceRules.h"

using abrsim::LibrarySettings;

namespace {

abrsim::Trace Constant(double mbps) {
  abrsim::Trace trace;
  std::string error;
  EXPECT_TRUE(trace.Set({{0, mbps}}, error)) << error;
  trace.SetName("constant");
  return trace;
}

}  // namespace

// 5 Mbit/s carries 4.75 Mbit/s of payload. The library needs 110 % of a variant plus 128 kbit/s
// once a variant of 1.28 Mbit/s or more has been estimated: 2850 fits (3263 kbit/s), 4300 does
// not (4858). The throughput rule takes the highest variant under 0.7 x 4750 = 3325: 2850. The
// buffer rule reaches the top once 50 s are buffered, and 4300 downloads faster than it plays. The
// oracle plays the top once it has started.
TEST(Evaluate, AConstantRateGivesNoRebufferingAndTheExpectedVariantForEveryRule) {
  const abrsim::Setup setup;
  const abrsim::Trace trace = Constant(5);
  const abrsim::Link link(trace, setup.roundTripSeconds, setup.efficiency);
  abrsim::LibraryRule library(setup, LibrarySettings());
  abrsim::ThroughputRule throughput(setup);
  abrsim::BufferRule buffer(setup);
  struct Case {
    const char* rule;
    abrsim::SessionResult session;
    int expected;
    int from;  // the first segment that must have it
  } cases[] = {
      {"library", abrsim::Play(setup, link, library), 4, 10},
      {"throughput", abrsim::Play(setup, link, throughput), 4, 10},
      {"buffer", abrsim::Play(setup, link, buffer), 5, 100},
      {"oracle", abrsim::Oracle(setup, link).session, 5, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.rule);
    EXPECT_EQ(c.session.figures.rebufferSeconds, 0);
    ASSERT_EQ(static_cast<int>(c.session.segments.size()), setup.segments);
    for (int i = c.from; i < setup.segments; ++i)
      ASSERT_EQ(c.session.segments[i].variant, c.expected) << "segment " << i;
  }
}

TEST(Evaluate, PathsBecomeTraceSets) {
  std::vector<abrsim::TraceSet> sets;
  std::string error;
  // A directory of traces is one set named after it; loose files make a set of their own.
  ASSERT_TRUE(abrsim::LoadSets({ABRSIM_TRACE_DIR, std::string(ABRSIM_TRACE_DIR) + "/steady.txt"},
                               sets, error))
      << error;
  ASSERT_EQ(sets.size(), 2u);
  EXPECT_EQ(sets[0].name, "traces");
  ASSERT_EQ(sets[0].traces.size(), 4u);
  EXPECT_EQ(sets[0].traces[0].Name(), "commute.txt");
  EXPECT_EQ(sets[1].traces.size(), 1u);
  EXPECT_FALSE(abrsim::LoadSets({"/nonexistent/abrsim"}, sets, error));
}

TEST(Evaluate, SettingsReadAndWriteAsKeyValueLists) {
  LibrarySettings s;
  ASSERT_TRUE(abrsim::ParseSettings("up=10,margin=256,monitor=500,groups=3", s));
  EXPECT_EQ(s.upTimerSeconds, 10);
  EXPECT_EQ(s.marginKbps, 256);
  EXPECT_EQ(s.monitorMs, 500u);
  EXPECT_EQ(s.groups, 3);
  EXPECT_EQ(abrsim::SettingsKey(s), "up=10,margin=256,monitor=500,groups=3");
  for (const char* bad : {"up", "up=x", "up=-1", "speed=3", "monitor=0", "up=5s"}) {
    SCOPED_TRACE(bad);
    LibrarySettings t;
    EXPECT_FALSE(abrsim::ParseSettings(bad, t));
  }
  EXPECT_EQ(abrsim::Describe(LibrarySettings()),
            "up timer 0 s, margin relative, monitor 250 ms, no groups");
}

TEST(Evaluate, ATraceRunsEveryRuleAsked) {
  const abrsim::Trace trace = Constant(2);
  LibrarySettings best;
  best.groups = 2;
  const abrsim::TraceOutcome all =
      abrsim::RunTrace(abrsim::Setup(), trace, LibrarySettings(), &best, true);
  for (int r = 0; r < abrsim::kRuleCount; ++r) EXPECT_TRUE(all.present[r]) << r;
  EXPECT_DOUBLE_EQ(all.meanMbps, 2);
  const abrsim::TraceOutcome some =
      abrsim::RunTrace(abrsim::Setup(), trace, LibrarySettings(), nullptr, false);
  EXPECT_FALSE(some.present[abrsim::kLibraryBest]);
  EXPECT_FALSE(some.present[abrsim::kOracle]);
}
