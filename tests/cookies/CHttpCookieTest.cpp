#include <gtest/gtest.h>

#include <string>

#include "CHttpCookie.h"
#include "Clock.h"
#include "CookieTestSupport.h"
#include "LogCapture.h"
#include "WholeLogLine.h"

using strmcommon::CHttpCookie;
using strmcommon::CHttpCookieTestPeer;
using strmcommon::Cookie;
using testsupport::HasWholeLine;
using testsupport::LogCapture;

TEST(CHttpCookie, ConstructorStartsEmptyAndLogs) {
  LogCapture capture;
  CHttpCookie jar;
  auto lines = capture.WithMessage("CHttpCookie constructor");
  EXPECT_TRUE(HasWholeLine(capture, "CHttpCookie.cpp", "CHttpCookie", "CHttpCookie constructor"));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
  EXPECT_EQ(CHttpCookieTestPeer::Pool(jar), nullptr);
  EXPECT_EQ(CHttpCookieTestPeer::User(jar), nullptr);
  EXPECT_FALSE(CHttpCookieTestPeer::Saved(jar));
  EXPECT_EQ(CHttpCookieTestPeer::AppName(jar), "");
  EXPECT_EQ(CHttpCookieTestPeer::PersistentFile(jar), "");
  EXPECT_EQ(CHttpCookieTestPeer::SessionFile(jar), "");
}

TEST(CHttpCookie, AddCookieToPoolLogsItsArguments) {
  CHttpCookie jar;
  LogCapture capture;
  jar.addCookieToPool("a=1\r\n", "h.test", "/p");
  auto lines = capture.WithMessage("addCookieToPool a=1\r\n, h.test, /p");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
}

TEST(CHttpCookie, AddCookieToPoolStoresUnderTheRequestHostAndPath) {
  CHttpCookie jar;
  Cookie* c = jar.addCookieToPool("a=1", "media.site.test", "/dir/seg.ts");
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(CHttpCookieTestPeer::Pool(jar), c);
  EXPECT_STREQ(c->domain, "media.site.test");
  EXPECT_STREQ(c->path, "/dir/");
}

TEST(CHttpCookie, RejectedCookieIsNotAdded) {
  CHttpCookie jar;
  EXPECT_EQ(jar.addCookieToPool("a=1; domain=other.test", "media.site.test", "/"), nullptr);
  EXPECT_EQ(CHttpCookieTestPeer::Pool(jar), nullptr);
}

TEST(CHttpCookie, GetCookieFromPoolLogsStartAndEnd) {
  CHttpCookie jar;
  LogCapture capture;
  jar.getCookieFromPool("http://h.test/");
  auto start = capture.WithMessage("getCookieFromPool start >>>");
  auto end = capture.WithMessage("<<< getCookieFromPool end");
  ASSERT_EQ(start.size(), 1u);
  ASSERT_EQ(end.size(), 1u);
  EXPECT_EQ(start[0].priority, 3);
  EXPECT_EQ(end[0].priority, 3);
}

TEST(CHttpCookie, EmptyPoolGivesAnEmptyHeader) {
  CHttpCookie jar;
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/a"), "");
}

TEST(CHttpCookie, PoolCookiesEndInASemicolonWithoutBlanks) {
  CHttpCookie jar;
  jar.addCookieToPool("a=1; path=/", "h.test", "/");
  jar.addCookieToPool("b=2; path=/", "h.test", "/");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/x"), "a=1;b=2;");
}

TEST(CHttpCookie, HostOnlyCookieGoesToItsHostAlone) {
  CHttpCookie jar;
  jar.addCookieToPool("a=1; path=/", "media.site.test", "/");
  EXPECT_EQ(jar.getCookieFromPool("http://media.site.test/"), "a=1;");
  EXPECT_EQ(jar.getCookieFromPool("http://MEDIA.SITE.TEST/"), "a=1;");
  EXPECT_EQ(jar.getCookieFromPool("http://x.media.site.test/"), "");
  EXPECT_EQ(jar.getCookieFromPool("http://site.test/"), "");
}

TEST(CHttpCookie, DomainCookieGoesToSubdomainsButNotToLookalikes) {
  CHttpCookie jar;
  jar.addCookieToPool("a=1; domain=.site.test; path=/", "media.site.test", "/");
  EXPECT_EQ(jar.getCookieFromPool("http://media.site.test/"), "a=1;");
  EXPECT_EQ(jar.getCookieFromPool("http://site.test/"), "a=1;");
  EXPECT_EQ(jar.getCookieFromPool("http://deep.cdn.site.test/"), "a=1;");
  EXPECT_EQ(jar.getCookieFromPool("http://badsite.test/"), "");
}

