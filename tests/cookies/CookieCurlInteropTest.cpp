// The jar files against a real HTTP client: the curl tool reads what this library writes, and
// this library reads what the curl tool writes, both checked against a loopback server.
#include <gtest/gtest.h>
#include <httplib.h>

#include <cstdlib>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "CHttpCookie.h"
#include "CookieTestSupport.h"
#include "LoopbackServer.h"

using strmcommon::CHttpCookie;
using strmcommon::CHttpCookieTestPeer;
using strmcommon::Cookie;
using namespace cookietest;

namespace {

constexpr char kFuture[] = "expires=Wed, 01 Jan 2031 00:00:00 GMT";

// Answers every GET with "ok" from the tests' loopback server, adds the Set-Cookie lines
// configured for its path, and records the Cookie header of each request.
class LoopbackServer {
 public:
  LoopbackServer() {
    m_server.Get(".*", [this](const httplib::Request& req, httplib::Response& res) {
      std::lock_guard<std::mutex> lock(m_lock);
      m_cookieHeaders.push_back(req.has_header("Cookie") ? req.get_header_value("Cookie") : "");
      auto it = m_setCookies.find(req.path);
      if (it != m_setCookies.end())
        for (const auto& line : it->second) res.set_header("Set-Cookie", line);
      res.set_content("ok", "text/plain");
    });
  }

  bool running() const { return m_server.Port() > 0; }
  int port() const { return m_server.Port(); }
  void SetCookiesFor(const std::string& path, std::vector<std::string> lines) {
    std::lock_guard<std::mutex> lock(m_lock);
    m_setCookies[path] = std::move(lines);
  }
  size_t RequestCount() {
    std::lock_guard<std::mutex> lock(m_lock);
    return m_cookieHeaders.size();
  }
  std::string LastCookieHeader() {
    std::lock_guard<std::mutex> lock(m_lock);
    return m_cookieHeaders.empty() ? "<no request>" : m_cookieHeaders.back();
  }

 private:
  std::mutex m_lock;
  std::map<std::string, std::vector<std::string>> m_setCookies;
  std::vector<std::string> m_cookieHeaders;
  // Last, so that it stops serving before the members its route uses go.
  testsupport::LoopbackServer m_server;
};

// "a=1; b=2" and "a=1;b=2;" both become {"a=1", "b=2"}.
std::multiset<std::string> CookieSet(const std::string& header) {
  std::multiset<std::string> pairs;
  size_t pos = 0;
  while (pos <= header.size()) {
    size_t semi = header.find(';', pos);
    if (semi == std::string::npos) semi = header.size();
    std::string part = header.substr(pos, semi - pos);
    size_t first = part.find_first_not_of(' ');
    if (first != std::string::npos) pairs.insert(part.substr(first));
    pos = semi + 1;
  }
  return pairs;
}

class CookieCurlInterop : public ::testing::Test {
 protected:
  CookieCurlInterop() : app(TestClientName()) {
    cookieDir = MakeCookieDir(SharedRoot(), app);
    persistent = cookieDir + "/persistent_cookie.txt";
    session = cookieDir + "/session_cookie.txt";
  }

  std::string Url(const std::string& host, const std::string& path) const {
    return "http://" + host + ":" + std::to_string(server.port()) + path;
  }

  // One request by the curl tool; the test hosts all resolve to the loopback server.
  bool Curl(const std::string& url, const std::vector<std::string>& readJars,
            const std::string& writeJar = "") {
    std::string port = std::to_string(server.port());
    std::string cmd =
        std::string(COOKIES_CURL_TOOL) + " -s -S -o /dev/null --max-time 20 --noproxy '*'";
    for (const char* host : {"media.site.test", "www.site.test", "site.test", "other.test"})
      cmd += std::string(" --resolve ") + host + ":" + port + ":127.0.0.1";
    for (const auto& jar : readJars) cmd += " -b '" + jar + "'";
    if (!writeJar.empty()) cmd += " -c '" + writeJar + "'";
    cmd += " '" + url + "'";
    size_t before = server.RequestCount();
    if (system(cmd.c_str()) != 0) return false;
    return server.RequestCount() == before + 1;
  }

