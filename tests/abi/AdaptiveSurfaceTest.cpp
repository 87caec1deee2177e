// Bandwidth measurement, variant switching and low-latency state as the engine links them, with
// the engine's stream data defined here the way the engine defines it.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "EngineViewAdaptive.h"
#include "Patterned.h"

using abi_probe::Patterned;
using namespace strmcommon;

namespace {

// The engine's record of a stream: its third 32-bit word is the declared bit rate.
uint32_t g_streamRecord[4] = {0, 0, 8000, 0};
int g_streamAsks = 0;
int g_lastStreamIndex = -99;

}  // namespace

void* strmengine::CHLSDataHandler::GetStreamInfo(int index) {
  ++g_streamAsks;
  g_lastStreamIndex = index;
  return g_streamRecord;
}

TEST(AdaptiveSurface, BandwidthCheckerMeasuresThroughBothOfItsBases) {
  Patterned<BandwidthChecker> checker;
  EXPECT_TRUE(checker.TailUntouched());
  EXPECT_EQ(checker->m_currentBandwidth, 0);
  EXPECT_EQ(checker->m_rxFirstTime, INT64_MAX);
  EXPECT_EQ(checker->m_monitorInterval, 250u);
  EXPECT_TRUE(checker->m_ignoreFirstEntry);
  EXPECT_FALSE(checker->m_monitoring);
  EXPECT_FALSE(checker->m_llsegbw);
  EXPECT_EQ(checker->m_dataHandler, nullptr);
  EXPECT_EQ(checker->m_bwCounter, 0u);
  EXPECT_EQ(checker->m_latestTimeDuration, 0.0f);

  strmengine::CHLSDataHandler handler;
  checker->Init(&handler);
  EXPECT_EQ(checker->m_dataHandler, &handler);

  IDownloadEvent* sink = checker.get();
  IBandwidthChecker* meter = checker.get();
  sink->AddRxTimeInfo(1000, 1100, 500, 0, 1, 2);
  EXPECT_FALSE(checker->m_ignoreFirstEntry);
  EXPECT_EQ(checker->m_rxTotalBytes, 0u);
  EXPECT_FALSE(sink->Islowlatency());

  ASSERT_TRUE(meter->Start());
  EXPECT_TRUE(meter->IsMonitoring());
  g_streamAsks = 0;
  // 100000 bytes in 100 ms of a stream declared at 8000 bits per second: 100 s of media.
  sink->AddRxTimeInfo(10000, 10100, 100000, 0, 1, 2);
  EXPECT_EQ(g_streamAsks, 1);
  EXPECT_EQ(g_lastStreamIndex, 0);
  EXPECT_EQ(checker->m_rxFirstTime, 10000);
  EXPECT_EQ(checker->m_rxLastTime, 10100);
  EXPECT_EQ(checker->m_rxTotalBytes, 100000u);
  EXPECT_EQ(checker->m_latestTimeDuration, 100.0f);
  meter->OnPolling(checker->m_lastPushTime + 1000);
  EXPECT_EQ(checker->m_bwCounter, 1u);
  EXPECT_EQ(checker->m_bwWriteIndex, 1u);
  EXPECT_EQ(checker->m_bwSamples[0].bandwidth, 8000000);
  EXPECT_EQ(checker->m_bwSamples[0].duration, 100);
  EXPECT_EQ(meter->GetCurrentBandwidth(), 8000000);
  EXPECT_EQ(meter->GetCurrentMinBandwidth(), 8000000);
  EXPECT_EQ(meter->GetCurrentAvgBandwidth(), 8000000);
  EXPECT_EQ(meter->GetVariationRateBandwidth(), 8000000);
  EXPECT_EQ(meter->GetAverageBandwidthFromBlock(), 8000000);
  EXPECT_EQ(meter->GetBeginingBandwidth(), 0);
  EXPECT_EQ(meter->GetDownloadPerHour(), 0);
  meter->GetAverageBandwidth();
  meter->SetMonitorInterval(300);
  EXPECT_EQ(meter->GetMonitorInterval(), 300u);
  meter->Setllsegbw(true);
  EXPECT_TRUE(meter->Islowlatency());
  EXPECT_TRUE(sink->Islowlatency());
  meter->Setllsegbw(false);
  sink->ResetRxBaseTime(5000);
  EXPECT_EQ(checker->m_rxFirstTime, INT64_MAX);
  EXPECT_EQ(checker->m_rxLastTime, 5000);
  EXPECT_EQ(checker->m_lastPushTime, 5000);
  EXPECT_TRUE(meter->Stop());
  EXPECT_FALSE(meter->IsMonitoring());

  BandwidthChecker& direct = *checker;
  EXPECT_TRUE(direct.BandwidthChecker::Start());
  EXPECT_TRUE(direct.BandwidthChecker::IsMonitoring());
  direct.BandwidthChecker::OnPolling(0);
  direct.BandwidthChecker::Setllsegbw(false);
  direct.BandwidthChecker::SetMonitorInterval(250);
  EXPECT_EQ(direct.BandwidthChecker::GetMonitorInterval(), 250u);
  EXPECT_EQ(direct.BandwidthChecker::GetCurrentBandwidth(), 8000000);
  EXPECT_EQ(direct.BandwidthChecker::GetBeginingBandwidth(), 0);
  EXPECT_EQ(direct.BandwidthChecker::GetCurrentMinBandwidth(), 8000000);
  EXPECT_EQ(direct.BandwidthChecker::GetCurrentAvgBandwidth(), 8000000);
  direct.BandwidthChecker::GetAverageBandwidth();
  direct.BandwidthChecker::GetVariationRateBandwidth();
  EXPECT_EQ(direct.BandwidthChecker::GetAverageBandwidthFromBlock(), 8000000);
  EXPECT_EQ(direct.BandwidthChecker::GetDownloadPerHour(), 0);
  EXPECT_FALSE(direct.BandwidthChecker::Islowlatency());
  direct.BandwidthChecker::AddRxTimeInfo(1, 2, 3, -1, 0, 0);
  direct.BandwidthChecker::ResetRxBaseTime(0);
  EXPECT_TRUE(direct.BandwidthChecker::Stop());
  checker.Destroy();
  EXPECT_TRUE(checker.TailUntouched());
}