TEST(CHttpCookie, PortDoesNotMatter) {
  CHttpCookie jar;
  jar.addCookieToPool("a=1; path=/", "h.test", "/");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test:8080/"), "a=1;");
}

TEST(CHttpCookie, PathMatchingFollowsSegments) {
  CHttpCookie jar;
  jar.addCookieToPool("a=1; path=/a", "h.test", "/");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/a"), "a=1;");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/a/b"), "a=1;");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/a?x=1"), "a=1;");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/ab"), "");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/"), "");
}

TEST(CHttpCookie, PathMatchingIsCaseSensitive) {
  CHttpCookie jar;
  jar.addCookieToPool("a=1; path=/A", "h.test", "/");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/a"), "");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/A"), "a=1;");
}

TEST(CHttpCookie, QueryIsNotPartOfThePath) {
  CHttpCookie jar;
  jar.addCookieToPool("a=1; path=/a", "h.test", "/");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/b?p=/a"), "");
}

TEST(CHttpCookie, UrlWithoutPathMatchesOnlyRootCookies) {
  CHttpCookie jar;
  jar.addCookieToPool("root=1; path=/", "h.test", "/");
  jar.addCookieToPool("deep=1; path=/a", "h.test", "/");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test"), "root=1;");
}

TEST(CHttpCookie, SecureCookieGoesOnlyOverHttps) {
  CHttpCookie jar;
  jar.addCookieToPool("s=1; secure; path=/", "h.test", "/");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/"), "");
  EXPECT_EQ(jar.getCookieFromPool("https://h.test/"), "s=1;");
  EXPECT_EQ(jar.getCookieFromPool("HTTPS://h.test/"), "s=1;");
}

TEST(CHttpCookie, HttpOnlyHasNoEffectOnSending) {
  CHttpCookie jar;
  jar.addCookieToPool("h=1; httponly; path=/", "h.test", "/");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/"), "h=1;");
}

TEST(CHttpCookie, CookieExpiringAtOneIsNeverSent) {
  CHttpCookie jar;
  Cookie* c =
      jar.addCookieToPool("a=1; path=/; expires=Thu, 01 Jan 1970 00:00:00 GMT", "h.test", "/");
  ASSERT_NE(c, nullptr);
  ASSERT_EQ(c->expires, 1);
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/"), "");
  EXPECT_EQ(CHttpCookieTestPeer::PoolSize(jar), 1u);  // invisible, but still in the pool
}

TEST(CHttpCookie, FutureExpiryIsSent) {
  CHttpCookie jar;
  jar.addCookieToPool("a=1; path=/; max-age=100", "h.test", "/");
  jar.addCookieToPool("b=1; path=/; expires=Wed, 01 Jan 2031 00:00:00 GMT", "h.test", "/");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/"), "a=1;b=1;");
}

TEST(CHttpCookie, LongerPathComesFirstThenLongerDomainThenName) {
  CHttpCookie jar;
  jar.addCookieToPool("z=1; path=/", "media.site.test", "/");
  jar.addCookieToPool("y=1; path=/", "media.site.test", "/");
  jar.addCookieToPool("short=1; path=/; domain=site.test", "media.site.test", "/");
  jar.addCookieToPool("deep=1; path=/a/b", "media.site.test", "/");
  jar.addCookieToPool("mid=1; path=/a", "media.site.test", "/");
  EXPECT_EQ(jar.getCookieFromPool("http://media.site.test/a/b/c"), "deep=1;mid=1;y=1;z=1;short=1;");
}

TEST(CHttpCookie, EqualPathAndDomainLengthsAreOrderedByName) {
  CHttpCookie jar;
  jar.addCookieToPool("beta=2; path=/p", "h.test", "/");
  jar.addCookieToPool("alpha=1; path=/q; domain=h.test", "h.test", "/");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/p"), "beta=2;");
  jar.addCookieToPool("alpha=1; path=/p", "h.test", "/");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/p"), "alpha=1;beta=2;");
}

TEST(CHttpCookie, UserCookieAloneHasNoSemicolon) {
  CHttpCookie jar;
  ASSERT_NE(jar.addUsrDefCookie("u=1"), nullptr);
  EXPECT_EQ(jar.getCookieFromPool("http://any.test/x"), "u=1");
}

