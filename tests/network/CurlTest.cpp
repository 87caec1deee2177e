// Construction, settings, queries and the plain-GET set-up of the download engine.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <thread>

#include "Curl.h"
#include "CurlEasy.h"
#include "CurlMulti.h"
#include "EngineFixture.h"
#include "WholeLogLine.h"

using enginetest::Data;
using enginetest::FakeEngineTest;
using strmcommon::err_failed;
using strmcommon::err_invalidarg;
using strmcommon::err_none;
using strmcommon::kBitrateUnknown;
using strmcommon::UnitObject;
using strmcommon::UserData;
using testsupport::CurlProbe;
using testsupport::FakeCurlFactory;
using testsupport::FakeCurlState;
using testsupport::HasWholeLine;
using testsupport::LogCapture;
using testsupport::WaitFor;

namespace {

const char kPoorNetworkKey[] = "com.corvane/featureconf/multimedia.hls.poor_network_config_support";

class CurlConstruction : public ::testing::Test {
 protected:
  void SetUp() override { state = std::make_shared<FakeCurlState>(); }
  void TearDown() override { system_info_stub_set_mode(SYSTEM_INFO_STUB_LOOKUP); }

  std::unique_ptr<CurlProbe> Make(int sleepTime = 0) {
    return std::make_unique<CurlProbe>(strmcommon::CURL_THREAD_FIXED, sleepTime, "/tmp/cookies",
                                       new FakeCurlFactory(state));
  }
  static void Finish(std::unique_ptr<CurlProbe>& curl) {
    curl->Quit();
    curl.reset();
  }
  std::shared_ptr<FakeCurlState> state;
};

std::string Text(const std::vector<testsupport::LogLine>& lines) {
  std::string all;
  for (const auto& line : lines) all += LogCapture::Message(line.text) + "|";
  return all;
}

}  // namespace

TEST_F(CurlConstruction, LogsItsStartAndTheSleepTimeAtDebugLevel) {
  system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
  LogCapture capture;
  auto curl = Make(750);
  auto start = capture.WithMessage("Constructor starts.\n");
  EXPECT_TRUE(HasWholeLine(capture, "Curl.cpp", "Curl", "Constructor starts.\n"));
  ASSERT_EQ(start.size(), 1u);
  EXPECT_EQ(start[0].priority, 3);
  EXPECT_EQ(start[0].logId, 2);
  auto sleep = capture.WithMessage("curl sleep time  750\n");
  ASSERT_EQ(sleep.size(), 1u);
  EXPECT_EQ(sleep[0].priority, 3);
  EXPECT_EQ(curl->m_sleepTime, 750);
  EXPECT_EQ(curl->m_cookiePath, "/tmp/cookies");
  Finish(curl);
}

TEST_F(CurlConstruction, WithoutPoorNetworkTheTimeoutsAre25And28AndNoRetries) {
  system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
  LogCapture capture;
  auto curl = Make();
  EXPECT_EQ(curl->m_connectTimeout, 25);
  EXPECT_EQ(curl->m_lowSpeedTime, 28);
  EXPECT_EQ(curl->m_retryCount, 0);
  EXPECT_EQ(capture.Count("m_connectTimeout : 25, m_lowSpeedTime : 28 m_retryCount : 0 "
                          "poor_network_support : 0\n"),
            1u);
  Finish(curl);
}

TEST_F(CurlConstruction, PoorNetworkGivesTenNinetyAndSixRetries) {
  system_info_stub_set_mode(SYSTEM_INFO_STUB_TRUE);
  LogCapture capture;
  auto curl = Make();
  EXPECT_EQ(curl->m_connectTimeout, 10);
  EXPECT_EQ(curl->m_lowSpeedTime, 90);
  EXPECT_EQ(curl->m_retryCount, 6);
  EXPECT_EQ(capture.Count("m_connectTimeout : 10, m_lowSpeedTime : 90 m_retryCount : 6 "
                          "poor_network_support : 1\n"),
            1u);
  Finish(curl);
}

