#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "CHttpCookie.h"
#include "CookieTestSupport.h"
#include "LogCapture.h"
#include "WholeLogLine.h"

using strmcommon::CHttpCookie;
using strmcommon::CHttpCookieTestPeer;
using strmcommon::Cookie;
using testsupport::HasWholeLine;
using testsupport::LogCapture;
using namespace cookietest;

namespace {

constexpr char kFuture[] = "expires=Wed, 01 Jan 2031 00:00:00 GMT";
constexpr int kFutureSeconds = 1924992000;

// A client of its own, with its cookie directory in place under the platform root.
class CookieJar : public ::testing::Test {
 protected:
  CookieJar() : rootDir(SharedRoot()), app(TestClientName()) {
    cookieDir = MakeCookieDir(rootDir, app);
    persistent = cookieDir + "/persistent_cookie.txt";
    session = cookieDir + "/session_cookie.txt";
  }

  std::string rootDir;
  std::string app;
  std::string cookieDir;
  std::string persistent;
  std::string session;
};

std::string Record(const std::string& domain, const std::string& tail, const std::string& path,
                   const std::string& secure, long expires, const std::string& name,
                   const std::string& value) {
  return domain + "\t" + tail + "\t" + path + "\t" + secure + "\t" + std::to_string(expires) +
         "\t" + name + "\t" + value + "\n";
}

}  // namespace

TEST_F(CookieJar, InitBuildsBothPathsUnderTheRootAndTheClientName) {
  LogCapture capture;
  CHttpCookie jar;
  jar.init(app);
  EXPECT_EQ(CHttpCookieTestPeer::AppName(jar), app);
  EXPECT_EQ(CHttpCookieTestPeer::PersistentFile(jar),
            rootDir + "/" + app + "/data/cookie/persistent_cookie.txt");
  EXPECT_EQ(CHttpCookieTestPeer::SessionFile(jar),
            rootDir + "/" + app + "/data/cookie/session_cookie.txt");
  auto p = capture.WithMessage("cookie File Path = " + persistent);
  EXPECT_TRUE(HasWholeLine(capture, "CookieJar.cpp", "init", "cookie File Path = " + persistent));
  auto s = capture.WithMessage("cookie session File Path = " + session);
  ASSERT_EQ(p.size(), 1u);
  ASSERT_EQ(s.size(), 1u);
  EXPECT_EQ(p[0].priority, 3);
  EXPECT_EQ(s[0].priority, 3);
}

TEST_F(CookieJar, InitReadsThePersistentFileThenTheSessionFile) {
  WriteFile(persistent, Record("h.test", "false", "/", "false", kFutureSeconds, "p", "1") +
                            Record("h.test", "false", "/", "false", kFutureSeconds, "both", "old"));
  WriteFile(session, Record("h.test", "false", "/", "false", 0, "s", "2") +
                         Record("h.test", "false", "/", "false", 0, "both", "new"));
  LogCapture capture;
  CHttpCookie jar;
  jar.init(app);
  EXPECT_EQ(CHttpCookieTestPeer::Names(jar), (std::vector<std::string>{"p", "both", "s"}));
  EXPECT_STREQ(CHttpCookieTestPeer::Find(jar, "both")->value, "new");
  EXPECT_EQ(capture.Count("cookie file opened"), 2u);
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/"), "both=new;p=1;s=2;");
}

TEST_F(CookieJar, ReadInCookieJarLogsItsSteps) {
  WriteFile(persistent, Record("h.test", "false", "/", "false", 0, "a", "1"));
  CHttpCookie jar;
  LogCapture capture;
  jar.readInCookieJar(persistent);
  std::vector<std::string> messages;
  for (auto& l : capture.Lines()) {
    messages.push_back(LogCapture::Message(l.text));
    EXPECT_EQ(l.priority, 3);
  }
  EXPECT_EQ(messages, (std::vector<std::string>{"readInCookieJar start >>>", "cookie file opened",
                                                "<<< readInCookieJar end"}));
}

