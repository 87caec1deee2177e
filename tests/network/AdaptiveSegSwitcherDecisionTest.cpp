#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AdaptiveSegSwitcher.h"
#include "FakeClock.h"
#include "LogCapture.h"
#include "StubBandwidthChecker.h"
#include "SwitcherProbe.h"
#include "WholeLogLine.h"

using strmcommon::_VariantData;
using strmcommon::bitrateParam_t;
using switchertest::StubBandwidthChecker;
using switchertest::SwitcherProbe;
using testsupport::FakeClock;
using testsupport::HasWholeLine;
using testsupport::LogCapture;

namespace {

constexpr int kMarginKbps = 100;
const std::string kRule(49, '-');

// Ascending bandwidths; groups 1 to 4. Variants 0 to 5 share upgrade group 1, variant 6 is alone
// in upgrade group 2. Variant 4 shares the group of variant 2.
const std::vector<_VariantData> kTable = {
    {500000, 640, 360, 0},    {1000000, 960, 540, 0},   {2000000, 1280, 720, 0},
    {3000000, 1280, 720, 0},  {4000000, 1920, 1080, 0}, {6000000, 1920, 1080, 0},
    {8000000, 3840, 2160, 0},
};
const std::vector<bitrateParam_t> kParams = {
    {500000, 1, 1},  {1000000, 1, 1}, {2000000, 2, 1}, {3000000, 3, 1},
    {4000000, 2, 1}, {6000000, 3, 1}, {8000000, 4, 2},
};

size_t MessagesStartingWith(const LogCapture& capture, const std::string& prefix) {
  size_t count = 0;
  for (const auto& line : capture.Lines())
    if (LogCapture::Message(line.text).rfind(prefix, 0) == 0) ++count;
  return count;
}

class DecisionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    switcher.Init(&checker);
    switcher.SetSwitchParam(10, kMarginKbps);
    ASSERT_EQ(switcher.ResetData(kTable, false), 0);
    switcher.SetBitrateLimit(kParams, {});
  }

  // A measured bandwidth that satisfies variant `index` and nothing above it.
  int CbwFor(int index) const { return kTable[index].bandwidth * 11 / 10 + kMarginKbps * 1000 + 1; }

  // One segment's decision with the bandwidth pointing at variant `wanted`.
  int Segment(int current, int wanted, unsigned int buffer = 6000) {
    checker.current = CbwFor(wanted);
    return switcher.ProcessAdaptiveSeg(current, buffer);
  }

  // Uses up the two group upgrades that cost no waiting.
  void SpendFreeUpgrades() { switcher.SetUpgradeCount(2); }

  FakeClock clock{1000000};
  StubBandwidthChecker checker;
  SwitcherProbe switcher;
};

// A table without limit entries.
class PlainDecisionTest : public ::testing::Test {
 protected:
  void Install(std::vector<_VariantData> table) {
    switcher.Init(&checker);
    ASSERT_EQ(switcher.ResetData(table, false), 0);
  }

  FakeClock clock{1000000};
  StubBandwidthChecker checker;
  SwitcherProbe switcher;
};

}  // namespace

TEST_F(DecisionTest, NoEstimateNoBlockAndNoBeginningBandwidthMeansNoChange) {
  LogCapture capture;
  checker.current = 0;
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(1, 1234), -1);
  EXPECT_TRUE(switcher.FirstFragment());
  auto lines = capture.Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(LogCapture::Message(lines[0].text), "first fragment avg bandwidth cbw :: 0");
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_EQ(LogCapture::Message(lines[1].text), "[HLS_BW] cbw[0] buff dur[1234] ");
  EXPECT_EQ(lines[1].priority, 6);
}

TEST_F(DecisionTest, BeginningBandwidthOverFiveTimesTheCurrentVariantStandsIn) {
  checker.begining = 6000001;  // current variant 1: 1,000,000
  LogCapture capture;
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(1, 6000), 4);
  EXPECT_EQ(capture.Count("[HLS_BW] cbw[5454546] buff dur[6000] "), 1u);
}

TEST_F(DecisionTest, BeginningBandwidthOfFiveTimesOrLessIsNotUsed) {
  checker.begining = 5999999;
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(1, 6000), -1);
}

TEST_F(PlainDecisionTest, CurrentVariantOfZeroBandwidthNeverUsesTheBeginningBandwidth) {
  Install({{0, 640, 360, 0}, {1000000, 640, 360, 0}});
  checker.begining = 100000000;
  LogCapture capture;
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(0, 6000), -1);
  EXPECT_EQ(capture.Count("[HLS_BW] cbw[0] buff dur[6000] "), 1u);
}

