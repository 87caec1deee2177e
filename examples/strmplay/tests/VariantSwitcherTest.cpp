#include <gtest/gtest.h>

#include "VariantSwitcher.h"

namespace strmplay {
namespace {

// A checker whose estimate the test sets.
class FixedChecker : public strmcommon::IBandwidthChecker {
 public:
  int estimate = 0;
  bool Start() override { return true; }
  bool Stop() override { return true; }
  bool IsMonitoring() override { return true; }
  void OnPolling(long long) override {}
  void Setllsegbw(bool) override {}
  void SetMonitorInterval(unsigned int) override {}
  unsigned int GetMonitorInterval() override { return 250; }
  int GetCurrentBandwidth() override { return estimate; }
  int GetBeginingBandwidth() override { return 0; }
  int GetCurrentMinBandwidth() override { return estimate; }
  int GetCurrentAvgBandwidth() override { return estimate; }
  unsigned long long GetAverageBandwidth() override { return 0; }
  int GetVariationRateBandwidth() override { return 0; }
  int GetAverageBandwidthFromBlock() override { return 0; }
  int GetDownloadPerHour() override { return 0; }
  bool Islowlatency() override { return false; }
};

std::vector<Variant> SampleLadder() {
  std::vector<Variant> ladder(3);
  ladder[0].bandwidth = 400000;
  ladder[0].width = 416;
  ladder[0].height = 234;
  ladder[1].bandwidth = 1200000;
  ladder[1].width = 854;
  ladder[1].height = 480;
  ladder[2].bandwidth = 3000000;
  ladder[2].width = 1280;
  ladder[2].height = 720;
  return ladder;
}

TEST(VariantSwitcher, GoesUpWhenTheEstimateCoversTheTopVariant) {
  FixedChecker checker;
  VariantSwitcher switcher(checker, 1.0);
  ASSERT_TRUE(switcher.SetLadder(SampleLadder()));
  checker.estimate = 8000000;
  EXPECT_EQ(switcher.Decide(1, 6.0), 2);
}

TEST(VariantSwitcher, GoesDownOnlyOnceLessThanEightSecondsAreBuffered) {
  FixedChecker checker;
  VariantSwitcher switcher(checker, 1.0);
  ASSERT_TRUE(switcher.SetLadder(SampleLadder()));
  checker.estimate = 500000;
  EXPECT_EQ(switcher.Decide(2, 9.0), 2);
  EXPECT_EQ(switcher.Decide(2, 8.0), 2);
  EXPECT_EQ(switcher.Decide(2, 7.9), 0);
}

TEST(VariantSwitcher, WithoutAnEstimateThereIsNoMove) {
  FixedChecker checker;
  VariantSwitcher switcher(checker, 1.0);
  ASSERT_TRUE(switcher.SetLadder(SampleLadder()));
  EXPECT_EQ(switcher.Decide(1, 2.0), 1);
}

TEST(VariantSwitcher, InCompressedTimeTheTableScalesWithTheLink) {
  FixedChecker checker;
  VariantSwitcher switcher(checker, 10.0);
  ASSERT_TRUE(switcher.SetLadder(SampleLadder()));
  checker.estimate = 8000000;  // 800 kbit/s of model time: only v0 fits
  EXPECT_EQ(switcher.Decide(1, 6.0), 0);
  checker.estimate = 80000000;
  EXPECT_EQ(switcher.Decide(0, 6.0), 2);
}

TEST(VariantSwitcher, TheCheckersRecordsKeepTheDeclaredBitrateInTheirThirdWord) {
  FixedChecker checker;
  VariantSwitcher switcher(checker, 10.0);
  ASSERT_TRUE(switcher.SetLadder(SampleLadder()));
  auto* record = static_cast<const std::uint32_t*>(switcher.DataHandler()->GetStreamInfo(1));
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record[2], 1200000u);
  EXPECT_EQ(switcher.DataHandler()->GetStreamInfo(3), nullptr);
  EXPECT_EQ(switcher.DataHandler()->GetStreamInfo(-1), nullptr);
}

}  // namespace
}  // namespace strmplay
