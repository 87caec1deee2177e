#include <gtest/gtest.h>

#include <climits>
#include <cmath>

#include "LogCapture.h"
#include "LowLatency.h"
#include "WholeLogLine.h"

using strmcommon::LowLatency;
using testsupport::HasWholeLine;
using testsupport::LogCapture;

TEST(LowLatency, FreshObjectIsNotLowLatencyCannotBlockAndSkipsNothing) {
  LowLatency ll;
  EXPECT_FALSE(ll.IsLowLatency());
  EXPECT_FALSE(ll.CanBlock());
  EXPECT_EQ(ll.GetSkipInfo(), 0);
  EXPECT_EQ(ll.m_holdback, 0);
  EXPECT_EQ(ll.m_partholdback, 0);
  EXPECT_EQ(ll.m_targetDuration, 0u);
}

TEST(LowLatency, TrailingFieldsStartAtMinusOneAndEmpty) {
  LowLatency ll;
  EXPECT_EQ(ll.m_reservedInt1, -1);
  EXPECT_EQ(ll.m_reservedInt2, -1);
  EXPECT_EQ(ll.m_reservedInt3, -1);
  EXPECT_TRUE(ll.m_reservedString1.empty());
  EXPECT_TRUE(ll.m_reservedString2.empty());
  EXPECT_TRUE(ll.m_reservedString3.empty());
}

TEST(LowLatency, ParamsInSecondsAreStoredAsTruncatedMilliseconds) {
  LowLatency ll;
  ll.Setparams(true, 2.5, 6.0, 1.0005);
  EXPECT_TRUE(ll.CanBlock());
  EXPECT_EQ(ll.m_skipuntil, 2500);
  EXPECT_EQ(ll.m_holdback, 6000);
  EXPECT_EQ(ll.m_partholdback, 1000);
  EXPECT_EQ(ll.GetSkipInfo(), 2500);
}

TEST(LowLatency, ParamsTruncateTowardZero) {
  LowLatency ll;
  ll.Setparams(false, 0.0019, -0.0019, 3.9999);
  EXPECT_FALSE(ll.CanBlock());
  EXPECT_EQ(ll.m_skipuntil, 1);
  EXPECT_EQ(ll.m_holdback, -1);
  EXPECT_EQ(ll.m_partholdback, 3999);
}

TEST(LowLatency, ParamsTruncateTheExactProductAsExtendedPrecisionHoldsIt) {
  // 0.3 is stored as 0.29999999999999998889..., so the product lies just below 300: a product
  // rounded to double would give 300 instead. Beyond the int range the result is -2147483648.
  struct Row {
    double seconds;
    int milliseconds;
  };
  const Row rows[] = {
      {0.3, 299},                 //
      {-0.3, -299},               //
      {0.7, 699},                 //
      {4.35, 4349},               //
      {1.1, 1100},                // just above: unaffected
      {2147483.647, 2147483646},  // near the top of the range
      {-2147483.648, INT_MIN},    // the bottom of the range itself
      {2147483.648, INT_MIN},     // beyond it: the indefinite integer
      {-2147483.649, INT_MIN},    //
      {1e300, INT_MIN},           //
      {std::nan(""), INT_MIN},    //
      {HUGE_VAL, INT_MIN},        //
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.seconds);
    LowLatency ll;
    ll.Setparams(false, row.seconds, row.seconds, row.seconds);
    EXPECT_EQ(ll.m_skipuntil, row.milliseconds);
    EXPECT_EQ(ll.m_holdback, row.milliseconds);
    EXPECT_EQ(ll.m_partholdback, row.milliseconds);
  }
}

TEST(LowLatency, ParamsAreLoggedAtDebugPriority) {
  LowLatency ll;
  LogCapture capture;
  ll.Setparams(true, 2.5, 6.0, 1.0005);
  auto lines = capture.WithMessage(
      "m_blockreload =[1] m_skipuntil =[2500] m_holdback = [6000] m_partholdback = [1000]");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
}

TEST(LowLatency, PartTagMarksLowLatencyWhateverItsValue) {
  LowLatency ll;
  LogCapture capture;
  ll.SetPartTagInfo(0);
  EXPECT_TRUE(ll.IsLowLatency());
  EXPECT_EQ(ll.m_targetDuration, 0u);
  ll.SetPartTagInfo(4000);
  EXPECT_EQ(ll.m_targetDuration, 4000u);
  EXPECT_EQ(capture.Count("m_parttag =[1] m_targetDuration =[0]"), 1u);
  auto lines = capture.WithMessage("m_parttag =[1] m_targetDuration =[4000]");
  EXPECT_TRUE(HasWholeLine(capture, "LowLatency.cpp", "SetPartTagInfo",
                           "m_parttag =[1] m_targetDuration =[4000]"));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
}

TEST(LowLatency, RenditionReportIsStoredAndLogged) {
  LowLatency ll;
  LogCapture capture;
  ll.SetRenditionReportParam(1234, 5);
  EXPECT_EQ(ll.renditionmsqn, 1234);
  EXPECT_EQ(ll.renditionpart, 5);
  auto lines = capture.WithMessage("renditionmsqn =[1234] renditionpart =[5]");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
}

TEST(LowLatency, SkipInfoIsLoggedOnEveryRead) {
  LowLatency ll;
  ll.Setparams(false, 12.0, 0, 0);
  LogCapture capture;
  ll.GetSkipInfo();
  ll.GetSkipInfo();
  auto lines = capture.WithMessage("m_skipuntil =[12000]");
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].priority, 3);
}