TEST_F(CookieJar, MissingFileIsNoError) {
  CHttpCookie jar;
  LogCapture capture;
  jar.readInCookieJar(cookieDir + "/absent.txt");
  EXPECT_EQ(capture.Count("cookie file opened"), 0u);
  EXPECT_EQ(capture.Count("<<< readInCookieJar end"), 1u);
  EXPECT_EQ(CHttpCookieTestPeer::Pool(jar), nullptr);
}

TEST_F(CookieJar, EmptyPathIsReportedAndEndsTheRead) {
  CHttpCookie jar;
  LogCapture capture;
  jar.readInCookieJar("");
  EXPECT_EQ(capture.Count("no cookie file"), 1u);
  EXPECT_EQ(capture.Count("<<< readInCookieJar end"), 0u);
}

TEST_F(CookieJar, SetCookieLinesAreReadAsHeadersWithoutRequestHost) {
  WriteFile(persistent, "set-COOKIE:   a=1; path=/p; secure\nSet-Cookie:b=2\n");
  CHttpCookie jar;
  jar.readInCookieJar(persistent);
  Cookie* a = CHttpCookieTestPeer::Find(jar, "a");
  ASSERT_NE(a, nullptr);
  EXPECT_STREQ(a->value, "1");
  EXPECT_EQ(a->domain, nullptr);
  EXPECT_STREQ(a->path, "/p");
  EXPECT_TRUE(a->secure);
  Cookie* b = CHttpCookieTestPeer::Find(jar, "b");
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(b->path, nullptr);
  EXPECT_EQ(jar.getCookieFromPool("http://any.test/x"), "b=2;");
}

TEST_F(CookieJar, LeadingBlanksOfARecordAreSkipped) {
  WriteFile(persistent, "   h.test\tfalse\t/\tfalse\t0\tn\tv\n");
  CHttpCookie jar;
  jar.readInCookieJar(persistent);
  Cookie* n = CHttpCookieTestPeer::Find(jar, "n");
  ASSERT_NE(n, nullptr);
  EXPECT_STREQ(n->domain, "h.test");
}

TEST_F(CookieJar, MalformedLinesCostOnlyThemselves) {
  WriteFile(persistent, std::string(kHeader) + "garbage line\n" +
                            Record("h.test", "false", "/", "false", 0, "good", "1") +
                            "h.test\tfalse\t/\tfalse\t0\tn\tv\textra\n" + "h.test\tfalse\t/\n" +
                            "# comment\n\n" +
                            Record("h.test", "false", "/", "false", 0, "fine", "2"));
  CHttpCookie jar;
  jar.readInCookieJar(persistent);
  EXPECT_EQ(CHttpCookieTestPeer::Names(jar), (std::vector<std::string>{"good", "fine"}));
}

TEST_F(CookieJar, LineLongerThanTheBufferArrivesInPieces) {
  std::string prefix = "h.test\tfalse\t/\tfalse\t0\tn\t";
  std::string value(6000, 'v');
  WriteFile(persistent,
            prefix + value + "\n" + Record("h.test", "false", "/", "false", 0, "m", "1"));
  CHttpCookie jar;
  jar.readInCookieJar(persistent);
  Cookie* n = CHttpCookieTestPeer::Find(jar, "n");
  ASSERT_NE(n, nullptr);
  EXPECT_EQ(strlen(n->value), 4999u - prefix.size());
  // The rest of the long line is a one-field line and is dropped; the next line still counts.
  EXPECT_EQ(CHttpCookieTestPeer::Names(jar), (std::vector<std::string>{"n", "m"}));
}

TEST_F(CookieJar, ExpiredCookiesAreReadButNotSentNorWrittenBack) {
  WriteFile(persistent, Record("h.test", "false", "/", "false", 2, "old", "1") +
                            Record("h.test", "false", "/", "false", kFutureSeconds, "new", "2"));
  {
    CHttpCookie jar;
    jar.init(app);
    EXPECT_NE(CHttpCookieTestPeer::Find(jar, "old"), nullptr);
    EXPECT_EQ(jar.getCookieFromPool("http://h.test/"), "new=2;");
    jar.saveCookieFile();
  }
  auto lines = CookieLines(ReadFile(persistent));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], "h.test\tfalse\t/\tfalse\t1924992000\tnew\t2");
}

