#include <gtest/gtest.h>

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
