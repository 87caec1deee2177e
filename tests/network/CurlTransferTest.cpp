// Real transfers through the engine and its worker thread, against the loopback server.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "EngineFixture.h"

using enginetest::Data;
using enginetest::LiveEngineTest;
using strmcommon::err_failed;
using strmcommon::err_none;
using strmcommon::err_recv_error;
using strmcommon::err_resolve_host;
using strmcommon::err_retry;
using strmcommon::UnitObject;
using testsupport::Checksum;
using testsupport::LogCapture;
using testsupport::WaitFor;

namespace {

using CurlTransfer = LiveEngineTest;

// A loopback port on which nothing listens.
int ClosedPort() {
  int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in addr = {};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  addr.sin_port = 0;
  // A failed bind or name leaves port 0, on which nothing listens either.
  if (bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) != 0) addr.sin_port = 0;
  socklen_t len = sizeof(addr);
  if (getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len) != 0) addr.sin_port = 0;
  close(fd);
  return ntohs(addr.sin_port);
}

}  // namespace

TEST_F(CurlTransfer, SmallFileArrivesWholeWithCodeZero) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/bytes/1000")), err_none);
  ASSERT_NE(unit, nullptr);
  int code = -1;
  long date = -1;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(date, 0);
  auto received = client.Get(unit);
  EXPECT_EQ(received.bytes, 1000u);
  EXPECT_EQ(received.sum.Value(), Checksum::OfContent(1000));
  EXPECT_EQ(curl->GetPos(unit), 1000u);
  EXPECT_EQ(curl->GetSize(unit), 1000u);
  EXPECT_EQ(client.Starts(), 1);
  EXPECT_EQ(curl->EndDownload(unit), err_none);
  EXPECT_TRUE(curl->IsIdle());
  EXPECT_EQ(curl->get_dest_ip(), "127.0.0.1");
  EXPECT_EQ(curl->get_host_ip(), "127.0.0.1");
}

TEST_F(CurlTransfer, HundredMegabytesArriveByteForByte) {
  const size_t size = 100u * 1024 * 1024;
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/bytes/" + std::to_string(size))), err_none);
  int code = -1;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date, std::chrono::seconds(100)), unit);
  EXPECT_EQ(code, err_none);
  auto received = client.Get(unit);
  EXPECT_EQ(received.bytes, size);
  EXPECT_EQ(received.sum.Value(), Checksum::OfContent(size));
  EXPECT_EQ(curl->EndDownload(unit), err_none);
}

TEST_F(CurlTransfer, TwentyTransfersAtOnceAllArriveAndATwentyFirstIsRefused) {
  std::vector<UnitObject*> units(20, nullptr);
  for (int i = 0; i < 20; ++i) {
    size_t size = 1000 + 7919 * i;
    ASSERT_EQ(Begin(units[i], server.Url("/bytes/" + std::to_string(size))), err_none);
  }
  UnitObject* extra = nullptr;
  {
    LogCapture capture;
    EXPECT_EQ(Begin(extra, server.Url("/bytes/10")), err_failed);
    EXPECT_EQ(capture.Count("ERROR!! max concurrent download over"), 1u);
  }
  std::set<UnitObject*> finished;
  for (int i = 0; i < 20; ++i) {
    int code = -1;
    long date = 0;
    UnitObject* unit = WaitCompleted(code, date);
    ASSERT_NE(unit, nullptr);
    EXPECT_EQ(code, err_none);
    finished.insert(unit);
  }
  EXPECT_EQ(finished.size(), 20u);
  for (int i = 0; i < 20; ++i) {
    size_t size = 1000 + 7919 * i;
    auto received = client.Get(units[i]);
    EXPECT_EQ(received.bytes, size) << i;
    EXPECT_EQ(received.sum.Value(), Checksum::OfContent(size)) << i;
    EXPECT_EQ(curl->EndDownload(units[i]), err_none);
  }
  EXPECT_TRUE(curl->IsIdle());
}

TEST_F(CurlTransfer, RefusedConnectionEndsAsMinusTwenty) {
  LogCapture capture;
  UnitObject* unit = nullptr;
  std::string url = "http://127.0.0.1:" + std::to_string(ClosedPort()) + "/x";
  ASSERT_EQ(Begin(unit, url), err_none);
  int code = 0;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_recv_error);
  EXPECT_EQ(capture.Containing("vas(-18), Curl(7), http(0)").size(), 1u);
  EXPECT_EQ(capture.Count("--- else, err_recv_error"), 1u);
  EXPECT_EQ(curl->EndDownload(unit), err_recv_error);
  EXPECT_EQ(client.Get(unit).bytes, 0u);
}

TEST_F(CurlTransfer, UnresolvableHostEndsAsMinusSeventeen) {
  LogCapture capture;
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, "http://nonexistent.invalid/x"), err_none);
  int code = 0;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_resolve_host);
  EXPECT_EQ(capture.Count(" [ERROR] Host not resolved: unit code = -17, curl code = 6 http "
                          "status = 0"),
            1u);
  EXPECT_EQ(curl->EndDownload(unit), err_resolve_host);
}

