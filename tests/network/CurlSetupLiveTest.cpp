// Begin operations over real loopback transfers: ranges, many host names, and the binding of the
// pool to hosts.
#include <gtest/gtest.h>
#include <httplib.h>

#include <mutex>
#include <string>
#include <vector>

#include "EngineFixture.h"

namespace {

using enginetest::Data;
using strmcommon::err_failed;
using strmcommon::err_none;
using strmcommon::UnitObject;
using testsupport::LogCapture;

class CurlSetupLive : public enginetest::LiveEngineTest {
 protected:
  // Every name under .localhost reaches the loopback server through libcurl's own resolver.
  std::string Named(const std::string& host, const std::string& path) {
    return "http://" + host + ":" + std::to_string(server.Port()) + path;
  }

  // Waits for every one of count units, checks its code and gives the slots back.
  void CollectAll(size_t count) {
    for (size_t i = 0; i < count; ++i) {
      int code = -1;
      long date = 0;
      UnitObject* unit = WaitCompleted(code, date);
      ASSERT_NE(unit, nullptr);
      EXPECT_EQ(code, err_none);
      curl->EndDownload(unit);
    }
  }
};

TEST_F(CurlSetupLive, RangeWrittenInFrontOfTheUrlReachesTheServer) {
  std::mutex lock;
  std::string rangeSeen;
  server.Get("/range", [&](const httplib::Request& req, httplib::Response& res) {
    std::lock_guard<std::mutex> guard(lock);
    rangeSeen = req.get_header_value("Range");
    res.set_content("ranged", "text/plain");
  });
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, "0-99" + server.Url("/range")), err_none);
  CollectAll(1);
  EXPECT_EQ(curl->m_urlInfo[unit->m_urlIndex].url, server.Url("/range"));
  EXPECT_EQ(curl->m_urlInfo[unit->m_urlIndex].range, "0-99");
  std::lock_guard<std::mutex> guard(lock);
  EXPECT_EQ(rangeSeen, "bytes=0-99");
}

TEST_F(CurlSetupLive, RangeOfAGeneratedBodyDeliversExactlyThoseBytes) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, "100-199" + server.Url("/bytes/1000")), err_none);
  CollectAll(1);
  auto received = client.Get(unit);
  ASSERT_EQ(received.bytes, 100u);
  for (size_t i = 0; i < 100; ++i) {
    ASSERT_EQ(static_cast<unsigned char>(received.data[i]), testsupport::ContentByte(100 + i));
  }
}

TEST_F(CurlSetupLive, ElevenHostNamesAllDownloadWithTheLastTwoSharingSlotZero) {
  std::vector<UnitObject*> units(11, nullptr);
  for (int i = 0; i < 11; ++i) {
    ASSERT_EQ(Begin(units[i], Named("h" + std::to_string(i + 1) + ".localhost", "/bytes/5000")),
              err_none);
  }
  CollectAll(11);
  for (int i = 0; i < 11; ++i) {
    EXPECT_EQ(client.Get(units[i]).sum.Value(), testsupport::Checksum::OfContent(5000));
    EXPECT_EQ(units[i]->m_hostIndex, i < 9 ? i + 1 : 0);
  }
  EXPECT_EQ(curl->m_hosts[9], "h9.localhost");
}

TEST_F(CurlSetupLive, TwentyDownloadsFromOneHostKeepTheWholePoolFromASecondHost) {
  std::vector<UnitObject*> units(20, nullptr);
  for (int i = 0; i < 20; ++i) ASSERT_EQ(Begin(units[i], server.Url("/bytes/20000")), err_none);
  CollectAll(20);
  ASSERT_TRUE(curl->IsIdle());
  LogCapture capture;
  UnitObject* other = nullptr;
  EXPECT_EQ(Begin(other, Named("localhost", "/bytes/10")), err_failed);
  EXPECT_EQ(other, nullptr);
  EXPECT_EQ(capture.Count("ERROR!! max concurrent download over"), 1u);
  // The first host is still served.
  ASSERT_EQ(Begin(other, server.Url("/bytes/10")), err_none);
  CollectAll(1);
}

TEST_F(CurlSetupLive, HostsBoundAcrossThePoolServeTheirOwnRequestsOnly) {
  // Two hosts, ten transfers each at once: the pool splits ten and ten for good.
  std::vector<UnitObject*> units(20, nullptr);
  for (int i = 0; i < 20; ++i) {
    std::string host = i % 2 == 0 ? "even.localhost" : "odd.localhost";
    ASSERT_EQ(Begin(units[i], Named(host, "/bytes/3000")), err_none);
  }
  CollectAll(20);
  for (int round = 0; round < 2; ++round) {
    std::vector<UnitObject*> again(10, nullptr);
    for (int i = 0; i < 10; ++i)
      ASSERT_EQ(Begin(again[i], Named("odd.localhost", "/bytes/10")), err_none);
    UnitObject* extra = nullptr;
    EXPECT_EQ(Begin(extra, Named("odd.localhost", "/bytes/10")), err_failed);
    for (UnitObject* unit : again) EXPECT_EQ(unit->m_hostIndex, units[1]->m_hostIndex);
    CollectAll(10);
  }
}

