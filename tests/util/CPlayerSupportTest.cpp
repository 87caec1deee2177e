#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CPlayerSupport.h"
#include "LogCapture.h"
#include "WholeLogLine.h"

using strmcommon::CPlayerSupport;
using strmcommon::tag_VAS_Status;
using strmcommon::VAS_STATUS_OK;
using testsupport::HasWholeLine;
using testsupport::LogCapture;

namespace {

// What the callbacks saw, as text, in order.
std::vector<std::string> g_seen;

std::string Ptr(const void* p) {
  char buf[32];
  snprintf(buf, sizeof buf, "%p", p);
  return buf;
}

tag_VAS_Status Bandwidth(unsigned int code, unsigned int from, unsigned int to,
                         unsigned long long vpts, unsigned long long apts) {
  g_seen.push_back("bw " + std::to_string(code) + " " + std::to_string(from) + " " +
                   std::to_string(to) + " " + std::to_string(vpts) + " " + std::to_string(apts));
  return VAS_STATUS_OK;
}

tag_VAS_Status BandwidthEx(unsigned int code, unsigned int from, unsigned int to,
                           unsigned long long vpts, unsigned long long apts, void* user) {
  g_seen.push_back("bwEx " + std::to_string(code) + " " + std::to_string(from) + " " +
                   std::to_string(to) + " " + std::to_string(vpts) + " " + std::to_string(apts) +
                   " " + Ptr(user));
  return VAS_STATUS_OK;
}

tag_VAS_Status Discontinuity(unsigned int code, unsigned long long vpts, unsigned long long apts,
                             unsigned long long vdts, unsigned long long adts, unsigned int last) {
  g_seen.push_back("disc " + std::to_string(code) + " " + std::to_string(vpts) + " " +
                   std::to_string(apts) + " " + std::to_string(vdts) + " " + std::to_string(adts) +
                   " " + std::to_string(last));
  return VAS_STATUS_OK;
}

tag_VAS_Status DiscontinuityEx(unsigned int code, unsigned long long vpts, unsigned long long apts,
                               unsigned long long vdts, unsigned long long adts, unsigned int last,
                               void* user) {
  g_seen.push_back("discEx " + std::to_string(code) + " " + std::to_string(vpts) + " " +
                   std::to_string(apts) + " " + std::to_string(vdts) + " " + std::to_string(adts) +
                   " " + std::to_string(last) + " " + Ptr(user));
  return VAS_STATUS_OK;
}

tag_VAS_Status Advertisement(unsigned int code, unsigned long long, unsigned long long,
                             unsigned long long, unsigned long long, unsigned int) {
  g_seen.push_back("ad " + std::to_string(code));
  return VAS_STATUS_OK;
}

tag_VAS_Status AdvertisementEx(unsigned int code, char* data, void* user) {
  g_seen.push_back("adEx " + std::to_string(code) + " " + Ptr(data) + " " + Ptr(user));
  return VAS_STATUS_OK;
}

tag_VAS_Status CueOutCont(char* data, void* user) {
  g_seen.push_back("cue " + Ptr(data) + " " + Ptr(user));
  return VAS_STATUS_OK;
}

tag_VAS_Status DateRange(char* data, void* user) {
  g_seen.push_back("date " + Ptr(data) + " " + Ptr(user));
  return VAS_STATUS_OK;
}

tag_VAS_Status SwitchDone(void* user) {
  g_seen.push_back("switch " + Ptr(user));
  return VAS_STATUS_OK;
}

tag_VAS_Status Event(int code, void* a, void* b, void* c, void* user) {
  g_seen.push_back("event " + std::to_string(code) + " " + Ptr(a) + " " + Ptr(b) + " " + Ptr(c) +
                   " " + Ptr(user));
  return VAS_STATUS_OK;
}

tag_VAS_Status DrmError(int code, void* user) {
  g_seen.push_back("drm " + std::to_string(code) + " " + Ptr(user));
  return VAS_STATUS_OK;
}

int g_userA;
int g_userB;
char g_text[] = "#EXT-X-CUE-OUT:30";

class CPlayerSupportTest : public ::testing::Test {
 protected:
  void SetUp() override { g_seen.clear(); }
  CPlayerSupport support;
};

}  // namespace

