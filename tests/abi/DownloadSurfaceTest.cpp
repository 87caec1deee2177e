// The download engine as the engine links it: the handle classes and their factory, the unit
// record, and Curl with the client's two interfaces implemented on the engine's side.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "EngineViewDownload.h"
#include "Patterned.h"

using namespace abi_probe;
using namespace strmcommon;

namespace {

// A client name whose cookie directory does not exist, so that nothing is written.
const char kClient[] = "abi-probe-no-such-client";
const char kAcceleratorPrefix[] = "http://127.0.0.1:54321/proxy?url=";

bool SameData(const UserData& a, const UserData& b) {
  return a.type == b.type && a.streamIdx == b.streamIdx && a.segmentIdx == b.segmentIdx &&
         a.bitrate == b.bitrate && a.state == b.state && a.tag == b.tag;
}

class ProbeClient : public ICurlCB {
 public:
  int OnDownloadStart(UnitObject* unit) override {
    starts.push_back(unit);
    return 0;
  }
  int OnDownloadData(UnitObject* unit, int code, unsigned char* data, unsigned int size) override {
    dataUnits.push_back(unit);
    codes.push_back(code);
    chunks.emplace_back(reinterpret_cast<char*>(data), size);
    return 0;
  }
  int OnRedirect(UnitObject* unit, const char* url) override {
    ++redirects;
    return 0;
  }

  std::vector<UnitObject*> starts;
  std::vector<UnitObject*> dataUnits;
  std::vector<int> codes;
  std::vector<std::string> chunks;
  int redirects = 0;
};

class ProbeEvents : public IDownloadEvent {
 public:
  void AddRxTimeInfo(unsigned int previousTime, unsigned int now, unsigned int size, int streamIdx,
                     int segmentIdx, int tag) override {
    ++adds;
    lastSize = size;
    lastStream = streamIdx;
    lastSegment = segmentIdx;
    lastTag = tag;
  }
  void ResetRxBaseTime(long long now) override {
    ++resets;
    lastReset = now;
  }
  bool Islowlatency() override {
    ++lowLatencyAsks;
    return false;
  }

  int adds = 0;
  unsigned int lastSize = 0;
  int lastStream = 0;
  int lastSegment = 0;
  int lastTag = 0;
  int resets = 0;
  long long lastReset = 0;
  int lowLatencyAsks = 0;
};

}  // namespace

TEST(DownloadSurface, CurlEasyWrapsOneHandleBehindItsInterface) {
  Patterned<CurlEasy> easy;
  EXPECT_TRUE(easy.TailUntouched());
  ASSERT_NE(easy->m_handle, nullptr);
  EXPECT_EQ(easy->m_lastError, CURLE_OK);
  ICurlEasy* handle = easy.get();
  EXPECT_EQ(handle->GetHandle(), easy->m_handle);
  // Port 1 on the loopback address refuses at once, so Perform fails with a code of its own.
  EXPECT_TRUE(handle->SetOpt(CURLOPT_URL, "http://127.0.0.1:1/"));
  EXPECT_FALSE(handle->Perform());
  EXPECT_EQ(handle->GetLastError(), CURLE_COULDNT_CONNECT);
  long status = -1;
  EXPECT_TRUE(handle->GetInfoWithLong(CURLINFO_RESPONSE_CODE, &status));
  EXPECT_EQ(status, 0);
  double total = -1;
  EXPECT_TRUE(handle->GetInfoWithDouble(CURLINFO_TOTAL_TIME, &total));
  EXPECT_GE(total, 0.0);
  char* effective = nullptr;
  EXPECT_TRUE(handle->GetInfo(CURLINFO_EFFECTIVE_URL, &effective));
  EXPECT_STREQ(effective, "http://127.0.0.1:1/");
  EXPECT_TRUE(handle->SetOptMaxNwLimit(CURLOPT_MAX_RECV_SPEED_LARGE, 4096));
  handle->Reset();
  EXPECT_EQ(easy->m_lastError, CURLE_OK);
  handle->Pause();
  handle->Resume();
  // The same operations as the engine's direct calls of the exported symbols.
  EXPECT_TRUE(easy->CurlEasy::SetOpt(CURLOPT_URL, "http://127.0.0.1:1/"));
  EXPECT_FALSE(easy->CurlEasy::Perform());
  EXPECT_EQ(easy->CurlEasy::GetLastError(), CURLE_COULDNT_CONNECT);
  EXPECT_TRUE(easy->CurlEasy::GetInfoWithLong(CURLINFO_RESPONSE_CODE, &status));
  EXPECT_TRUE(easy->CurlEasy::GetInfoWithDouble(CURLINFO_TOTAL_TIME, &total));
  EXPECT_TRUE(easy->CurlEasy::GetInfo(CURLINFO_EFFECTIVE_URL, &effective));
  EXPECT_TRUE(easy->CurlEasy::SetOptMaxNwLimit(CURLOPT_MAX_RECV_SPEED_LARGE, 4096));
  easy->CurlEasy::Reset();
  easy->CurlEasy::Pause();
  easy->CurlEasy::Resume();
  EXPECT_EQ(easy->CurlEasy::GetHandle(), easy->m_handle);
  easy.Destroy();
  EXPECT_TRUE(easy.TailUntouched());
}