TEST_F(CurlSetupLive, RequestCarriesTheAgentAndAcceptsEncodings) {
  std::mutex lock;
  std::vector<std::pair<std::string, std::string>> seen;
  server.Get("/who", [&](const httplib::Request& req, httplib::Response& res) {
    std::lock_guard<std::mutex> guard(lock);
    seen.emplace_back(req.get_header_value("User-Agent"), req.get_header_value("Accept-Encoding"));
    res.set_content("who", "text/plain");
  });
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/who")), err_none);
  CollectAll(1);
  curl->SetAgent("test-agent/2");
  ASSERT_EQ(Begin(unit, server.Url("/who")), err_none);
  CollectAll(1);
  std::lock_guard<std::mutex> guard(lock);
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[0].first, "corvane-agent/1.1");
  EXPECT_FALSE(seen[0].second.empty());
  EXPECT_EQ(seen[1].first, "test-agent/2");
}

TEST_F(CurlSetupLive, ConditionalRequestAgainSendsNoIfModifiedSince) {
  std::mutex lock;
  std::vector<std::string> seen;
  server.Get("/cond", [&](const httplib::Request& req, httplib::Response& res) {
    std::lock_guard<std::mutex> guard(lock);
    seen.push_back(req.has_header("If-Modified-Since") ? "conditional" : "plain");
    res.set_header("Last-Modified", "Tue, 15 Nov 1994 08:12:31 GMT");
    res.set_content("cond", "text/plain");
  });
  for (int i = 0; i < 2; ++i) {
    UnitObject* unit = nullptr;
    curl->LockMutItem();
    ASSERT_EQ(curl->BeginDownload(0, server.Url("/cond"), true, unit, false, Data()), err_none);
    curl->UnlockMutItem();
    EXPECT_EQ(unit->m_urlIndex, 20);
    CollectAll(1);
  }
  std::lock_guard<std::mutex> guard(lock);
  EXPECT_EQ(seen, (std::vector<std::string>{"plain", "plain"}));
}

TEST_F(CurlSetupLive, EveryClientCookieLineGoesToEveryLaterRequest) {
  std::mutex lock;
  std::vector<std::string> seen;
  server.Get("/jar", [&](const httplib::Request& req, httplib::Response& res) {
    std::lock_guard<std::mutex> guard(lock);
    std::string all;
    auto range = req.headers.equal_range("Cookie");
    for (auto it = range.first; it != range.second; ++it) all += "[" + it->second + "]";
    seen.push_back(all);
    res.set_content("jar", "text/plain");
  });
  curl->LockMutItem();
  curl->SetCookie("a=1");
  curl->SetCookie("b=2");
  curl->UnlockMutItem();
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/jar")), err_none);
  CollectAll(1);
  ASSERT_EQ(Begin(unit, Named("localhost", "/jar")), err_none);
  CollectAll(1);
  std::lock_guard<std::mutex> guard(lock);
  EXPECT_EQ(seen, (std::vector<std::string>{"[a=1][b=2]", "[a=1][b=2]"}));
}

TEST_F(CurlSetupLive, DummyDownloadCompletesBesideRunningTransfers) {
  UnitObject* real = nullptr;
  ASSERT_EQ(Begin(real, server.Url("/bytes/50000")), err_none);
  char key[] = "0123456789abcdef";
  UnitObject* dummy = nullptr;
  curl->LockMutItem();
  ASSERT_EQ(curl->DummyDownload(0, server.Url("/key"), false, dummy, false, Data(), key, 16),
            err_none);
  curl->UnlockMutItem();
  EXPECT_EQ(dummy, &curl->m_units[1].second);
  EXPECT_EQ(client.Get(dummy).data, "0123456789abcdef");
  std::vector<UnitObject*> finished;
  for (int i = 0; i < 2; ++i) {
    int code = -1;
    long date = 0;
    UnitObject* unit = WaitCompleted(code, date);
    ASSERT_NE(unit, nullptr);
    EXPECT_EQ(code, err_none);
    finished.push_back(unit);
  }
  // The dummy unit counts as slot 0: ending it frees slot 0 once the real transfer is ended too.
  for (UnitObject* unit : finished) curl->EndDownload(unit);
  EXPECT_EQ(client.Get(real).sum.Value(), testsupport::Checksum::OfContent(50000));
  EXPECT_FALSE(curl->m_units[0].first);
  EXPECT_TRUE(curl->m_units[1].first);
  EXPECT_FALSE(curl->IsIdle());
}

}  // namespace