TEST_F(CurlConstruction, AsksThePlatformOnceForThePoorNetworkKey) {
  system_info_stub_set_mode(SYSTEM_INFO_STUB_LOOKUP);
  std::string keys = std::string(kPoorNetworkKey) + "=true";
  setenv("SYSTEM_INFO_STUB_KEYS", keys.c_str(), 1);
  int before = system_info_stub_calls();
  auto curl = Make();
  unsetenv("SYSTEM_INFO_STUB_KEYS");
  EXPECT_EQ(system_info_stub_calls(), before + 1);
  EXPECT_EQ(curl->m_connectTimeout, 10);
  Finish(curl);
}

TEST_F(CurlConstruction, FailingSystemInfoLogsUntaggedToTheMainLogAndKeepsTheDefaults) {
  system_info_stub_set_mode(SYSTEM_INFO_STUB_FAIL);
  LogCapture capture;
  auto curl = Make();
  auto lines = capture.WithMessage("system_info_get_custom_bool() fail");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].logId, 0);
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_FALSE(lines[0].hasTag);
  EXPECT_EQ(lines[0].text.rfind("Curl.cpp: Curl(", 0), 0u) << lines[0].text;
  EXPECT_EQ(curl->m_connectTimeout, 25);
  EXPECT_EQ(curl->m_lowSpeedTime, 28);
  EXPECT_EQ(curl->m_retryCount, 0);
  Finish(curl);
}

TEST_F(CurlConstruction, FailingSystemInfoKeepsTheDefaultsWhateverTheFlagHolds) {
  engineinterpose::failSystemInfoWithTrue = true;
  LogCapture capture;
  auto curl = Make();
  engineinterpose::failSystemInfoWithTrue = false;
  EXPECT_EQ(capture.Count("system_info_get_custom_bool() fail"), 1u);
  EXPECT_EQ(curl->m_connectTimeout, 25);
  EXPECT_EQ(curl->m_lowSpeedTime, 28);
  EXPECT_EQ(curl->m_retryCount, 0);
  Finish(curl);
}

TEST_F(CurlConstruction, ThrowsWhenLibcurlGivesNoEasyHandle) {
  system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
  engineinterpose::easyInitFailAfter = 5;
  EXPECT_THROW(strmcommon::Curl(strmcommon::CURL_THREAD_FIXED, 0, ""), std::exception);
  engineinterpose::Reset();
}

TEST_F(CurlConstruction, ThrowsWhenLibcurlGivesNoMultiHandle) {
  system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
  engineinterpose::failMultiInit = true;
  EXPECT_THROW(strmcommon::Curl(strmcommon::CURL_THREAD_FIXED, 0, ""), std::exception);
  engineinterpose::Reset();
}

TEST_F(CurlConstruction, PoolHasTwentyUnitsEachWithItsOwnEasyHandle) {
  system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
  auto curl = Make();
  ASSERT_EQ(curl->m_units.size(), 20u);
  EXPECT_EQ(state->easyCreated, 20);
  std::set<strmcommon::ICurlEasy*> easies;
  for (auto& slot : curl->m_units) {
    const UnitObject& unit = slot.second;
    EXPECT_FALSE(slot.first);
    EXPECT_EQ(unit.m_urlIndex, 0);
    EXPECT_EQ(unit.m_hostIndex, -1);
    EXPECT_GE(unit.m_pauseBuffer.capacity(), 16384u);
    EXPECT_TRUE(unit.m_pauseBuffer.empty());
    EXPECT_EQ(unit.m_curl, curl.get());
    EXPECT_NE(unit.m_easy, nullptr);
    easies.insert(unit.m_easy);
    EXPECT_FALSE(unit.m_done);
    EXPECT_EQ(unit.m_chunk, nullptr);
    EXPECT_EQ(unit.m_data.type, -1);
    EXPECT_EQ(unit.m_data.streamIdx, -1);
    EXPECT_EQ(unit.m_data.segmentIdx, -1);
    EXPECT_EQ(unit.m_data.bitrate, -1);
    EXPECT_EQ(unit.m_data.state, 0);
    EXPECT_EQ(unit.m_data.tag, -1);
  }
  EXPECT_EQ(easies.size(), 20u);
  Finish(curl);
}