TEST_F(DecisionTest, BlockAverageStandsInAsAFirstFragmentWhichNeedsNoBuffer) {
  checker.current = 0;
  checker.blockAverage = CbwFor(3);
  LogCapture capture;
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(1, 0), 3);
  EXPECT_TRUE(switcher.FirstFragment());
  EXPECT_EQ(capture.Count("first fragment avg bandwidth cbw :: " + std::to_string(CbwFor(3))), 1u);
  EXPECT_EQ(capture.Count("CheckStreamUp no_up_buf_duration = 0"), 1u);
}

TEST_F(DecisionTest, FirstFragmentFlagIsClearedByTheNextEstimate) {
  checker.current = 0;
  switcher.ProcessAdaptiveSeg(1, 0);
  ASSERT_TRUE(switcher.FirstFragment());
  Segment(1, 1);
  EXPECT_FALSE(switcher.FirstFragment());
}

TEST_F(DecisionTest, SwitchingOffMeansNoChangeAfterTheBandwidthLine) {
  switcher.SetEnableSwitch(false);
  LogCapture capture;
  EXPECT_EQ(Segment(0, 1), -1);
  EXPECT_EQ(capture.Count("[HLS_BW] cbw[" + std::to_string(CbwFor(1)) + "] buff dur[6000] "), 1u);
  EXPECT_TRUE(capture.Containing("total streams").empty());
}

TEST_F(DecisionTest, NegativeBandwidthMeansNoChange) {
  checker.current = -5;
  LogCapture capture;
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(0, 6000), -1);
  EXPECT_EQ(capture.Count("[HLS_BW] cbw[-5] buff dur[6000] "), 1u);
  EXPECT_TRUE(capture.Containing("total streams").empty());
}

TEST_F(DecisionTest, NothingToDoWhenTheSelectionIsTheCurrentVariant) {
  LogCapture capture;
  EXPECT_EQ(Segment(2, 2), -1);
  EXPECT_TRUE(capture.Containing("Bandwidth Switch").empty());
}

TEST_F(DecisionTest, AGrantedChangeIsFramedAndCounted) {
  LogCapture capture;
  EXPECT_EQ(Segment(0, 1), 1);
  EXPECT_EQ(switcher.BitrateChangedNumber(), 1);
  auto lines = capture.Lines();
  // The frame is the last six lines.
  ASSERT_GE(lines.size(), 6u);
  std::vector<std::pair<std::string, int>> tail;
  for (size_t i = lines.size() - 6; i < lines.size(); ++i)
    tail.emplace_back(LogCapture::Message(lines[i].text), lines[i].priority);
  EXPECT_EQ(tail, (std::vector<std::pair<std::string, int>>{
                      {"\n", 3},
                      {kRule, 3},
                      {"[HLS_BW] Bitrate Change: 0 -> 1", 6},
                      {kRule, 3},
                      {"[HLS_BW] Bitrate Changed Number : 1", 6},
                      {kRule, 3},
                  }));
  EXPECT_EQ(Segment(1, 0, 100), 0);
  EXPECT_EQ(capture.Count("[HLS_BW] Bitrate Changed Number : 2"), 1u);
}

TEST_F(DecisionTest, AllowedMoveUpLogsTheSteps) {
  LogCapture capture;
  EXPECT_EQ(Segment(0, 1), 1);
  std::vector<std::pair<std::string, int>> got;
  for (const auto& line : capture.Lines())
    got.emplace_back(LogCapture::Message(line.text), line.priority);
  ASSERT_GE(got.size(), 6u);
  got.resize(got.size() - 6);
  EXPECT_EQ(got, (std::vector<std::pair<std::string, int>>{
                     {"[HLS_BW] cbw[" + std::to_string(CbwFor(1)) + "] buff dur[6000] ", 6},
                     {"total streams are = 7 and returned stream index  = 1", 6},
                     {"CheckStreamUp no_up_buf_duration = 5000", 6},
                     {"CheckStreamChange(0, 1), ok, same group", 3},
                     {"[HLS_BW] CheckStreamUp ret (1) \n", 6},
                     {"Bandwidth Switch OK : 0 -> 1", 3},
                 }));
}

