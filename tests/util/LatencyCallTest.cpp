#include <gtest/gtest.h>

#include <cstring>

#include "FakeClock.h"
#include "LatencyCall.h"
#include "LogCapture.h"

using strmcommon::LatencyCall;
using testsupport::FakeClock;
using testsupport::LogCapture;

namespace {

class LatencyCallTest : public ::testing::Test {
 protected:
  FakeClock clock{2000000};
};

}  // namespace

TEST_F(LatencyCallTest, BeginsStoppedAtTheConstructionTime) {
  LatencyCall call;
  EXPECT_TRUE(call.IsStop());
  EXPECT_FALSE(call.IsBlocked());
  EXPECT_EQ(call.GetStartTime(), 2000000);
  EXPECT_EQ(call.GetDelay(), 0);
  EXPECT_EQ(call.GetLevel(), 0);
  clock.AdvanceMs(100000);
  EXPECT_FALSE(call.IsCheck());
}

TEST_F(LatencyCallTest, StartRecordsTheClockDelayAndLevel) {
  LatencyCall call;
  clock.AdvanceMs(500);
  call.Start(3000, 7);
  EXPECT_FALSE(call.IsStop());
  EXPECT_EQ(call.GetStartTime(), 2000500);
  EXPECT_EQ(call.GetDelay(), 3000);
  EXPECT_EQ(call.GetLevel(), 7);
}

TEST_F(LatencyCallTest, ZeroDelayDoesNotFireInTheSameMillisecond) {
  LatencyCall call;
  call.Start(0, 1);
  EXPECT_FALSE(call.IsCheck());
  clock.AdvanceMs(1);
  EXPECT_TRUE(call.IsCheck());
}

TEST_F(LatencyCallTest, FiresOnceWhenMoreThanTheDelayHasPassed) {
  LatencyCall call;
  call.Start(500, 1);
  clock.AdvanceMs(500);
  EXPECT_FALSE(call.IsCheck());
  EXPECT_FALSE(call.IsStop());
  clock.AdvanceMs(1);
  EXPECT_TRUE(call.IsCheck());
  EXPECT_TRUE(call.IsStop());
  EXPECT_FALSE(call.IsCheck());
  clock.AdvanceMs(10000);
  EXPECT_FALSE(call.IsCheck());
}

TEST_F(LatencyCallTest, StopPreventsTheTimerFromFiring) {
  LatencyCall call;
  call.Start(500, 1);
  call.Stop();
  clock.AdvanceMs(1000);
  EXPECT_FALSE(call.IsCheck());
}

TEST_F(LatencyCallTest, StartAgainAfterFiringRearmsIt) {
  LatencyCall call;
  call.Start(100, 1);
  clock.AdvanceMs(101);
  ASSERT_TRUE(call.IsCheck());
  call.Start(100, 2);
  EXPECT_FALSE(call.IsCheck());
  clock.AdvanceMs(101);
  EXPECT_TRUE(call.IsCheck());
}

TEST_F(LatencyCallTest, UnBlockWithoutABlockStillGivesOneTrue) {
  LatencyCall call;
  call.UnBlock();
  EXPECT_TRUE(call.IsCheck());
  EXPECT_TRUE(call.IsStop());
  EXPECT_FALSE(call.IsCheck());
}

TEST_F(LatencyCallTest, BlockSuspendsTheTimerWithoutConsumingIt) {
  LatencyCall call;
  call.Start(100, 1);
  call.Block();
  EXPECT_TRUE(call.IsBlocked());
  clock.AdvanceMs(500);
  EXPECT_FALSE(call.IsCheck());
  EXPECT_FALSE(call.IsStop());
  call.UnBlock();
  EXPECT_FALSE(call.IsBlocked());
  // The forced check first, leaving the running timer running ...
  EXPECT_TRUE(call.IsCheck());
  EXPECT_FALSE(call.IsStop());
  // ... then the delay that ended meanwhile.
  EXPECT_TRUE(call.IsCheck());
  EXPECT_TRUE(call.IsStop());
  EXPECT_FALSE(call.IsCheck());
}

TEST_F(LatencyCallTest, UnBlockThenBlockHidesThePendingCheckUntilTheNextUnBlock) {
  LatencyCall call;
  call.UnBlock();
  call.Block();
  EXPECT_FALSE(call.IsCheck());
  EXPECT_FALSE(call.IsCheck());
  call.UnBlock();
  EXPECT_TRUE(call.IsCheck());
  EXPECT_FALSE(call.IsCheck());
}

TEST_F(LatencyCallTest, StopDoesNotClearAPendingUnBlock) {
  LatencyCall call;
  call.Start(100000, 1);
  call.UnBlock();
  call.Stop();
  EXPECT_TRUE(call.IsCheck());
  EXPECT_FALSE(call.IsCheck());
}

TEST_F(LatencyCallTest, UnBlockWritesBothFlagsAsOneTwoByteValue) {
  LatencyCall call;
  call.Block();
  call.UnBlock();
  // The two flags are adjacent bytes after the level: blocked false, unblocked true.
  unsigned char bytes[sizeof(LatencyCall)];
  std::memcpy(bytes, &call, sizeof(call));
  const size_t blocked = sizeof(long long) * 2 + sizeof(int) + 1;
  EXPECT_EQ(bytes[blocked], 0);
  EXPECT_EQ(bytes[blocked + 1], 1);
  EXPECT_FALSE(call.IsBlocked());
}

TEST_F(LatencyCallTest, LogsNothing) {
  LogCapture capture;
  LatencyCall call;
  call.Start(0, 0);
  call.Block();
  call.UnBlock();
  call.IsCheck();
  clock.AdvanceMs(5);
  call.IsCheck();
  call.Stop();
  EXPECT_TRUE(capture.Lines().empty());
}