TEST_F(CurlConstruction, UrlTableHasFortyEmptyEntriesAndHostTableTen) {
  system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
  auto curl = Make();
  ASSERT_EQ(curl->m_urlInfo.size(), 40u);
  for (const auto& entry : curl->m_urlInfo) {
    EXPECT_TRUE(entry.url.empty());
    EXPECT_TRUE(entry.range.empty());
    EXPECT_EQ(entry.fileTime, 0);
    EXPECT_EQ(entry.date, 0);
    EXPECT_EQ(entry.lastUse, 0);
    EXPECT_FALSE(entry.conditional);
  }
  ASSERT_EQ(curl->m_hosts.size(), 10u);
  for (const auto& host : curl->m_hosts) EXPECT_TRUE(host.empty());
  Finish(curl);
}

TEST_F(CurlConstruction, StartsWithEverythingElseZeroOrEmpty) {
  system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
  auto curl = Make();
  EXPECT_EQ(curl->m_callback, nullptr);
  EXPECT_EQ(curl->m_event, nullptr);
  EXPECT_FALSE(curl->m_quit);
  EXPECT_EQ(curl->m_requestKey, 0);
  EXPECT_FALSE(curl->m_resetting);
  EXPECT_FALSE(curl->m_useAccelerator);
  EXPECT_EQ(curl->m_headers, nullptr);
  EXPECT_EQ(curl->m_connTimeoutSet, 0);
  EXPECT_EQ(curl->m_lowSpeedTimeSet, 0);
  EXPECT_EQ(curl->m_maxNwSpeed, 0);
  EXPECT_NE(curl->m_multi, nullptr);
  EXPECT_EQ(curl->m_multi, state->multi);
  EXPECT_NE(curl->m_thread, nullptr);
  EXPECT_FALSE(curl->m_thread->IsThread());
  EXPECT_TRUE(curl->m_completed.empty());
  EXPECT_TRUE(curl->m_requests.empty());
  Finish(curl);
}

TEST_F(CurlConstruction, RealFactoryGivesLibcurlHandles) {
  system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
  auto curl = std::make_unique<CurlProbe>(strmcommon::CURL_THREAD_FIXED, 0, "");
  for (auto& slot : curl->m_units) {
    EXPECT_NE(dynamic_cast<strmcommon::CurlEasy*>(slot.second.m_easy), nullptr);
  }
  EXPECT_NE(dynamic_cast<strmcommon::CurlMulti*>(curl->m_multi), nullptr);
  Finish(curl);
}

TEST_F(CurlConstruction, DestructorLogsAndReleasesTheMultiHandle) {
  system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
  auto curl = Make();
  curl->Quit();
  LogCapture capture;
  curl.reset();
  EXPECT_EQ(state->multiReleased, 1);
  // The members go after the destructor's body: the cookie store logs last.
  EXPECT_EQ(Text(capture.Lines()),
            "Destructor starts.\n|End of destructor|CHttpCookie deconstructor start >>>|"
            "<<< CHttpCookie deconstructor end|");
  for (const auto& line : capture.Lines()) EXPECT_EQ(line.priority, 3);
}

TEST_F(CurlConstruction, DestructorDoesNotReleaseTheUnitsHandlesWithoutQuit) {
  system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
  auto curl = Make();
  curl.reset();
  EXPECT_EQ(state->easyReleased, 0);
  EXPECT_EQ(state->easies.size(), 20u);
  // Nothing else will free them.
  auto easies = state->easies;
  for (auto* easy : easies) delete easy;
}

