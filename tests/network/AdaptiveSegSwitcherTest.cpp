#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "AdaptiveSegSwitcher.h"
#include "BandwidthChecker.h"
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

_VariantData Variant(int bandwidth, int width = 1280, int height = 720) {
  return _VariantData{bandwidth, width, height, 0};
}

class AdaptiveSegSwitcherTest : public ::testing::Test {
 protected:
  void SetUp() override { switcher.Init(&checker); }

  FakeClock clock{5000000};
  StubBandwidthChecker checker;
  SwitcherProbe switcher;
};

}  // namespace

TEST_F(AdaptiveSegSwitcherTest, InitSetsTheDocumentedStartValues) {
  EXPECT_EQ(switcher.Checker(), &checker);
  EXPECT_EQ(switcher.InitTime(), 5000000);
  EXPECT_TRUE(switcher.GetEnableSwitch());
  EXPECT_EQ(switcher.Level(), 1);
  EXPECT_EQ(switcher.LastBufDuration(), 0u);
  EXPECT_EQ(switcher.GetAudioBitrate(), 0);
  EXPECT_EQ(switcher.GetStartBitrate(), 0);
  EXPECT_EQ(switcher.EstimateMargin(), 0);
  EXPECT_EQ(switcher.BaseUpTimer(), 0);
  EXPECT_EQ(switcher.UpTimer(), 0);
  EXPECT_EQ(switcher.UpgradeCount(), 0);
  EXPECT_FALSE(switcher.UpTimerRunning());
  EXPECT_FALSE(switcher.UpTimerPassed());
  EXPECT_FALSE(switcher.SkipLevelCheck());
  EXPECT_FALSE(switcher.FirstFragment());
  EXPECT_EQ(switcher.BitrateChangedNumber(), 0);
  EXPECT_EQ(switcher.GetStartBitrateString(), "");
  EXPECT_EQ(switcher.MaxBitrate(), -1);
  EXPECT_EQ(switcher.MaxWidth(), -1);
  EXPECT_EQ(switcher.MaxHeight(), -1);
  EXPECT_FALSE(switcher.HasBitrateLimit());
  EXPECT_TRUE(switcher.EligibleStreams().empty());
}

TEST_F(AdaptiveSegSwitcherTest, InitClearsLimitsButKeepsTheTableAndLowLatencyMode) {
  ASSERT_EQ(switcher.ResetData({Variant(500000), Variant(1000000)}, true), 0);
  switcher.Setllsegbw(true);
  switcher.SetBitrateLimit({{500000, 1, 1}}, {{0, 1}});
  switcher.SetMaxBitrate(700000);
  switcher.SetSwitchParam(10, 300);
  switcher.SetStartBitrateString("abc");
  switcher.GetSatisfiedStreamIndex(100, 0);
  switcher.Init(&checker);
  EXPECT_EQ(switcher.Variants().size(), 2u);
  EXPECT_TRUE(switcher.Llsegbw());
  EXPECT_FALSE(switcher.HasBitrateLimit());
  EXPECT_EQ(switcher.CheckBitrateLimit(123), 1);  // both lists empty again
  EXPECT_EQ(switcher.MaxBitrate(), -1);
  EXPECT_EQ(switcher.UpTimer(), 0);
  EXPECT_EQ(switcher.EstimateMargin(), 0);
  EXPECT_EQ(switcher.GetStartBitrateString(), "");
  EXPECT_FALSE(switcher.SkipLevelCheck());
  EXPECT_TRUE(switcher.EligibleStreams().empty());
}

TEST_F(AdaptiveSegSwitcherTest, SettersAndGettersOfSingleFields) {
  switcher.SetEnableSwitch(false);
  EXPECT_FALSE(switcher.GetEnableSwitch());
  switcher.SetAudioBitrate(96000);
  EXPECT_EQ(switcher.GetAudioBitrate(), 96000);
  switcher.SetStartBitrate(1500000);
  EXPECT_EQ(switcher.GetStartBitrate(), 1500000);
  switcher.SetStartBitrateString("HIGH");
  EXPECT_EQ(switcher.GetStartBitrateString(), "HIGH");
  switcher.SetMaxBitrate(1);
  switcher.SetMaxWidth(2);
  switcher.SetMaxHeight(3);
  EXPECT_EQ(switcher.MaxBitrate(), 1);
  EXPECT_EQ(switcher.MaxWidth(), 2);
  EXPECT_EQ(switcher.MaxHeight(), 3);
}