TEST_F(CurlTransfer, EndDownloadTwiceReturnsTheCodeThenZero) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, "http://nonexistent.invalid/y"), err_none);
  int code = 0;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(curl->EndDownload(unit), err_resolve_host);
  EXPECT_EQ(curl->EndDownload(unit), err_none);
  EXPECT_TRUE(curl->IsIdle());
}

TEST_F(CurlTransfer, GetCompletedOnAnEmptyListReturnsNull) {
  int code = 3;
  long date = 4;
  EXPECT_EQ(curl->GetCompleted(code, date), nullptr);
  EXPECT_EQ(code, 3);
  EXPECT_EQ(date, 4);
}

TEST_F(CurlTransfer, StrayEntryOnTheCompletedListHidesLaterTransfers) {
  UnitObject stray;
  curl->LockMutItem();
  curl->m_completed.push_back(&stray);
  curl->UnlockMutItem();
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/bytes/10")), err_none);
  ASSERT_TRUE(WaitFor([&] {
    curl->LockMutItem();
    size_t n = curl->m_completed.size();
    curl->UnlockMutItem();
    return n == 2;
  }));
  int code = 0;
  long date = 0;
  EXPECT_EQ(curl->GetCompleted(code, date), nullptr);
  EXPECT_EQ(curl->GetCompleted(code, date), nullptr);
  curl->LockMutItem();
  curl->m_completed.pop_front();
  curl->UnlockMutItem();
  EXPECT_EQ(curl->GetCompleted(code, date), unit);
  EXPECT_EQ(curl->EndDownload(unit), err_none);
}

TEST_F(CurlTransfer, EndDownloadOfARunningTransferWaitsUntilItFinishes) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/slow/4000?rate=20000")), err_none);
  ASSERT_TRUE(WaitFor([&] { return client.Get(unit).bytes > 0; }));
  EXPECT_TRUE(curl->IsDownloading(unit));
  EXPECT_EQ(curl->EndDownload(unit), err_none);
  EXPECT_EQ(client.Get(unit).bytes, 4000u);
  EXPECT_FALSE(curl->IsDownloading(unit));
}

TEST_F(CurlTransfer, QuitWhileTransfersRunStopsTheWorkerAndReleasesEverything) {
  std::vector<UnitObject*> units(3, nullptr);
  for (auto& unit : units) ASSERT_EQ(Begin(unit, server.Url("/slow/100000?rate=10000")), err_none);
  ASSERT_TRUE(WaitFor([&] { return client.Get(units[0]).bytes > 0; }));
  LogCapture capture;
  curl->Quit();
  EXPECT_FALSE(curl->m_thread->IsThread());
  EXPECT_TRUE(curl->IsIdle());
  for (auto& slot : curl->m_units) EXPECT_EQ(slot.second.m_easy, nullptr);
  EXPECT_EQ(capture.Count("The end of Curl::Quit()."), 1u);
  size_t bytes = client.Get(units[0]).bytes;
  EXPECT_LT(bytes, 100000u);
  // Nothing runs any more: a later look finds the same count.
  EXPECT_FALSE(
      WaitFor([&] { return client.Get(units[0]).bytes != bytes; }, std::chrono::milliseconds(200)));
}

TEST_F(CurlTransfer, RestartAfterQuitDownloadsAgain) {
  curl->Quit();
  UnitObject* unit = nullptr;
  EXPECT_EQ(Begin(unit, server.Url("/bytes/500")), err_failed);
  ASSERT_TRUE(curl->StartLoop());
  ASSERT_EQ(Begin(unit, server.Url("/bytes/500")), err_none);
  int code = -1;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(client.Get(unit).sum.Value(), Checksum::OfContent(500));
  EXPECT_EQ(curl->EndDownload(unit), err_none);
}

TEST_F(CurlTransfer, NotFoundAsksTheClientToRequestAgain) {
  LogCapture capture;
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/status/404")), err_none);
  int code = 0;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_retry);
  EXPECT_EQ(unit->m_httpStatus, 404);
  EXPECT_EQ(unit->m_retry, 1u);
  EXPECT_EQ(capture.Count("[ERROR] http error: 22"), 1u);
  EXPECT_EQ(curl->EndDownload(unit), err_retry);
}

TEST_F(CurlTransfer, UnauthorizedEndsAsMinusTwentyWithoutRetry) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/status/401")), err_none);
  int code = 0;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_recv_error);
  EXPECT_EQ(unit->m_retry, 0u);
  EXPECT_EQ(curl->EndDownload(unit), err_recv_error);
}

TEST_F(CurlTransfer, DroppedConnectionIsRetriedFromTheClientWithTheReceivedBytesToSkip) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/drop/200000/70000")), err_none);
  int code = 0;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_retry);
  EXPECT_EQ(unit->m_size, 200000u);
  EXPECT_GT(unit->m_pos, 0u);
  EXPECT_LT(unit->m_pos, 200000u);
  EXPECT_EQ(unit->m_skipBytes, unit->m_pos);
  EXPECT_EQ(curl->EndDownload(unit), err_retry);
}