TEST_F(FakeEngineTest, InitStoresTheInterfacesAndDoesNotStartTheWorker) {
  struct NullEvent : strmcommon::IDownloadEvent {
    void AddRxTimeInfo(unsigned int, unsigned int, unsigned int, int, int, int) override {}
    void ResetRxBaseTime(long long) override {}
    bool Islowlatency() override { return false; }
  } event;
  curl->Init(&client, &event);
  EXPECT_EQ(curl->m_callback, &client);
  EXPECT_EQ(curl->m_event, &event);
  EXPECT_FALSE(curl->m_thread->IsThread());
  curl->Init(&client, nullptr);
}

TEST_F(FakeEngineTest, SetConnDetailsWithZeroesChangesNothingReturnsTrueAndLogsTheValuesInForce) {
  LogCapture capture;
  EXPECT_TRUE(curl->SetConnDetails(0, 0));
  EXPECT_EQ(curl->m_connectTimeout, 25);
  EXPECT_EQ(curl->m_retryCount, 0);
  auto lines = capture.WithMessage("configure connection timeout: 25 and retry count: 0");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
}

TEST_F(FakeEngineTest, SetConnDetailsReplacesOnlyPositiveValues) {
  LogCapture capture;
  EXPECT_TRUE(curl->SetConnDetails(7, 0));
  EXPECT_EQ(curl->m_connectTimeout, 7);
  EXPECT_EQ(curl->m_retryCount, 0);
  EXPECT_TRUE(curl->SetConnDetails(-1, 3));
  EXPECT_EQ(curl->m_connectTimeout, 7);
  EXPECT_EQ(curl->m_retryCount, 3);
  EXPECT_EQ(capture.Count("configure connection timeout: 7 and retry count: 3"), 1u);
}

TEST_F(FakeEngineTest, SetConnDetailsTimeoutReachesTheNextTransfer) {
  curl->SetConnDetails(7, 0);
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  EXPECT_EQ(EasyOf(unit)->Option(CURLOPT_CONNECTTIMEOUT), reinterpret_cast<void*>(7L));
}

TEST_F(FakeEngineTest, SetConnTimeoutAndSetLowSpeedTimeoutOnlyStoreAndNoTransferReadsThem) {
  curl->SetConnTimeout(3);
  curl->SetLowSpeedTimeout(4);
  EXPECT_EQ(curl->m_connTimeoutSet, 3);
  EXPECT_EQ(curl->m_lowSpeedTimeSet, 4);
  EXPECT_EQ(curl->m_connectTimeout, 25);
  EXPECT_EQ(curl->m_lowSpeedTime, 28);
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  EXPECT_EQ(EasyOf(unit)->Option(CURLOPT_CONNECTTIMEOUT), reinterpret_cast<void*>(25L));
  EXPECT_EQ(EasyOf(unit)->Option(CURLOPT_LOW_SPEED_TIME), reinterpret_cast<void*>(28L));
}

TEST_F(FakeEngineTest, SetMaxNwSpeedLimitsLaterTransfers) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  EXPECT_FALSE(EasyOf(unit)->HasOption(CURLOPT_MAX_RECV_SPEED_LARGE));
  curl->SetMaxNwSpeed(5000);
  EXPECT_EQ(curl->m_maxNwSpeed, 5000);
  UnitObject* second = nullptr;
  ASSERT_EQ(Begin(second), err_none);
  EXPECT_EQ(EasyOf(second)->Option(CURLOPT_MAX_RECV_SPEED_LARGE), reinterpret_cast<void*>(5000L));
}

