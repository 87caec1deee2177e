#include <gtest/gtest.h>
#include <time.h>

#include "Clock.h"
#include "SysInterpose.h"

namespace {

class SleepTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sysinterpose::Reset();
    sysinterpose::captureUsleep = true;
  }
  void TearDown() override { sysinterpose::Reset(); }
};

unsigned long long MonotonicMs() {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<unsigned long long>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

}  // namespace

TEST_F(SleepTest, SleepMsOfZeroStillCallsUsleepWithZero) {
  vas_sleep_ms(0);
  EXPECT_EQ(sysinterpose::UsleepCalls(), std::vector<unsigned int>{0});
}

TEST_F(SleepTest, SleepUsOfZeroStillCallsUsleepWithZero) {
  vas_sleep_us(0);
  EXPECT_EQ(sysinterpose::UsleepCalls(), std::vector<unsigned int>{0});
}

TEST_F(SleepTest, SleepMsPassesMillisecondsTimesThousand) {
  vas_sleep_ms(3);
  EXPECT_EQ(sysinterpose::UsleepCalls(), std::vector<unsigned int>{3000});
}

TEST_F(SleepTest, SleepUsPassesItsArgumentUnchanged) {
  vas_sleep_us(1234);
  EXPECT_EQ(sysinterpose::UsleepCalls(), std::vector<unsigned int>{1234});
}

TEST_F(SleepTest, SleepMsJustBelowTheWrapIsExact) {
  vas_sleep_ms(4294967);
  EXPECT_EQ(sysinterpose::UsleepCalls(), std::vector<unsigned int>{4294967000u});
}

TEST_F(SleepTest, SleepMsOfFourMillionAndMoreWrapsInThirtyTwoBitsAndSleepsFarShorter) {
  vas_sleep_ms(4294968);
  vas_sleep_ms(4294968 + 1000);
  EXPECT_EQ(sysinterpose::UsleepCalls(), (std::vector<unsigned int>{704u, 1000704u}));
}

TEST(Clock, GetTimeIsMonotonicMilliseconds) {
  unsigned long long before = MonotonicMs();
  unsigned long long value = strmcommon::vas_getTime();
  unsigned long long after = MonotonicMs();
  EXPECT_LE(before, value);
  EXPECT_LE(value, after);
}

TEST(Clock, GetTimeNeverGoesBackwards) {
  unsigned long long last = strmcommon::vas_getTime();
  for (int i = 0; i < 10000; ++i) {
    unsigned long long now = strmcommon::vas_getTime();
    ASSERT_GE(now, last);
    last = now;
  }
}

TEST(Clock, GetUtcIsTheMonotonicClockNotTheWallClock) {
  unsigned long long before = strmcommon::vas_getTime();
  unsigned long long utc = strmcommon::vas_getUTC();
  unsigned long long after = strmcommon::vas_getTime();
  EXPECT_LE(before, utc);
  EXPECT_LE(utc, after);
  timespec real;
  clock_gettime(CLOCK_REALTIME, &real);
  unsigned long long wallMs = static_cast<unsigned long long>(real.tv_sec) * 1000;
  // The realtime clock lies decades past the monotonic start.
  EXPECT_GT(wallMs - utc, 1000ull * 3600 * 24 * 365);
}

TEST(Clock, SleepMsSleepsAtLeastTheTimeAsked) {
  unsigned long long before = strmcommon::vas_getTime();
  vas_sleep_ms(20);
  EXPECT_GE(strmcommon::vas_getTime() - before, 20u);
}