TEST_F(CookieJar, FlushWritesTheHeaderAndOneLinePerCookie) {
  CHttpCookie jar;
  jar.init(app);
  jar.addCookieToPool(std::string("a=1; path=/p; ") + kFuture, "h.test", "/");
  jar.flushOutCookieJar(persistent, false);
  EXPECT_EQ(ReadFile(persistent),
            std::string(kHeader) + "h.test\tfalse\t/p\tfalse\t1924992000\ta\t1\n");
}

TEST_F(CookieJar, HeaderHasFourLinesInOrder) {
  CHttpCookie jar;
  jar.init(app);
  jar.addCookieToPool("a=1", "h.test", "/");
  jar.flushOutCookieJar(session, true);
  std::string text = ReadFile(session);
  std::vector<std::string> lines;
  size_t pos = 0;
  for (int i = 0; i < 4; ++i) {
    size_t nl = text.find('\n', pos);
    ASSERT_NE(nl, std::string::npos);
    lines.push_back(text.substr(pos, nl - pos));
    pos = nl + 1;
  }
  EXPECT_EQ(lines[0], "# Netscape HTTP Cookie File");
  EXPECT_EQ(lines[1].rfind("# ", 0), 0u);
  EXPECT_EQ(lines[2],
            "# This file was generated by VAS engine, not by libcurl any more! Edit at your own "
            "risk.");
  EXPECT_EQ(lines[3], "");
}

TEST_F(CookieJar, HttpOnlyTailmatchSecureLine) {
  CHttpCookie jar;
  jar.init(app);
  jar.addCookieToPool(std::string("a=1; httponly; secure; domain=site.test; path=/; ") + kFuture,
                      "media.site.test", "/");
  jar.flushOutCookieJar(persistent, false);
  auto lines = CookieLines(ReadFile(persistent));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], "#HttpOnly_.site.test\ttrue\t/\ttrue\t1924992000\ta\t1");
}

TEST_F(CookieJar, DomainAlreadyBeginningWithADotGetsNoSecondDot) {
  WriteFile(persistent, "..site.test\ttrue\t/\tfalse\t0\tn\tv\n");
  CHttpCookie jar;
  jar.init(app);
  jar.flushOutCookieJar(session, true);
  auto lines = CookieLines(ReadFile(session));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], ".site.test\ttrue\t/\tfalse\t0\tn\tv");
}

TEST_F(CookieJar, MissingDomainAndPathAreWrittenAsUnknownAndRoot) {
  CHttpCookie jar;
  jar.init(app);
  jar.addCookieToPool("a=1", "", "");  // empty host: the cookie keeps an empty domain
  Cookie* list = CHttpCookieTestPeer::Pool(jar);
  ASSERT_NE(list, nullptr);
  WriteFile(cookieDir + "/in.txt", "Set-Cookie: b=2\n");
  jar.readInCookieJar(cookieDir + "/in.txt");  // no request host: no domain, no path
  jar.flushOutCookieJar(session, true);
  auto lines = CookieLines(ReadFile(session));
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0], "\tfalse\t/\tfalse\t0\ta\t1");
  EXPECT_EQ(lines[1], "unknown\tfalse\t/\tfalse\t0\tb\t2");
}

TEST_F(CookieJar, ExpiryBeyond2038IsCutTo32BitsOnWriting) {
  CHttpCookie jar;
  jar.init(app);
  Cookie* c = jar.addCookieToPool(std::string("far=1; path=/; ") + kFuture, "h.test", "/");
  ASSERT_NE(c, nullptr);
  // The record's expiry is 64-bit; a date parser with a 32-bit time_t can't produce one past
  // 2038, so the value is set here: 2100-01-01T00:00:00Z.
  c->expires = 4102444800LL;
  jar.flushOutCookieJar(persistent, false);
  auto lines = CookieLines(ReadFile(persistent));
  ASSERT_EQ(lines.size(), 1u);
  // 4102444800 - 2^32.
  EXPECT_EQ(lines[0], "h.test\tfalse\t/\tfalse\t-192522496\tfar\t1");
}