TEST_F(CPlayerSupportTest, FreshHubDropsEveryEvent) {
  support.OnBitrateChanged(1, 2, 3, 4, 5, 6);
  support.OnDiscontinue(1, 2, 3, 4, 5);
  support.OnADStart(g_text);
  support.OnADEnd(g_text);
  support.OnCueOutCont(g_text);
  support.OnDateRangeADStart(g_text);
  support.OnSwitchDone();
  support.OnEvent(1, nullptr, nullptr, nullptr);
  support.OnDRMError(1);
  EXPECT_TRUE(g_seen.empty());
}

TEST_F(CPlayerSupportTest, BitrateChangeGoesToThePlainFormWithCodeTwenty) {
  support.SetBandwidthCallback(&Bandwidth);
  LogCapture capture;
  support.OnBitrateChanged(1000000, 2000000, 90000, 90001, 89000, 89001);
  EXPECT_EQ(g_seen, (std::vector<std::string>{"bw 20 1000000 2000000 90000 90001"}));
  auto lines = capture.WithMessage(
      "BitrateChanged 1000000 -> 2000000: raw video pts = 90000, raw audio pts = 90001, raw video "
      "dts = 89000, raw audio dts = 89001");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
  EXPECT_TRUE(HasWholeLine(capture, "CPlayerSupport.cpp", "OnBitrateChanged",
                           "BitrateChanged 1000000 -> 2000000: raw video pts = 90000, raw audio "
                           "pts = 90001, raw video dts = 89000, raw audio dts = 89001"));
}

TEST_F(CPlayerSupportTest, SettingTheExFormAfterThePlainReachesOnlyTheEx) {
  support.SetBandwidthCallback(&Bandwidth);
  support.SetBandwidthCallbackEx(&BandwidthEx, &g_userA);
  support.OnBitrateChanged(1, 2, 3, 4, 5, 6);
  EXPECT_EQ(g_seen, (std::vector<std::string>{"bwEx 20 1 2 3 4 " + Ptr(&g_userA)}));
}

TEST_F(CPlayerSupportTest, SettingThePlainFormAfterTheExReachesOnlyThePlain) {
  support.SetBandwidthCallbackEx(&BandwidthEx, &g_userA);
  support.SetBandwidthCallback(&Bandwidth);
  support.OnBitrateChanged(1, 2, 3, 4, 5, 6);
  EXPECT_EQ(g_seen, (std::vector<std::string>{"bw 20 1 2 3 4"}));
}

TEST_F(CPlayerSupportTest, ReleasedBandwidthCallbacksOnlyLog) {
  support.SetBandwidthCallbackEx(&BandwidthEx, &g_userA);
  support.ReleaseBandwidthCallback();
  LogCapture capture;
  support.OnBitrateChanged(1, 2, 3, 4, 5, 6);
  EXPECT_TRUE(g_seen.empty());
  EXPECT_EQ(capture.Lines().size(), 1u);
}

TEST_F(CPlayerSupportTest, ReleaseKeepsTheUserData) {
  support.SetBandwidthCallbackEx(&BandwidthEx, &g_userA);
  support.ReleaseBandwidthCallback();
  support.SetBandwidthCallbackEx(&BandwidthEx, &g_userB);
  support.OnBitrateChanged(1, 2, 3, 4, 5, 6);
  EXPECT_EQ(g_seen.back(), "bwEx 20 1 2 3 4 " + Ptr(&g_userB));
  // A plain registration after a release finds the Ex form cleared.
  support.ReleaseBandwidthCallback();
  support.SetBandwidthCallback(&Bandwidth);
  support.OnBitrateChanged(5, 6, 7, 8, 9, 10);
  EXPECT_EQ(g_seen.back(), "bw 20 5 6 7 8");
}

