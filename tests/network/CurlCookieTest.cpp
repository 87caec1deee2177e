// The engine's cookie store across a restart: one engine receives cookies from a loopback server
// and quits, a second one of the same client sends them.
#include <gtest/gtest.h>
#include <httplib.h>
#include <stdlib.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "CurlProbe.h"
#include "LogCapture.h"
#include "LoopbackServer.h"
#include "WaitFor.h"
#include "system_info.h"

namespace {

using strmcommon::err_none;
using strmcommon::kBitrateUnknown;
using strmcommon::UnitObject;

// A platform root for the whole program, removed at exit. The variable is set once: the
// platform stand-in keeps one copy of every root text it has handed out.
class RootDir {
 public:
  RootDir() {
    char dirTemplate[] = "/tmp/strmcommon_cookie_root_XXXXXX";
    const char* made = mkdtemp(dirTemplate);
    m_path = made ? made : "";
    setenv("TZPLATFORM_STUB_ROOT", m_path.c_str(), 1);
  }
  ~RootDir() {
    if (!m_path.empty()) (void)!system(("rm -rf '" + m_path + "'").c_str());
  }
  const std::string& path() const { return m_path; }

 private:
  std::string m_path;
};

const std::string& Root() {
  static RootDir root;
  return root.path();
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

class CurlCookie : public ::testing::Test {
 protected:
  void SetUp() override {
    system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    client = std::string("engine_") + info->name();
    cookieDir = Root() + "/" + client + "/data/cookie";
    ASSERT_EQ(system(("mkdir -p '" + cookieDir + "'").c_str()), 0);
    server.Get("/give", [](const httplib::Request&, httplib::Response& res) {
      res.headers.emplace("Set-Cookie", "persist=1; Max-Age=3600; Path=/");
      res.headers.emplace("Set-Cookie", "session=2; Path=/");
      res.headers.emplace("Set-Cookie", "brief=3; Max-Age=1; Path=/");
      res.headers.emplace("Set-Cookie", "stale=4; Max-Age=0; Path=/");
      res.set_content("given", "text/plain");
    });
    server.Get("/echo", [this](const httplib::Request& req, httplib::Response& res) {
      std::lock_guard<std::mutex> guard(lock);
      seen.push_back(req.get_header_value("Cookie"));
      res.set_content("echo", "text/plain");
    });
  }
  void TearDown() override { system_info_stub_set_mode(SYSTEM_INFO_STUB_LOOKUP); }

  std::unique_ptr<testsupport::CurlProbe> StartEngine() {
    auto curl = std::make_unique<testsupport::CurlProbe>(strmcommon::CURL_THREAD_FIXED, 0, client);
    curl->Init(&sink, nullptr);
    EXPECT_TRUE(curl->StartLoop());
    return curl;
  }

  void Fetch(testsupport::CurlProbe& curl, const std::string& path) {
    UnitObject* unit = nullptr;
    curl.LockMutItem();
    ASSERT_EQ(curl.BeginDownload(0, server.Url(path), false, unit, false,
                                 strmcommon::UserData{1, 0, 0, kBitrateUnknown, 0, 0}),
              0);
    curl.UnlockMutItem();
    int code = -1;
    long date = 0;
    UnitObject* done = nullptr;
    ASSERT_TRUE(testsupport::WaitFor(
        [&] {
          done = curl.GetCompleted(code, date);
          return done != nullptr;
        },
        std::chrono::seconds(30), std::chrono::milliseconds(1)));
    EXPECT_EQ(done, unit);
    EXPECT_EQ(code, err_none);
    curl.EndDownload(done);
  }

  std::vector<std::string> Seen() {
    std::lock_guard<std::mutex> guard(lock);
    return seen;
  }

  std::string client;
  std::string cookieDir;
  testsupport::LoopbackServer server;
  testsupport::CollectingClient sink;
  std::mutex lock;
  std::vector<std::string> seen;
};

bool Has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST_F(CurlCookie, SecondEngineOfTheClientSendsPersistentAndSessionCookiesButNotExpiredOnes) {
  auto first = StartEngine();
  Fetch(*first, "/give");
  Fetch(*first, "/echo");
  const auto received = std::chrono::steady_clock::now();
  first->Quit();
  first.reset();

  const std::string persistent = ReadFile(cookieDir + "/persistent_cookie.txt");
  const std::string session = ReadFile(cookieDir + "/session_cookie.txt");
  EXPECT_TRUE(Has(persistent, "persist\t1"));
  EXPECT_TRUE(Has(persistent, "brief\t3"));
  EXPECT_FALSE(Has(persistent, "session\t2"));
  EXPECT_FALSE(Has(persistent, "stale"));
  EXPECT_TRUE(Has(session, "session\t2"));
  EXPECT_FALSE(Has(session, "persist"));

  // The one-second cookie was saved unexpired; let its second run out (expiry is compared in
  // whole seconds) before the second engine asks.
  ASSERT_TRUE(testsupport::WaitFor(
      [&] { return std::chrono::steady_clock::now() - received > std::chrono::milliseconds(2100); },
      std::chrono::seconds(5), std::chrono::milliseconds(20)));

  auto second = StartEngine();
  Fetch(*second, "/echo");
  second->Quit();
  second.reset();

  auto cookies = Seen();
  ASSERT_EQ(cookies.size(), 2u);
  // The first engine sent what it had just received, except the cookie that came expired.
  EXPECT_TRUE(Has(cookies[0], "persist=1"));
  EXPECT_TRUE(Has(cookies[0], "session=2"));
  EXPECT_TRUE(Has(cookies[0], "brief=3"));
  EXPECT_FALSE(Has(cookies[0], "stale"));
  EXPECT_TRUE(Has(cookies[1], "persist=1"));
  EXPECT_TRUE(Has(cookies[1], "session=2"));
  EXPECT_FALSE(Has(cookies[1], "brief"));
  EXPECT_FALSE(Has(cookies[1], "stale"));
}

TEST_F(CurlCookie, OtherClientNameStartsWithoutTheCookies) {
  auto first = StartEngine();
  Fetch(*first, "/give");
  first->Quit();
  first.reset();
  client += "_other";
  auto second = StartEngine();
  Fetch(*second, "/echo");
  second->Quit();
  second.reset();
  EXPECT_EQ(Seen(), std::vector<std::string>{""});
}

TEST_F(CurlCookie, QuitSavesTheFilesBeforeAnythingElse) {
  auto curl = StartEngine();
  Fetch(*curl, "/give");
  testsupport::LogCapture capture;
  curl->Quit();
  std::vector<std::string> order;
  for (const auto& line : capture.Lines()) {
    std::string message = testsupport::LogCapture::Message(line.text);
    if (message == "Quit() starts." || message == "flushOutCookieJar start >>>" ||
        message == "The end of Curl::Quit().") {
      order.push_back(message);
    }
  }
  // The two files, persistent then session, are written first.
  EXPECT_EQ(order,
            (std::vector<std::string>{"Quit() starts.", "flushOutCookieJar start >>>",
                                      "flushOutCookieJar start >>>", "The end of Curl::Quit()."}));
  curl.reset();
  EXPECT_TRUE(Has(ReadFile(cookieDir + "/persistent_cookie.txt"), "persist\t1"));
}

TEST_F(CurlCookie, InitReadsTheFilesOfTheClient) {
  {
    std::ofstream out(cookieDir + "/persistent_cookie.txt");
    out << "127.0.0.1\tfalse\t/\tfalse\t2000000000\tpre\tset\n";
  }
  auto curl = StartEngine();
  Fetch(*curl, "/echo");
  curl->Quit();
  curl.reset();
  EXPECT_EQ(Seen(), std::vector<std::string>{"pre=set;"});
}

}  // namespace