TEST_F(CurlTransfer, RedirectIsFollowedAndReportedWithItsTargetAndLineEnd) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/redirect/302?to=/bytes/300")), err_none);
  int code = -1;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(client.Get(unit).sum.Value(), Checksum::OfContent(300));
  auto redirects = client.Redirects();
  ASSERT_EQ(redirects.size(), 1u);
  EXPECT_EQ(redirects[0].first, unit);
  EXPECT_EQ(redirects[0].second, server.Url("/bytes/300") + "\r\n");
  EXPECT_EQ(curl->EndDownload(unit), err_none);
}

TEST_F(CurlTransfer, DateHeaderReachesGetCompleted) {
  server.Get("/dated", [](const httplib::Request&, httplib::Response& res) {
    res.set_header("Date", "Sun, 06 Nov 1994 08:49:37 GMT");
    res.set_content("dated", "text/plain");
  });
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/dated")), err_none);
  int code = -1;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(date, 784111777);
  EXPECT_EQ(curl->EndDownload(unit), err_none);
}

TEST_F(CurlTransfer, ArbitraryHeadersArriveWithoutHarm) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/headers?Set-Cookie=a%3Db&X-Test=1")), err_none);
  int code = -1;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(client.Get(unit).data, "headers");
  EXPECT_EQ(curl->EndDownload(unit), err_none);
}

TEST_F(CurlTransfer, BodyIsDeliveredOnTheWorkerThread) {
  struct ThreadClient : testsupport::CollectingClient {
    int OnDownloadData(UnitObject* unit, int code, unsigned char* data,
                       unsigned int size) override {
      worker = pthread_self();
      return CollectingClient::OnDownloadData(unit, code, data, size);
    }
    std::atomic<pthread_t> worker{0};
  } threadClient;
  curl->Init(&threadClient, nullptr);
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/bytes/100")), err_none);
  int code = -1;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_NE(threadClient.worker.load(), pthread_t(0));
  EXPECT_FALSE(pthread_equal(threadClient.worker.load(), pthread_self()));
  EXPECT_EQ(curl->EndDownload(unit), err_none);
  curl->Quit();
  curl.reset();
}

TEST_F(CurlTransfer, QuitFreesAWorkerHeldByAClientThatRefusesEveryChunk) {
  struct Refusing : testsupport::CollectingClient {
    int OnDownloadData(UnitObject*, int, unsigned char*, unsigned int) override {
      ++offers;
      return 1;
    }
    std::atomic<int> offers{0};
  } refusing;
  curl->Init(&refusing, nullptr);
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/bytes/100000")), err_none);
  // The worker offers the same chunk again every millisecond.
  ASSERT_TRUE(WaitFor([&] { return refusing.offers.load() >= 3; }));
  std::atomic<bool> quitDone{false};
  std::thread quitter([&] {
    curl->Quit();
    quitDone = true;
  });
  EXPECT_TRUE(WaitFor([&] { return quitDone.load(); }));
  quitter.join();
  EXPECT_FALSE(curl->m_thread->IsThread());
  curl.reset();
}

TEST_F(CurlTransfer, BodyCallbacksRunWithTheEngineLockHeld) {
  struct LockProbe : testsupport::CollectingClient {
    int OnDownloadData(UnitObject* unit, int code, unsigned char* data,
                       unsigned int size) override {
      bool free = false;
      std::thread other([&] {
        free = engine->m_mutItem.TryLock();
        if (free) engine->m_mutItem.Unlock();
      });
      other.join();
      if (free) ++unlockedCalls;
      return CollectingClient::OnDownloadData(unit, code, data, size);
    }
    testsupport::CurlProbe* engine = nullptr;
    std::atomic<int> unlockedCalls{0};
  } probe;
  probe.engine = curl.get();
  curl->Init(&probe, nullptr);
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/bytes/200000")), err_none);
  int code = -1;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(probe.Get(unit).bytes, 200000u);
  EXPECT_EQ(probe.unlockedCalls.load(), 0);
  EXPECT_EQ(curl->EndDownload(unit), err_none);
  curl->Quit();
  curl.reset();
}

TEST(CurlPacedLoop, TransfersRunOnThePacedLoop) {
  system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
  testsupport::LoopbackServer server;
  testsupport::CollectingClient client;
  testsupport::CurlProbe curl(strmcommon::CURL_THREAD_PACED, 2000, "");
  curl.Init(&client, nullptr);
  ASSERT_TRUE(curl.StartLoop());
  UnitObject* unit = nullptr;
  curl.LockMutItem();
  ASSERT_EQ(curl.BeginDownload(0, server.Url("/bytes/5000"), false, unit, false, Data()), err_none);
  curl.UnlockMutItem();
  UnitObject* done = nullptr;
  int code = -1;
  long date = 0;
  ASSERT_TRUE(WaitFor([&] { return (done = curl.GetCompleted(code, date)) != nullptr; },
                      std::chrono::seconds(30)));
  EXPECT_EQ(done, unit);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(client.Get(unit).sum.Value(), Checksum::OfContent(5000));
  EXPECT_EQ(curl.EndDownload(unit), err_none);
  curl.Quit();
  system_info_stub_set_mode(SYSTEM_INFO_STUB_LOOKUP);
}