TEST_F(PlainDecisionTest, BigStepFromTwoMegabitsNeedsFiveSecondsOfBuffer) {
  Install({{2000000, 1280, 720, 0}, {3000000, 1280, 720, 0}});
  checker.current = 10000000;
  LogCapture capture;
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(0, 4999), -1);
  EXPECT_EQ(capture.Count("CheckStreamUp no_up_buf_duration = 5000"), 1u);
  EXPECT_EQ(capture.Count("[HLS_BW] CheckStreamUp ret (0) \n"), 1u);
  EXPECT_EQ(capture.Count("Bandwidth Switch Pass : 0 -> 1"), 1u);
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(0, 5000), 1);
}

TEST_F(PlainDecisionTest, LowLatencyModeNeedsNoBufferForABigStep) {
  Install({{2000000, 1280, 720, 0}, {3000000, 1280, 720, 0}});
  switcher.Setllsegbw(true);
  checker.current = 10000000;
  LogCapture capture;
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(0, 0), 1);
  EXPECT_EQ(capture.Count("CheckStreamUp no_up_buf_duration = 0"), 1u);
}

TEST_F(PlainDecisionTest, FirstFragmentNeedsNoBufferForABigStep) {
  Install({{2000000, 1280, 720, 0}, {3000000, 1280, 720, 0}});
  checker.current = 0;
  checker.blockAverage = 10000000;
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(0, 0), 1);
}

TEST_F(PlainDecisionTest, StepOfExactly512000NeedsNoBuffer) {
  Install({{1000000, 1280, 720, 0}, {1512000, 1280, 720, 0}});
  checker.current = 10000000;
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(0, 0), 1);
}

TEST_F(PlainDecisionTest, StepOf512001FromAboveHalfAMegabitNeedsBuffer) {
  Install({{1000000, 1280, 720, 0}, {1512001, 1280, 720, 0}});
  checker.current = 10000000;
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(0, 0), -1);
}

TEST_F(PlainDecisionTest, BigStepFromExactly512000NeedsNoBuffer) {
  Install({{512000, 640, 360, 0}, {4000000, 1280, 720, 0}});
  checker.current = 10000000;
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(0, 0), 1);
}

TEST_F(PlainDecisionTest, VariantsWithoutLimitEntriesMoveFreely) {
  Install({{500000, 640, 360, 0}, {1000000, 1280, 720, 0}});
  LogCapture capture;
  checker.current = 10000000;
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(0, 6000), 1);
  EXPECT_EQ(capture.Count("CheckStreamChange(0, 1), ok, no param"), 1u);
  checker.current = 1;
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(1, 0), 0);
  EXPECT_EQ(capture.Count("CheckStreamChange(1, 0), ok, no param"), 1u);
  EXPECT_EQ(capture.Count("[HLS_BW] CheckStreamDn ret (1) \n"), 1u);
}

TEST_F(DecisionTest, OneVariantWithoutAnEntryMakesTheMoveFree) {
  switcher.SetBitrateLimit({{500000, 1, 1}}, {});
  LogCapture capture;
  SpendFreeUpgrades();
  EXPECT_EQ(Segment(0, 6), 6);
  EXPECT_EQ(capture.Count("CheckStreamChange(0, 6), ok, no param"), 1u);
}

TEST_F(DecisionTest, LevelThreeRefusesAMoveUpBeforeAnythingElse) {
  switcher.SetLevel(3);
  LogCapture capture;
  EXPECT_EQ(Segment(0, 1), -1);
  EXPECT_EQ(capture.Count("[HLS_BW] CheckStreamUp ret (0) \n"), 1u);
  EXPECT_EQ(MessagesStartingWith(capture, "CheckStreamChange("), 0u);
}

TEST_F(DecisionTest, LevelTwoStillAllowsAMoveUp) {
  switcher.SetLevel(2);
  EXPECT_EQ(Segment(0, 1), 1);
}

TEST_F(DecisionTest, LevelCheckIsLiftedByResetDataWithTrue) {
  ASSERT_EQ(switcher.ResetData(kTable, true), 0);
  switcher.SetLevel(4);
  EXPECT_EQ(Segment(0, 1), 1);
}

TEST_F(DecisionTest, LevelDoesNotBlockAMoveDown) {
  switcher.SetLevel(4);
  EXPECT_EQ(Segment(1, 0, 100), 0);
}