TEST(DownloadSurface, CurlMultiWrapsOneHandleBehindItsInterface) {
  Patterned<CurlMulti> multi;
  EXPECT_TRUE(multi.TailUntouched());
  ASSERT_NE(multi->m_handle, nullptr);
  EXPECT_EQ(multi->m_lastError, CURLM_OK);
  CurlEasy easy;
  ICurlMulti* handle = multi.get();
  EXPECT_EQ(handle->GetHandle(), multi->m_handle);
  EXPECT_TRUE(handle->SetMOpt(CURLMOPT_MAXCONNECTS, reinterpret_cast<void const*>(5L)));
  EXPECT_TRUE(handle->AddHandle(easy));
  int running = -1;
  // No URL: the transfer ends in the first call, which is no request to call again.
  EXPECT_FALSE(handle->Perform(running));
  EXPECT_EQ(handle->GetLastError(), CURLM_OK);
  fd_set readFds, writeFds, exceptFds;
  FD_ZERO(&readFds);
  FD_ZERO(&writeFds);
  FD_ZERO(&exceptFds);
  int maxFd = 0;
  EXPECT_TRUE(handle->FDSet(&readFds, &writeFds, &exceptFds, &maxFd));
  timeval zero = {0, 0};
  EXPECT_EQ(handle->Select(0, nullptr, nullptr, nullptr, &zero), 0);
  int left = -1;
  CurlMsg msg = {};
  msg.unit = &msg;
  if (handle->InfoRead(left, msg)) {
    EXPECT_EQ(msg.msg, CURLMSG_DONE);
    EXPECT_EQ(msg.easy, easy.m_handle);
    EXPECT_EQ(msg.unit, nullptr);
  }
  EXPECT_FALSE(handle->InfoRead(left, msg));
  EXPECT_TRUE(handle->RemoveHandle(easy));
  EXPECT_TRUE(multi->CurlMulti::SetMOpt(CURLMOPT_MAXCONNECTS, reinterpret_cast<void const*>(5L)));
  EXPECT_TRUE(multi->CurlMulti::AddHandle(easy));
  multi->CurlMulti::Perform(running);
  EXPECT_TRUE(multi->CurlMulti::FDSet(&readFds, &writeFds, &exceptFds, &maxFd));
  EXPECT_EQ(multi->CurlMulti::Select(0, nullptr, nullptr, nullptr, &zero), 0);
  multi->CurlMulti::InfoRead(left, msg);
  EXPECT_TRUE(multi->CurlMulti::RemoveHandle(easy));
  EXPECT_EQ(multi->CurlMulti::GetLastError(), CURLM_OK);
  EXPECT_EQ(multi->CurlMulti::GetHandle(), multi->m_handle);
  multi.Destroy();
  EXPECT_TRUE(multi.TailUntouched());
}