TEST_F(CPlayerSupportTest, DiscontinuityDeliversCodeThirtyAndLogsTheValueOnly) {
  support.SetDiscontinuityCallback(&Discontinuity);
  LogCapture capture;
  support.OnDiscontinue(5, 100, 200, 300, 400);
  EXPECT_EQ(g_seen, (std::vector<std::string>{"disc 30 100 200 300 400 0"}));
  auto lines = capture.WithMessage(
      "Discontinuity(5): raw video pts = 100, raw audio pts = 200, raw video dts = 300, raw audio "
      "dts = 400");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
}

TEST_F(CPlayerSupportTest, DiscontinuityExFormGetsTheUserDataAndClearsThePlain) {
  support.SetDiscontinuityCallback(&Discontinuity);
  support.SetDiscontinuityCallbackEx(&DiscontinuityEx, &g_userB);
  support.OnDiscontinue(-1, 1, 2, 3, 4);
  EXPECT_EQ(g_seen, (std::vector<std::string>{"discEx 30 1 2 3 4 0 " + Ptr(&g_userB)}));
  support.SetDiscontinuityCallback(&Discontinuity);
  support.OnDiscontinue(-1, 1, 2, 3, 4);
  EXPECT_EQ(g_seen.back(), "disc 30 1 2 3 4 0");
}

TEST_F(CPlayerSupportTest, AdvertisementEventsReachOnlyTheExForm) {
  support.SetAdvertisementCallbackEx(&AdvertisementEx, &g_userA);
  LogCapture capture;
  support.OnADStart(g_text);
  support.OnADEnd(g_text);
  EXPECT_EQ(g_seen, (std::vector<std::string>{"adEx 8 " + Ptr(g_text) + " " + Ptr(&g_userA),
                                              "adEx 9 " + Ptr(g_text) + " " + Ptr(&g_userA)}));
  auto lines = capture.Lines();
  ASSERT_EQ(lines.size(), 1u);  // the end of an advertisement is not logged
  EXPECT_EQ(LogCapture::Message(lines[0].text), "Begin AD: cueoutdata string is #EXT-X-CUE-OUT:30");
  EXPECT_EQ(lines[0].priority, 3);
}

TEST_F(CPlayerSupportTest, PlainAdvertisementCallbackIsNeverFired) {
  support.SetAdvertisementCallbackEx(&AdvertisementEx, &g_userA);
  support.SetAdvertisementCallback(&Advertisement);
  LogCapture capture;
  support.OnADStart(g_text);
  support.OnADEnd(g_text);
  EXPECT_TRUE(g_seen.empty());
  EXPECT_EQ(capture.Count("Begin AD: cueoutdata string is #EXT-X-CUE-OUT:30"), 1u);
}

TEST_F(CPlayerSupportTest, ReleasedAdvertisementCallbackIsNotFired) {
  support.SetAdvertisementCallbackEx(&AdvertisementEx, &g_userA);
  support.ReleaseAdvertisementCallback();
  support.OnADStart(g_text);
  EXPECT_TRUE(g_seen.empty());
}

