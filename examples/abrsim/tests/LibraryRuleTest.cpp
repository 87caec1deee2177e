#include <gtest/gtest.h>

#include "AdaptiveSegSwitcher.h"
#include "BandwidthChecker.h"
#include "LibraryRule.h"
#include "Platform.h"

using abrsim::LibraryCall;
using abrsim::LibrarySettings;
using abrsim::Reason;

namespace {

abrsim::Trace Committed(const char* name) {
  abrsim::Trace trace;
  std::string error;
  EXPECT_TRUE(trace.Load(std::string(ABRSIM_TRACE_DIR) + "/" + name, error)) << error;
  return trace;
}

LibrarySettings Grouped(int groups, int upTimer) {
  LibrarySettings s;
  s.groups = groups;
  s.upTimerSeconds = upTimer;
  return s;
}

}  // namespace

TEST(LibraryRule, GroupsSplitTheLadderIntoContiguousRunsOfOneUpgradeGroup) {
  const std::vector<int> ladder = {300, 750, 1200, 1850, 2850, 4300};
  EXPECT_TRUE(abrsim::Groups(ladder, 0).empty());
  for (const auto& [groups, expected] : std::vector<std::pair<int, std::vector<int>>>{
           {2, {1, 1, 1, 2, 2, 2}}, {3, {1, 1, 2, 2, 3, 3}}}) {
    SCOPED_TRACE(groups);
    const std::vector<strmcommon::bitrateParam_t> params = abrsim::Groups(ladder, groups);
    ASSERT_EQ(params.size(), ladder.size());
    for (size_t i = 0; i < ladder.size(); ++i) {
      EXPECT_EQ(params[i].bitrate, ladder[i] * 1000);
      EXPECT_EQ(params[i].group, expected[i]);
      EXPECT_EQ(params[i].upgradeGroup, 1);
    }
  }
}

// The calls abrsim made, replayed on fresh library objects on the fake clock, give the same
// decisions: watching the decisions (the capture hook, the observed selection) changes none.
TEST(LibraryRule, MakesTheSameChoicesAsTheDirectCallSequenceOnTheFakeClock) {
  struct Case {
    const char* trace;
    LibrarySettings settings;
  } cases[] = {{"commute.txt", LibrarySettings()},
               {"oscillating.txt", Grouped(3, 10)},
               {"stepdown.txt", Grouped(2, 5)}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.trace);
    abrsim::Setup setup;
    setup.segments = 60;
    const abrsim::Trace trace = Committed(c.trace);
    const abrsim::Link link(trace, setup.roundTripSeconds, setup.efficiency);
    std::vector<LibraryCall> calls;
    std::vector<int> fetched;
    {
      abrsim::LibraryRule rule(setup, c.settings);
      rule.RecordCalls(&calls);
      for (const abrsim::SegmentRecord& s : abrsim::Play(setup, link, rule).segments)
        fetched.push_back(s.variant);
    }

    strmcommon::BandwidthChecker checker;
    strmcommon::AdaptiveSegSwitcher switcher;
    std::vector<strmcommon::_VariantData> variants;
    for (int kbps : setup.ladderKbps) variants.push_back({kbps * 1000, 0, 0, 0});
    abrsim::SetSimulatedClockMs(abrsim::LibraryRule::ClockMs(0));
    checker.Init(abrsim::StreamHandler());
    checker.SetMonitorInterval(c.settings.monitorMs);
    checker.Start();
    switcher.Init(&checker);
    switcher.SetSwitchParam(c.settings.upTimerSeconds, c.settings.marginKbps);
    switcher.ResetData(variants, false);
    switcher.SetBitrateLimit(abrsim::Groups(setup.ladderKbps, c.settings.groups), {});

    int current = c.settings.startVariant;
    std::vector<int> replayed;
    int switches = 0;
    for (const LibraryCall& call : calls) {
      abrsim::SetSimulatedClockMs(call.clockMs);
      switch (call.kind) {
        case LibraryCall::kPoll:
          checker.OnPolling(call.a);
          break;
        case LibraryCall::kChunk:
          ASSERT_EQ(call.d, current);
          checker.AddRxTimeInfo(static_cast<unsigned int>(call.a),
                                static_cast<unsigned int>(call.b),
                                static_cast<unsigned int>(call.c), static_cast<int>(call.d),
                                static_cast<int>(replayed.size()) - 1, 0);
          break;
        case LibraryCall::kLevel:
          switcher.ProcessAdaptiveSegLevel(0, static_cast<unsigned int>(call.b), false);
          break;
        case LibraryCall::kDecide: {
          ASSERT_EQ(call.a, current);
          const int result =
              switcher.ProcessAdaptiveSeg(current, static_cast<unsigned int>(call.b));
          ASSERT_EQ(result, call.result) << "decision " << replayed.size();
          if (result >= 0) {
            current = result;
            ++switches;
          }
          replayed.push_back(current);
          break;
        }
      }
    }
    EXPECT_EQ(replayed, fetched);
    EXPECT_GT(switches, 1);
  }
}