TEST_F(DecisionTest, EightSecondsOfBufferRefuseAMoveDown) {
  LogCapture capture;
  EXPECT_EQ(Segment(1, 0, 8000), -1);
  EXPECT_EQ(capture.Count("[HLS_BW] CheckStreamDn ret (0) \n"), 1u);
  EXPECT_EQ(capture.Count("Bandwidth Switch Pass : 1 -> 0"), 1u);
  EXPECT_EQ(MessagesStartingWith(capture, "CheckStreamChange("), 0u);
}

TEST_F(DecisionTest, JustUnderEightSecondsOfBufferAllowAMoveDown) {
  LogCapture capture;
  EXPECT_EQ(Segment(1, 0, 7999), 0);
  EXPECT_EQ(capture.Count("CheckStreamChange(1, 0), ok, same group"), 1u);
}

TEST_F(DecisionTest, AnExcludedVariantIsLeftWhateverTheBuffer) {
  switcher.SetMaxBitrate(3000000);
  LogCapture capture;
  checker.current = 100000000;
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(4, 60000), 3);
  auto lines = capture.WithMessage("[HLS_BW] setting stream down");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_EQ(capture.Count("Bandwidth Switch OK : 4 -> 3"), 1u);
}

TEST_F(DecisionTest, AnExcludedVariantUnderEightSecondsGoesDownByTheBufferRule) {
  switcher.SetMaxBitrate(3000000);
  LogCapture capture;
  checker.current = 100000000;
  EXPECT_EQ(switcher.ProcessAdaptiveSeg(4, 7999), 3);
  EXPECT_EQ(capture.Count("[HLS_BW] setting stream down"), 0u);
  EXPECT_EQ(capture.Count("CheckStreamChange(4, 3), ok, diffrent group"), 1u);
}

TEST_F(DecisionTest, MoveDownToAnotherGroupIsAllowedAndLogged) {
  LogCapture capture;
  EXPECT_EQ(Segment(2, 1, 100), 1);
  EXPECT_EQ(capture.Count("CheckStreamChange(2, 1), ok, diffrent group"), 1u);
  EXPECT_EQ(capture.Count("Bitrate Group Changed 2 -> 1"), 1u);
}

TEST_F(DecisionTest, UpgradeGroupMismatchDoesNotStopAMoveDown) {
  LogCapture capture;
  EXPECT_EQ(Segment(6, 5, 100), 5);
  EXPECT_EQ(capture.Count("CheckStreamChange(6, 5), ok, diffrent group"), 1u);
}

TEST_F(DecisionTest, TheFirstTwoGroupUpgradesPassAtOnceAndTheThirdStartsTheTimer) {
  LogCapture capture;
  EXPECT_EQ(Segment(1, 2), 2);
  EXPECT_EQ(switcher.UpgradeCount(), 1);
  EXPECT_EQ(Segment(2, 1, 100), 1);
  EXPECT_EQ(Segment(1, 2), 2);
  EXPECT_EQ(switcher.UpgradeCount(), 2);
  EXPECT_EQ(capture.Count("CheckStreamChange(1, 2), ok, m_upTimer == 0 && !no_upgrade"), 2u);
  EXPECT_EQ(Segment(2, 1, 100), 1);
  capture.Clear();
  EXPECT_EQ(Segment(1, 2), -1);
  EXPECT_EQ(switcher.UpgradeCount(), 2);
  EXPECT_TRUE(switcher.UpTimerRunning());
  EXPECT_EQ(switcher.UpTimerStart(), clock.NowMs());
  auto lines = capture.WithMessage("start up timer check");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
}

TEST_F(DecisionTest, WithoutAnUpTimerEveryGroupUpgradePasses) {
  switcher.SetSwitchParam(0, kMarginKbps);
  SpendFreeUpgrades();
  EXPECT_EQ(Segment(1, 2), 2);
  EXPECT_EQ(switcher.UpgradeCount(), 3);
  EXPECT_FALSE(switcher.UpTimerRunning());
}