TEST_F(AdaptiveSegSwitcherTest, SwitchParamSetsBaseAndCurrentUpTimerAndTheMargin) {
  switcher.SetSwitchParam(12, 250);
  EXPECT_EQ(switcher.BaseUpTimer(), 12);
  EXPECT_EQ(switcher.UpTimer(), 12);
  EXPECT_EQ(switcher.EstimateMargin(), 250);
}

TEST_F(AdaptiveSegSwitcherTest, LowLatencyModeForcesTwoHundredMsBlocksForEitherValue) {
  EXPECT_TRUE(switcher.Setllsegbw(true));
  EXPECT_TRUE(switcher.Llsegbw());
  EXPECT_TRUE(switcher.Setllsegbw(false));
  EXPECT_FALSE(switcher.Llsegbw());
  EXPECT_EQ(checker.calls,
            (std::vector<std::string>{"Setllsegbw(true)", "SetMonitorInterval(200)",
                                      "Setllsegbw(false)", "SetMonitorInterval(200)"}));
}

TEST_F(AdaptiveSegSwitcherTest, EstimateOfOneMegabitIsOnePointTwoMegabits) {
  EXPECT_EQ(switcher.GetEstimateBandwidth(1000000), 1200000);
  EXPECT_EQ(switcher.EstimateMargin(), 0);
}

TEST_F(AdaptiveSegSwitcherTest, RelativeMarginIsAPercentInWholeKilobits) {
  // 1,279,999 / 10000 = 127 -> 127,000
  EXPECT_EQ(switcher.GetEstimateBandwidth(1279999), 1407998 + 127000);
  EXPECT_EQ(switcher.GetEstimateBandwidth(9999), 10998);
}

TEST_F(AdaptiveSegSwitcherTest, EstimateAtExactlyTheThresholdHasNoMarginAndMakesItSticky) {
  EXPECT_EQ(switcher.GetEstimateBandwidth(1280000), 1408000);
  EXPECT_EQ(switcher.EstimateMargin(), 128);
  EXPECT_EQ(switcher.GetEstimateBandwidth(300000), 330000 + 128000);
}

TEST_F(AdaptiveSegSwitcherTest, StickyMarginLastsUntilSwitchParamOrInit) {
  switcher.GetEstimateBandwidth(2000000);
  switcher.SetSwitchParam(0, 0);
  EXPECT_EQ(switcher.GetEstimateBandwidth(300000), 330000 + 30000);
  switcher.GetEstimateBandwidth(2000000);
  switcher.Init(&checker);
  EXPECT_EQ(switcher.GetEstimateBandwidth(300000), 330000 + 30000);
}

TEST_F(AdaptiveSegSwitcherTest, AudioCountsTowardsTheThresholdAndIsAdded) {
  switcher.SetAudioBitrate(100000);
  // total 1,100,000: margin 110,000
  EXPECT_EQ(switcher.GetEstimateBandwidth(1000000), 1100000 + 110000 + 100000);
  // total 1,280,000 with audio: no margin this call, sticky afterwards
  EXPECT_EQ(switcher.GetEstimateBandwidth(1180000), 1298000 + 100000);
  EXPECT_EQ(switcher.EstimateMargin(), 128);
}

TEST_F(AdaptiveSegSwitcherTest, ConfiguredMarginIsInKilobits) {
  switcher.SetSwitchParam(0, 200);
  EXPECT_EQ(switcher.GetEstimateBandwidth(3000000), 3300000 + 200000);
  EXPECT_EQ(switcher.GetEstimateBandwidth(100000), 110000 + 200000);
}

TEST_F(AdaptiveSegSwitcherTest, MeasuredBandwidthMustExceedTheEstimateStrictly) {
  switcher.ResetData({Variant(500000), Variant(1000000)}, false);
  EXPECT_EQ(switcher.GetSatisfiedStreamIndex(1200000, 0), 0);
  EXPECT_EQ(switcher.GetSatisfiedStreamIndex(1200001, 0), 1);
}

