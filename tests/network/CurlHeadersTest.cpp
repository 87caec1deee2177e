// Response header lines fed straight to the engine over substitute handles: Date, redirect
// targets, Set-Cookie, the headers-kept mode, and the client's own cookie operations.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "EngineFixture.h"
#include "WholeLogLine.h"

namespace {

using enginetest::Data;
using strmcommon::Curl;
using strmcommon::err_none;
using strmcommon::UnitObject;
using testsupport::HasWholeLine;
using testsupport::LogCapture;

class CurlHeaders : public enginetest::FakeEngineTest {
 protected:
  void SetUp() override {
    FakeEngineTest::SetUp();
    ASSERT_EQ(Begin(unit, "http://media.test/x/y.m3u8"), err_none);
  }

  int Feed(const std::string& line) {
    // libcurl hands over a NUL-terminated buffer.
    std::vector<char> buffer(line.begin(), line.end());
    buffer.push_back('\0');
    return curl->OnHeaderDownload(unit, buffer.data(), static_cast<int>(line.size()));
  }

  size_t FeedThroughCallback(const std::string& line) {
    std::vector<char> buffer(line.begin(), line.end());
    buffer.push_back('\0');
    return Curl::HeaderCB(buffer.data(), 1, line.size(), unit);
  }

  Curl::urlInfo_t& Entry() { return curl->m_urlInfo[unit->m_urlIndex]; }

  std::vector<std::string> Targets() {
    std::vector<std::string> targets;
    for (const auto& entry : curl->m_redirects) {
      EXPECT_EQ(entry.first, unit);
      targets.push_back(entry.second);
    }
    return targets;
  }