TEST_F(DecisionTest, TimedUpgradeWaitsTheWholeTimerAndPassesAtTenSeconds) {
  SpendFreeUpgrades();
  ASSERT_EQ(Segment(1, 2), -1);
  clock.AdvanceMs(9999);
  EXPECT_EQ(Segment(1, 2), -1);
  EXPECT_TRUE(switcher.UpTimerRunning());
  clock.AdvanceMs(1);
  LogCapture capture;
  EXPECT_EQ(Segment(1, 2), 2);
  EXPECT_TRUE(switcher.UpTimerPassed());
  EXPECT_FALSE(switcher.UpTimerRunning());
  EXPECT_EQ(switcher.UpTimerStart(), clock.NowMs());
  EXPECT_EQ(switcher.UpgradeCount(), 2);
  auto ok = capture.WithMessage("CheckStreamChange(1, 2), ok, success up timer check");
  ASSERT_EQ(ok.size(), 1u);
  EXPECT_EQ(ok[0].priority, 3);
  auto group = capture.WithMessage("Bitrate Group Changed 1 -> 2");
  ASSERT_EQ(group.size(), 1u);
  EXPECT_EQ(group[0].priority, 3);
}

TEST_F(DecisionTest, TimerThatRanASecondPastItsLengthUnusedIsGivenUp) {
  SpendFreeUpgrades();
  ASSERT_EQ(Segment(1, 2), -1);
  clock.AdvanceMs(10999);
  EXPECT_EQ(Segment(1, 1), -1);
  EXPECT_TRUE(switcher.UpTimerRunning());
  clock.AdvanceMs(1);
  LogCapture capture;
  EXPECT_EQ(Segment(1, 1), -1);
  EXPECT_FALSE(switcher.UpTimerRunning());
  auto lines = capture.WithMessage("fail up timer check: elasped(11) upTimer(10), level(1)");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
  // The next wish to go up starts over.
  EXPECT_EQ(Segment(1, 2), -1);
  EXPECT_TRUE(switcher.UpTimerRunning());
}

TEST_F(DecisionTest, RefusedMoveDownDoesNotStopTheTimer) {
  SpendFreeUpgrades();
  ASSERT_EQ(Segment(1, 2), -1);
  EXPECT_EQ(Segment(1, 0, 9000), -1);
  EXPECT_TRUE(switcher.UpTimerRunning());
}

TEST_F(DecisionTest, AllowedMoveDownStopsTheTimer) {
  SpendFreeUpgrades();
  ASSERT_EQ(Segment(1, 2), -1);
  EXPECT_EQ(Segment(1, 0, 100), 0);
  EXPECT_FALSE(switcher.UpTimerRunning());
}

TEST_F(DecisionTest, UpgradeGroupMismatchRefusesAndStopsARunningTimer) {
  SpendFreeUpgrades();
  ASSERT_EQ(Segment(1, 2), -1);
  ASSERT_TRUE(switcher.UpTimerRunning());
  LogCapture capture;
  EXPECT_EQ(Segment(1, 6), -1);
  EXPECT_FALSE(switcher.UpTimerRunning());
  auto lines = capture.WithMessage("CheckStreamChange(1, 6), fail, no upgrade");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
  EXPECT_EQ(capture.Count("[HLS_BW] CheckStreamUp ret (0) \n"), 1u);
}

TEST_F(DecisionTest, UpgradeGroupMismatchRefusesEvenTheFreeUpgrades) {
  EXPECT_EQ(Segment(5, 6), -1);
  EXPECT_EQ(switcher.UpgradeCount(), 0);
}

TEST_F(DecisionTest, AStepUpInsideTheGroupIsTakenNowWhileTheGroupChangeWaits) {
  SpendFreeUpgrades();
  LogCapture capture;
  EXPECT_EQ(Segment(2, 5), 4);
  EXPECT_FALSE(switcher.UpTimerRunning());
  EXPECT_EQ(capture.Count("CheckStreamChange(2, 4), ok, skip up timer check for same group"), 1u);
  EXPECT_EQ(capture.Count("Bandwidth Switch OK : 2 -> 4"), 1u);
  EXPECT_EQ(capture.Count("[HLS_BW] Bitrate Change: 2 -> 4"), 1u);
}

TEST_F(DecisionTest, CheckStreamChangeLowersTheCallersTarget) {
  SpendFreeUpgrades();
  int target = 5;
  EXPECT_TRUE(switcher.CheckStreamChange(2, target, 6000));
  EXPECT_EQ(target, 4);
}

TEST_F(DecisionTest, WithoutASameGroupStepInBetweenTheGroupChangeIsTimed) {
  SpendFreeUpgrades();
  LogCapture capture;
  EXPECT_EQ(Segment(1, 3), -1);  // 2 is group 2, not the group of 1
  EXPECT_EQ(capture.Count("start up timer check"), 1u);
}