TEST_F(FakeEngineTest, ProxyAndAgentAreCopiedReportedAndSet) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  EXPECT_FALSE(EasyOf(unit)->HasOption(CURLOPT_PROXY));
  EXPECT_STREQ(static_cast<const char*>(EasyOf(unit)->Option(CURLOPT_USERAGENT)),
               "corvane-agent/1.1");
  std::string proxy = "http://proxy.test:3128";
  std::string agent = "agent/2";
  curl->SetProxy(proxy);
  curl->SetAgent(agent);
  proxy.clear();
  agent.clear();
  EXPECT_EQ(curl->get_proxy(), "http://proxy.test:3128");
  EXPECT_EQ(curl->get_user_agent(), "agent/2");
  UnitObject* second = nullptr;
  ASSERT_EQ(Begin(second), err_none);
  EXPECT_STREQ(static_cast<const char*>(EasyOf(second)->Option(CURLOPT_PROXY)),
               "http://proxy.test:3128");
  EXPECT_STREQ(static_cast<const char*>(EasyOf(second)->Option(CURLOPT_USERAGENT)), "agent/2");
}

TEST_F(FakeEngineTest, GetRequestKeyReturnsTheGeneration) {
  EXPECT_EQ(curl->GetRequestKey(), 0);
  curl->m_requestKey = 5;
  EXPECT_EQ(curl->GetRequestKey(), 5);
}

TEST_F(FakeEngineTest, IsIdleIsTrueAfterConstruction) { EXPECT_TRUE(curl->IsIdle()); }

TEST_F(FakeEngineTest, IsIdleIsFalseOnceABeginSetFirstBeforeTheHandleIsAdded) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  EXPECT_TRUE(state->added.empty());
  EXPECT_FALSE(curl->IsIdle());
}

TEST_F(FakeEngineTest, IsDownloadingIsFalseForNullWithoutALogLine) {
  LogCapture capture;
  EXPECT_FALSE(curl->IsDownloading(nullptr));
  EXPECT_TRUE(capture.Lines().empty());
}

TEST_F(FakeEngineTest, IsDownloadingIsTrueForARunningUnitAndFalseWhenPaused) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  EXPECT_TRUE(curl->IsDownloading(unit));
  unit->m_pause = true;
  EXPECT_FALSE(curl->IsDownloading(unit));
}

TEST_F(FakeEngineTest, IsDownloadingIsFalseForAFreedSlot) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  curl->m_units[unit->m_index].first = false;
  EXPECT_FALSE(curl->IsDownloading(unit));
}

TEST_F(FakeEngineTest, IsPauseForNullLogsTheErrorLineAndGivesFalse) {
  LogCapture capture;
  EXPECT_FALSE(curl->IsPause(nullptr));
  auto lines = capture.WithMessage(">> strmcommon::Unit == NULL ERROR");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_EQ(capture.Count(">>"), 1u);
}

TEST_F(FakeEngineTest, IsPauseIsFalseForAFreedSlotEvenWithThePauseFlagSet) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  unit->m_pause = true;
  LogCapture capture;
  EXPECT_TRUE(curl->IsPause(unit));
  curl->m_units[unit->m_index].first = false;
  EXPECT_FALSE(curl->IsPause(unit));
  EXPECT_EQ(Text(capture.Lines()), ">>|<<|>>|<<|");
  unit->m_pause = false;
}

TEST_F(FakeEngineTest, GetPosAndGetSizeOfNullLogTheErrorAndGiveZero) {
  LogCapture capture;
  EXPECT_EQ(curl->GetPos(nullptr), 0u);
  EXPECT_EQ(curl->GetSize(nullptr), 0u);
  EXPECT_EQ(capture.Count(">> strmcommon::Unit == NULL ERROR"), 2u);
}

TEST_F(FakeEngineTest, GetPosAndGetSizeReadTheUnit) {
  UnitObject* unit = &curl->m_units[3].second;
  unit->m_pos = 123;
  unit->m_size = 456;
  EXPECT_EQ(curl->GetPos(unit), 123u);
  EXPECT_EQ(curl->GetSize(unit), 456u);
}

