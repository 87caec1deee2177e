#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "Fetcher.h"
#include "LoopbackServer.h"
#include "Playlist.h"

namespace strmplay {
namespace {

using testsupport::ContentByte;

// A plain HTTP/1.0 server that ignores Range: every request gets 200 and the whole body.
class WholeBodyServer {
 public:
  explicit WholeBodyServer(std::string body) : m_body(std::move(body)) {
    m_fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof addr;
    EXPECT_EQ(bind(m_fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    getsockname(m_fd, reinterpret_cast<sockaddr*>(&addr), &size);
    m_port = ntohs(addr.sin_port);
    listen(m_fd, 4);
    m_thread = std::thread([this] { Serve(); });
  }
  ~WholeBodyServer() {
    m_stop = true;
    m_thread.join();
    close(m_fd);
  }
  std::string Url() const { return "http://127.0.0.1:" + std::to_string(m_port) + "/whole.ts"; }

 private:
  // Every wait is short, so that the destructor's stop is seen whatever the client does.
  bool Readable(int fd) const {
    pollfd p{fd, POLLIN, 0};
    return poll(&p, 1, 50) > 0;
  }
  void Serve() {
    while (!m_stop) {
      if (!Readable(m_fd)) continue;
      const int client = accept(m_fd, nullptr, nullptr);
      if (client < 0) continue;
      std::string head;
      char request[4096];
      while (!m_stop && head.find("\r\n\r\n") == std::string::npos) {
        if (!Readable(client)) continue;
        const ssize_t n = recv(client, request, sizeof request, 0);
        if (n <= 0) break;
        head.append(request, static_cast<std::size_t>(n));
      }
      const std::string answer = "HTTP/1.0 200 OK\r\nContent-Type: video/mp2t\r\nContent-Length: " +
                                 std::to_string(m_body.size()) + "\r\n\r\n" + m_body;
      send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
      close(client);
    }
  }

  std::string m_body;
  int m_fd = -1;
  int m_port = 0;
  std::atomic<bool> m_stop{false};
  std::thread m_thread;
};

// The fetcher over a real engine, against the test HTTP server on 127.0.0.1.
class FetcherTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("DLOG_STUB_LEVEL", "S", 0);
    setenv("TZPLATFORM_STUB_ROOT", ::testing::TempDir().c_str(), 1);
    m_server.Get("/file", [](const httplib::Request&, httplib::Response& res) {
      res.set_content(Body(10000), "video/mp2t");
    });
    m_server.Get("/hop1", [this](const httplib::Request&, httplib::Response& res) {
      res.status = 302;
      res.set_header("Location", m_server.Url("/hop2"));
    });
    m_server.Get("/hop2", [](const httplib::Request&, httplib::Response& res) {
      res.status = 302;
      res.set_header("Location", "/moved/final.m3u8");
    });
    m_server.Get("/moved/final.m3u8", [](const httplib::Request&, httplib::Response& res) {
      res.set_content("#EXTM3U\n", "application/vnd.apple.mpegurl");
    });
    m_server.Get("/loop", [](const httplib::Request&, httplib::Response& res) {
      res.status = 302;
      res.set_header("Location", "/loop");
    });
    m_curl = std::make_unique<strmcommon::Curl>(strmcommon::CURL_THREAD_FIXED, 0, "fetcher-test");
    FetcherHooks hooks;
    hooks.stop = [this] { return m_stop; };
    hooks.failed = [this](const FetchRequest&, const FetchAttempt&) { ++m_failed; };
    m_fetcher = std::make_unique<Fetcher>(*m_curl, hooks);
    m_curl->Init(m_fetcher.get(), nullptr);
    ASSERT_TRUE(m_curl->StartLoop());
  }
  void TearDown() override { m_curl->Quit(); }

  static std::string Body(std::size_t size) {
    std::string body(size, '\0');
    for (std::size_t i = 0; i < size; ++i) body[i] = static_cast<char>(ContentByte(i));
    return body;
  }

