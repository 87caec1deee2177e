// The log macros: the id, priority, tag and prefix of every line.
#include <gtest/gtest.h>

#include "DLog.h"
#include "LogCapture.h"

using testsupport::LogCapture;

namespace {

void LogFromHere() { VAS_LOG_DEBUG("value %d\n", 42); }
void ErrorFromHere() { VAS_LOG_ERROR("plain"); }

}  // namespace

TEST(DLog, DebugLineCarriesSystemIdDebugPriorityTagAndPrefix) {
  LogCapture capture;
  LogFromHere();
  auto lines = capture.Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].logId, 2);
  EXPECT_EQ(lines[0].priority, 3);
  EXPECT_TRUE(lines[0].hasTag);
  EXPECT_EQ(lines[0].tag, "STREAMING_ENGINE");
  EXPECT_EQ(lines[0].text, "DLogTest.cpp: LogFromHere(11) > value 42\n");
}

TEST(DLog, ErrorLineUsesPrioritySixAndKeepsTextWithoutNewline) {
  LogCapture capture;
  ErrorFromHere();
  auto lines = capture.Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_EQ(lines[0].text, "DLogTest.cpp: ErrorFromHere(12) > plain");
}

TEST(DLog, UntaggedMainLineHasNullTag) {
  LogCapture capture;
  VAS_LOG_MAIN_UNTAGGED_ERROR("system_info_get_custom_bool() fail");
  auto lines = capture.Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].logId, 0);
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_FALSE(lines[0].hasTag);
  EXPECT_EQ(LogCapture::Message(lines[0].text), "system_info_get_custom_bool() fail");
}
