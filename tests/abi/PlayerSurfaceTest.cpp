// The player callback hub as the engine links it, with the player's callbacks defined here.
#include <gtest/gtest.h>

#include <string>

#include "EngineViewPlayer.h"
#include "Patterned.h"

using abi_probe::Patterned;
using namespace strmcommon;

namespace {

struct Heard {
  int calls = 0;
  unsigned int code = 0;
  unsigned long long first = 0;
  void* user = nullptr;
  std::string text;
};
Heard g_heard;

tag_VAS_Status Bandwidth(unsigned int code, unsigned int from, unsigned int to,
                         unsigned long long videoPts, unsigned long long audioPts) {
  ++g_heard.calls;
  g_heard.code = code;
  g_heard.first = from;
  return kProbeStatusOk;
}
tag_VAS_Status BandwidthEx(unsigned int code, unsigned int from, unsigned int to,
                           unsigned long long videoPts, unsigned long long audioPts, void* user) {
  ++g_heard.calls;
  g_heard.code = code;
  g_heard.first = to;
  g_heard.user = user;
  return kProbeStatusOk;
}
tag_VAS_Status Advertisement(unsigned int, unsigned long long, unsigned long long,
                             unsigned long long, unsigned long long, unsigned int) {
  ++g_heard.calls;
  return kProbeStatusOk;
}
tag_VAS_Status AdvertisementEx(unsigned int code, char* data, void* user) {
  ++g_heard.calls;
  g_heard.code = code;
  g_heard.text = data;
  g_heard.user = user;
  return kProbeStatusOk;
}
tag_VAS_Status Discontinuity(unsigned int code, unsigned long long videoPts, unsigned long long,
                             unsigned long long, unsigned long long, unsigned int) {
  ++g_heard.calls;
  g_heard.code = code;
  g_heard.first = videoPts;
  return kProbeStatusOk;
}
tag_VAS_Status DiscontinuityEx(unsigned int code, unsigned long long videoPts, unsigned long long,
                               unsigned long long, unsigned long long, unsigned int, void* user) {
  ++g_heard.calls;
  g_heard.code = code;
  g_heard.user = user;
  return kProbeStatusOk;
}
tag_VAS_Status TextEx(char* data, void* user) {
  ++g_heard.calls;
  g_heard.text = data;
  g_heard.user = user;
  return kProbeStatusOk;
}
tag_VAS_Status SwitchDone(void* user) {
  ++g_heard.calls;
  g_heard.user = user;
  return kProbeStatusOk;
}
tag_VAS_Status Event(int code, void* first, void*, void*, void* user) {
  ++g_heard.calls;
  g_heard.code = static_cast<unsigned int>(code);
  g_heard.user = user;
  return kProbeStatusOk;
}
tag_VAS_Status DrmError(int code, void* user) {
  ++g_heard.calls;
  g_heard.code = static_cast<unsigned int>(code);
  g_heard.user = user;
  return kProbeStatusOk;
}

}  // namespace

TEST(PlayerSurface, TheHubForwardsThroughItsDeclaredPointers) {
  Patterned<CPlayerSupport> hub;
  EXPECT_TRUE(hub.TailUntouched());
  EXPECT_EQ(hub->m_advertisementCallback, nullptr);
  EXPECT_EQ(hub->m_bandwidthCallbackEx, nullptr);
  EXPECT_EQ(hub->m_onDRMErrorCallbackEx, nullptr);
  EXPECT_EQ(hub->m_onDRMErrorUser, nullptr);
  int user = 0;
  char text[] = "cue";

  hub->SetBandwidthCallback(Bandwidth);
  EXPECT_EQ(hub->m_bandwidthCallback, &Bandwidth);
  hub->OnBitrateChanged(100, 200, 1, 2, 3, 4);
  EXPECT_EQ(g_heard.code, 20u);
  EXPECT_EQ(g_heard.first, 100u);
  hub->SetBandwidthCallbackEx(BandwidthEx, &user);
  EXPECT_EQ(hub->m_bandwidthCallback, nullptr);
  EXPECT_EQ(hub->m_bandwidthUser, &user);
  hub->OnBitrateChanged(100, 200, 1, 2, 3, 4);
  EXPECT_EQ(g_heard.first, 200u);
  EXPECT_EQ(g_heard.user, &user);
  hub->ReleaseBandwidthCallback();
  EXPECT_EQ(hub->m_bandwidthCallbackEx, nullptr);

  hub->SetAdvertisementCallback(Advertisement);
  EXPECT_EQ(hub->m_advertisementCallback, &Advertisement);
  hub->SetAdvertisementCallbackEx(AdvertisementEx, &user);
  EXPECT_EQ(hub->m_advertisementUser, &user);
  hub->OnADStart(text);
  EXPECT_EQ(g_heard.code, 8u);
  EXPECT_EQ(g_heard.text, "cue");
  hub->OnADEnd(text);
  EXPECT_EQ(g_heard.code, 9u);
  hub->ReleaseAdvertisementCallback();
  EXPECT_EQ(hub->m_advertisementCallbackEx, nullptr);

  hub->SetDiscontinuityCallback(Discontinuity);
  hub->OnDiscontinue(5, 77, 0, 0, 0);
  EXPECT_EQ(g_heard.code, 30u);
  EXPECT_EQ(g_heard.first, 77u);
  hub->SetDiscontinuityCallbackEx(DiscontinuityEx, &user);
  EXPECT_EQ(hub->m_discontinuityUser, &user);
  hub->OnDiscontinue(5, 77, 0, 0, 0);
  EXPECT_EQ(g_heard.user, &user);

  int other = 0;
  hub->SetCueOutContCallbackEx(TextEx, &other);
  EXPECT_EQ(hub->m_cueOutContUser, &other);
  hub->OnCueOutCont(text);
  EXPECT_EQ(g_heard.user, &other);
  hub->SetDateRangeCallbackEx(TextEx, &user);
  EXPECT_EQ(hub->m_dateRangeUser, &user);
  hub->OnDateRangeADStart(text);
  EXPECT_EQ(g_heard.user, &user);
  hub->SetSwitchDoneCallback(SwitchDone, &other);
  EXPECT_EQ(hub->m_switchDoneUser, &other);
  hub->OnSwitchDone();
  EXPECT_EQ(g_heard.user, &other);
  hub->SetOnEventCallbackEx(Event, &user);
  EXPECT_EQ(hub->m_onEventUser, &user);
  hub->OnEvent(41, nullptr, nullptr, nullptr);
  EXPECT_EQ(g_heard.code, 41u);
  hub->SetOnDRMErrorCallbackEx(DrmError, &other);
  EXPECT_EQ(hub->m_onDRMErrorUser, &other);
  hub->OnDRMError(-7);
  EXPECT_EQ(g_heard.code, static_cast<unsigned int>(-7));
  EXPECT_EQ(g_heard.user, &other);
  EXPECT_TRUE(hub.TailUntouched());
}