TEST_F(DecisionTest, EqualTargetIsNoChange) {
  LogCapture capture;
  int target = 3;
  EXPECT_FALSE(switcher.CheckStreamChange(3, target, 6000));
  auto lines = capture.Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(LogCapture::Message(lines[0].text), "Bandwidth Switch Pass : 3 -> 3");
  EXPECT_EQ(lines[0].priority, 3);
}

TEST_F(DecisionTest, FallWithinFiveTimerLengthsOfATimedUpgradeLengthensTheTimer) {
  SpendFreeUpgrades();
  ASSERT_EQ(Segment(1, 2), -1);
  clock.AdvanceMs(10000);
  ASSERT_EQ(Segment(1, 2), 2);
  clock.AdvanceMs(49999);
  LogCapture capture;
  EXPECT_EQ(Segment(2, 1, 100), 1);
  EXPECT_EQ(switcher.UpTimer(), 20);
  EXPECT_EQ(switcher.BaseUpTimer(), 10);
  EXPECT_FALSE(switcher.UpTimerPassed());
  auto lines = capture.WithMessage("Bitrate upgrade timer increased: 20");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
}

TEST_F(DecisionTest, FallFiftySecondsAfterATimedUpgradeLeavesTheTimer) {
  SpendFreeUpgrades();
  ASSERT_EQ(Segment(1, 2), -1);
  clock.AdvanceMs(10000);
  ASSERT_EQ(Segment(1, 2), 2);
  clock.AdvanceMs(50000);
  LogCapture capture;
  EXPECT_EQ(Segment(2, 1, 100), 1);
  EXPECT_EQ(switcher.UpTimer(), 10);
  EXPECT_FALSE(switcher.UpTimerPassed());
  EXPECT_TRUE(capture.Containing("timer increased").empty());
}

TEST_F(DecisionTest, FallInsideTheGroupDoesNotConsumeTheTimedUpgrade) {
  SpendFreeUpgrades();
  ASSERT_EQ(Segment(1, 2), -1);
  clock.AdvanceMs(10000);
  ASSERT_EQ(Segment(1, 2), 2);
  ASSERT_TRUE(switcher.UpTimerPassed());
  // 4 is in the group of 2.
  int target = 2;
  EXPECT_TRUE(switcher.CheckStreamDn(4, target, 100));
  EXPECT_TRUE(switcher.UpTimerPassed());
}

TEST_F(DecisionTest, TheUpTimerOnlyGrows) {
  SpendFreeUpgrades();
  int expected = 10;
  for (int round = 0; round < 3; ++round) {
    ASSERT_EQ(Segment(1, 2), -1);
    clock.AdvanceMs(expected * 1000 - 1);
    ASSERT_EQ(Segment(1, 2), -1) << "round " << round;
    clock.AdvanceMs(1);
    ASSERT_EQ(Segment(1, 2), 2) << "round " << round;
    clock.AdvanceMs(1000);
    ASSERT_EQ(Segment(2, 1, 100), 1);
    expected += 10;
    EXPECT_EQ(switcher.UpTimer(), expected);
  }
  // A slow fall leaves it as it is; nothing brings it down.
  ASSERT_EQ(Segment(1, 2), -1);
  clock.AdvanceMs(expected * 1000);
  ASSERT_EQ(Segment(1, 2), 2);
  clock.AdvanceMs(1000000);
  ASSERT_EQ(Segment(2, 1, 100), 1);
  EXPECT_EQ(switcher.UpTimer(), expected);
}

TEST_F(DecisionTest, SwitchParamBringsTheTimerBackToItsBase) {
  SpendFreeUpgrades();
  ASSERT_EQ(Segment(1, 2), -1);
  clock.AdvanceMs(10000);
  ASSERT_EQ(Segment(1, 2), 2);
  ASSERT_EQ(Segment(2, 1, 100), 1);
  ASSERT_EQ(switcher.UpTimer(), 20);
  switcher.SetSwitchParam(10, kMarginKbps);
  EXPECT_EQ(switcher.UpTimer(), 10);
}

TEST_F(DecisionTest, LevelUpgradeCountAndTimerSurviveResetDataButNotInit) {
  SpendFreeUpgrades();
  ASSERT_EQ(Segment(1, 2), -1);
  clock.AdvanceMs(10000);
  ASSERT_EQ(Segment(1, 2), 2);
  ASSERT_EQ(Segment(2, 1, 100), 1);
  switcher.SetLevel(3);
  ASSERT_EQ(switcher.ResetData(kTable, false), 0);
  EXPECT_EQ(switcher.Level(), 3);
  EXPECT_EQ(switcher.UpgradeCount(), 2);
  EXPECT_EQ(switcher.UpTimer(), 20);
  switcher.Init(&checker);
  EXPECT_EQ(switcher.Level(), 1);
  EXPECT_EQ(switcher.UpgradeCount(), 0);
  EXPECT_EQ(switcher.UpTimer(), 0);
}