TEST_F(FakeEngineTest, SetDataReturnsTheOldWordsSoAClientCanSwapThem) {
  UnitObject* unit = &curl->m_units[0].second;
  UserData first{1, 2, 3, 4, 5, 6};
  UserData second{7, 8, 9, 10, 11, 12};
  curl->SetData(unit, first);
  UserData old = curl->SetData(unit, second);
  EXPECT_EQ(old.type, 1);
  EXPECT_EQ(old.streamIdx, 2);
  EXPECT_EQ(old.segmentIdx, 3);
  EXPECT_EQ(old.bitrate, 4);
  EXPECT_EQ(old.state, 5);
  EXPECT_EQ(old.tag, 6);
  UserData now = curl->GetData(unit);
  EXPECT_EQ(now.type, 7);
  EXPECT_EQ(now.tag, 12);
}

TEST_F(FakeEngineTest, AddressQueriesReturnCopiesOfTheirFields) {
  curl->m_destIp = "10.0.0.1";
  curl->m_hostIp = "10.0.0.2";
  EXPECT_EQ(curl->get_dest_ip(), "10.0.0.1");
  EXPECT_EQ(curl->get_host_ip(), "10.0.0.2");
  EXPECT_EQ(curl->get_cookie(), "");
}

TEST_F(FakeEngineTest, LockMutItemKeepsOtherThreadsOutUntilUnlock) {
  curl->LockMutItem();
  std::atomic<bool> done{false};
  std::thread other([&] {
    curl->IsIdle();
    done = true;
  });
  EXPECT_FALSE(WaitFor([&] { return done.load(); }, std::chrono::milliseconds(100)));
  curl->UnlockMutItem();
  EXPECT_TRUE(WaitFor([&] { return done.load(); }));
  other.join();
}

TEST_F(FakeEngineTest, PlainGetConfiguresWhatATransferNeedsAndQueuesTheUnit) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, "http://media.test/seg1.ts"), err_none);
  ASSERT_EQ(unit, &curl->m_units[0].second);
  EXPECT_TRUE(curl->m_units[0].first);
  EXPECT_EQ(client.Starts(), 1);
  auto* easy = EasyOf(unit);
  EXPECT_STREQ(static_cast<const char*>(easy->Option(CURLOPT_URL)), "http://media.test/seg1.ts");
  EXPECT_EQ(easy->Option(CURLOPT_WRITEFUNCTION),
            reinterpret_cast<void*>(&strmcommon::Curl::EasyDownloadCB));
  EXPECT_EQ(easy->Option(CURLOPT_WRITEDATA), unit);
  EXPECT_EQ(easy->Option(CURLOPT_PRIVATE), unit);
  EXPECT_EQ(easy->Option(CURLOPT_ERRORBUFFER), unit->m_errorBuf);
  EXPECT_EQ(easy->resetCalls, 1);
  ASSERT_EQ(curl->m_requests.size(), 1u);
  EXPECT_EQ(curl->m_requests.front(), unit);
  EXPECT_EQ(unit->code, err_none);
  EXPECT_EQ(unit->m_index, 0);
  EXPECT_EQ(unit->m_urlIndex, 0);
  EXPECT_EQ(unit->m_url, "http://media.test/seg1.ts");
  EXPECT_EQ(curl->m_urlInfo[0].url, "http://media.test/seg1.ts");
}

TEST_F(FakeEngineTest, EveryBeginGivesTheUnitAFreshEasyHandle) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  EXPECT_EQ(unit->m_easy, state->easies.back());
  EXPECT_EQ(state->easyReleased, 1);
  EXPECT_EQ(state->easyCreated, 21);
}

TEST_F(FakeEngineTest, BeginTakesTheFirstFreeUnit) {
  UnitObject* a = nullptr;
  UnitObject* b = nullptr;
  ASSERT_EQ(Begin(a), err_none);
  ASSERT_EQ(Begin(b), err_none);
  EXPECT_EQ(a, &curl->m_units[0].second);
  EXPECT_EQ(b, &curl->m_units[1].second);
  curl->m_units[0].first = false;
  UnitObject* c = nullptr;
  ASSERT_EQ(Begin(c), err_none);
  EXPECT_EQ(c, a);
}

