#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "CHttpCookie.h"

using strmcommon::CHttpCookie;
using strmcommon::Cookie;

namespace {

// A store that is never initialised (no files) and a private list to parse into.
class CookieParse : public ::testing::Test {
 protected:
  ~CookieParse() override { jar.freelist(list, true); }

  Cookie* Header(const std::string& line, const char* domain = "media.site.test",
                 const char* path = "/") {
    return jar.addCookieEntryToList(list, true, line.c_str(), domain, path);
  }
  Cookie* File(const std::string& line) {
    buffer.assign(line.begin(), line.end());
    buffer.push_back('\0');
    return jar.addCookieEntryToList(list, false, buffer.data(), nullptr, nullptr);
  }
  size_t Count() const {
    size_t n = 0;
    for (Cookie* c = list; c; c = c->next) n++;
    return n;
  }
  std::vector<std::string> Values() const {
    std::vector<std::string> v;
    for (Cookie* c = list; c; c = c->next) v.push_back(std::string(c->name) + "=" + c->value);
    return v;
  }
  static int64_t Wrapped(int64_t a, int64_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
  }

  CHttpCookie jar;
  Cookie* list = nullptr;
  std::vector<char> buffer;
};

}  // namespace

// ---- header form ----

TEST_F(CookieParse, PlainPairBindsToTheRequestHostAndDirectory) {
  Cookie* c = Header("sid=abc", "media.site.test", "/dir/file?q=/x/y");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->name, "sid");
  EXPECT_STREQ(c->value, "abc");
  EXPECT_STREQ(c->domain, "media.site.test");
  EXPECT_FALSE(c->tailmatch);
  EXPECT_STREQ(c->path, "/dir/");
  EXPECT_STREQ(c->sanitizedPath, "/dir");
  EXPECT_EQ(c->expires, 0);
  EXPECT_FALSE(c->secure);
  EXPECT_FALSE(c->httponly);
  EXPECT_FALSE(c->liveFlag);
  EXPECT_EQ(c->expiresText, nullptr);
  EXPECT_EQ(c->maxAgeText, nullptr);
  EXPECT_EQ(c->version, nullptr);
  EXPECT_EQ(list, c);
}

TEST_F(CookieParse, DefaultPathIsTheLastSlashOfTheWholePathWithoutQuery) {
  Cookie* c = Header("a=1", "h.test", "/a/b/c");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->path, "/a/b/");
  EXPECT_STREQ(c->sanitizedPath, "/a/b");
}

TEST_F(CookieParse, DefaultPathOfARootFileIsTheRoot) {
  Cookie* c = Header("a=1", "h.test", "/index.m3u8");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->path, "/");
  EXPECT_STREQ(c->sanitizedPath, "/");
}

TEST_F(CookieParse, RequestPathWithoutSlashLeavesNoPath) {
  Cookie* c = Header("a=1", "h.test", "file?x");
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->path, nullptr);
  EXPECT_EQ(c->sanitizedPath, nullptr);
}

TEST_F(CookieParse, NoRequestDomainAndPathLeaveBothNull) {
  Cookie* c = Header("a=1", nullptr, nullptr);
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->domain, nullptr);
  EXPECT_EQ(c->path, nullptr);
  EXPECT_FALSE(c->tailmatch);
}

TEST_F(CookieParse, TwoPathAttributesRejectTheCookie) {
  EXPECT_EQ(Header("a=1; path=/x; path=/y"), nullptr);
  EXPECT_EQ(Header("a=1; path=/x; path=/x"), nullptr);
  EXPECT_EQ(list, nullptr);
}

TEST_F(CookieParse, PathAttributeIsKeptRawAndSanitized) {
  Cookie* c = Header("a=1; path=\"/x/\"", "h.test", "/other/file");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->path, "\"/x/\"");
  EXPECT_STREQ(c->sanitizedPath, "/x");
}