TEST_F(AdaptiveSegSwitcherTest, SelectionIsTheHighestSatisfiedVariantAndLogsIt) {
  switcher.ResetData({Variant(500000), Variant(1000000), Variant(2000000), Variant(4000000)},
                     false);
  LogCapture capture;
  EXPECT_EQ(switcher.GetSatisfiedStreamIndex(3000000, 3), 2);
  auto lines = capture.WithMessage("total streams are = 4 and returned stream index  = 2");
  EXPECT_TRUE(HasWholeLine(capture, "AdaptiveSegSwitcher.cpp", "GetSatisfiedStreamIndex",
                           "total streams are = 4 and returned stream index  = 2"));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
}

TEST_F(AdaptiveSegSwitcherTest, SelectionIgnoresItsSecondArgument) {
  switcher.ResetData({Variant(500000), Variant(1000000), Variant(2000000)}, false);
  EXPECT_EQ(switcher.GetSatisfiedStreamIndex(1300000, 0), 1);
  EXPECT_EQ(switcher.GetSatisfiedStreamIndex(1300000, 2), 1);
  EXPECT_EQ(switcher.GetSatisfiedStreamIndex(1300000, 99), 1);
}

TEST_F(AdaptiveSegSwitcherTest, NothingSatisfiedGivesTheCheapestVariant) {
  switcher.ResetData({Variant(1000000), Variant(500000), Variant(2000000)}, false);
  EXPECT_EQ(switcher.GetSatisfiedStreamIndex(1000, 0), 1);
}

TEST_F(AdaptiveSegSwitcherTest, EqualCheapestBandwidthsKeepTheHigherIndex) {
  switcher.ResetData({Variant(500000), Variant(500000), Variant(2000000)}, false);
  EXPECT_EQ(switcher.GetSatisfiedStreamIndex(1000, 0), 1);
}

TEST_F(AdaptiveSegSwitcherTest, MaxBitrateZeroExcludesEveryVariantAndTheAnswerIsZero) {
  switcher.ResetData({Variant(500000), Variant(1000000)}, false);
  switcher.SetMaxBitrate(0);
  LogCapture capture;
  EXPECT_EQ(switcher.GetSatisfiedStreamIndex(100000000, 1), 0);
  EXPECT_EQ(switcher.EligibleStreams(), (std::vector<bool>{false, false}));
  auto lines =
      capture.WithMessage("ignored stream bandwidth = 1000000, max bitrate set from app =0");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_EQ(capture.Count("ignored stream bandwidth = 500000, max bitrate set from app =0"), 1u);
}

TEST_F(AdaptiveSegSwitcherTest, ExcludedIndexZeroGivesTheLowestEligibleWhenNothingSatisfies) {
  switcher.ResetData(
      {Variant(300000, 1920, 1080), Variant(600000, 640, 360), Variant(1000000, 640, 360)}, false);
  switcher.SetMaxWidth(1280);
  LogCapture capture;
  EXPECT_EQ(switcher.GetSatisfiedStreamIndex(1000, 0), 1);
  EXPECT_EQ(switcher.EligibleStreams(), (std::vector<bool>{false, true, true}));
  // The line names the bitrate limit whichever limit struck.
  EXPECT_EQ(capture.Count("ignored stream bandwidth = 300000, max bitrate set from app =-1"), 1u);
}

TEST_F(AdaptiveSegSwitcherTest, HeightLimitExcludesTallVariants) {
  switcher.ResetData({Variant(500000, 640, 360), Variant(1000000, 1920, 1080)}, false);
  switcher.SetMaxHeight(720);
  EXPECT_EQ(switcher.GetSatisfiedStreamIndex(100000000, 0), 0);
  EXPECT_EQ(switcher.EligibleStreams(), (std::vector<bool>{true, false}));
}

TEST_F(AdaptiveSegSwitcherTest, MaxBitrateEqualToTheBandwidthIsPermitted) {
  switcher.ResetData({Variant(500000), Variant(1000000)}, false);
  switcher.SetMaxBitrate(1000000);
  EXPECT_EQ(switcher.GetSatisfiedStreamIndex(100000000, 0), 1);
}

