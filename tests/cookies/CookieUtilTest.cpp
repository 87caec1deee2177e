#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "Cookie.h"
#include "CookieUtil.h"

using namespace strmcommon;

namespace {

std::string Sanitized(const char* in) {
  char* out = sanitize_cookie_path(in);
  std::string text = out ? out : "<null>";
  free(out);
  return text;
}

Cookie Make(const char* name, const char* path, const char* domain) {
  Cookie c{};
  c.name = const_cast<char*>(name);
  c.path = const_cast<char*>(path);
  c.domain = const_cast<char*>(domain);
  return c;
}

int Sort(const Cookie& a, const Cookie& b) {
  const Cookie* pa = &a;
  const Cookie* pb = &b;
  return cookie_sort(&pa, &pb);
}

}  // namespace

TEST(CookieUtil, ShiftToUpperMapsOnlyLowerCaseLetters) {
  EXPECT_EQ(shiftToUpper('a'), 'A');
  EXPECT_EQ(shiftToUpper('z'), 'Z');
  EXPECT_EQ(shiftToUpper('m'), 'M');
  EXPECT_EQ(shiftToUpper('A'), 'A');
  EXPECT_EQ(shiftToUpper('0'), '0');
  EXPECT_EQ(shiftToUpper('{'), '{');
  EXPECT_EQ(shiftToUpper('`'), '`');
  EXPECT_EQ(shiftToUpper(static_cast<char>(0xe4)), static_cast<char>(0xe4));
}

TEST(CookieUtil, RawEqualIgnoresAsciiCase) {
  EXPECT_TRUE(rawEqual("Secure", "sECURE"));
  EXPECT_TRUE(rawEqual("", ""));
  EXPECT_FALSE(rawEqual("secure", "secur"));
  EXPECT_FALSE(rawEqual("secur", "secure"));
  EXPECT_FALSE(rawEqual("a", "b"));
  EXPECT_FALSE(rawEqual("[", "{"));  // only letters fold
}

TEST(CookieUtil, RawNEqualComparesAtMostNCharacters) {
  EXPECT_TRUE(rawNEqual("Set-Cookie: a=b", "set-cookie:", 11));
  EXPECT_TRUE(rawNEqual("abcX", "ABCY", 3));
  EXPECT_FALSE(rawNEqual("abcX", "ABCY", 4));
  EXPECT_TRUE(rawNEqual("anything", "else", 0));
  EXPECT_FALSE(rawNEqual("ab", "abc", 3));
  EXPECT_TRUE(rawNEqual("ab", "AB", 5));  // both end before n: equal
}

TEST(CookieUtil, IsBlankIsTrueForTheSpaceAlone) {
  EXPECT_TRUE(isBlank(' '));
  EXPECT_FALSE(isBlank('\t'));
  EXPECT_FALSE(isBlank('\n'));
  EXPECT_FALSE(isBlank('\0'));
  EXPECT_FALSE(isBlank('a'));
}

TEST(CookieUtil, StrstoreReplacesTheStoredString) {
  char* s = nullptr;
  strstore(&s, "first");
  ASSERT_NE(s, nullptr);
  EXPECT_STREQ(s, "first");
  const char* source = "second";
  strstore(&s, source);
  EXPECT_STREQ(s, "second");
  EXPECT_NE(s, source);  // a copy, not the argument
  free(s);
}

TEST(CookieUtil, MemrchrFindsTheLastOccurrenceWithinTheRange) {
  const char text[] = "/a/b/c?x/y";
  EXPECT_EQ(strmcommon::memrchr(text, '/', 6), text + 4);
  EXPECT_EQ(strmcommon::memrchr(text, '/', 10), text + 8);
  EXPECT_EQ(strmcommon::memrchr(text, '/', 1), text);
  EXPECT_EQ(strmcommon::memrchr(text, '/', 0), nullptr);
  EXPECT_EQ(strmcommon::memrchr(text, 'q', 10), nullptr);
  const unsigned char bytes[] = {0xff, 1, 0xff, 2};
  EXPECT_EQ(strmcommon::memrchr(bytes, 0xff, 4), bytes + 2);
}