TEST_F(CookieParse, EmptyPathAttributeStoresAnEmptyPathAndNoDefault) {
  Cookie* c = Header("a=1; path=", "h.test", "/d/file");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->path, "");
  EXPECT_STREQ(c->sanitizedPath, "/");
}

TEST_F(CookieParse, SecureAndHttpOnlyFlagsInAnyCase) {
  Cookie* c = Header("a=1; SeCuRe; HTTPONLY");
  ASSERT_NE(c, nullptr);
  EXPECT_TRUE(c->secure);
  EXPECT_TRUE(c->httponly);
  Cookie* d = Header("b=1; secure; httponly");
  ASSERT_NE(d, nullptr);
  EXPECT_TRUE(d->secure);
  EXPECT_TRUE(d->httponly);
}

TEST_F(CookieParse, SecureWithAnEmptyValueStillSetsTheFlag) {
  Cookie* c = Header("a=1; secure=; httponly=  ");
  ASSERT_NE(c, nullptr);
  EXPECT_TRUE(c->secure);
  EXPECT_TRUE(c->httponly);
}

TEST_F(CookieParse, SecureWithAValueBehindThePairSetsNothing) {
  Cookie* c = Header("a=1; secure=yes; httponly=1");
  ASSERT_NE(c, nullptr);
  EXPECT_FALSE(c->secure);
  EXPECT_FALSE(c->httponly);
  EXPECT_STREQ(c->name, "a");
  EXPECT_STREQ(c->value, "1");
}

TEST_F(CookieParse, SecureWithAValueInFrontBecomesTheCookie) {
  Cookie* c = Header("secure=yes; a=1");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->name, "secure");
  EXPECT_STREQ(c->value, "yes");
  EXPECT_FALSE(c->secure);
}

TEST_F(CookieParse, LineBeginningWithEqualsGivesNoCookie) {
  EXPECT_EQ(Header("=value"), nullptr);
  EXPECT_EQ(Header("=value; path=/"), nullptr);
}

TEST_F(CookieParse, LoneWordIsIgnored) {
  EXPECT_EQ(Header("lonely"), nullptr);
  Cookie* c = Header("flag; a=1");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->name, "a");
}

TEST_F(CookieParse, NameWithEqualsAndNothingElseHasAnEmptyValue) {
  Cookie* c = Header("empty=");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->name, "empty");
  EXPECT_STREQ(c->value, "");
}

TEST_F(CookieParse, BlankBeforeEqualsLosesTheValue) {
  // The scan pattern wants '=' right behind the name; the separator test still sees '='.
  Cookie* c = Header("name = value");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->name, "name");
  EXPECT_STREQ(c->value, "");
}

TEST_F(CookieParse, BlanksAroundValuesAndAttributesAreRemoved) {
  Cookie* c = Header("   a=   b c  ;    path=/x   ;  secure  ", "h.test", "/");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->value, "b c");
  EXPECT_STREQ(c->path, "/x");
  EXPECT_TRUE(c->secure);
}

TEST_F(CookieParse, TabIsNotABlank) {
  Cookie* c = Header("a=\tb\t", "h.test", "/");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->value, "\tb\t");
}

TEST_F(CookieParse, LineEndIsNotPartOfTheValue) {
  Cookie* c = Header("a=b\r\n");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->value, "b");
  Cookie* d = Header("d=e; path=/p\r\n");
  ASSERT_NE(d, nullptr);
  EXPECT_STREQ(d->path, "/p");
}

TEST_F(CookieParse, LaterUnknownPairsAreIgnored) {
  Cookie* c = Header("first=1; second=2; third=3");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->name, "first");
  EXPECT_STREQ(c->value, "1");
  EXPECT_EQ(Count(), 1u);
}