TEST_F(AdaptiveSegSwitcherTest, WalkEndsAtTheFirstSatisfiedVariantLeavingLowerBitsSet) {
  switcher.ResetData(
      {Variant(500000, 1920, 1080), Variant(1000000, 640, 360), Variant(2000000, 1920, 1080)},
      false);
  switcher.SetMaxWidth(1280);
  EXPECT_EQ(switcher.GetSatisfiedStreamIndex(5000000, 0), 1);
  EXPECT_EQ(switcher.EligibleStreams(), (std::vector<bool>{true, true, false}));
}

TEST_F(AdaptiveSegSwitcherTest, EmptyTableSelectsZero) {
  LogCapture capture;
  EXPECT_EQ(switcher.GetSatisfiedStreamIndex(5000000, 0), 0);
  EXPECT_EQ(capture.Count("total streams are = 0 and returned stream index  = 0"), 1u);
}

TEST_F(AdaptiveSegSwitcherTest, MatchingIndexIsTheLastExactMatch) {
  switcher.ResetData({Variant(500000), Variant(1000000), Variant(1000000)}, false);
  EXPECT_EQ(switcher.GetMatchingStreamIndex(1000000), 2);
  EXPECT_EQ(switcher.GetMatchingStreamIndex(500000), 0);
  EXPECT_EQ(switcher.GetMatchingStreamIndex(999999), -1);
}

TEST_F(AdaptiveSegSwitcherTest, MatchingIndexInAnEmptyTableIsMinusOne) {
  EXPECT_EQ(switcher.GetMatchingStreamIndex(0), -1);
}

TEST_F(AdaptiveSegSwitcherTest, BitrateParamIsTheFirstEntryForTheExactBitrate) {
  switcher.SetBitrateLimit({{500000, 1, 7}, {1000000, 2, 7}, {1000000, 3, 8}}, {});
  bitrateParam_t out{-5, -5, -5};
  ASSERT_TRUE(switcher.GetBitrateParam(1000000, out));
  EXPECT_EQ(out.bitrate, 1000000);
  EXPECT_EQ(out.group, 2);
  EXPECT_EQ(out.upgradeGroup, 7);
}

TEST_F(AdaptiveSegSwitcherTest, MissingBitrateParamLeavesTheOutputAlone) {
  switcher.SetBitrateLimit({{500000, 1, 7}}, {});
  bitrateParam_t out{-5, -6, -7};
  EXPECT_FALSE(switcher.GetBitrateParam(500001, out));
  EXPECT_EQ(out.bitrate, -5);
  EXPECT_EQ(out.group, -6);
  EXPECT_EQ(out.upgradeGroup, -7);
}

TEST_F(AdaptiveSegSwitcherTest, HasBitrateLimitIgnoresRanges) {
  switcher.SetBitrateLimit({}, {{100, 200}});
  EXPECT_FALSE(switcher.HasBitrateLimit());
  switcher.SetBitrateLimit({{500000, 1, 1}}, {});
  EXPECT_TRUE(switcher.HasBitrateLimit());
}

TEST_F(AdaptiveSegSwitcherTest, LimitTestWithoutListsPermitsEverything) {
  EXPECT_EQ(switcher.CheckBitrateLimit(0), 1);
  EXPECT_EQ(switcher.CheckBitrateLimit(123456789), 1);
}

TEST_F(AdaptiveSegSwitcherTest, SingleRangeDecidesAloneAndLogs) {
  switcher.SetBitrateLimit({{50, 1, 1}, {5000, 1, 1}}, {{100, 1000}});
  LogCapture capture;
  EXPECT_EQ(switcher.CheckBitrateLimit(50), 2);
  EXPECT_EQ(switcher.CheckBitrateLimit(99), 2);
  EXPECT_EQ(switcher.CheckBitrateLimit(100), 1);
  EXPECT_EQ(switcher.CheckBitrateLimit(1000), 1);
  EXPECT_EQ(switcher.CheckBitrateLimit(1001), 3);
  EXPECT_EQ(switcher.CheckBitrateLimit(5000), 3);
  auto lines = capture.WithMessage("ONE RANGE IS PRESENT which is 100 to 1000");
  ASSERT_EQ(lines.size(), 6u);
  EXPECT_EQ(lines[0].priority, 6);
}