TEST(DownloadSurface, TheFactoryIsTheLibrarysOneInstantiation) {
  Patterned<ConcreateCurlFactory<CurlEasy, CurlMulti>> factory;
  EXPECT_TRUE(factory.TailUntouched());
  ICurlFactory* made = factory.get();
  ICurlEasy* easy = made->CreateCurlEasy();
  ASSERT_NE(easy, nullptr);
  EXPECT_EQ(easy->GetLastError(), CURLE_OK);
  ICurlMulti* multi = made->CreateCurlMulti();
  ASSERT_NE(multi, nullptr);
  EXPECT_EQ(multi->GetLastError(), CURLM_OK);
  made->ReleaseCurlEasy(easy);
  made->ReleaseCurlMulti(multi);
  made->ReleaseCurlEasy(nullptr);
  made->ReleaseCurlMulti(nullptr);
  using Factory = ConcreateCurlFactory<CurlEasy, CurlMulti>;
  factory->Factory::ReleaseCurlEasy(factory->Factory::CreateCurlEasy());
  factory->Factory::ReleaseCurlMulti(factory->Factory::CreateCurlMulti());
}

TEST(DownloadSurface, CurlIsBuiltWithItsDocumentedFieldsAndPool) {
  Patterned<Curl> curl(kProbeFixedLoop, 1000, std::string(kClient));
  EXPECT_TRUE(curl.TailUntouched());
  EXPECT_EQ(curl->m_connectTimeout, 25);
  EXPECT_EQ(curl->m_lowSpeedTime, 28);
  EXPECT_EQ(curl->m_retryCount, 0);
  EXPECT_NE(curl->m_factory, nullptr);
  EXPECT_EQ(curl->m_threadOption, kProbeFixedLoop);
  EXPECT_EQ(curl->m_sleepTime, 1000);
  EXPECT_EQ(curl->m_callback, nullptr);
  EXPECT_EQ(curl->m_event, nullptr);
  EXPECT_NE(curl->m_multi, nullptr);
  EXPECT_NE(curl->m_thread, nullptr);
  ASSERT_EQ(curl->m_units.size(), 20u);
  for (auto& slot : curl->m_units) {
    UnitObject& unit = slot.second;
    EXPECT_FALSE(slot.first);
    EXPECT_EQ(unit.m_curl, curl.get());
    EXPECT_NE(unit.m_easy, nullptr);
    EXPECT_EQ(unit.m_urlIndex, 0);
    EXPECT_EQ(unit.m_hostIndex, -1);
    EXPECT_FALSE(unit.m_done);
    EXPECT_EQ(unit.m_chunk, nullptr);
    EXPECT_EQ(unit.m_pauseBuffer.capacity(), 16384u);
    EXPECT_TRUE(SameData(unit.m_data, UserData{-1, -1, -1, -1, 0, -1}));
  }
  EXPECT_TRUE(curl->m_redirects.empty());
  EXPECT_FALSE(curl->m_quit);
  EXPECT_EQ(curl->m_requestKey, 0);
  EXPECT_FALSE(curl->m_resetting);
  EXPECT_FALSE(curl->m_useAccelerator);
  EXPECT_FALSE(curl->m_cookie.m_saved);
  EXPECT_EQ(curl->m_cookie.m_cookies, nullptr);
  EXPECT_EQ(curl->m_urlInfo.size(), 40u);
  EXPECT_EQ(curl->m_hosts.size(), 10u);
  EXPECT_TRUE(curl->m_completed.empty());
  EXPECT_EQ(curl->m_connTimeoutSet, 0);
  EXPECT_EQ(curl->m_lowSpeedTimeSet, 0);
  EXPECT_EQ(curl->m_maxNwSpeed, 0);
  EXPECT_EQ(curl->m_cookiePath, kClient);
  EXPECT_EQ(curl->m_headers, nullptr);
  EXPECT_TRUE(curl->m_requests.empty());
  EXPECT_TRUE(curl->m_requestLock.TryLock());
  curl->m_requestLock.Unlock();
  // The destructor leaves the units' easy handles to Quit, which must come first.
  curl->Quit();
  curl.Destroy();
  EXPECT_TRUE(curl.TailUntouched());
}