TEST_F(CookieParse, ExpiresIsReadWithCurlGetdate) {
  Cookie* c = Header("a=1; expires=Wed, 01 Jan 2031 00:00:00 GMT");
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->expires, 1924992000);
  EXPECT_STREQ(c->expiresText, "Wed, 01 Jan 2031 00:00:00 GMT");
}

TEST_F(CookieParse, UnreadableExpiresGivesASessionCookie) {
  Cookie* c = Header("a=1; expires=not a date");
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->expires, 0);
  EXPECT_STREQ(c->expiresText, "not a date");
}

TEST_F(CookieParse, UnreadableExpiresBehindMaxAgeClearsIt) {
  Cookie* c = Header("a=1; max-age=60; expires=garbage");
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->expires, 0);
  EXPECT_STREQ(c->maxAgeText, "60");
}

TEST_F(CookieParse, LaterMaxAgeWinsOverExpires) {
  int64_t before = jar.getPseudoUTC();
  Cookie* c = Header("a=1; expires=Wed, 01 Jan 2031 00:00:00 GMT; max-age=60");
  int64_t after = jar.getPseudoUTC();
  ASSERT_NE(c, nullptr);
  EXPECT_GE(c->expires, before + 60);
  EXPECT_LE(c->expires, after + 60);
}

TEST_F(CookieParse, ExpiresAtTheEpochIsAlreadyExpired) {
  Cookie* c = Header("a=1; expires=Thu, 01 Jan 1970 00:00:00 GMT");
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->expires, 1);
}

TEST_F(CookieParse, MaxAgeIsAddedToPseudoUtc) {
  int64_t before = jar.getPseudoUTC();
  Cookie* c = Header("a=1; Max-Age=3600");
  int64_t after = jar.getPseudoUTC();
  ASSERT_NE(c, nullptr);
  EXPECT_GE(c->expires, before + 3600);
  EXPECT_LE(c->expires, after + 3600);
  EXPECT_STREQ(c->maxAgeText, "3600");
}

TEST_F(CookieParse, MaxAgeSkipsOneLeadingQuote) {
  int64_t before = jar.getPseudoUTC();
  Cookie* c = Header("a=1; max-age=\"30\"");
  ASSERT_NE(c, nullptr);
  EXPECT_GE(c->expires, before + 30);
  EXPECT_LE(c->expires, jar.getPseudoUTC() + 30);
  EXPECT_STREQ(c->maxAgeText, "\"30\"");
}

TEST_F(CookieParse, MaxAgeZeroExpiresAtTheCurrentSecondAndIsNotSent) {
  int64_t before = jar.getPseudoUTC();
  Cookie* c = Header("a=1; max-age=0", "h.test", "/");
  ASSERT_NE(c, nullptr);
  EXPECT_GE(c->expires, before);
  EXPECT_LE(c->expires, jar.getPseudoUTC());
  EXPECT_EQ(jar.getCookieEntryFromList(list, "h.test", "/", true), nullptr);
}

TEST_F(CookieParse, MaxAgeSumIsTakenInThirtyTwoBits) {
  // Intended: a huge max-age wraps into a negative expiry.
  int64_t before = jar.getPseudoUTC();
  Cookie* c = Header("a=1; max-age=2147483647");
  ASSERT_NE(c, nullptr);
  int64_t after = jar.getPseudoUTC();
  EXPECT_TRUE(c->expires == Wrapped(2147483647, before) || c->expires == Wrapped(2147483647, after))
      << c->expires;
  if (before > 0) {
    EXPECT_LT(c->expires, 0);
  }
}

TEST_F(CookieParse, MaxAgeBeyondTheRangeOfALongSaturatesBeforeTheSum) {
  // strtol on the device's 32-bit long: 3000000000 reads as 2147483647 and -3000000000 as
  // -2147483648; the sum with pseudo UTC then wraps in 32 bits.
  struct Row {
    const char* maxAge;
    int64_t read;
  };
  const Row rows[] = {{"3000000000", 2147483647}, {"-3000000000", -2147483647LL - 1}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.maxAge);
    int64_t before = jar.getPseudoUTC();
    Cookie* c = Header(std::string("a=1; max-age=") + row.maxAge);
    int64_t after = jar.getPseudoUTC();
    ASSERT_NE(c, nullptr);
    EXPECT_TRUE(c->expires == Wrapped(row.read, before) || c->expires == Wrapped(row.read, after))
        << c->expires;
  }
}