TEST_F(CookieJar, SessionFileHoldsOnlySessionCookiesAndPersistentTheRest) {
  CHttpCookie jar;
  jar.init(app);
  jar.addCookieToPool("s=1; path=/", "h.test", "/");
  jar.addCookieToPool(std::string("p=2; path=/; ") + kFuture, "h.test", "/");
  jar.addCookieToPool("m=3; path=/; max-age=600", "h.test", "/");
  jar.addCookieToPool("gone=4; path=/; max-age=0", "h.test", "/");
  jar.saveCookieFile();
  auto p = CookieLines(ReadFile(persistent));
  auto s = CookieLines(ReadFile(session));
  ASSERT_EQ(p.size(), 2u);
  EXPECT_NE(p[0].find("\tp\t2"), std::string::npos);
  EXPECT_NE(p[1].find("\tm\t3"), std::string::npos);
  ASSERT_EQ(s.size(), 1u);
  EXPECT_EQ(s[0], "h.test\tfalse\t/\tfalse\t0\ts\t1");
}

TEST_F(CookieJar, UserCookieIsNeverWrittenAndHidesItsTwin) {
  CHttpCookie jar;
  jar.init(app);
  jar.addCookieToPool("tok=pool; path=/", "h.test", "/");
  jar.addCookieToPool("keep=1; path=/", "h.test", "/");
  jar.addUsrDefCookie("tok=user; domain=h.test; path=/");
  jar.saveCookieFile();
  auto s = CookieLines(ReadFile(session));
  ASSERT_EQ(s.size(), 1u);
  EXPECT_EQ(s[0], "h.test\tfalse\t/\tfalse\t0\tkeep\t1");
}

TEST_F(CookieJar, UserCookieAloneWritesNothing) {
  WriteFile(session, "previous\n");
  CHttpCookie jar;
  jar.init(app);
  jar.addUsrDefCookie("u=1; domain=h.test; path=/");
  jar.saveCookieFile();
  EXPECT_EQ(ReadFile(session), "previous\n");
}

TEST_F(CookieJar, FlushLogsItsSteps) {
  CHttpCookie jar;
  jar.init(app);
  jar.addCookieToPool("a=1", "h.test", "/");
  LogCapture capture;
  jar.flushOutCookieJar(session, true);
  std::vector<std::string> messages;
  for (auto& l : capture.Lines()) {
    messages.push_back(LogCapture::Message(l.text));
    EXPECT_EQ(l.priority, 3);
  }
  EXPECT_EQ(messages,
            (std::vector<std::string>{"flushOutCookieJar start >>>", "<<< flushOutCookieJar end"}));
}

TEST_F(CookieJar, EmptyPathIsSilentOnFlush) {
  CHttpCookie jar;
  jar.addCookieToPool("a=1", "h.test", "/");
  LogCapture capture;
  jar.flushOutCookieJar("", false);
  EXPECT_EQ(capture.Lines().size(), 1u);
  EXPECT_EQ(capture.Count("flushOutCookieJar start >>>"), 1u);
}

TEST_F(CookieJar, EmptyPoolLeavesFilesUntouchedAndStillCountsAsSaved) {
  WriteFile(persistent, "earlier persistent\n");
  WriteFile(session, "earlier session\n");
  CHttpCookie jar;
  jar.init(app);  // the earlier files hold no valid record
  ASSERT_EQ(CHttpCookieTestPeer::Pool(jar), nullptr);
  LogCapture capture;
  jar.saveCookieFile();
  EXPECT_EQ(capture.Count("no cookie in pool"), 2u);
  EXPECT_TRUE(CHttpCookieTestPeer::Saved(jar));
  EXPECT_EQ(ReadFile(persistent), "earlier persistent\n");
  EXPECT_EQ(ReadFile(session), "earlier session\n");
}