  // The Cookie header the server receives from curl for url.
  std::multiset<std::string> CurlSends(const std::string& url,
                                       const std::vector<std::string>& jars) {
    EXPECT_TRUE(Curl(url, jars)) << url;
    return CookieSet(server.LastCookieHeader());
  }

  TempDir dir;
  std::string app;
  LoopbackServer server;
  std::string cookieDir;
  std::string persistent;
  std::string session;
};

using Set = std::multiset<std::string>;

}  // namespace

TEST_F(CookieCurlInterop, JarWrittenByTheLibraryIsReadByCurl) {
  ASSERT_TRUE(server.running());
  {
    CHttpCookie jar;
    jar.init(app);
    ASSERT_NE(jar.addCookieToPool(std::string("p1=one; path=/; ") + kFuture, "media.site.test",
                                  "/index.m3u8"),
              nullptr);
    ASSERT_NE(jar.addCookieToPool("s1=two", "media.site.test", "/index.m3u8"), nullptr);
    ASSERT_NE(jar.addCookieToPool(std::string("dom=three; domain=.site.test; path=/; ") + kFuture,
                                  "media.site.test", "/"),
              nullptr);
    ASSERT_NE(jar.addCookieToPool(std::string("deep=four; path=/dir; ") + kFuture,
                                  "media.site.test", "/"),
              nullptr);
    ASSERT_NE(jar.addCookieToPool(std::string("sec=five; secure; path=/; ") + kFuture,
                                  "media.site.test", "/"),
              nullptr);
    ASSERT_NE(jar.addCookieToPool(std::string("ho=six; httponly; path=/; ") + kFuture,
                                  "media.site.test", "/"),
              nullptr);
    ASSERT_NE(jar.addCookieToPool("other=seven; path=/", "other.test", "/"), nullptr);
    jar.saveCookieFile();

    struct Expect {
      std::string host, path;
      Set cookies;
    };
    std::vector<Expect> expects = {
        {"media.site.test", "/", {"p1=one", "s1=two", "dom=three", "ho=six"}},
        {"media.site.test",
         "/dir/seg.ts",
         {"p1=one", "s1=two", "dom=three", "ho=six", "deep=four"}},
        {"media.site.test", "/directory", {"p1=one", "s1=two", "dom=three", "ho=six"}},
        {"www.site.test", "/dir", {"dom=three"}},
        {"site.test", "/", {"dom=three"}},
        {"other.test", "/x", {"other=seven"}},
    };
    for (const auto& e : expects) {
      std::string url = Url(e.host, e.path);
      SCOPED_TRACE(url);
      EXPECT_EQ(CurlSends(url, {persistent, session}), e.cookies);
      EXPECT_EQ(CookieSet(jar.getCookieFromPool(url)), e.cookies);
    }
  }
}