TEST_F(CookieParse, NegativeMaxAgeIsInThePast) {
  Cookie* c = Header("a=1; max-age=-10");
  ASSERT_NE(c, nullptr);
  EXPECT_LT(c->expires, jar.getPseudoUTC());
}

TEST_F(CookieParse, VersionIsStoredAndReplaced) {
  Cookie* c = Header("a=1; version=1; Version=2");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->version, "2");
}

TEST_F(CookieParse, DomainWithLeadingDotIsStoredWithoutItAndTailmatches) {
  Cookie* c = Header("a=1; domain=.site.test", "media.site.test", "/");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->domain, "site.test");
  EXPECT_TRUE(c->tailmatch);
}

TEST_F(CookieParse, DomainOfAnotherSiteRejectsTheCookie) {
  EXPECT_EQ(Header("a=1; domain=.site.test", "other.test", "/"), nullptr);
  EXPECT_EQ(Header("a=1; domain=badsite.test", "media.site.test", "/"), nullptr);
  EXPECT_EQ(list, nullptr);
}

TEST_F(CookieParse, DomainWithoutDotAlsoSetsTailmatch) {
  Cookie* c = Header("a=1; domain=site.test", "media.site.test", "/");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->domain, "site.test");
  EXPECT_TRUE(c->tailmatch);
}

TEST_F(CookieParse, DomainEqualToTheHostIsAccepted) {
  Cookie* c = Header("a=1; Domain=MEDIA.site.test", "media.site.test", "/");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->domain, "MEDIA.site.test");
  EXPECT_TRUE(c->tailmatch);
}

TEST_F(CookieParse, DomainWithTwoLeadingDotsLosesBoth) {
  Cookie* c = Header("a=1; domain=..site.test", nullptr, "/");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->domain, "site.test");
}

TEST_F(CookieParse, DomainIsAcceptedWhenTheRequestGaveNone) {
  Cookie* c = Header("a=1; domain=anything.test", nullptr, nullptr);
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->domain, "anything.test");
  EXPECT_TRUE(c->tailmatch);
}

TEST_F(CookieParse, SecondDomainReplacesTheFirst) {
  Cookie* c = Header("a=1; domain=media.site.test; domain=site.test", "media.site.test", "/");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->domain, "site.test");
}

TEST_F(CookieParse, BadDomainRejectsEvenWhenALaterOneMatches) {
  EXPECT_EQ(Header("a=1; domain=other.test; domain=site.test", "media.site.test", "/"), nullptr);
}

TEST_F(CookieParse, PublicSuffixDomainsAreNotChecked) {
  Cookie* c = Header("a=1; domain=.test", "media.site.test", "/");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->domain, "test");
}

TEST_F(CookieParse, LongValueIsCutTo4999Bytes) {
  std::string value(6000, 'v');
  Cookie* c = Header("a=" + value + "; path=/p");
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(strlen(c->value), 4999u);
  EXPECT_STREQ(c->path, "/p");
}

TEST_F(CookieParse, NameOfExactly1023BytesIsRead) {
  std::string name(1023, 'n');
  Cookie* c = Header(name + "=v");
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(std::string(c->name), name);
  EXPECT_STREQ(c->value, "v");
}

TEST_F(CookieParse, NameLongerThan1023BytesIsIgnored) {
  std::string name(1024, 'n');
  EXPECT_EQ(Header(name + "=v"), nullptr);
  Cookie* c = Header(name + "=v; b=2");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->name, "b");
}