  FetchRequest Request(const std::string& path) {
    FetchRequest r;
    r.url = path.rfind("http", 0) == 0 ? path : m_server.Url(path);
    return r;
  }

  testsupport::LoopbackServer m_server;
  std::unique_ptr<strmcommon::Curl> m_curl;
  std::unique_ptr<Fetcher> m_fetcher;
  bool m_stop = false;
  int m_failed = 0;
};

TEST_F(FetcherTest, APlainRequestBringsTheWholeBodyInOneAttempt) {
  const FetchResult r = m_fetcher->Fetch(Request("/bytes/70000"));
  ASSERT_TRUE(r.Ok()) << DescribeAttempt(r.Last());
  EXPECT_EQ(r.attempts.size(), 1u);
  EXPECT_EQ(r.Last().httpStatus, 200);
  ASSERT_EQ(r.body.size(), 70000u);
  EXPECT_EQ(r.body[69999], ContentByte(69999));
  EXPECT_FALSE(r.redirected);
  EXPECT_EQ(r.url, m_server.Url("/bytes/70000"));
}

TEST_F(FetcherTest, ANotFoundIsNotRequestedAgainAndKeepsItsStatus) {
  const FetchResult r = m_fetcher->Fetch(Request("/status/404"));
  ASSERT_FALSE(r.Ok());
  ASSERT_EQ(r.attempts.size(), 1u);
  EXPECT_EQ(r.Last().code, strmcommon::err_retry);
  EXPECT_EQ(r.Last().httpStatus, 404);
  EXPECT_EQ(r.Last().decision, RetryDecision::kGiveUpClient);
  EXPECT_EQ(m_failed, 1);
  EXPECT_NE(DescribeAttempt(r.Last()).find("HTTP 404 Not Found"), std::string::npos);
}

TEST_F(FetcherTest, AServiceUnavailableIsRequestedAgainTwiceThenGivenUp) {
  const FetchResult r = m_fetcher->Fetch(Request("/status/503"));
  ASSERT_FALSE(r.Ok());
  ASSERT_EQ(r.attempts.size(), 1u + kMaxRequestsAgain);
  EXPECT_EQ(r.attempts[0].decision, RetryDecision::kRequestAgain);
  EXPECT_EQ(r.Last().decision, RetryDecision::kGiveUpUsedUp);
  EXPECT_EQ(r.Last().httpStatus, 503);
}

TEST_F(FetcherTest, AConnectionCutMidBodyIsToldAsABrokenOffTransfer) {
  const FetchResult r = m_fetcher->Fetch(Request("/drop/50000/1000"));
  ASSERT_FALSE(r.Ok());
  EXPECT_EQ(r.Last().code, strmcommon::err_retry);
  EXPECT_EQ(r.Last().httpStatus, 200);
  EXPECT_EQ(r.Last().length, 50000u);
  const std::string words = DescribeAttempt(r.Last());
  EXPECT_NE(words.find("broke off after"), std::string::npos) << words;
  EXPECT_NE(words.find("of 50000"), std::string::npos) << words;
}

TEST_F(FetcherTest, ARefusedPortGivesTheEnginesCodeAndLibcurlsReason) {
  const FetchResult r = m_fetcher->Fetch(Request("http://127.0.0.1:1/master.m3u8"));
  ASSERT_FALSE(r.Ok());
  ASSERT_EQ(r.attempts.size(), 1u);
  EXPECT_EQ(r.Last().code, strmcommon::err_recv_error);
  EXPECT_EQ(r.Last().httpStatus, 0);
  const std::string words = DescribeAttempt(r.Last());
  EXPECT_NE(words.find("err_recv_error"), std::string::npos) << words;
  EXPECT_NE(words.find("onnect"), std::string::npos) << words;
}

TEST_F(FetcherTest, ARedirectedBodyComesWithTheUrlItCameFromAfterEveryHop) {
  const FetchResult r = m_fetcher->Fetch(Request("/hop1"));
  ASSERT_TRUE(r.Ok()) << DescribeAttempt(r.Last());
  EXPECT_TRUE(r.redirected);
  EXPECT_EQ(r.url, m_server.Url("/moved/final.m3u8"));
  EXPECT_EQ(ResolveUri(r.url, "seg1.ts"), m_server.Url("/moved/seg1.ts"));
}

TEST_F(FetcherTest, ARedirectLoopIsCutOffAsSuch) {
  const auto start = std::chrono::steady_clock::now();
  const FetchResult r = m_fetcher->Fetch(Request("/loop"));
  ASSERT_FALSE(r.Ok());
  EXPECT_EQ(r.Last().failure, FetchFailure::kRedirectLoop);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
  EXPECT_NE(DescribeAttempt(r.Last()).find("redirect loop"), std::string::npos);
}

TEST_F(FetcherTest, AByteRangeThatTheServerHonoursIsExactlyTheBytesAskedFor) {
  FetchRequest request = Request("/file");
  request.rangeOffset = 1000;
  request.rangeLength = 500;
  const FetchResult r = m_fetcher->Fetch(request);
  ASSERT_TRUE(r.Ok()) << DescribeAttempt(r.Last());
  EXPECT_EQ(r.Last().httpStatus, 206);
  ASSERT_EQ(r.body.size(), 500u);
  EXPECT_EQ(r.body[0], ContentByte(1000));
}

TEST_F(FetcherTest, AByteRangeAnsweredWithTheWholeResourceFails) {
  WholeBodyServer whole(Body(10000));
  FetchRequest request = Request(whole.Url());
  request.rangeOffset = 1000;
  request.rangeLength = 500;
  const FetchResult r = m_fetcher->Fetch(request);
  ASSERT_FALSE(r.Ok());
  EXPECT_EQ(r.Last().failure, FetchFailure::kRangeIgnored);
  EXPECT_EQ(r.Last().httpStatus, 200);
  EXPECT_TRUE(r.body.empty());
  EXPECT_NE(DescribeAttempt(r.Last()).find("does not honour byte ranges"), std::string::npos);
}

TEST_F(FetcherTest, ABodyOverItsCapIsCutOffAndRefused) {
  FetchRequest request = Request("/bytes/300000");
  request.maxBytes = 100000;
  const FetchResult r = m_fetcher->Fetch(request);
  ASSERT_FALSE(r.Ok());
  EXPECT_EQ(r.Last().failure, FetchFailure::kTooLarge);
  EXPECT_LT(r.Last().bytes, 300000u);
  EXPECT_TRUE(r.body.empty());
}

TEST_F(FetcherTest, AProbeKeepsTheFirstBytesAlsoFromAServerThatIgnoresRanges) {
  WholeBodyServer whole(Body(10000));
  FetchRequest request = Request(whole.Url());
  request.rangeOffset = 0;
  request.rangeLength = 4096;
  request.maxBytes = 4096;
  request.prefixOnly = true;
  const FetchResult r = m_fetcher->Fetch(request);
  ASSERT_TRUE(r.Ok()) << DescribeAttempt(r.Last());
  ASSERT_EQ(r.body.size(), 4096u);
  EXPECT_EQ(r.body[4095], ContentByte(4095));
}

TEST_F(FetcherTest, AStopCancelsTheTransferUnderWay) {
  m_stop = true;
  const FetchResult r = m_fetcher->Fetch(Request("/slow/100000?rate=10000"));
  ASSERT_FALSE(r.Ok());
  EXPECT_EQ(r.Last().failure, FetchFailure::kInterrupted);
  EXPECT_EQ(r.attempts.size(), 1u);
}

}  // namespace
}  // namespace strmplay