TEST_F(DecisionTest, CheckStreamDnLogsItsResultAtErrorPriority) {
  LogCapture capture;
  int target = 0;
  EXPECT_TRUE(switcher.CheckStreamDn(1, target, 0));
  auto lines = capture.WithMessage("[HLS_BW] CheckStreamDn ret (1) \n");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
}

TEST_F(DecisionTest, BufferLevelIsLeftAloneWithoutAnEstimate) {
  checker.current = 0;
  switcher.ProcessAdaptiveSegLevel(0, 5000, false);
  EXPECT_EQ(switcher.LastBufDuration(), 0u);
  EXPECT_EQ(switcher.Level(), 1);
}

TEST_F(DecisionTest, TwoFallsFromLevelOneReachLevelThreeAndBlockMovesUp) {
  checker.current = 1;
  switcher.ProcessAdaptiveSegLevel(0, 7000, false);  // a rise from 0
  EXPECT_EQ(switcher.Level(), 1);
  switcher.ProcessAdaptiveSegLevel(0, 6000, false);
  EXPECT_EQ(switcher.Level(), 2);
  switcher.ProcessAdaptiveSegLevel(0, 5000, false);
  EXPECT_EQ(switcher.Level(), 3);
  EXPECT_EQ(switcher.LastBufDuration(), 5000u);
  EXPECT_EQ(Segment(0, 1), -1);
  switcher.ProcessAdaptiveSegLevel(0, 5001, false);
  EXPECT_EQ(switcher.Level(), 2);
  EXPECT_EQ(Segment(0, 1), 1);
}

TEST_F(DecisionTest, LevelStopsAtFourAndAtOne) {
  checker.current = 1;
  switcher.ProcessAdaptiveSegLevel(0, 7000, false);
  for (unsigned int buffer = 6000; buffer > 1000; buffer -= 1000)
    switcher.ProcessAdaptiveSegLevel(0, buffer, false);
  EXPECT_EQ(switcher.Level(), 4);
  for (unsigned int buffer = 2000; buffer < 9000; buffer += 1000)
    switcher.ProcessAdaptiveSegLevel(0, buffer, false);
  EXPECT_EQ(switcher.Level(), 1);
}

TEST_F(DecisionTest, EqualBufferLeavesTheLevel) {
  checker.current = 1;
  switcher.SetLevel(2);
  switcher.ProcessAdaptiveSegLevel(0, 0, false);
  EXPECT_EQ(switcher.Level(), 2);
}

TEST_F(DecisionTest, FallAtEightSecondsOrMoreNeitherRaisesNorLowersTheLevel) {
  checker.current = 1;
  switcher.SetLevel(2);
  switcher.ProcessAdaptiveSegLevel(0, 20000, true);
  EXPECT_EQ(switcher.Level(), 1);
  switcher.SetLevel(2);
  switcher.ProcessAdaptiveSegLevel(0, 8000, false);
  EXPECT_EQ(switcher.Level(), 2);
  EXPECT_EQ(switcher.LastBufDuration(), 8000u);
}

TEST_F(DecisionTest, HoldTurnsAFallIntoNoRise) {
  checker.current = 1;
  switcher.ProcessAdaptiveSegLevel(0, 7000, false);
  switcher.ProcessAdaptiveSegLevel(0, 3000, true);
  EXPECT_EQ(switcher.Level(), 1);
  EXPECT_EQ(switcher.LastBufDuration(), 3000u);
}

TEST_F(DecisionTest, TheFirstArgumentOfTheLevelUpdateIsIgnored) {
  checker.current = 1;
  switcher.ProcessAdaptiveSegLevel(123456, 7000, false);
  switcher.ProcessAdaptiveSegLevel(999, 6000, false);
  EXPECT_EQ(switcher.Level(), 2);
}