TEST(AdaptiveSurface, AdaptiveSegSwitcherDecidesThroughItsInterfaceTable) {
  BandwidthChecker checker;
  strmengine::CHLSDataHandler handler;
  checker.Init(&handler);
  checker.AddRxTimeInfo(0, 1, 1, 0, 0, 0);  // the first chunk is always dropped
  checker.Start();
  checker.AddRxTimeInfo(10000, 10100, 100000, 0, 0, 0);
  checker.OnPolling(checker.m_lastPushTime + 1000);
  ASSERT_EQ(checker.GetCurrentBandwidth(), 8000000);

  Patterned<AdaptiveSegSwitcher> switcher;
  EXPECT_TRUE(switcher.TailUntouched());
  EXPECT_TRUE(switcher->m_bitrateParams.empty());
  EXPECT_TRUE(switcher->m_variants.empty());
  EXPECT_TRUE(switcher->m_startBitrateString.empty());
  EXPECT_TRUE(switcher->m_eligibleStreams.empty());
  IBitrateSwitcher* sw = switcher.get();
  sw->Init(&checker);
  EXPECT_EQ(switcher->m_bandwidthChecker, &checker);
  EXPECT_TRUE(switcher->m_enableSwitch);
  EXPECT_EQ(switcher->m_level, 1);
  EXPECT_EQ(switcher->m_maxBitrate, -1);
  EXPECT_EQ(switcher->m_maxWidth, -1);
  EXPECT_EQ(switcher->m_maxHeight, -1);

  std::vector<_VariantData> variants = {{1000000, 640, 360, 0}, {3000000, 1280, 720, 0}};
  EXPECT_EQ(sw->ResetData(variants, false), 0);
  EXPECT_EQ(switcher->m_variants.size(), 2u);
  sw->SetSwitchParam(10, 0);
  EXPECT_EQ(switcher->m_baseUpTimer, 10);
  EXPECT_EQ(switcher->m_upTimer, 10);
  EXPECT_EQ(sw->GetSatisfiedStreamIndex(5000000, 0), 1);
  EXPECT_EQ(switcher->m_eligibleStreams.size(), 2u);
  EXPECT_EQ(sw->GetMatchingStreamIndex(1000000), 0);
  EXPECT_EQ(sw->ProcessAdaptiveSeg(0, 10000), 1);
  EXPECT_EQ(switcher->m_bitrateChangedNumber, 1);
  sw->ProcessAdaptiveSegLevel(0, 1000, false);
  sw->ProcessAdaptiveSegLevel(0, 500, false);
  EXPECT_EQ(switcher->m_level, 2);
  EXPECT_EQ(switcher->m_lastBufDuration, 500u);
  sw->SetEnableSwitch(false);
  EXPECT_FALSE(sw->GetEnableSwitch());
  sw->SetEnableSwitch(true);
  sw->SetBitrateLimit({{1000000, 1, 1}}, {});
  EXPECT_TRUE(sw->HasBitrateLimit());
  EXPECT_EQ(sw->CheckBitrateLimit(1000000), 1);
  EXPECT_EQ(sw->CheckBitrateLimit(3000000), 0);
  EXPECT_TRUE(sw->Setllsegbw(true));
  EXPECT_TRUE(switcher->m_llsegbw);
  EXPECT_EQ(checker.GetMonitorInterval(), 200u);
  sw->SetAudioBitrate(64000);
  EXPECT_EQ(sw->GetAudioBitrate(), 64000);
  sw->SetStartBitrate(5);
  EXPECT_EQ(sw->GetStartBitrate(), 5);
  sw->SetStartBitrateString("start");
  EXPECT_EQ(sw->GetStartBitrateString(), "start");
  sw->SetMaxBitrate(7);
  sw->SetMaxWidth(8);
  sw->SetMaxHeight(9);
  EXPECT_EQ(switcher->m_maxBitrate, 7);
  EXPECT_EQ(switcher->m_maxWidth, 8);
  EXPECT_EQ(switcher->m_maxHeight, 9);

  AdaptiveSegSwitcher& direct = *switcher;
  // A fresh relative margin: the 3 Mbit/s estimate above made the fixed one stick.
  direct.AdaptiveSegSwitcher::SetSwitchParam(10, 0);
  direct.AdaptiveSegSwitcher::SetAudioBitrate(0);
  EXPECT_EQ(direct.GetEstimateBandwidth(1000000), 1200000);
  bitrateParam_t param = {};
  EXPECT_TRUE(direct.GetBitrateParam(1000000, param));
  EXPECT_EQ(param.group, 1);
  int target = 0;
  EXPECT_FALSE(direct.CheckStreamDn(1, target, 9000));
  EXPECT_FALSE(direct.CheckStreamChange(1, target, 9000));
  target = 1;
  direct.CheckStreamUp(0, target, 0);
  direct.AdaptiveSegSwitcher::Init(&checker);
  EXPECT_EQ(direct.AdaptiveSegSwitcher::ResetData(variants, true), 0);
  direct.AdaptiveSegSwitcher::SetSwitchParam(0, 0);
  direct.AdaptiveSegSwitcher::ProcessAdaptiveSeg(0, 0);
  direct.AdaptiveSegSwitcher::ProcessAdaptiveSegLevel(0, 0, true);
  EXPECT_EQ(direct.AdaptiveSegSwitcher::GetSatisfiedStreamIndex(0, 0), 0);
  EXPECT_EQ(direct.AdaptiveSegSwitcher::GetMatchingStreamIndex(3000000), 1);
  direct.AdaptiveSegSwitcher::SetEnableSwitch(true);
  EXPECT_TRUE(direct.AdaptiveSegSwitcher::GetEnableSwitch());
  direct.AdaptiveSegSwitcher::SetBitrateLimit({}, {{0, 1}});
  EXPECT_FALSE(direct.AdaptiveSegSwitcher::HasBitrateLimit());
  EXPECT_TRUE(direct.AdaptiveSegSwitcher::Setllsegbw(false));
  EXPECT_EQ(direct.AdaptiveSegSwitcher::CheckBitrateLimit(2), 3);
  EXPECT_EQ(direct.AdaptiveSegSwitcher::GetAudioBitrate(), 0);
  direct.AdaptiveSegSwitcher::SetStartBitrate(1);
  EXPECT_EQ(direct.AdaptiveSegSwitcher::GetStartBitrate(), 1);
  direct.AdaptiveSegSwitcher::SetStartBitrateString("s");
  EXPECT_EQ(direct.AdaptiveSegSwitcher::GetStartBitrateString(), "s");
  direct.AdaptiveSegSwitcher::SetMaxBitrate(-1);
  direct.AdaptiveSegSwitcher::SetMaxWidth(-1);
  direct.AdaptiveSegSwitcher::SetMaxHeight(-1);
  switcher.Destroy();
  EXPECT_TRUE(switcher.TailUntouched());
}

