// Redirects over real loopback transfers: every redirect status, every form of Location, chains,
// and cookies set behind a redirect.
#include <gtest/gtest.h>
#include <httplib.h>

#include <mutex>
#include <string>
#include <vector>

#include "EngineFixture.h"

namespace {

using enginetest::Data;
using strmcommon::err_none;
using strmcommon::UnitObject;

// BeginDownload3 asks the measurement sink about low latency: this one says no.
class NoLowLatency : public strmcommon::IDownloadEvent {
 public:
  void AddRxTimeInfo(unsigned int, unsigned int, unsigned int, int, int, int) override {}
  void ResetRxBaseTime(long long) override {}
  bool Islowlatency() override { return false; }
};

class CurlRedirect : public enginetest::LiveEngineTest {
 protected:
  void SetUp() override {
    system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
    curl = std::make_unique<testsupport::CurlProbe>(strmcommon::CURL_THREAD_FIXED, 0,
                                                    "strmcommon-redirect-test");
    curl->Init(&client, &event);
    ASSERT_TRUE(curl->StartLoop());
  }

  std::string Origin() { return "http://127.0.0.1:" + std::to_string(server.Port()); }
  std::string Named(const std::string& host) {
    return "http://" + host + ":" + std::to_string(server.Port());
  }

  // Runs one request to its end and gives the slot back; returns the unit.
  UnitObject* Fetch(const std::string& url, int& code) {
    UnitObject* unit = nullptr;
    EXPECT_EQ(Begin(unit, url), err_none);
    if (unit == nullptr) return nullptr;
    long date = 0;
    UnitObject* done = WaitCompleted(code, date);
    EXPECT_EQ(done, unit);
    if (done == nullptr) return nullptr;
    curl->EndDownload(done);
    return done;
  }

  // The targets still pending for unit, read under the engine lock.
  std::vector<std::string> Pending(UnitObject* unit) {
    std::vector<std::string> targets;
    curl->LockMutItem();
    for (const auto& entry : curl->m_redirects) {
      if (entry.first == unit) targets.push_back(entry.second);
    }
    curl->UnlockMutItem();
    return targets;
  }

  std::string CookieFor(const std::string& url) {
    curl->LockMutItem();
    std::string value = curl->m_cookie.getCookieFromPool(url);
    curl->UnlockMutItem();
    return value;
  }