TEST_F(CPlayerSupportTest, CueOutContinueIsForwardedOrReportedMissing) {
  LogCapture capture;
  support.OnCueOutCont(g_text);
  auto missing = capture.WithMessage("OnCueOutCont ContAdCallbackEx not exists");
  ASSERT_EQ(missing.size(), 1u);
  EXPECT_EQ(missing[0].priority, 6);
  auto begin = capture.WithMessage("Begin CueOutCont event sending");
  ASSERT_EQ(begin.size(), 1u);
  EXPECT_EQ(begin[0].priority, 3);

  capture.Clear();
  support.SetCueOutContCallbackEx(&CueOutCont, &g_userA);
  auto setting = capture.WithMessage("setting ContAdCallbackEx");
  ASSERT_EQ(setting.size(), 1u);
  EXPECT_EQ(setting[0].priority, 6);
  support.OnCueOutCont(g_text);
  EXPECT_EQ(g_seen, (std::vector<std::string>{"cue " + Ptr(g_text) + " " + Ptr(&g_userA)}));
  EXPECT_EQ(capture.Count("OnCueOutCont ContAdCallbackEx not exists"), 0u);
}

TEST_F(CPlayerSupportTest, DateRangeIsForwardedOrReportedMissing) {
  LogCapture capture;
  support.OnDateRangeADStart(g_text);
  auto missing = capture.WithMessage("OnDateRangeADStart DateRangeCallbackEx not exists");
  ASSERT_EQ(missing.size(), 1u);
  EXPECT_EQ(missing[0].priority, 6);
  auto begin = capture.WithMessage("Begin DateRangeAD");
  ASSERT_EQ(begin.size(), 1u);
  EXPECT_EQ(begin[0].priority, 3);

  capture.Clear();
  support.SetDateRangeCallbackEx(&DateRange, &g_userB);
  auto setting = capture.WithMessage("setting DateRangeCallbackEx");
  ASSERT_EQ(setting.size(), 1u);
  EXPECT_EQ(setting[0].priority, 6);
  support.OnDateRangeADStart(g_text);
  EXPECT_EQ(g_seen, (std::vector<std::string>{"date " + Ptr(g_text) + " " + Ptr(&g_userB)}));
}

TEST_F(CPlayerSupportTest, NullCallbackServesAsRelease) {
  support.SetDateRangeCallbackEx(&DateRange, &g_userB);
  support.SetDateRangeCallbackEx(nullptr, nullptr);
  LogCapture capture;
  support.OnDateRangeADStart(g_text);
  EXPECT_TRUE(g_seen.empty());
  EXPECT_EQ(capture.Count("OnDateRangeADStart DateRangeCallbackEx not exists"), 1u);
}

TEST_F(CPlayerSupportTest, SwitchDoneIsForwardedWithItsUserData) {
  support.SetSwitchDoneCallback(&SwitchDone, &g_userA);
  LogCapture capture;
  support.OnSwitchDone();
  EXPECT_EQ(g_seen, (std::vector<std::string>{"switch " + Ptr(&g_userA)}));
  auto lines = capture.WithMessage("Switch Done");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
}

TEST_F(CPlayerSupportTest, EventIsForwardedAndLogsTheCallbackPointer) {
  LogCapture capture;
  support.OnEvent(3, &g_userA, nullptr, &g_userB);
  EXPECT_TRUE(g_seen.empty());
  EXPECT_EQ(capture.Count("OnEvent function (" + Ptr(nullptr) + ")"), 1u);

  support.SetOnEventCallbackEx(&Event, g_text);
  capture.Clear();
  support.OnEvent(3, &g_userA, nullptr, &g_userB);
  EXPECT_EQ(g_seen, (std::vector<std::string>{"event 3 " + Ptr(&g_userA) + " " + Ptr(nullptr) +
                                              " " + Ptr(&g_userB) + " " + Ptr(g_text)}));
  auto lines =
      capture.WithMessage("OnEvent function (" + Ptr(reinterpret_cast<const void*>(&Event)) + ")");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
}

TEST_F(CPlayerSupportTest, DrmErrorIsForwardedWithoutALog) {
  support.SetOnDRMErrorCallbackEx(&DrmError, &g_userB);
  LogCapture capture;
  support.OnDRMError(-7);
  EXPECT_EQ(g_seen, (std::vector<std::string>{"drm -7 " + Ptr(&g_userB)}));
  EXPECT_TRUE(capture.Lines().empty());
}
