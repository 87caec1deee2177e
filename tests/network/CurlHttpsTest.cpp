// Transfers over TLS against a loopback server with a certificate made at test time.
#include <gtest/gtest.h>
#include <httplib.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "EngineFixture.h"
#include "HttpsServer.h"

namespace {

using enginetest::Data;
using strmcommon::err_none;
using strmcommon::UnitObject;

class CurlHttps : public ::testing::Test {
 protected:
  void SetUp() override {
    system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
    curl = std::make_unique<testsupport::CurlProbe>(strmcommon::CURL_THREAD_FIXED, 0,
                                                    "strmcommon-https-test");
    curl->Init(&client, nullptr);
    ASSERT_TRUE(curl->StartLoop());
  }
  void TearDown() override {
    curl->Quit();
    curl.reset();
    system_info_stub_set_mode(SYSTEM_INFO_STUB_LOOKUP);
  }

  std::string Named(const std::string& host, const std::string& path) {
    return "https://" + host + ":" + std::to_string(server.Port()) + path;
  }

  UnitObject* Fetch(const std::string& url, int& code) {
    UnitObject* unit = nullptr;
    curl->LockMutItem();
    int begun = curl->BeginDownload(0, url, false, unit, false, Data());
    curl->UnlockMutItem();
    EXPECT_EQ(begun, 0);
    long date = 0;
    UnitObject* done = nullptr;
    EXPECT_TRUE(testsupport::WaitFor(
        [&] {
          done = curl->GetCompleted(code, date);
          return done != nullptr;
        },
        std::chrono::seconds(30), std::chrono::milliseconds(1)));
    EXPECT_EQ(done, unit);
    if (done != nullptr) curl->EndDownload(done);
    return done;
  }

  testsupport::HttpsServer server;
  testsupport::CollectingClient client;
  std::unique_ptr<testsupport::CurlProbe> curl;
};

TEST_F(CurlHttps, SelfSignedCertificateIsAcceptedAndTheBodyArrivesWhole) {
  int code = -1;
  UnitObject* unit = Fetch(server.Url("/bytes/300000"), code);
  ASSERT_NE(unit, nullptr);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(client.Get(unit).sum.Value(), testsupport::Checksum::OfContent(300000));
}

TEST_F(CurlHttps, HostNameMissingFromTheCertificateFailsTheTransfer) {
  // Only the peer check is off; libcurl's default host name check stays.
  int code = 0;
  UnitObject* unit = Fetch(Named("other.localhost", "/bytes/10"), code);
  ASSERT_NE(unit, nullptr);
  EXPECT_LT(code, 0);
  EXPECT_EQ(client.Get(unit).bytes, 0u);
}

TEST_F(CurlHttps, HostRelativeRedirectIsReportedWithTheSecureScheme) {
  int code = -1;
  UnitObject* unit = Fetch(server.Url("/redirect/302?to=/bytes/64"), code);
  ASSERT_NE(unit, nullptr);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(client.Get(unit).bytes, 64u);
  auto redirects = client.Redirects();
  ASSERT_EQ(redirects.size(), 1u);
  EXPECT_EQ(redirects[0].second, server.Url("/bytes/64") + "\r\n");
}

TEST_F(CurlHttps, CookieReceivedOverTlsIsSentBackOverTls) {
  std::mutex lock;
  std::vector<std::string> seen;
  server.Get("/give", [](const httplib::Request&, httplib::Response& res) {
    res.set_header("Set-Cookie", "tls=1; Path=/; Secure");
    res.set_content("given", "text/plain");
  });
  server.Get("/echo", [&](const httplib::Request& req, httplib::Response& res) {
    std::lock_guard<std::mutex> guard(lock);
    seen.push_back(req.get_header_value("Cookie"));
    res.set_content("echo", "text/plain");
  });
  int code = -1;
  Fetch(server.Url("/give"), code);
  EXPECT_EQ(code, err_none);
  Fetch(server.Url("/echo"), code);
  EXPECT_EQ(code, err_none);
  curl->Quit();
  std::lock_guard<std::mutex> guard(lock);
  EXPECT_EQ(seen, std::vector<std::string>{"tls=1;"});
}

}  // namespace