TEST_F(CookieJar, WriteAndReadBackGiveTheSameRecords) {
  struct Case {
    std::string header, host, path;
  };
  std::vector<Case> cases = {
      {std::string("a=1; path=/p/q; ") + kFuture, "h.test", "/"},
      {std::string("b=two words; domain=.site.test; path=/; secure; httponly; ") + kFuture,
       "media.site.test", "/"},
      {"c=; path=/", "h.test", "/"},
      {"d=session", "media.site.test", "/dir/file?x=/y"},
      {"e=v; httponly; secure", "h.test", "/a/"},
      {"f=600s; max-age=600; domain=site.test; path=\"/q/\"", "x.site.test", "/"},
  };
  CHttpCookie first;
  first.init(app);
  for (auto& c : cases) ASSERT_NE(first.addCookieToPool(c.header, c.host, c.path), nullptr);
  first.saveCookieFile();

  CHttpCookie second;
  second.init(app);
  ASSERT_EQ(CHttpCookieTestPeer::PoolSize(second), cases.size());
  for (Cookie* w = CHttpCookieTestPeer::Pool(first); w; w = w->next) {
    SCOPED_TRACE(w->name);
    Cookie* r = CHttpCookieTestPeer::Find(second, w->name);
    ASSERT_NE(r, nullptr);
    EXPECT_STREQ(r->value, w->value);
    EXPECT_STREQ(r->domain, w->domain);
    EXPECT_EQ(r->tailmatch, w->tailmatch);
    EXPECT_STREQ(r->path, w->path);
    EXPECT_STREQ(r->sanitizedPath, w->sanitizedPath);
    EXPECT_EQ(r->secure, w->secure);
    EXPECT_EQ(r->httponly, w->httponly);
    EXPECT_EQ(r->expires, w->expires);
    EXPECT_FALSE(r->liveFlag);
    // The attribute texts are not part of the file.
    EXPECT_EQ(r->expiresText, nullptr);
    EXPECT_EQ(r->maxAgeText, nullptr);
    EXPECT_EQ(r->version, nullptr);
  }
  for (const char* url : {"http://h.test/p/q/r", "https://media.site.test/dir/x", "http://h.test/a",
                          "https://h.test/a/b", "http://x.site.test/q/1"})
    EXPECT_EQ(second.getCookieFromPool(url), first.getCookieFromPool(url)) << url;
}

TEST_F(CookieJar, RestartKeepsPersistentAndSessionCookiesButNotExpiredOnes) {
  {
    CHttpCookie engine1;
    engine1.init(app);
    engine1.addCookieToPool(std::string("p=1; path=/; ") + kFuture, "h.test", "/");
    engine1.addCookieToPool("s=2; path=/", "h.test", "/");
    engine1.addCookieToPool("m=3; path=/; max-age=3600", "h.test", "/");
    engine1.addCookieToPool("x=4; path=/; max-age=-5", "h.test", "/");
    engine1.saveCookieFile();
  }
  CHttpCookie engine2;
  engine2.init(app);
  EXPECT_EQ(CHttpCookieTestPeer::Names(engine2), (std::vector<std::string>{"p", "m", "s"}));
  EXPECT_EQ(engine2.getCookieFromPool("http://h.test/"), "m=3;p=1;s=2;");
}

TEST_F(CookieJar, OtherClientNameSeesNothing) {
  MakeCookieDir(rootDir, app + "_other");
  {
    CHttpCookie engine1;
    engine1.init(app);
    engine1.addCookieToPool("s=2; path=/", "h.test", "/");
  }
  CHttpCookie engine2;
  engine2.init(app + "_other");
  EXPECT_EQ(CHttpCookieTestPeer::Pool(engine2), nullptr);
}

TEST_F(CookieJar, SessionCookieLivesUntilItsReplacement) {
  for (int run = 0; run < 3; ++run) {
    CHttpCookie engine;
    engine.init(app);
    if (run == 0) engine.addCookieToPool("s=2; path=/", "h.test", "/");
    EXPECT_EQ(engine.getCookieFromPool("http://h.test/"), "s=2;") << run;
  }
  {
    CHttpCookie engine;
    engine.init(app);
    engine.addCookieToPool("s=2; path=/; max-age=-1", "h.test", "/");
  }
  CHttpCookie engine;
  engine.init(app);
  EXPECT_EQ(engine.getCookieFromPool("http://h.test/"), "");
}