TEST_F(CookieParse, SecureIsHonouredWithoutASecureRequest) {
  Cookie* c = Header("a=1; secure", "plain.test", "/");
  ASSERT_NE(c, nullptr);
  EXPECT_TRUE(c->secure);
}

TEST_F(CookieParse, EmptySegmentsBetweenSemicolonsAreSkipped) {
  Cookie* c = Header("a=1;; ;secure;", "h.test", "/");
  ASSERT_NE(c, nullptr);
  EXPECT_TRUE(c->secure);
}

TEST_F(CookieParse, HeaderFormLeavesTheLineUntouched) {
  char line[] = "a=1; path=/p; domain=site.test";
  std::string before = line;
  ASSERT_NE(jar.addCookieEntryToList(list, true, line, "x.site.test", "/"), nullptr);
  EXPECT_EQ(before, line);
}

// ---- merge ----

TEST_F(CookieParse, SameIdentityWithOtherNameCaseReplacesInPlace) {
  Cookie* a = Header("a=1");
  Cookie* b = Header("Token=old");
  Header("c=3");
  Cookie* again = Header("TOKEN=new");
  EXPECT_EQ(again, b);
  EXPECT_EQ(Count(), 3u);
  EXPECT_EQ(Values(), (std::vector<std::string>{"a=1", "TOKEN=new", "c=3"}));
  EXPECT_EQ(list, a);
}

TEST_F(CookieParse, ReplacementTakesAllFieldsOfTheNewCookie) {
  Cookie* old = Header("a=1; secure; httponly; max-age=100; version=1");
  Cookie* now = Header("a=2");
  ASSERT_EQ(now, old);
  EXPECT_STREQ(now->value, "2");
  EXPECT_FALSE(now->secure);
  EXPECT_FALSE(now->httponly);
  EXPECT_EQ(now->expires, 0);
  EXPECT_EQ(now->maxAgeText, nullptr);
  EXPECT_EQ(now->version, nullptr);
}

TEST_F(CookieParse, OtherPathIsAnotherCookie) {
  Header("a=1; path=/x");
  Header("a=2; path=/y");
  EXPECT_EQ(Count(), 2u);
}

TEST_F(CookieParse, PathIdentityUsesTheSanitizedPathIgnoringCase) {
  Cookie* first = Header("a=1; path=/Dir/");
  Cookie* second = Header("a=2; path=\"/dir\"");
  EXPECT_EQ(first, second);
  EXPECT_EQ(Count(), 1u);
  EXPECT_STREQ(first->path, "\"/dir\"");
}

TEST_F(CookieParse, DomainIdentityIgnoresCase) {
  Cookie* first = Header("a=1", "Media.Site.Test", "/");
  Cookie* second = Header("a=2", "media.site.test", "/");
  EXPECT_EQ(first, second);
  EXPECT_EQ(Count(), 1u);
}

TEST_F(CookieParse, NullDomainsAreEqualButNullAndSetAreNot) {
  Cookie* first = Header("a=1", nullptr, "/");
  Cookie* second = Header("a=2", nullptr, "/");
  EXPECT_EQ(first, second);
  Header("a=3", "h.test", "/");
  EXPECT_EQ(Count(), 2u);
}

TEST_F(CookieParse, NullPathsAreEqualButNullAndSetAreNot) {
  Cookie* first = Header("a=1", "h.test", nullptr);
  Cookie* second = Header("a=2", "h.test", nullptr);
  EXPECT_EQ(first, second);
  Header("a=3", "h.test", "/");
  EXPECT_EQ(Count(), 2u);
}

TEST_F(CookieParse, ExpiredReplacementStaysInTheList) {
  Header("a=1", "h.test", "/");
  Cookie* gone = Header("a=1; max-age=-1", "h.test", "/");
  ASSERT_NE(gone, nullptr);
  EXPECT_EQ(Count(), 1u);
  EXPECT_NE(gone->expires, 0);
  EXPECT_EQ(jar.getCookieEntryFromList(list, "h.test", "/", false), nullptr);
}