TEST(DownloadSurface, CurlSettingsAndQueriesGoThroughTheInterfaceTable) {
  Curl curl(kProbeFixedLoop, 1000, kClient);
  ICurl* engine = &curl;
  ProbeClient client;
  ProbeEvents events;
  engine->Init(&client, &events);
  EXPECT_EQ(curl.m_callback, &client);
  EXPECT_EQ(curl.m_event, &events);

  engine->SetProxy("proxy.test:3128");
  EXPECT_EQ(engine->get_proxy(), "proxy.test:3128");
  engine->SetAgent("probe-agent");
  EXPECT_EQ(engine->get_user_agent(), "probe-agent");
  engine->SetCookie("a=b");
  EXPECT_EQ(engine->get_cookie(), "Cookie:a=b");
  EXPECT_NE(curl.m_headers, nullptr);
  curl.clearUsrDefCookie();
  EXPECT_EQ(engine->get_cookie(), "");
  engine->SetConnTimeout(7);
  engine->SetLowSpeedTimeout(9);
  EXPECT_EQ(curl.m_connTimeoutSet, 7);
  EXPECT_EQ(curl.m_lowSpeedTimeSet, 9);
  EXPECT_TRUE(engine->SetConnDetails(12, 3));
  EXPECT_EQ(curl.m_connectTimeout, 12);
  EXPECT_EQ(curl.m_retryCount, 3);
  engine->SetMaxNwSpeed(5000);
  EXPECT_EQ(curl.m_maxNwSpeed, 5000);
  EXPECT_EQ(engine->get_dest_ip(), "");
  EXPECT_EQ(engine->get_host_ip(), "");
  EXPECT_EQ(engine->GetRequestKey(), 0);
  EXPECT_TRUE(engine->IsIdle());
  engine->LockMutItem();
  EXPECT_TRUE(curl.m_mutItem.TryLock());
  curl.m_mutItem.Unlock();
  engine->UnlockMutItem();

  std::string url = std::string(kAcceleratorPrefix) + "http://media.test/a.ts";
  curl.m_useAccelerator = true;
  engine->StripAcceleratorPattern(url);
  EXPECT_EQ(url, "http://media.test/a.ts");
  EXPECT_FALSE(curl.m_useAccelerator);

  std::string cookie = "k=v", host = "media.test", path = "/";
  engine->SetCookieToPool(cookie, host, path);
  ASSERT_NE(curl.m_cookie.m_cookies, nullptr);
  EXPECT_STREQ(curl.m_cookie.m_cookies->name, "k");

  UnitObject* unit = nullptr;
  UserData data = {1, 2, 3, 4, 0, 6};
  EXPECT_EQ(engine->BeginDownload(0, "", false, unit, false, data), err_invalidarg);
  EXPECT_EQ(engine->BeginDownload(0, "no-scheme-here", false, unit, false, data), err_failed);
  EXPECT_EQ(engine->BeginDownload2(0, "", "", false, unit, false, data, false, ""), err_invalidarg);
  EXPECT_EQ(engine->BeginDownload3(0, unit, false, data), err_invalidarg);
  EXPECT_EQ(events.lowLatencyAsks, 1);
  EXPECT_EQ(unit, nullptr);

  // The same through the exported symbols themselves.
  curl.Curl::SetProxy("p2");
  EXPECT_EQ(curl.Curl::get_proxy(), "p2");
  curl.Curl::SetAgent("a2");
  EXPECT_EQ(curl.Curl::get_user_agent(), "a2");
  curl.Curl::SetConnTimeout(1);
  curl.Curl::SetLowSpeedTimeout(2);
  EXPECT_TRUE(curl.Curl::SetConnDetails(0, 0));
  curl.Curl::SetMaxNwSpeed(0);
  EXPECT_EQ(curl.Curl::get_dest_ip(), "");
  EXPECT_EQ(curl.Curl::get_host_ip(), "");
  curl.Curl::SetCookieToPool(cookie, host, path);
  EXPECT_EQ(curl.Curl::GetRequestKey(), 0);
  EXPECT_TRUE(curl.Curl::IsIdle());
  curl.Curl::LockMutItem();
  curl.Curl::UnlockMutItem();
  curl.Curl::StripAcceleratorPattern(url);
  EXPECT_EQ(curl.Curl::BeginDownload(0, "", false, unit, false, data), err_invalidarg);
  EXPECT_EQ(curl.Curl::BeginDownload2(0, "", "", false, unit, false, data, false, ""),
            err_invalidarg);
  EXPECT_EQ(curl.Curl::BeginDownload3(0, unit, false, data), err_invalidarg);
  curl.Curl::SetCookie("c=d");
  EXPECT_EQ(curl.Curl::get_cookie(), "Cookie:c=d");
  engine->Quit();
}