TEST(CookieUtil, TailmatchAcceptsTheDomainAndItsSubdomains) {
  EXPECT_TRUE(tailmatch("site.test", "media.site.test"));
  EXPECT_TRUE(tailmatch("site.test", "SITE.TEST"));
  EXPECT_TRUE(tailmatch("site.test", "a.b.site.test"));
  EXPECT_FALSE(tailmatch("site.test", "badsite.test"));
  EXPECT_FALSE(tailmatch("media.site.test", "site.test"));  // domain longer than host
  EXPECT_FALSE(tailmatch("site.test", "site.test.other"));
  EXPECT_TRUE(tailmatch("Site.Test", "x.site.test"));
}

TEST(CookieUtil, PathmatchFollowsPathSegments) {
  EXPECT_TRUE(pathmatch("/a", "/a"));
  EXPECT_TRUE(pathmatch("/a", "/a/b"));
  EXPECT_TRUE(pathmatch("/a", "/a?x=1"));
  EXPECT_FALSE(pathmatch("/a", "/ab"));
  EXPECT_FALSE(pathmatch("/A", "/a"));  // case significant
  EXPECT_FALSE(pathmatch("/a/b", "/a"));
  EXPECT_FALSE(pathmatch("/a", "/b?/a"));
}

TEST(CookieUtil, PathmatchWithOneCharacterPathMatchesEverything) {
  EXPECT_TRUE(pathmatch("/", "/anything"));
  EXPECT_TRUE(pathmatch("/", ""));
  // Whatever that one character is: intended.
  EXPECT_TRUE(pathmatch("x", "/elsewhere"));
}

TEST(CookieUtil, PathmatchTakesARequestPathWithoutLeadingSlashAsRoot) {
  EXPECT_FALSE(pathmatch("/a", "a/b"));
  EXPECT_FALSE(pathmatch("/a", ""));
  EXPECT_FALSE(pathmatch("/a", "?/a"));
}

TEST(CookieUtil, SanitizeCookiePathStripsQuotesAndTrailingSlash) {
  EXPECT_EQ(Sanitized("\"/x/\""), "/x");
  EXPECT_EQ(Sanitized("x"), "/");
  EXPECT_EQ(Sanitized("/"), "/");
  EXPECT_EQ(Sanitized("/a/b/"), "/a/b");
  EXPECT_EQ(Sanitized("/a//"), "/a/");  // one slash only
  EXPECT_EQ(Sanitized(""), "/");
  EXPECT_EQ(Sanitized("\""), "/");
  EXPECT_EQ(Sanitized("\"/q"), "/q");
  EXPECT_EQ(Sanitized("/q\""), "/q");
  EXPECT_EQ(Sanitized("\"\"/q\"\""), "/");  // only one quote each side goes
}

TEST(CookieUtil, CookieSortPutsLongerRawPathFirst) {
  Cookie a = Make("a", "/long/path", "x.test");
  Cookie b = Make("b", "/p", "longer.domain.test");
  EXPECT_LT(Sort(a, b), 0);
  EXPECT_GT(Sort(b, a), 0);
}

TEST(CookieUtil, CookieSortUsesTheRawPathNotTheSanitizedOne) {
  Cookie a = Make("a", "/dir/", "x.test");
  Cookie b = Make("b", "/dir", "x.test");
  a.sanitizedPath = const_cast<char*>("/dir");
  b.sanitizedPath = const_cast<char*>("/dir");
  EXPECT_LT(Sort(a, b), 0);
}

TEST(CookieUtil, CookieSortPutsLongerDomainFirstOnEqualPathLength) {
  Cookie a = Make("z", "/p", "a.site.test");
  Cookie b = Make("a", "/p", "site.test");
  EXPECT_LT(Sort(a, b), 0);
  EXPECT_GT(Sort(b, a), 0);
}

TEST(CookieUtil, CookieSortOrdersByNameOnEqualLengths) {
  Cookie a = Make("alpha", "/p", "site.test");
  Cookie b = Make("beta", "/q", "test.site");
  EXPECT_LT(Sort(a, b), 0);
  EXPECT_GT(Sort(b, a), 0);
  EXPECT_EQ(Sort(a, a), 0);
}

TEST(CookieUtil, CookieSortCountsNullStringsAsEmpty) {
  Cookie a = Make("a", nullptr, nullptr);
  Cookie b = Make("b", "/", nullptr);
  EXPECT_GT(Sort(a, b), 0);
  Cookie c = Make(nullptr, nullptr, nullptr);
  Cookie d = Make("d", nullptr, nullptr);
  EXPECT_EQ(Sort(c, d), 0);  // a missing name makes them equal
}
