#include <gtest/gtest.h>
#include <time.h>

#include "Clock.h"
#include "FakeClock.h"
#include "WaitFor.h"

using testsupport::FakeClock;

TEST(FakeClock, LibraryClockReadsTheFakeTimeWhileEngaged) {
  FakeClock clock(123456);
  EXPECT_EQ(strmcommon::vas_getTime(), 123456u);
  EXPECT_EQ(strmcommon::vas_getUTC(), 123456u);
  clock.AdvanceMs(10000);
  EXPECT_EQ(strmcommon::vas_getTime(), 133456u);
  clock.SetMs(7);
  EXPECT_EQ(strmcommon::vas_getTime(), 7u);
  EXPECT_EQ(clock.NowMs(), 7);
}

TEST(FakeClock, OnlyTheMonotonicClockIsFaked) {
  FakeClock clock(5);
  struct timespec ts;
  ASSERT_EQ(clock_gettime(CLOCK_REALTIME, &ts), 0);
  EXPECT_GT(ts.tv_sec, 1000000);
}

TEST(FakeClock, SystemClockReturnsWhenTheFakeIsGone) {
  {
    FakeClock clock(5);
    ASSERT_EQ(strmcommon::vas_getTime(), 5u);
  }
  struct timespec ts;
  ASSERT_EQ(clock_gettime(CLOCK_MONOTONIC, &ts), 0);
  const unsigned long long before = strmcommon::vas_getTime();
  EXPECT_NE(before, 5u);
  EXPECT_GE(strmcommon::vas_getTime(), before);
}

TEST(FakeClock, WaitForDeadlinesHoldWhileTheFakeTimeStandsStill) {
  FakeClock clock(1000);
  // Gives up after many more turns than a 50 ms wait takes, should the deadline be ignored.
  int turns = 0;
  EXPECT_FALSE(testsupport::WaitFor([&] { return ++turns > 2000; }, std::chrono::milliseconds(50),
                                    std::chrono::milliseconds(1)))
      << "the deadline did not end the wait while the fake clock stood still";
  EXPECT_LT(turns, 2000);
  EXPECT_EQ(clock.NowMs(), 1000);
}