TEST_F(FakeEngineTest, BeginSkipsAFreeSlotThatIsStillDone) {
  curl->m_units[0].second.m_done = true;
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  EXPECT_EQ(unit, &curl->m_units[1].second);
  curl->m_units[0].second.m_done = false;
}

TEST_F(FakeEngineTest, BeginWithEveryUnitTakenFailsWithMinusOneAndTheErrorLine) {
  for (int i = 0; i < 20; ++i) {
    UnitObject* unit = nullptr;
    ASSERT_EQ(Begin(unit), err_none);
  }
  LogCapture capture;
  UnitObject* unit = nullptr;
  EXPECT_EQ(Begin(unit), err_failed);
  EXPECT_EQ(unit, nullptr);
  auto lines = capture.WithMessage("ERROR!! max concurrent download over");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
}

TEST_F(FakeEngineTest, BeginLogsTheUrlAtErrorLevel) {
  LogCapture capture;
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, "http://media.test/x.ts", UserData{5, 6, 7, kBitrateUnknown, 0, 8}),
            err_none);
  auto lines = capture.WithMessage(
      "TYPE : 5, streamIdx : 6, SegmentIdx : 7,  Curl::BeginDownloadImpl() with URL = "
      "http://media.test/x.ts\n ");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_EQ(capture.Count("Enter"), 1u);
  EXPECT_EQ(capture.Count("Leave"), 1u);
}

TEST_F(FakeEngineTest, RangeWrittenInFrontOfTheUrlBecomesARangeRequest) {
  LogCapture capture;
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, "0-99http://media.test/x.ts", UserData{5, 6, 7, kBitrateUnknown, 1, 8}),
            err_none);
  EXPECT_STREQ(static_cast<const char*>(EasyOf(unit)->Option(CURLOPT_RANGE)), "0-99");
  EXPECT_STREQ(static_cast<const char*>(EasyOf(unit)->Option(CURLOPT_URL)),
               "http://media.test/x.ts");
  EXPECT_EQ(curl->m_urlInfo[unit->m_urlIndex].url, "http://media.test/x.ts");
  EXPECT_EQ(curl->m_urlInfo[unit->m_urlIndex].range, "0-99");
  EXPECT_EQ(capture.Count("TYPE : 5, streamIdx : 6, SegmentIdx : 7, state = 2,  "
                          "Curl::BeginDownloadImpl() with URL = http://media.test/x.ts, "
                          "range=0-99\n "),
            1u);
}

TEST_F(FakeEngineTest, BeginLogPrintsTheStatePlusOneInThirtyTwoBits) {
  LogCapture capture;
  UnitObject* unit = nullptr;
  ASSERT_EQ(
      Begin(unit, "0-99http://media.test/x.ts", UserData{5, 6, 7, kBitrateUnknown, INT32_MAX, 8}),
      err_none);
  EXPECT_EQ(capture.Count("TYPE : 5, streamIdx : 6, SegmentIdx : 7, state = -2147483648,  "
                          "Curl::BeginDownloadImpl() with URL = http://media.test/x.ts, "
                          "range=0-99\n "),
            1u);
}

TEST_F(FakeEngineTest, BeginWithoutHttpInTheStringFailsWithMinusOne) {
  UnitObject* unit = nullptr;
  EXPECT_EQ(Begin(unit, "ftp://media.test/x.ts"), err_failed);
  EXPECT_TRUE(curl->IsIdle());
}

TEST_F(FakeEngineTest, BeginWithAnEmptyUrlFailsWithMinusThirteen) {
  UnitObject* unit = nullptr;
  EXPECT_EQ(Begin(unit, ""), err_invalidarg);
}