  UnitObject* unit = nullptr;
};

TEST_F(CurlHeaders, FirstDateThatParsesIsKept) {
  EXPECT_EQ(Feed("Date: nonsense that is long\r\n"), 29);
  EXPECT_EQ(Entry().date, 0);
  Feed("Date: Tue, 15 Nov 1994 08:12:31 GMT\r\n");
  EXPECT_EQ(Entry().date, 784887151);
  Feed("Date: Wed, 16 Nov 1994 08:12:31 GMT\r\n");
  EXPECT_EQ(Entry().date, 784887151);
}

TEST_F(CurlHeaders, DateOfFifteenBytesOrFewerIsSkipped) {
  // "Date:1 Jan 2001" parses, but is only 15 bytes long.
  Feed("Date:1 Jan 2001");
  EXPECT_EQ(Entry().date, 0);
  Feed("Date:1 Jan 2001 ");
  EXPECT_GT(Entry().date, 0);
}

TEST_F(CurlHeaders, LowerCaseDateAsHttp2SendsItDoesNotCount) {
  Feed("date: Tue, 15 Nov 1994 08:12:31 GMT\r\n");
  EXPECT_EQ(Entry().date, 0);
}

TEST_F(CurlHeaders, DateWithoutColonOrValueIsIgnored) {
  Feed("Date Tue, 15 Nov 1994 08:12:31 GMT\r\n");
  Feed("Date-Nothing-Here:");
  EXPECT_EQ(Entry().date, 0);
}

TEST_F(CurlHeaders, HostRelativeLocationIsJoinedToTheRequestHostWithItsLineEnd) {
  LogCapture capture;
  Feed("HTTP/1.1 302 Found\r\n");
  EXPECT_TRUE(unit->m_redirecting);
  Feed("Location: /a/b\r\n");
  EXPECT_EQ(Targets(), std::vector<std::string>{"http://media.test/a/b\r\n"});
  EXPECT_FALSE(unit->m_redirecting);
  auto lines = capture.WithMessage(">> redirected url == Location: /a/b\r\n ");
  EXPECT_TRUE(HasWholeLine(capture, "CurlHeaders.cpp", "OnHeaderDownload",
                           ">> redirected url == Location: /a/b\r\n "));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
}

TEST_F(CurlHeaders, DocumentRelativeLocationIsGluedToTheHost) {
  Feed("HTTP/1.1 301 Moved Permanently\r\n");
  Feed("Location: b.ts\r\n");
  EXPECT_EQ(Targets(), std::vector<std::string>{"http://media.testb.ts\r\n"});
}

TEST_F(CurlHeaders, LowerCaseLocationWithBlanksBeforeAnAbsoluteUrlLosesTheBlanks) {
  Feed("HTTP/1.1 307 Temporary Redirect\r\n");
  Feed("location:   https://other.test/z.ts\r\n");
  EXPECT_EQ(Targets(), std::vector<std::string>{"https://other.test/z.ts\r\n"});
}

TEST_F(CurlHeaders, LocationInCapitalsIsNotRecognisedAndTheFlagStaysUp) {
  Feed("HTTP/1.1 308 Permanent Redirect\r\n");
  Feed("LOCATION: /a\r\n");
  EXPECT_TRUE(Targets().empty());
  EXPECT_TRUE(unit->m_redirecting);
}

TEST_F(CurlHeaders, ContentLengthWithThreeOhOneInItsDigitsRaisesTheFlagEvenOnA200) {
  Feed("HTTP/1.1 200 OK\r\n");
  EXPECT_FALSE(unit->m_redirecting);
  Feed("Content-Length: 13010\r\n");
  EXPECT_TRUE(unit->m_redirecting);
  Feed("Server: x\r\n");
  Feed("Location: /later\r\n");
  EXPECT_EQ(Targets(), std::vector<std::string>{"http://media.test/later\r\n"});
}

TEST_F(CurlHeaders, SeeOtherIsNoRedirectAndALocationWithoutAStatusIsIgnored) {
  Feed("HTTP/1.1 303 See Other\r\n");
  Feed("Location: /a\r\n");
  EXPECT_TRUE(Targets().empty());
  EXPECT_FALSE(unit->m_redirecting);
}

TEST_F(CurlHeaders, StatusAndLocationOnOneLineAreBothTaken) {
  Feed("X: 302 Location: /p\r\n");
  // Text before index 9 is erased whatever it was.
  EXPECT_EQ(Targets(), std::vector<std::string>{"http://media.testcation: /p\r\n"});
}

TEST_F(CurlHeaders, HeaderNameEndingInLocationIsCutAtIndexNine) {
  Feed("HTTP/1.1 302 Found\r\n");
  Feed("X-Location: /a\r\n");
  EXPECT_EQ(Targets(), std::vector<std::string>{"http://media.testn: /a\r\n"});
}

TEST_F(CurlHeaders, RelativeTargetHoldingAnHttpUrlCountsAsAbsolute) {
  Feed("HTTP/1.1 302 Found\r\n");
  Feed("Location: /go?to=http://x.test/\r\n");
  EXPECT_EQ(Targets(), std::vector<std::string>{"/go?to=http://x.test/\r\n"});
}

TEST_F(CurlHeaders, LocationWithOnlyBlanksBehindItGivesTheBaseAlone) {
  Feed("HTTP/1.1 302 Found\r\n");
  Feed("Location:   ");
  EXPECT_EQ(Targets(), std::vector<std::string>{"http://media.test"});
}

TEST_F(CurlHeaders, RequestUrlWithoutAPathIsTheWholeBase) {
  curl->m_units[unit->m_index].first = false;
  ASSERT_EQ(Begin(unit, "http://media.test"), err_none);
  Feed("HTTP/1.1 302 Found\r\n");
  Feed("Location: x.ts\r\n");
  EXPECT_EQ(Targets(), std::vector<std::string>{"http://media.testx.ts\r\n"});
}

TEST_F(CurlHeaders, EveryHopOfAChainIsResolvedAgainstTheFirstHostAndKeptInOrder) {
  Feed("HTTP/1.1 301 Moved\r\n");
  Feed("Location: http://second.test/one\r\n");
  Feed("\r\n");
  Feed("HTTP/1.1 302 Found\r\n");
  Feed("Location: /two\r\n");
  EXPECT_EQ(Targets(),
            (std::vector<std::string>{"http://second.test/one\r\n", "http://media.test/two\r\n"}));
}

TEST_F(CurlHeaders, SetCookieIsStoredUnderTheEffectiveUrlWhichReplacesTheTableEntry) {
  EasyOf(unit)->stringInfo[CURLINFO_EFFECTIVE_URL] = "http://target.test/dir/page.m3u8";
  Feed("Set-Cookie: sid=42\r\n");
  EXPECT_EQ(Entry().url, "http://target.test/dir/page.m3u8");
  EXPECT_EQ(unit->m_url, "http://media.test/x/y.m3u8");
  EXPECT_EQ(curl->m_cookie.getCookieFromPool("http://target.test/dir/page.m3u8"), "sid=42;");
  EXPECT_EQ(curl->m_cookie.getCookieFromPool("http://media.test/x/y.m3u8"), "");
}

TEST_F(CurlHeaders, SetCookieInCapitalsIsHandledLikeTheUsualForm) {
  EasyOf(unit)->stringInfo[CURLINFO_EFFECTIVE_URL] = "http://media.test/x/y.m3u8";
  LogCapture capture;
  Feed("SET-COOKIE: a=1\r\n");
  EXPECT_EQ(curl->m_cookie.getCookieFromPool("http://media.test/x/y.m3u8"), "a=1;");
  // The store got the text behind the name with its line end, and the host and path.
  EXPECT_EQ(capture.Count("addCookieToPool  a=1\r\n, media.test, /x/y.m3u8"), 1u);
}

TEST_F(CurlHeaders, SetCookieOnARedirectLineIsHandledAfterTheLocation) {
  EasyOf(unit)->stringInfo[CURLINFO_EFFECTIVE_URL] = "http://media.test/x/y.m3u8";
  Feed("HTTP/1.1 302 Found\r\n");
  Feed("Set-Cookie: b=2; location: /c\r\n");
  EXPECT_EQ(Targets(), std::vector<std::string>{"http://media.teste: b=2; location: /c\r\n"});
  EXPECT_EQ(curl->m_cookie.getCookieFromPool("http://media.test/x/y.m3u8"), "b=2;");
}

TEST_F(CurlHeaders, HeadersKeptModeOnlyCollectsTheRawText) {
  curl->m_units[unit->m_index].first = false;
  curl->LockMutItem();
  ASSERT_EQ(
      curl->BeginDownload2(0, "http://media.test/x", "", false, unit, false, Data(), true, "dbg"),
      0);
  curl->UnlockMutItem();
  EasyOf(unit)->stringInfo[CURLINFO_EFFECTIVE_URL] = "http://media.test/x";
  LogCapture capture;
  Feed("HTTP/1.1 302 Found\r\n");
  Feed("Location: /y\r\n");
  Feed("Date: Tue, 15 Nov 1994 08:12:31 GMT\r\n");
  Feed("Set-Cookie: c=3\r\n");
  EXPECT_FALSE(unit->m_headerEnd);
  Feed("\r\n");
  EXPECT_TRUE(unit->m_headerEnd);
  Feed("HTTP/1.1 200 OK\r\n");
  EXPECT_TRUE(unit->m_headerEnd);
  EXPECT_EQ(unit->m_rawHeader,
            "HTTP/1.1 302 Found\r\nLocation: /y\r\nDate: Tue, 15 Nov 1994 08:12:31 GMT\r\n"
            "Set-Cookie: c=3\r\n\r\nHTTP/1.1 200 OK\r\n");
  EXPECT_FALSE(unit->m_redirecting);
  EXPECT_TRUE(curl->m_redirects.empty());
  EXPECT_EQ(Entry().date, 0);
  EXPECT_EQ(curl->m_cookie.getCookieFromPool("http://media.test/x"), "");
  EXPECT_EQ(capture.Count("before header_end [false]"), 5u);
  EXPECT_EQ(capture.Count("header end"), 1u);
  EXPECT_EQ(capture.Count("after header_end [true]"), 2u);
}

TEST_F(CurlHeaders, NullUnitLogsTheErrorAndReturnsMinusOne) {
  LogCapture capture;
  char line[] = "Date: x\r\n";
  EXPECT_EQ(curl->OnHeaderDownload(nullptr, line, 9), Curl::kAbortTransfer);
  EXPECT_EQ(capture.Count(">> strmcommon::Unit == NULL ERROR"), 1u);
}

TEST_F(CurlHeaders, CallbackPassesTheLineOnWhileTheSlotIsTaken) {
  EXPECT_EQ(FeedThroughCallback("Server: x\r\n"), 11u);
}

TEST_F(CurlHeaders, CallbackAbortsForAFreedSlot) {
  curl->m_units[unit->m_index].first = false;
  EXPECT_EQ(FeedThroughCallback("Server: x\r\n"), static_cast<size_t>(Curl::kAbortTransfer));
}

TEST_F(CurlHeaders, CallbackAbortsWhileTheEngineQuits) {
  curl->m_quit = true;
  EXPECT_EQ(FeedThroughCallback("Server: x\r\n"), static_cast<size_t>(Curl::kAbortTransfer));
  curl->m_quit = false;
}

TEST_F(CurlHeaders, SetCookieAddsALinePerCallToEveryLaterRequest) {
  curl->SetCookie("a=1");
  EXPECT_EQ(curl->get_cookie(), "Cookie:a=1");
  curl->SetCookie("");
  EXPECT_EQ(curl->get_cookie(), "Cookie:");
  std::vector<std::string> lines;
  for (curl_slist* item = curl->m_headers; item != nullptr; item = item->next) {
    lines.push_back(item->data);
  }
  EXPECT_EQ(lines, (std::vector<std::string>{"Cookie:a=1", "Cookie:"}));
  curl->clearUsrDefCookie();
  EXPECT_EQ(curl->get_cookie(), "");
  EXPECT_NE(curl->m_headers, nullptr);
  UnitObject* other = nullptr;
  ASSERT_EQ(Begin(other, "http://elsewhere.test/a"), err_none);
  EXPECT_EQ(EasyOf(other)->Option(CURLOPT_HTTPHEADER), curl->m_headers);
}

TEST_F(CurlHeaders, SetCookieToPoolFilesTheCookieUnderTheGivenHostAndPath) {
  std::string cookie = "k=v";
  std::string host = "chosen.test";
  std::string path = "/only/";
  curl->SetCookieToPool(cookie, host, path);
  EXPECT_EQ(cookie, "k=v");
  EXPECT_EQ(curl->m_cookie.getCookieFromPool("http://chosen.test/only/x"), "k=v;");
  EXPECT_EQ(curl->m_cookie.getCookieFromPool("http://chosen.test/other"), "");
  EXPECT_EQ(curl->m_cookie.getCookieFromPool("http://media.test/only/x"), "");
}

}  // namespace