TEST_F(DecisionTest, EveryRuleLineIsAtDebugPriority) {
  LogCapture capture;
  std::vector<bitrateParam_t> withoutTheLowest(kParams.begin() + 1, kParams.end());
  switcher.SetBitrateLimit(withoutTheLowest, {});
  EXPECT_EQ(Segment(0, 1), 1);  // no param
  switcher.SetBitrateLimit(kParams, {});
  EXPECT_EQ(Segment(1, 2), 2);       // free group upgrade
  EXPECT_EQ(Segment(2, 1, 100), 1);  // other group
  EXPECT_EQ(Segment(1, 2), 2);       // free group upgrade
  EXPECT_EQ(Segment(2, 4), 4);       // same group
  EXPECT_EQ(Segment(4, 6), -1);      // other upgrade group
  std::vector<std::string> messages;
  for (const auto& line : capture.Lines()) {
    const std::string message = LogCapture::Message(line.text);
    if (message.rfind("CheckStreamChange(", 0) == 0) {
      messages.push_back(message);
      EXPECT_EQ(line.priority, 3) << message;
    }
  }
  EXPECT_EQ(messages, (std::vector<std::string>{
                          "CheckStreamChange(0, 1), ok, no param",
                          "CheckStreamChange(1, 2), ok, m_upTimer == 0 && !no_upgrade",
                          "CheckStreamChange(2, 1), ok, diffrent group",
                          "CheckStreamChange(1, 2), ok, m_upTimer == 0 && !no_upgrade",
                          "CheckStreamChange(2, 4), ok, same group",
                          "CheckStreamChange(4, 6), fail, no upgrade",
                      }));
}

TEST_F(DecisionTest, EveryRuleLineNamesTheDecisionThatWroteIt) {
  LogCapture capture;
  std::vector<bitrateParam_t> withoutTheLowest(kParams.begin() + 1, kParams.end());
  switcher.SetBitrateLimit(withoutTheLowest, {});
  ASSERT_EQ(Segment(0, 1), 1);
  ASSERT_EQ(Segment(1, 0, 100), 0);
  switcher.SetBitrateLimit(kParams, {});
  ASSERT_EQ(Segment(1, 0, 100), 0);
  ASSERT_EQ(Segment(1, 2), 2);
  ASSERT_EQ(Segment(2, 4), 4);
  ASSERT_EQ(Segment(4, 6), -1);
  SpendFreeUpgrades();
  ASSERT_EQ(Segment(2, 5), 4);
  ASSERT_EQ(Segment(1, 2), -1);
  clock.AdvanceMs(10000);
  ASSERT_EQ(Segment(1, 2), 2);
  clock.AdvanceMs(1000);
  ASSERT_EQ(Segment(2, 1, 100), 1);

  const struct {
    const char* function;
    const char* message;
  } kLines[] = {
      {"CheckStreamUp", "CheckStreamChange(0, 1), ok, no param"},
      {"CheckStreamUp", "CheckStreamChange(1, 2), ok, m_upTimer == 0 && !no_upgrade"},
      {"CheckStreamUp", "CheckStreamChange(2, 4), ok, same group"},
      {"CheckStreamUp", "CheckStreamChange(4, 6), fail, no upgrade"},
      {"CheckStreamUp", "CheckStreamChange(2, 4), ok, skip up timer check for same group"},
      {"CheckStreamUp", "start up timer check"},
      {"CheckStreamUp", "CheckStreamChange(1, 2), ok, success up timer check"},
      {"CheckStreamUp", "Bitrate Group Changed 1 -> 2"},
      {"CheckStreamUp", "[HLS_BW] CheckStreamUp ret (1) \n"},
      {"CheckStreamDn", "CheckStreamChange(1, 0), ok, no param"},
      {"CheckStreamDn", "CheckStreamChange(1, 0), ok, same group"},
      {"CheckStreamDn", "Bitrate upgrade timer increased: 20"},
      {"CheckStreamDn", "CheckStreamChange(2, 1), ok, diffrent group"},
      {"CheckStreamDn", "Bitrate Group Changed 2 -> 1"},
      {"CheckStreamDn", "[HLS_BW] CheckStreamDn ret (1) \n"},
      {"ProcessAdaptiveSeg", "[HLS_BW] Bitrate Change: 2 -> 1"},
      {"CheckStreamChange", "Bandwidth Switch OK : 2 -> 1"},
  };
  for (const auto& line : kLines) {
    SCOPED_TRACE(line.message);
    EXPECT_TRUE(
        HasWholeLine(capture, "AdaptiveSegSwitcherDecision.cpp", line.function, line.message));
  }
}