TEST(LibraryRule, EachDecisionCarriesTheReasonTheLibraryWrote) {
  abrsim::Setup setup;
  const abrsim::Trace trace = Committed("oscillating.txt");
  const abrsim::Link link(trace, setup.roundTripSeconds, setup.efficiency);
  abrsim::LibraryRule rule(setup, Grouped(3, 10));
  abrsim::Play(setup, link, rule);
  int count[static_cast<int>(Reason::kCount)] = {};
  for (const abrsim::DecisionRecord& d : rule.Decisions()) {
    SCOPED_TRACE(d.index);
    ++count[static_cast<int>(d.reason)];
    if (d.result > d.current) {
      EXPECT_TRUE(d.reason == Reason::kUpSameGroup || d.reason == Reason::kUpFreeUpgrade ||
                  d.reason == Reason::kUpStepInGroup || d.reason == Reason::kUpTimerPassed)
          << abrsim::ReasonText(d.reason);
    } else if (d.result >= 0) {
      EXPECT_TRUE(d.reason == Reason::kDownSameGroup || d.reason == Reason::kDownOtherGroup)
          << abrsim::ReasonText(d.reason);
    } else if (d.wanted == d.current) {
      EXPECT_EQ(d.reason, Reason::kStay);
    } else if (d.wanted < 0) {
      EXPECT_EQ(d.reason, Reason::kNoEstimate);
    } else if (d.wanted < d.current) {
      EXPECT_EQ(d.reason, Reason::kDownRefused);
    }
  }
  // The first decision has no estimate; the first two group upgrades are free; a later one
  // starts the up timer.
  EXPECT_EQ(rule.Decisions().front().reason, Reason::kNoEstimate);
  EXPECT_EQ(count[static_cast<int>(Reason::kUpFreeUpgrade)], 2);
  EXPECT_GT(count[static_cast<int>(Reason::kUpRefusedTimerStarted)], 0);
}

TEST(LibraryRule, WithoutGroupsEveryMoveIsUnrestricted) {
  abrsim::Setup setup;
  const abrsim::Trace trace = Committed("commute.txt");
  const abrsim::Link link(trace, setup.roundTripSeconds, setup.efficiency);
  abrsim::LibraryRule rule(setup, LibrarySettings());
  abrsim::Play(setup, link, rule);
  for (const abrsim::DecisionRecord& d : rule.Decisions()) {
    if (d.result < 0) continue;
    EXPECT_EQ(d.reason, d.result > d.current ? Reason::kUpNoParam : Reason::kDownNoParam)
        << d.index;
  }
  const abrsim::LibraryStats stats = rule.Stats();
  EXPECT_EQ(stats.finalUpTimer, 0);
  EXPECT_EQ(stats.upTimerRaises, 0);
  // Five samples or ten seconds of media come before the first estimate.
  EXPECT_GT(stats.firstEstimateSeconds, 0);
}