TEST(AdaptiveSurface, LowLatencyCarriesTheSharedTrailingFields) {
  Patterned<LowLatency> state;
  EXPECT_TRUE(state.TailUntouched());
  EXPECT_FALSE(state->m_blockreload);
  EXPECT_EQ(state->m_skipuntil, 0);
  EXPECT_FALSE(state->m_parttag);
  EXPECT_EQ(state->m_targetDuration, 0u);
  EXPECT_EQ(state->m_engineInt1, -1);
  EXPECT_EQ(state->m_engineInt2, -1);
  EXPECT_TRUE(state->m_engineString1.empty());
  EXPECT_EQ(state->m_engineInt3, -1);
  EXPECT_TRUE(state->m_engineString2.empty());
  EXPECT_TRUE(state->m_engineString3.empty());
  state->Setparams(true, 2.5, 6.0, 1.0005);
  EXPECT_EQ(state->m_skipuntil, 2500);
  EXPECT_EQ(state->m_holdback, 6000);
  EXPECT_EQ(state->m_partholdback, 1000);
  state->SetPartTagInfo(4);
  EXPECT_EQ(state->m_targetDuration, 4u);
  state->SetRenditionReportParam(11, 12);
  EXPECT_EQ(state->renditionmsqn, 11);
  EXPECT_EQ(state->renditionpart, 12);
  EXPECT_EQ(state->GetSkipInfo(), 2500);
  EXPECT_TRUE(state->IsLowLatency());
  EXPECT_TRUE(state->CanBlock());
}

TEST(AdaptiveSurface, LatencyCallKeepsItsTimerInTheDeclaredFields) {
  Patterned<LatencyCall> call;
  EXPECT_TRUE(call.TailUntouched());
  EXPECT_TRUE(call->m_stopped);
  EXPECT_FALSE(call->m_blocked);
  EXPECT_FALSE(call->m_unblocked);
  EXPECT_EQ(call->m_delay, 0);
  EXPECT_EQ(call->m_level, 0);
  call->Start(100000, 3);
  EXPECT_FALSE(call->IsStop());
  EXPECT_EQ(call->GetLevel(), 3);
  EXPECT_EQ(call->GetDelay(), 100000);
  EXPECT_EQ(call->GetStartTime(), call->m_startTime);
  call->Block();
  EXPECT_TRUE(call->IsBlocked());
  EXPECT_FALSE(call->IsCheck());
  call->UnBlock();
  EXPECT_TRUE(call->m_unblocked);
  EXPECT_TRUE(call->IsCheck());
  EXPECT_FALSE(call->IsCheck());
  call->Stop();
  EXPECT_TRUE(call->IsStop());
}