TEST_F(AdaptiveSegSwitcherTest, SeveralRangesAreConsultedBeforeTheList) {
  switcher.SetBitrateLimit({{5000, 1, 1}}, {{100, 200}, {300, 400}});
  LogCapture capture;
  EXPECT_EQ(switcher.CheckBitrateLimit(100), 1);
  EXPECT_EQ(switcher.CheckBitrateLimit(400), 1);
  EXPECT_EQ(switcher.CheckBitrateLimit(250), 0);
  EXPECT_EQ(switcher.CheckBitrateLimit(5000), 1);
  EXPECT_EQ(switcher.CheckBitrateLimit(5001), 0);
  EXPECT_TRUE(capture.Lines().empty());
}

TEST_F(AdaptiveSegSwitcherTest, ListAloneMatchesExactBitrates) {
  switcher.SetBitrateLimit({{500000, 1, 1}}, {});
  EXPECT_EQ(switcher.CheckBitrateLimit(500000), 1);
  EXPECT_EQ(switcher.CheckBitrateLimit(500001), 0);
}

TEST_F(AdaptiveSegSwitcherTest, ResetDataInstallsTheTableAndTheLevelFlag) {
  EXPECT_EQ(switcher.ResetData({Variant(500000), Variant(900000)}, true), 0);
  EXPECT_EQ(switcher.Variants().size(), 2u);
  EXPECT_EQ(switcher.Variants()[1].bandwidth, 900000);
  EXPECT_TRUE(switcher.SkipLevelCheck());
}

TEST_F(AdaptiveSegSwitcherTest, ResetDataRefusesATallFirstVariantAndKeepsTheOldTable) {
  ASSERT_EQ(switcher.ResetData({Variant(500000, 640, 360)}, false), 0);
  switcher.SetMaxHeight(720);
  LogCapture capture;
  EXPECT_EQ(switcher.ResetData({Variant(800000, 1920, 1080), Variant(900000)}, true), -52);
  ASSERT_EQ(switcher.Variants().size(), 1u);
  EXPECT_EQ(switcher.Variants()[0].bandwidth, 500000);
  EXPECT_FALSE(switcher.SkipLevelCheck());
  auto lines = capture.Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(LogCapture::Message(lines[0].text),
            "stream width [1920], diffrent from app width [-1]");
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_EQ(LogCapture::Message(lines[1].text),
            "stream height [1080], diffrent from app height [720]");
  EXPECT_EQ(lines[1].priority, 6);
}

TEST_F(AdaptiveSegSwitcherTest, ResetDataRefusesAWideFirstVariantLoggingBothLines) {
  switcher.SetMaxWidth(1280);
  LogCapture capture;
  EXPECT_EQ(switcher.ResetData({Variant(800000, 1920, 720)}, false), -52);
  EXPECT_EQ(capture.Count("stream width [1920], diffrent from app width [1280]"), 1u);
  EXPECT_EQ(capture.Count("stream height [720], diffrent from app height [-1]"), 1u);
}

TEST_F(AdaptiveSegSwitcherTest, ResetDataTestsOnlyTheFirstVariant) {
  switcher.SetMaxWidth(1280);
  switcher.SetMaxHeight(720);
  EXPECT_EQ(switcher.ResetData({Variant(500000, 1280, 720), Variant(900000, 3840, 2160)}, false),
            0);
  EXPECT_EQ(switcher.Variants().size(), 2u);
}

TEST(AdaptiveSegSwitcherWithChecker, LowLatencyModeReachesTheCheckerAndStartTurnsOnlyTheFlagOff) {
  FakeClock clock(1000);
  strmcommon::BandwidthChecker checker;
  SwitcherProbe switcher;
  switcher.Init(&checker);
  switcher.Setllsegbw(true);
  EXPECT_TRUE(checker.Islowlatency());
  EXPECT_EQ(checker.GetMonitorInterval(), 200u);
  checker.Start();
  EXPECT_FALSE(checker.Islowlatency());
  EXPECT_EQ(checker.GetMonitorInterval(), 200u);
  EXPECT_TRUE(switcher.Llsegbw());
  switcher.Setllsegbw(false);
  EXPECT_EQ(checker.GetMonitorInterval(), 200u);
}