TEST(CHttpCookie, UserCookieWithoutDomainMatchesEveryHost) {
  CHttpCookie jar;
  jar.addUsrDefCookie("u=1");
  EXPECT_EQ(jar.getCookieFromPool("http://one.test/"), "u=1");
  EXPECT_EQ(jar.getCookieFromPool("https://two.example/deep/path"), "u=1");
}

TEST(CHttpCookie, UserCookieComesLast) {
  CHttpCookie jar;
  jar.addCookieToPool("a=1; path=/", "h.test", "/");
  jar.addUsrDefCookie("u=9");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/"), "a=1;u=9");
}

TEST(CHttpCookie, UserCookieOfTheSameIdentityReplacesThePoolCookie) {
  CHttpCookie jar;
  jar.addCookieToPool("tok=pool; path=/a", "h.test", "/");
  jar.addCookieToPool("other=1; path=/", "h.test", "/");
  jar.addUsrDefCookie("tok=user; domain=h.test; path=/a");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/a"), "other=1;tok=user");
}

TEST(CHttpCookie, UserCookieWithAnotherPathLetsBothGo) {
  CHttpCookie jar;
  jar.addCookieToPool("tok=pool; path=/a/b", "h.test", "/");
  jar.addUsrDefCookie("tok=user; domain=h.test; path=/a");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/a/b"), "tok=pool;tok=user");
}

TEST(CHttpCookie, UserCookieWithoutDomainDoesNotReplace) {
  CHttpCookie jar;
  jar.addCookieToPool("tok=pool; path=/", "h.test", "/");
  jar.addUsrDefCookie("tok=user; path=/");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/"), "tok=pool;tok=user");
}

TEST(CHttpCookie, UserCookieIdentityIsCaseSensitive) {
  CHttpCookie jar;
  jar.addCookieToPool("Tok=pool; path=/", "h.test", "/");
  jar.addUsrDefCookie("tok=user; domain=h.test; path=/");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/"), "Tok=pool;tok=user");
}

TEST(CHttpCookie, UserCookieFollowsItsOwnRules) {
  CHttpCookie jar;
  jar.addUsrDefCookie("u=1; secure; path=/only");
  EXPECT_EQ(jar.getCookieFromPool("https://h.test/only"), "u=1");
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/only"), "");
  EXPECT_EQ(jar.getCookieFromPool("https://h.test/else"), "");
}

TEST(CHttpCookie, AddUsrDefCookieReplacesTheEarlierOne) {
  CHttpCookie jar;
  jar.addUsrDefCookie("u=1");
  Cookie* second = jar.addUsrDefCookie("v=2");
  EXPECT_EQ(CHttpCookieTestPeer::User(jar), second);
  EXPECT_EQ(second->next, nullptr);
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/"), "v=2");
}

TEST(CHttpCookie, RejectedUserCookieStillRemovesTheEarlierOne) {
  CHttpCookie jar;
  jar.addUsrDefCookie("u=1");
  EXPECT_EQ(jar.addUsrDefCookie("=nothing"), nullptr);
  EXPECT_EQ(CHttpCookieTestPeer::User(jar), nullptr);
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/"), "");
}

TEST(CHttpCookie, DelUsrDefCookieRemovesIt) {
  CHttpCookie jar;
  jar.addUsrDefCookie("u=1");
  jar.delUsrDefCookie();
  EXPECT_EQ(CHttpCookieTestPeer::User(jar), nullptr);
  EXPECT_EQ(jar.getCookieFromPool("http://h.test/"), "");
  jar.delUsrDefCookie();  // twice is harmless
}

TEST(CHttpCookie, UserCookieDoesNotEnterThePool) {
  CHttpCookie jar;
  jar.addUsrDefCookie("u=1; domain=h.test; path=/");
  EXPECT_EQ(CHttpCookieTestPeer::Pool(jar), nullptr);
}

TEST(CHttpCookie, EntryListIsASortedShallowCopy) {
  CHttpCookie jar;
  Cookie* a = jar.addCookieToPool("a=1; path=/", "h.test", "/");
  Cookie* b = jar.addCookieToPool("b=1; path=/long", "h.test", "/");
  jar.addCookieToPool("c=1; path=/", "other.test", "/");
  Cookie* found =
      jar.getCookieEntryFromList(CHttpCookieTestPeer::Pool(jar), "h.test", "/long/x", false);
  ASSERT_NE(found, nullptr);
  ASSERT_NE(found->next, nullptr);
  EXPECT_EQ(found->next->next, nullptr);
  EXPECT_NE(found, b);
  EXPECT_EQ(found->name, b->name);  // the strings are shared
  EXPECT_EQ(found->next->name, a->name);
  jar.freelist(found, false);
  EXPECT_STREQ(a->name, "a");  // the pool still owns its strings
  EXPECT_EQ(CHttpCookieTestPeer::PoolSize(jar), 3u);
}