TEST_F(FakeEngineTest, BeginWithAnOlderKeyIsASilentSuccessThatLeavesTheUnit) {
  curl->m_requestKey = 3;
  UnitObject* unit = reinterpret_cast<UnitObject*>(0x10);
  EXPECT_EQ(curl->BeginDownload(2, "http://media.test/x.ts", false, unit, false, Data()), err_none);
  EXPECT_EQ(unit, reinterpret_cast<UnitObject*>(0x10));
  EXPECT_TRUE(curl->IsIdle());
}

TEST_F(FakeEngineTest, BufferSizeFollowsTheBitrate) {
  struct Row {
    int bitrate;
    long size;
  };
  const Row rows[] = {
      {2621439, 32768}, {2621440, 32768}, {8000000, 100000}, {kBitrateUnknown, 32768}};
  for (const Row& row : rows) {
    UnitObject* unit = nullptr;
    ASSERT_EQ(Begin(unit, "http://media.test/x.ts", Data(1, 0, row.bitrate)), err_none);
    EXPECT_EQ(EasyOf(unit)->Option(CURLOPT_BUFFERSIZE), reinterpret_cast<void*>(row.size))
        << row.bitrate;
    curl->m_units[unit->m_index].first = false;
  }
}

TEST_F(FakeEngineTest, DummyDownloadServesTheBufferThroughTheCompletionPath) {
  char body[] = "buffered";
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  EXPECT_EQ(curl->DummyDownload(0, "http://media.test/key", false, unit, false, Data(), body, 8),
            err_none);
  curl->UnlockMutItem();
  ASSERT_NE(unit, nullptr);
  EXPECT_EQ(client.Get(unit).data, "buffered");
  int code = -1;
  long date = -1;
  EXPECT_EQ(curl->GetCompleted(code, date), unit);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(curl->EndDownload(unit), err_none);
}

TEST_F(FakeEngineTest, DummyDownloadOfNothingStillCallsTheClientWithLengthZero) {
  char body[] = "";
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  EXPECT_EQ(curl->DummyDownload(0, "http://media.test/key", false, unit, false, Data(), body, 0),
            err_none);
  curl->UnlockMutItem();
  auto received = client.Get(unit);
  EXPECT_EQ(received.calls, 1);
  EXPECT_EQ(received.bytes, 0u);
  int code = -1;
  long date = -1;
  EXPECT_EQ(curl->GetCompleted(code, date), unit);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(curl->EndDownload(unit), err_none);
}

TEST_F(FakeEngineTest, BeginDownload2TakesTheRangeApart) {
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  EXPECT_EQ(curl->BeginDownload2(0, "http://media.test/x.ts", "10-19", false, unit, false, Data(),
                                 false, ""),
            0);
  curl->UnlockMutItem();
  ASSERT_NE(unit, nullptr);
  EXPECT_STREQ(static_cast<const char*>(EasyOf(unit)->Option(CURLOPT_RANGE)), "10-19");
}

TEST_F(FakeEngineTest, BeginDownload3RequestsTheTableEntryAgain) {
  // BeginDownload3 asks the measurement sink about low latency without a null test.
  struct NotLowLatency : strmcommon::IDownloadEvent {
    void AddRxTimeInfo(unsigned int, unsigned int, unsigned int, int, int, int) override {}
    void ResetRxBaseTime(long long) override {}
    bool Islowlatency() override { return false; }
  } event;
  curl->Init(&client, &event);
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, "5-9http://media.test/again.ts"), err_none);
  int index = unit->m_urlIndex;
  curl->m_units[unit->m_index].first = false;
  UnitObject* again = nullptr;
  curl->LockMutItem();
  EXPECT_EQ(curl->BeginDownload3(index, again, false, Data()), err_none);
  curl->UnlockMutItem();
  ASSERT_NE(again, nullptr);
  EXPECT_STREQ(static_cast<const char*>(EasyOf(again)->Option(CURLOPT_URL)),
               "http://media.test/again.ts");
  EXPECT_STREQ(static_cast<const char*>(EasyOf(again)->Option(CURLOPT_RANGE)), "5-9");
}