TEST_F(CookieParse, RejectedCookieLeavesTheListAlone) {
  Header("a=1");
  EXPECT_EQ(Header("a=2; path=/; path=/"), nullptr);
  EXPECT_EQ(Values(), (std::vector<std::string>{"a=1"}));
}

// ---- file form ----

TEST_F(CookieParse, FileRecordOfSevenFields) {
  Cookie* c = File(".site.test\ttrue\t/p/\tfalse\t2000000000\tname\tvalue\n");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->domain, "site.test");
  EXPECT_TRUE(c->tailmatch);
  EXPECT_STREQ(c->path, "/p/");
  EXPECT_STREQ(c->sanitizedPath, "/p");
  EXPECT_FALSE(c->secure);
  EXPECT_EQ(c->expires, 2000000000);
  EXPECT_STREQ(c->name, "name");
  EXPECT_STREQ(c->value, "value");
  EXPECT_FALSE(c->httponly);
}

TEST_F(CookieParse, FileRecordFlagsIgnoreCase) {
  Cookie* c = File("h.test\tTRUE\t/\tTrue\t0\tn\tv");
  ASSERT_NE(c, nullptr);
  EXPECT_TRUE(c->tailmatch);
  EXPECT_TRUE(c->secure);
}

TEST_F(CookieParse, FileRecordTailmatchComesFromFieldTwoNotFromTheDot) {
  Cookie* c = File(".site.test\tfalse\t/\tfalse\t0\tn\tv");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->domain, "site.test");
  EXPECT_FALSE(c->tailmatch);
  Cookie* d = File("plain.test\ttrue\t/\tfalse\t0\tm\tv");
  ASSERT_NE(d, nullptr);
  EXPECT_TRUE(d->tailmatch);
}

TEST_F(CookieParse, HttpOnlyPrefixSetsTheFlag) {
  Cookie* c = File("#HttpOnly_.site.test\ttrue\t/\ttrue\t0\tn\tv");
  ASSERT_NE(c, nullptr);
  EXPECT_TRUE(c->httponly);
  EXPECT_STREQ(c->domain, "site.test");
}

TEST_F(CookieParse, HttpOnlyPrefixIsCaseSensitive) {
  EXPECT_EQ(File("#httponly_site.test\ttrue\t/\ttrue\t0\tn\tv"), nullptr);
}

TEST_F(CookieParse, CommentAndEmptyLinesAreRejected) {
  EXPECT_EQ(File("# Netscape HTTP Cookie File\n"), nullptr);
  EXPECT_EQ(File("#HttpOnly_#x\ttrue\t/\ttrue\t0\tn\tv"), nullptr);
  EXPECT_EQ(File("\n"), nullptr);
  EXPECT_EQ(File("\r\n"), nullptr);
  EXPECT_EQ(File(""), nullptr);
  EXPECT_EQ(File("\t\t\t"), nullptr);
  EXPECT_EQ(list, nullptr);
}

TEST_F(CookieParse, CompactRecordOfSixFieldsHasTheRootPath) {
  Cookie* c = File("site.test\tfalse\tfalse\t123\tn\tv");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->path, "/");
  EXPECT_STREQ(c->sanitizedPath, "/");
  EXPECT_FALSE(c->secure);
  EXPECT_EQ(c->expires, 123);
  EXPECT_STREQ(c->name, "n");
  EXPECT_STREQ(c->value, "v");
}

TEST_F(CookieParse, CompactRecordWithTrueThirdFieldIsSecure) {
  Cookie* c = File("site.test\tfalse\ttrue\t0\tn\tv");
  ASSERT_NE(c, nullptr);
  EXPECT_TRUE(c->secure);
  EXPECT_STREQ(c->path, "/");
}