TEST(CHttpCookie, EntryListOfNoMatchIsNull) {
  CHttpCookie jar;
  EXPECT_EQ(jar.getCookieEntryFromList(nullptr, "h.test", "/", true), nullptr);
  jar.addCookieToPool("a=1; path=/", "h.test", "/");
  EXPECT_EQ(jar.getCookieEntryFromList(CHttpCookieTestPeer::Pool(jar), "x.test", "/", true),
            nullptr);
}

TEST(CHttpCookie, CookieWithoutDomainOrPathMatchesEverything) {
  CHttpCookie jar;
  Cookie* list = nullptr;
  ASSERT_NE(jar.addCookieEntryToList(list, true, "a=1", nullptr, nullptr), nullptr);
  Cookie* found = jar.getCookieEntryFromList(list, "whatever.test", "/deep/x", false);
  ASSERT_NE(found, nullptr);
  EXPECT_STREQ(found->name, "a");
  jar.freelist(found, false);
  jar.freelist(list, true);
}

TEST(CHttpCookie, PseudoUtcIsMonotonicSecondsPlusOffset) {
  cookietest::SharedRoot();
  CHttpCookie jar;
  jar.init(cookietest::TestClientName());
  // The second clock is the same monotonic clock, so init measures no offset.
  EXPECT_EQ(CHttpCookieTestPeer::UtcOffset(jar), 0);
  int64_t before = static_cast<int64_t>(strmcommon::vas_getTime() / 1000);
  int64_t pseudo = jar.getPseudoUTC();
  int64_t after = static_cast<int64_t>(strmcommon::vas_getTime() / 1000);
  EXPECT_GE(pseudo, before);
  EXPECT_LE(pseudo, after);
}

TEST(CHttpCookie, PoolHasNoLimit) {
  CHttpCookie jar;
  for (int i = 0; i < 3000; ++i)
    ASSERT_NE(jar.addCookieToPool("c" + std::to_string(i) + "=v; path=/", "h.test", "/"), nullptr);
  EXPECT_EQ(CHttpCookieTestPeer::PoolSize(jar), 3000u);
  std::string header = jar.getCookieFromPool("http://h.test/");
  EXPECT_EQ(std::count(header.begin(), header.end(), ';'), 3000);
}

TEST(CHttpCookie, ClearAllEmptiesThePoolAndLeavesTheUserPointer) {
  CHttpCookie jar;
  jar.addCookieToPool("a=1", "h.test", "/");
  Cookie* user = jar.addUsrDefCookie("u=1");
  jar.clearAll();
  EXPECT_EQ(CHttpCookieTestPeer::Pool(jar), nullptr);
  // Intended: the freed user record stays referenced; only the destructor calls clearAll.
  EXPECT_EQ(CHttpCookieTestPeer::User(jar), user);
  CHttpCookieTestPeer::ForgetUser(jar);
}

TEST(CHttpCookie, FreelistWithStringsReleasesAWholeList) {
  CHttpCookie jar;
  Cookie* list = nullptr;
  jar.addCookieEntryToList(list, true, "a=1; path=/; max-age=5; version=1", "h.test", "/");
  jar.addCookieEntryToList(list, true, "b=1; expires=Wed, 01 Jan 2031 00:00:00 GMT", "h.test", "/");
  jar.freelist(list, true);  // the sanitizer run reports anything left behind
  jar.freelist(nullptr, true);
  jar.freelist(nullptr, false);
}

TEST(CHttpCookie, HeaderTextWithLeadingBlankAndLineEndAsReceived) {
  CHttpCookie jar;
  Cookie* c =
      jar.addCookieToPool(" sid=42; Path=/live; HttpOnly\r\n", "cdn.site.test", "/live/index.m3u8");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->name, "sid");
  EXPECT_STREQ(c->value, "42");
  EXPECT_STREQ(c->path, "/live");
  EXPECT_TRUE(c->httponly);
  EXPECT_EQ(jar.getCookieFromPool("http://cdn.site.test/live/seg1.ts"), "sid=42;");
}