TEST_F(CookieCurlInterop, JarWrittenByCurlIsReadByTheLibrary) {
  ASSERT_TRUE(server.running());
  server.SetCookiesFor("/set", {"a=1; Path=/", "b=2; Domain=site.test; Path=/dir",
                                "c=3; Expires=Wed, 01 Jan 2031 00:00:00 GMT",
                                "h=4; HttpOnly; Path=/", "m=5; Max-Age=3600; Path=/"});
  server.SetCookiesFor("/dir/set", {"d=6", "e=7; Domain=.site.test"});
  std::string curlJar = dir.path() + "/curl_jar.txt";
  ASSERT_TRUE(Curl(Url("media.site.test", "/set"), {}, curlJar));
  ASSERT_TRUE(Curl(Url("media.site.test", "/dir/set"), {curlJar}, curlJar));

  CHttpCookie jar;
  jar.readInCookieJar(curlJar);
  ASSERT_EQ(CHttpCookieTestPeer::PoolSize(jar), 7u) << ReadFile(curlJar);
  Cookie* b = CHttpCookieTestPeer::Find(jar, "b");
  ASSERT_NE(b, nullptr);
  EXPECT_STREQ(b->domain, "site.test");
  EXPECT_TRUE(b->tailmatch);
  EXPECT_STREQ(b->sanitizedPath, "/dir");
  Cookie* a = CHttpCookieTestPeer::Find(jar, "a");
  ASSERT_NE(a, nullptr);
  EXPECT_STREQ(a->domain, "media.site.test");
  EXPECT_FALSE(a->tailmatch);
  EXPECT_EQ(a->expires, 0);
  EXPECT_TRUE(CHttpCookieTestPeer::Find(jar, "h")->httponly);
  EXPECT_EQ(CHttpCookieTestPeer::Find(jar, "c")->expires, 1924992000);
  EXPECT_GT(CHttpCookieTestPeer::Find(jar, "m")->expires, 0);

  for (const auto& url :
       {Url("media.site.test", "/"), Url("media.site.test", "/dir/x.ts"),
        Url("media.site.test", "/dir"), Url("www.site.test", "/dir/y"), Url("www.site.test", "/"),
        Url("site.test", "/dirt"), Url("other.test", "/")}) {
    SCOPED_TRACE(url);
    EXPECT_EQ(CookieSet(jar.getCookieFromPool(url)), CurlSends(url, {curlJar}));
  }
  EXPECT_EQ(CookieSet(jar.getCookieFromPool(Url("media.site.test", "/dir/x"))),
            (Set{"a=1", "b=2", "c=3", "h=4", "m=5", "d=6", "e=7"}));
}

TEST_F(CookieCurlInterop, LibraryJarSurvivesARoundTripThroughCurl) {
  ASSERT_TRUE(server.running());
  CHttpCookie first;
  first.init(app);
  first.addCookieToPool(std::string("p=1; path=/p; ") + kFuture, "media.site.test", "/");
  first.addCookieToPool(std::string("d=2; domain=site.test; httponly; path=/; ") + kFuture,
                        "media.site.test", "/");
  first.addCookieToPool("s=3; secure", "media.site.test", "/a/b");
  first.saveCookieFile();

  // curl loads both files and dumps every cookie it holds into its own jar.
  std::string curlJar = dir.path() + "/curl_jar.txt";
  ASSERT_TRUE(Curl(Url("other.test", "/"), {persistent, session}, curlJar));

  CHttpCookie second;
  second.readInCookieJar(curlJar);
  ASSERT_EQ(CHttpCookieTestPeer::PoolSize(second), 3u) << ReadFile(curlJar);
  for (Cookie* w = CHttpCookieTestPeer::Pool(first); w; w = w->next) {
    SCOPED_TRACE(w->name);
    Cookie* r = CHttpCookieTestPeer::Find(second, w->name);
    ASSERT_NE(r, nullptr);
    EXPECT_STREQ(r->value, w->value);
    EXPECT_STREQ(r->domain, w->domain);
    EXPECT_EQ(r->tailmatch, w->tailmatch);
    EXPECT_STREQ(r->sanitizedPath, w->sanitizedPath);
    EXPECT_EQ(r->secure, w->secure);
    EXPECT_EQ(r->httponly, w->httponly);
    EXPECT_EQ(r->expires, w->expires);
  }
}

TEST_F(CookieCurlInterop, MaxAgeExpiryIsMonotonicSoCurlTakesItAsPast) {
  ASSERT_TRUE(server.running());
  // Intended: pseudo UTC runs on the monotonic clock, so an expiry from max-age is seconds since
  // boot, which a wall-clock reader of the file sees as long past.
  CHttpCookie jar;
  jar.init(app);
  jar.addCookieToPool("m=1; path=/; max-age=3600", "media.site.test", "/");
  jar.addCookieToPool(std::string("e=2; path=/; ") + kFuture, "media.site.test", "/");
  jar.saveCookieFile();
  std::string url = Url("media.site.test", "/");
  EXPECT_EQ(CookieSet(jar.getCookieFromPool(url)), (Set{"m=1", "e=2"}));
  EXPECT_EQ(CurlSends(url, {persistent}), (Set{"e=2"}));
}