TEST_F(CookieParse, UpperCaseThirdFieldIsAPath) {
  Cookie* c = File("site.test\tTRUE\tTRUE\tTRUE\t7\tn\tv");
  ASSERT_NE(c, nullptr);
  EXPECT_TRUE(c->tailmatch);
  EXPECT_STREQ(c->path, "TRUE");
  EXPECT_STREQ(c->sanitizedPath, "/");
  EXPECT_TRUE(c->secure);
  EXPECT_EQ(c->expires, 7);
}

TEST_F(CookieParse, RecordEndingAfterTheNameHasAnEmptyValue) {
  Cookie* c = File("site.test\tfalse\t/\tfalse\t0\tn\n");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->name, "n");
  EXPECT_STREQ(c->value, "");
}

TEST_F(CookieParse, RecordsOfEightAndOfFiveFieldsAreRejected) {
  EXPECT_EQ(File("site.test\tfalse\t/\tfalse\t0\tn\tv\textra"), nullptr);
  EXPECT_EQ(File("site.test\tfalse\t/\tfalse\t0"), nullptr);
  EXPECT_EQ(File("site.test"), nullptr);
  EXPECT_EQ(list, nullptr);
}

TEST_F(CookieParse, EmptyRunsBetweenTabsGiveNoField) {
  Cookie* c = File("site.test\t\ttrue\t\t/p\tfalse\t0\tn\t\tv");
  ASSERT_NE(c, nullptr);
  EXPECT_TRUE(c->tailmatch);
  EXPECT_STREQ(c->path, "/p");
  EXPECT_STREQ(c->value, "v");
}

TEST_F(CookieParse, ExpiryIsReadAsAThirtyTwoBitLongThatSaturatesAndIsSignExtended) {
  struct Row {
    const char* field;
    int64_t expires;
  };
  const Row rows[] = {
      {"-5", -5},                            // sign-extended, not 4294967291
      {"2147483647", 2147483647},            // the largest 32-bit long
      {"2147483648", 2147483647},            // beyond it strtol saturates
      {"3000000000", 2147483647},            // not the low 32 bits (-1294967296)
      {"4294967296", 2147483647},            // not the low 32 bits (0)
      {"-2147483648", -2147483647LL - 1},    // the smallest 32-bit long
      {"-3000000000", -2147483647LL - 1},    // beyond it strtol saturates
      {"99999999999999999999", 2147483647},  //
      {"1700000000junk", 1700000000},        // strtol stops after the number
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.field);
    Cookie* c = File(std::string("a.test\tfalse\t/\tfalse\t") + row.field + "\tn\tv");
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->expires, row.expires);
  }
}

TEST_F(CookieParse, CarriageReturnEndsTheRecord) {
  Cookie* c = File("a.test\tfalse\t/\tfalse\t0\tn\tv\r\n");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->value, "v");
}

TEST_F(CookieParse, OnlyOneLeadingDotOfTheDomainGoes) {
  Cookie* c = File("..a.test\tfalse\t/\tfalse\t0\tn\tv");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->domain, ".a.test");
}

TEST_F(CookieParse, FileFormCutsTheLineInPlace) {
  ASSERT_NE(File("a.test\tfalse\t/\tfalse\t0\tn\tv\n"), nullptr);
  EXPECT_STREQ(buffer.data(), "a.test");
}

TEST_F(CookieParse, LaterFileRecordOfTheSameIdentityReplacesTheEarlier) {
  Cookie* first = File("a.test\tfalse\t/p\tfalse\t0\tn\tone");
  File("a.test\tfalse\t/q\tfalse\t0\tn\tother");
  Cookie* again = File("A.TEST\ttrue\t/p/\ttrue\t5\tN\ttwo");
  EXPECT_EQ(again, first);
  EXPECT_EQ(Count(), 2u);
  EXPECT_STREQ(first->value, "two");
  EXPECT_TRUE(first->secure);
}