  NoLowLatency event;
  std::mutex lock;
  int hits = 0;
  std::vector<std::string> cookiesSeen;
};

class CurlRedirectStatus : public CurlRedirect, public ::testing::WithParamInterface<int> {};

TEST_P(CurlRedirectStatus, IsFollowedAndReportedWithItsAbsoluteTargetAndLineEnd) {
  const std::string target = server.Url("/bytes/300");
  int code = -1;
  UnitObject* unit =
      Fetch(server.Url("/redirect/" + std::to_string(GetParam()) + "?to=" + target), code);
  ASSERT_NE(unit, nullptr);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(client.Get(unit).sum.Value(), testsupport::Checksum::OfContent(300));
  auto redirects = client.Redirects();
  ASSERT_EQ(redirects.size(), 1u);
  EXPECT_EQ(redirects[0].first, unit);
  EXPECT_EQ(redirects[0].second, target + "\r\n");
  EXPECT_TRUE(Pending(unit).empty());
}

INSTANTIATE_TEST_SUITE_P(EveryRedirectStatus, CurlRedirectStatus,
                         ::testing::Values(301, 302, 307, 308));

TEST_F(CurlRedirect, ChainReportsTheFirstTargetAndKeepsTheOthersInForm) {
  const std::string origin = Origin();
  server.Get("/chain/start", [origin](const httplib::Request&, httplib::Response& res) {
    res.status = 301;
    res.set_header("Location", origin + "/chain/two");
  });
  server.Get("/chain/two", [](const httplib::Request&, httplib::Response& res) {
    res.status = 302;
    res.set_header("Location", "/chain/dir/three");
  });
  server.Get("/chain/dir/three", [](const httplib::Request&, httplib::Response& res) {
    res.status = 307;
    res.set_header("Location", "four");
  });
  server.Get("/chain/dir/four", [](const httplib::Request&, httplib::Response& res) {
    res.status = 308;
    res.set_header("location", "   /bytes/100");
  });
  int code = -1;
  UnitObject* unit = Fetch(server.Url("/chain/start"), code);
  ASSERT_NE(unit, nullptr);
  // libcurl resolves every hop properly; only the engine's record glues "four" to the host.
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(client.Get(unit).bytes, 100u);
  auto redirects = client.Redirects();
  ASSERT_EQ(redirects.size(), 1u);
  EXPECT_EQ(redirects[0].second, origin + "/chain/two\r\n");
  EXPECT_EQ(Pending(unit),
            (std::vector<std::string>{origin + "/chain/dir/three\r\n", origin + "four\r\n",
                                      origin + "/bytes/100\r\n"}));
}

TEST_F(CurlRedirect, LaterTransferOfTheSameUnitReportsTheTargetLeftFromTheChain) {
  server.Get("/two-hops", [](const httplib::Request&, httplib::Response& res) {
    res.status = 302;
    res.set_header("Location", "/redirect/301?to=/bytes/10");
  });
  int code = -1;
  UnitObject* unit = Fetch(server.Url("/two-hops"), code);
  ASSERT_NE(unit, nullptr);
  ASSERT_EQ(Pending(unit).size(), 1u);
  UnitObject* again = Fetch(server.Url("/bytes/20"), code);
  ASSERT_EQ(again, unit);
  // A plain transfer of the same unit takes the leftover entry away without reporting it.
  EXPECT_EQ(client.Redirects().size(), 1u);
  EXPECT_TRUE(Pending(unit).empty());
}

TEST_F(CurlRedirect, CookieSetBehindARedirectIsStoredUnderTheTargetHost) {
  const std::string target = Named("cookie.localhost");
  server.Get("/jump", [target](const httplib::Request&, httplib::Response& res) {
    res.status = 302;
    res.set_header("Location", target + "/setter/page");
  });
  server.Get("/setter/page", [](const httplib::Request&, httplib::Response& res) {
    res.set_header("Set-Cookie", "tok=7; Path=/");
    res.set_content("set", "text/plain");
  });
  server.Get("/echo", [this](const httplib::Request& req, httplib::Response& res) {
    std::lock_guard<std::mutex> guard(lock);
    cookiesSeen.push_back(req.get_header_value("Cookie"));
    res.set_content("echo", "text/plain");
  });
  int code = -1;
  UnitObject* unit = Fetch(server.Url("/jump"), code);
  ASSERT_NE(unit, nullptr);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(CookieFor(target + "/any"), "tok=7;");
  EXPECT_EQ(CookieFor(Origin() + "/any"), "");
  curl->LockMutItem();
  EXPECT_EQ(curl->m_urlInfo[unit->m_urlIndex].url, target + "/setter/page");
  curl->UnlockMutItem();

  Fetch(target + "/echo", code);
  Fetch(server.Url("/echo"), code);
  std::lock_guard<std::mutex> guard(lock);
  EXPECT_EQ(cookiesSeen, (std::vector<std::string>{"tok=7;", ""}));
}

TEST_F(CurlRedirect, BeginDownload3AfterACookieRequestsTheAddressThatSetIt) {
  server.Get("/moved", [](const httplib::Request&, httplib::Response& res) {
    res.status = 307;
    res.set_header("Location", "/setter");
  });
  server.Get("/setter", [this](const httplib::Request&, httplib::Response& res) {
    std::lock_guard<std::mutex> guard(lock);
    ++hits;
    res.set_header("Set-Cookie", "s=1");
    res.set_content("set", "text/plain");
  });
  int code = -1;
  UnitObject* unit = Fetch(server.Url("/moved"), code);
  ASSERT_NE(unit, nullptr);
  int index = unit->m_urlIndex;
  curl->LockMutItem();
  UnitObject* again = nullptr;
  ASSERT_EQ(curl->BeginDownload3(index, again, false, Data()), err_none);
  curl->UnlockMutItem();
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), again);
  EXPECT_EQ(code, err_none);
  curl->EndDownload(again);
  std::lock_guard<std::mutex> guard(lock);
  EXPECT_EQ(hits, 2);
}

TEST_F(CurlRedirect, HeadersKeptModeCollectsEveryHopAndReportsNoRedirect) {
  server.Get("/kept", [](const httplib::Request&, httplib::Response& res) {
    res.status = 302;
    res.set_header("Location", "/bytes/10");
    res.set_header("Set-Cookie", "kept=1; Path=/");
  });
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  ASSERT_EQ(
      curl->BeginDownload2(0, server.Url("/kept"), "", false, unit, false, Data(), true, "debug"),
      0);
  curl->UnlockMutItem();
  int code = -1;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  curl->EndDownload(unit);
  const std::string raw = unit->m_rawHeader;
  size_t first = raw.find("HTTP/1.1 302");
  size_t second = raw.find("HTTP/1.1 200");
  EXPECT_EQ(first, 0u);
  ASSERT_NE(second, std::string::npos);
  EXPECT_NE(raw.find("Set-Cookie: kept=1; Path=/\r\n"), std::string::npos);
  EXPECT_NE(raw.find("\r\n\r\nHTTP/1.1 200"), std::string::npos);
  EXPECT_TRUE(unit->m_headerEnd);
  EXPECT_EQ(unit->m_debugTag, "debug");
  EXPECT_TRUE(Pending(unit).empty());
  // No target was recorded: the redirect is reported with an empty text.
  auto redirects = client.Redirects();
  ASSERT_EQ(redirects.size(), 1u);
  EXPECT_EQ(redirects[0].second, "");
  EXPECT_EQ(CookieFor(server.Url("/")), "");
  EXPECT_EQ(client.Get(unit).bytes, 10u);
}

TEST_F(CurlRedirect, DateOfTheFirstResponseOfAChainIsTheOneKept) {
  server.Get("/dated", [](const httplib::Request&, httplib::Response& res) {
    res.status = 301;
    res.set_header("Date", "Tue, 15 Nov 1994 08:12:31 GMT");
    res.set_header("Location", "/bytes/10");
  });
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/dated")), err_none);
  int code = -1;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  curl->EndDownload(unit);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(date, 784887151);
}

}  // namespace
