#include <gtest/gtest.h>

#include "RateSchedule.h"

namespace strmplay {
namespace {

TEST(RateSchedule, EachStepHoldsFromItsSecondOn) {
  RateSchedule s;
  std::string error;
  ASSERT_TRUE(s.Parse("8000@0,1500@10,5000@20", error)) << error;
  EXPECT_EQ(s.RateAt(0.0), 8000);
  EXPECT_EQ(s.RateAt(9.999), 8000);
  EXPECT_EQ(s.RateAt(10.0), 1500);
  EXPECT_EQ(s.RateAt(19.5), 1500);
  EXPECT_EQ(s.RateAt(20.0), 5000);
  EXPECT_EQ(s.RateAt(1000.0), 5000);
}

TEST(RateSchedule, StepsAreSortedAndTheFirstRateHoldsBeforeIt) {
  RateSchedule s;
  std::string error;
  ASSERT_TRUE(s.Parse("700@6,3000@2", error)) << error;
  EXPECT_EQ(s.RateAt(0.0), 3000);
  EXPECT_EQ(s.RateAt(5.0), 3000);
  EXPECT_EQ(s.RateAt(6.0), 700);
}

TEST(RateSchedule, AStepWithoutSecondStartsAtZero) {
  RateSchedule s;
  std::string error;
  ASSERT_TRUE(s.Parse("600", error)) << error;
  EXPECT_EQ(s.RateAt(42.0), 600);
}

TEST(RateSchedule, CapLowersEveryStepAndLimitsAnEmptySchedule) {
  RateSchedule s;
  std::string error;
  ASSERT_TRUE(s.Parse("8000@0,500@10", error));
  s.SetCap(1000);
  EXPECT_EQ(s.RateAt(0.0), 1000);
  EXPECT_EQ(s.RateAt(10.0), 500);
  RateSchedule empty;
  EXPECT_EQ(empty.RateAt(3.0), 0);
  empty.SetCap(900);
  EXPECT_EQ(empty.RateAt(3.0), 900);
}

TEST(RateSchedule, RefusesMalformedSteps) {
  for (const char* text : {"fast@0", "100@", "100@x", "0@1", "-5@0", "100@-1", "10k@0"}) {
    RateSchedule s;
    std::string error;
    EXPECT_FALSE(s.Parse(text, error)) << text;
    EXPECT_FALSE(error.empty()) << text;
  }
}

TEST(RateSchedule, DescribesItself) {
  RateSchedule s;
  std::string error;
  ASSERT_TRUE(s.Parse("8000@0,1500@10", error));
  EXPECT_EQ(s.ToString(), "8000 kbit/s from 0 s, 1500 kbit/s from 10 s");
  s.SetCap(600);
  EXPECT_EQ(s.ToString(), "8000 kbit/s from 0 s, 1500 kbit/s from 10 s, capped at 600 kbit/s");
}

}  // namespace
}  // namespace strmplay