TEST(DownloadSurface, ADummyDownloadRunsTheUnitThroughBothClientInterfaces) {
  Curl curl(kProbeFixedLoop, 1000, kClient);
  ICurl* engine = &curl;
  ProbeClient client;
  ProbeEvents events;
  curl.Curl::Init(&client, &events);

  char body[] = "bytes";
  UnitObject* unit = nullptr;
  UserData data = {1, 2, 3, 4, 0, 6};
  ASSERT_EQ(engine->DummyDownload(0, "http://media.test/seg.ts", false, unit, false, data, body, 5),
            0);
  ASSERT_NE(unit, nullptr);
  EXPECT_EQ(unit, &curl.m_units[0].second);
  EXPECT_TRUE(curl.m_units[0].first);
  EXPECT_EQ(unit->m_url, "http://media.test/seg.ts");
  EXPECT_TRUE(unit->m_done);
  EXPECT_EQ(unit->code, err_none);
  EXPECT_TRUE(SameData(unit->m_data, data));
  ASSERT_EQ(client.starts.size(), 1u);
  EXPECT_EQ(client.starts[0], unit);
  ASSERT_EQ(client.chunks.size(), 1u);
  EXPECT_EQ(client.dataUnits[0], unit);
  EXPECT_EQ(client.codes[0], 0);
  EXPECT_EQ(client.chunks[0], "bytes");
  EXPECT_FALSE(engine->IsIdle());
  EXPECT_TRUE(engine->IsDownloading(unit));
  EXPECT_FALSE(engine->IsPause(unit));
  EXPECT_EQ(engine->GetPos(unit), 0u);
  EXPECT_EQ(engine->GetSize(unit), 0u);
  EXPECT_TRUE(SameData(engine->GetData(unit), data));
  UserData other = {9, 8, 7, 6, 0, 5};
  EXPECT_TRUE(SameData(engine->SetData(unit, other), data));
  EXPECT_TRUE(SameData(unit->m_data, other));

  // The body path reports timing to the engine's sink and hands the bytes to the client.
  unsigned char chunk[] = {'x', 'y', 'z'};
  EXPECT_EQ(curl.OnBodyDownload(unit, chunk, 3, -1, -1), 3);
  EXPECT_EQ(unit->m_pos, 3u);
  EXPECT_EQ(events.adds, 1);
  EXPECT_EQ(events.lastSize, 3u);
  EXPECT_EQ(events.lastStream, 8);
  EXPECT_EQ(events.lastSegment, 7);
  EXPECT_EQ(events.lastTag, 5);
  EXPECT_EQ(client.chunks.back(), "xyz");
  unit->m_rxBaseTime = static_cast<long long>(vas_getTime());
  EXPECT_EQ(curl.OnBodyDownload(unit, chunk, 3, -1, -1), 3);
  EXPECT_EQ(events.resets, 1);
  curl.CallTransfer(unit, 0, chunk, 2, -1);
  EXPECT_EQ(client.chunks.back(), "xy");
  curl.ProcessGetInfo(unit, -1);
  EXPECT_EQ(unit->m_size, 0u);
  char date[] = "Date: Wed, 21 Oct 2015 07:28:00 GMT\r\n";
  int dateLen = static_cast<int>(strlen(date));
  EXPECT_EQ(curl.OnHeaderDownload(unit, date, dateLen), dateLen);
  EXPECT_EQ(curl.m_urlInfo[unit->m_urlIndex].date, 1445412480L);

  // Pause refuses a unit whose blocking flag the engine has set.
  unit->m_pauseBlocked = true;
  EXPECT_FALSE(engine->Pause(unit));
  EXPECT_FALSE(curl.Curl::Pause(unit));
  unit->m_pauseBlocked = false;
  EXPECT_TRUE(engine->Resume(unit));
  EXPECT_TRUE(curl.Curl::Resume(unit));
  EXPECT_TRUE(curl.Resume_unlock(unit));
  EXPECT_FALSE(engine->Reset(unit, 77));
  EXPECT_FALSE(curl.Curl::Reset(unit, 77));
  EXPECT_TRUE(engine->Cancel(unit));
  EXPECT_FALSE(curl.Curl::Cancel(unit));
  EXPECT_FALSE(curl.Cancel_unlock(unit));
  EXPECT_EQ(unit->code, err_interrupted);

  int code = 1;
  long when = -1;
  EXPECT_EQ(engine->GetCompleted(code, when), unit);
  EXPECT_EQ(code, err_interrupted);
  EXPECT_EQ(when, 1445412480L);
  EXPECT_EQ(curl.Curl::GetCompleted(code, when), nullptr);
  EXPECT_EQ(engine->EndDownload(unit), err_interrupted);
  EXPECT_EQ(curl.Curl::EndDownload(unit), err_none);
  EXPECT_TRUE(engine->IsIdle());
  EXPECT_FALSE(curl.Curl::IsDownloading(unit));
  EXPECT_FALSE(curl.Curl::IsPause(unit));
  EXPECT_EQ(curl.Curl::GetPos(unit), 3u * 2);
  EXPECT_EQ(curl.Curl::GetSize(unit), 0u);
  EXPECT_TRUE(SameData(curl.Curl::GetData(unit), other));
  EXPECT_TRUE(SameData(curl.Curl::SetData(unit, data), other));

  // With the slot free, libcurl's callbacks turn the transfer down without touching it.
  EXPECT_EQ(Curl::EasyDownloadCB(chunk, 1, 3, unit), 3u);
  EXPECT_EQ(Curl::HeaderCB(chunk, 1, 3, unit), static_cast<abi_probe::UnitWord>(-1));
  EXPECT_EQ(Curl::ProgressCB(unit, 0, 0, 0, 0), -1);
  // The cancel is still pending: it wins over the classification, and ResultIf clears it.
  EXPECT_TRUE(unit->m_cancel);
  EXPECT_EQ(curl.ResultIf(unit, CURLE_COULDNT_RESOLVE_HOST, 0, -1), err_interrupted);
  EXPECT_FALSE(unit->m_cancel);
  EXPECT_EQ(curl.ResultIf(unit, CURLE_COULDNT_RESOLVE_HOST, 0, -1), err_resolve_host);
  EXPECT_EQ(unit->code, err_resolve_host);
  EXPECT_EQ(curl.Curl::DummyDownload(0, "", false, unit, false, data, body, 0), err_invalidarg);

  UnitObject* none = nullptr;
  EXPECT_EQ(curl.EndDownload_unlock(none), err_failed);
  EXPECT_FALSE(curl.ReqBody(nullptr));
  EXPECT_FALSE(curl.Resume_unlock(nullptr));
  EXPECT_FALSE(curl.Cancel_unlock(nullptr));
  int (Curl::*begin)(const std::string&, const std::string&, bool, UnitObject*&, bool, UserData,
                     bool, const std::string&) = &Curl::BeginDownloadImpl;
  bool (Curl::*configure)(UnitObject*) = &Curl::SetBodyEasyDownloadOPT;
  EXPECT_NE(begin, nullptr);
  EXPECT_NE(configure, nullptr);

  engine->Reset();
  EXPECT_EQ(engine->GetRequestKey(), 1);
  curl.Curl::Reset();
  EXPECT_EQ(curl.m_requestKey, 2);
  EXPECT_EQ(engine->BeginDownload(0, "http://media.test/a", false, unit, false, data), err_none);
  engine->Quit();
}

TEST(DownloadSurface, TheWorkerLoopStartsAndStops) {
  Curl curl(kProbePacedLoop, 1000, kClient);
  ICurl* engine = &curl;
  ProbeClient client;
  ProbeEvents events;
  engine->Init(&client, &events);
  EXPECT_FALSE(curl.Process());
  EXPECT_FALSE(engine->RunOnce());
  EXPECT_FALSE(curl.Curl::RunOnce());
  bool (*loop)(void*) = &Curl::Loop;
  EXPECT_NE(loop, nullptr);
  ASSERT_TRUE(engine->StartLoop());
  EXPECT_TRUE(curl.m_thread->IsThread());
  engine->Quit();
  EXPECT_TRUE(curl.m_quit);
  EXPECT_FALSE(curl.m_thread->IsThread());
  EXPECT_TRUE(curl.Curl::StartLoop());
  curl.m_quit = true;
  EXPECT_TRUE(curl.m_thread->Join(nullptr));
  EXPECT_FALSE(Curl::Loop(&curl));
}