TEST_F(CookieJar, DestructorSavesWhenNothingWasSavedAndLogs) {
  LogCapture capture;
  {
    CHttpCookie jar;
    jar.init(app);
    jar.addCookieToPool("s=1", "h.test", "/");
  }
  EXPECT_EQ(CookieLines(ReadFile(session)).size(), 1u);
  auto start = capture.WithMessage("CHttpCookie deconstructor start >>>");
  auto end = capture.WithMessage("<<< CHttpCookie deconstructor end");
  ASSERT_EQ(start.size(), 1u);
  ASSERT_EQ(end.size(), 1u);
  EXPECT_EQ(start[0].priority, 3);
  EXPECT_EQ(end[0].priority, 3);
}

TEST_F(CookieJar, CookiesAfterTheSaveAreLostUnlessSavedAgain) {
  {
    CHttpCookie jar;
    jar.init(app);
    jar.addCookieToPool("first=1", "h.test", "/");
    jar.saveCookieFile();
    jar.addCookieToPool("late=2", "h.test", "/");
  }
  auto lines = CookieLines(ReadFile(session));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find("first"), std::string::npos);
  {
    CHttpCookie jar;
    jar.init(app);
    jar.saveCookieFile();
    jar.addCookieToPool("late=2", "h.test", "/");
    jar.saveCookieFile();  // a second save writes regardless of the flag
  }
  EXPECT_EQ(CookieLines(ReadFile(session)).size(), 2u);
}

TEST_F(CookieJar, MissingDirectoryIsSilentAndLosesNothingInMemory) {
  const std::string client = app + "_nodir";  // no <root>/<client>/data/cookie exists
  CHttpCookie jar;
  jar.init(client);
  jar.addCookieToPool("s=1; path=/", "h.test", "/");
  jar.addCookieToPool(std::string("p=1; path=/; ") + kFuture, "h.test", "/");
  LogCapture capture;
  jar.saveCookieFile();
  for (auto& l : capture.Lines()) EXPECT_EQ(l.priority, 3) << l.text;
  EXPECT_EQ(capture.Count("<<< flushOutCookieJar end"), 0u);
  EXPECT_FALSE(FileExists(rootDir + "/" + client + "/data/cookie/session_cookie.txt"));
  EXPECT_FALSE(FileExists(rootDir + "/" + client));  // directories are not created
  EXPECT_TRUE(CHttpCookieTestPeer::Saved(jar));
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/"), "p=1;s=1;");
}

TEST_F(CookieJar, ReadOnlyFileIsSilentAndLosesNothingInMemory) {
  const std::string earlier = std::string(kHeader) + "h.test\tfalse\t/\tfalse\t0\told\t1\n";
  WriteFile(session, earlier);
  WriteFile(persistent, "");
  // Run as an unprivileged user where the test runs as root, since root writes read-only files.
  for (std::string d = cookieDir; d.size() >= rootDir.size(); d = d.substr(0, d.rfind('/')))
    chmod(d.c_str(), 0755);
  chmod(session.c_str(), 0444);
  chmod(persistent.c_str(), 0444);
  pid_t pid = fork();
  ASSERT_NE(pid, -1);
  if (pid == 0) {
    if (geteuid() == 0) {
      struct passwd* nobody = getpwnam("nobody");
      if (!nobody || setgid(nobody->pw_gid) != 0 || setuid(nobody->pw_uid) != 0) _exit(10);
    }
    int rc = 0;
    {
      CHttpCookie jar;
      jar.init(app);
      if (!CHttpCookieTestPeer::Find(jar, "old")) rc = 11;
      jar.addCookieToPool("new=2; path=/", "h.test", "/");
      jar.addCookieToPool(std::string("p=3; path=/; ") + kFuture, "h.test", "/");
      jar.saveCookieFile();
      if (!CHttpCookieTestPeer::Saved(jar)) rc = 12;
      if (jar.getCookieFromPool("http://h.test/") != "new=2;old=1;p=3;") rc = 13;
    }
    _exit(rc);
  }
  int status = 0;
  ASSERT_EQ(waitpid(pid, &status, 0), pid);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(ReadFile(session), earlier);
  EXPECT_EQ(ReadFile(persistent), "");
}
