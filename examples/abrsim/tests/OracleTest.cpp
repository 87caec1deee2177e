#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <functional>

#include "Evaluate.h"
#include "Oracle.h"
#include "Parallel.h"

namespace {

// The oracle merges sessions whose buffers fall in one 100 ms step; a merged-away session could
// have led further than the one kept. This much QoE per trace covers that.
constexpr double kMergeTolerance = 1.0;

abrsim::Trace Committed(const char* name) {
  abrsim::Trace trace;
  std::string error;
  EXPECT_TRUE(trace.Load(std::string(ABRSIM_TRACE_DIR) + "/" + name, error)) << error;
  return trace;
}

// The best QoE over every sequence of variants, by trying them all.
double BruteForce(const abrsim::Setup& setup, const abrsim::Link& link) {
  const int variants = static_cast<int>(setup.ladderKbps.size());
  std::vector<int> sequence(setup.segments, 0);
  double best = -1e300;
  while (true) {
    abrsim::FixedRule rule(sequence);
    best = std::max(best, abrsim::Play(setup, link, rule).figures.qoe);
    int k = 0;
    while (k < setup.segments && ++sequence[k] == variants) sequence[k++] = 0;
    if (k == setup.segments) return best;
  }
}

// Every rule's QoE against the oracle's on each trace of `sets`.
void ExpectOracleOnTop(const std::vector<abrsim::TraceSet>& sets) {
  std::vector<const abrsim::Trace*> traces;
  for (const abrsim::TraceSet& set : sets)
    for (const abrsim::Trace& trace : set.traces) traces.push_back(&trace);
  std::vector<abrsim::TraceOutcome> outcomes;
  ASSERT_TRUE(abrsim::RunParallel<abrsim::TraceOutcome>(
      static_cast<int>(traces.size()), abrsim::DefaultWorkers(),
      [&](int i) {
        return abrsim::RunTrace(abrsim::Setup(), *traces[i], abrsim::LibrarySettings(), nullptr,
                                true);
      },
      outcomes));
  for (size_t i = 0; i < traces.size(); ++i) {
    SCOPED_TRACE(traces[i]->Name());
    const double oracle = outcomes[i].figures[abrsim::kOracle].qoe;
    for (int r = 0; r < abrsim::kRuleCount; ++r) {
      if (r == abrsim::kOracle || !outcomes[i].present[r]) continue;
      EXPECT_GE(oracle + kMergeTolerance, outcomes[i].figures[r].qoe) << abrsim::RuleName(r);
    }
  }
}

}  // namespace

TEST(Oracle, FindsTheBestSequenceOfASmallProblem) {
  struct Case {
    const char* trace;
    double offsetSeconds;
  } cases[] = {{"commute.txt", 0}, {"oscillating.txt", 50}, {"stepdown.txt", 36}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.trace);
    abrsim::Setup setup;
    setup.ladderKbps = {300, 1200, 4300};
    setup.segments = 7;
    setup.maxBufferSeconds = 12;
    // Start the session part-way into the trace, where it changes.
    abrsim::Trace source = Committed(c.trace);
    std::vector<abrsim::TracePoint> points;
    for (const abrsim::TracePoint& p : source.Points())
      if (p.seconds >= c.offsetSeconds) points.push_back({p.seconds - c.offsetSeconds, p.mbps});
    abrsim::Trace trace;
    std::string error;
    ASSERT_TRUE(trace.Set(points, error)) << error;
    const abrsim::Link link(trace, setup.roundTripSeconds, setup.efficiency);
    const abrsim::OracleResult oracle = abrsim::Oracle(setup, link);
    EXPECT_NEAR(oracle.session.figures.qoe, BruteForce(setup, link), 1e-9);
  }
}

TEST(Oracle, ReportsTheScoreOfTheSequenceItPlays) {
  const abrsim::Trace trace = Committed("commute.txt");
  const abrsim::Setup setup;
  const abrsim::Link link(trace, setup.roundTripSeconds, setup.efficiency);
  const abrsim::OracleResult oracle = abrsim::Oracle(setup, link);
  abrsim::FixedRule replay(oracle.variants);
  EXPECT_DOUBLE_EQ(abrsim::Play(setup, link, replay).figures.qoe, oracle.session.figures.qoe);
  EXPECT_EQ(static_cast<int>(oracle.variants.size()), setup.segments);
}

TEST(Oracle, IsAtOrAboveEveryRuleOnTheCommittedTraces) {
  std::vector<abrsim::TraceSet> sets;
  std::string error;
  ASSERT_TRUE(abrsim::LoadSets({ABRSIM_TRACE_DIR}, sets, error)) << error;
  ExpectOracleOnTop(sets);
}

TEST(Oracle, IsAtOrAboveEveryRuleOnTheSharedTraces) {
  struct stat st;
  if (stat(ABRSIM_SHARED_TRACE_DIR, &st) != 0) {
    GTEST_SKIP() << "no shared traces at " << ABRSIM_SHARED_TRACE_DIR;
  }
  std::vector<abrsim::TraceSet> sets;
  std::string error;
  ASSERT_TRUE(abrsim::LoadSets({ABRSIM_SHARED_TRACE_DIR}, sets, error)) << error;
  ExpectOracleOnTop(sets);
}
