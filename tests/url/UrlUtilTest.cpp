#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "UrlTestHelpers.h"
#include "gurl.h"
#include "url_canon_internal.h"
#include "url_canon_stdstring.h"
#include "url_util.h"

using url_parse::Component;
using url_parse::Parsed;
using urltest::Part;
using urltest::W;

namespace {

struct CanonResult {
  bool valid;
  std::string text;
  Parsed parsed;
};

CanonResult Canon(const std::string& in) {
  CanonResult r;
  url_canon::StdStringCanonOutput out(&r.text);
  r.valid =
      url_util::Canonicalize(in.data(), static_cast<int>(in.size()), nullptr, &out, &r.parsed);
  out.Complete();
  return r;
}

CanonResult Canon16(const string16& in) {
  CanonResult r;
  url_canon::StdStringCanonOutput out(&r.text);
  r.valid =
      url_util::Canonicalize(in.data(), static_cast<int>(in.size()), nullptr, &out, &r.parsed);
  out.Complete();
  return r;
}

// Restores the default scheme list after tests that register schemes.
class SchemeRegistry : public ::testing::Test {
 protected:
  void TearDown() override { url_util::Shutdown(); }
};

struct UrlCase {
  const char* input;
  const char* output;
  bool valid;
};

// One table per kind of URL; each row is canonicalised in both widths.
const UrlCase kStandardUrls[] = {
    {"http://www.example.com/", "http://www.example.com/", true},
    {"HTTP://A/", "http://a/", true},
    {"http://HOST:80/", "http://host/", true},
    {"http://host:8080/", "http://host:8080/", true},
    {"https://host:443/x", "https://host/x", true},
    {"https://host:80/x", "https://host:80/x", true},
    {"ftp://h:21/", "ftp://h/", true},
    {"gopher://h:70/", "gopher://h/", true},
    {"ws://h:80/", "ws://h/", true},
    {"wss://h:443/", "wss://h/", true},
    {"http://h", "http://h/", true},
    {"http://h?q", "http://h/?q", true},
    {"http://h#r", "http://h/#r", true},
    {"http:foo", "http://foo/", true},
    {"http:///foo", "http://foo/", true},
    {"http:\\\\host\\a\\b", "http://host/a/b", true},
    {"  http://host/  ", "http://host/", true},
    {"ht\ttp://h\n/a\r", "http://h/a", true},
    {"http://u:@h/", "http://u@h/", true},
    {"http://@h/", "http://h/", true},
    {"http://u:p@h/", "http://u:p@h/", true},
    {"http://a@b@c/", "http://a%40b@c/", true},
    {"http://a b/", "http://a%20b/", true},
    {"http://a~b/", "http://a%7Eb/", false},
    {"http://h%41st/", "http://hast/", true},
    {"http://h\xC3\xA9st/", "http://h%00%00st/", false},
    {"http://h%C3%A9st/", "http://h%00%00st/", false},
    {"http://1.2.3/", "http://1.2.0.3/", true},
    {"http://0x7f.1/", "http://127.0.0.1/", true},
    {"http://2130706433/", "http://127.0.0.1/", true},
    {"http://256.1.1.1/", "http://256.1.1.1/", false},
    {"http://[1::0:2]/", "http://[1::2]/", true},
    {"http://[::ffff:1.2.3.4]/", "http://[::ffff:102:304]/", true},
    {"http://[::1]:8080/", "http://[::1]:8080/", true},
    {"http://[::1/", "http://[::1/", false},
    {"http://h/?a b", "http://h/?a%20b", true},
    {"http://h/?\xC3\xA9", "http://h/?%00%00", true},
    {"http://h/#a b", "http://h/#a b", true},
    {"http://h/a b", "http://h/a%20b", true},
    {"http://h/a%2fb", "http://h/a%2fb", true},
    {"http://h/%41", "http://h/A", true},
    {"http://h/\xC3\xA9", "http://h/%C3%A9", true},
    {"http://h/a/./b/../c", "http://h/a/c", true},
    {"http://h:65536/", "http://h:65536/", false},
    {"http://h:8a/", "http://h:8a/", false},
    {"http://h:/", "http://h/", true},
    {"http://:80/", "http:///", false},
    {"http://u@/", "http://u@/", false},
    {"http:", "http:", false},
    {"http://", "http:", false},
    {"http://h;x/y", "http://h/;x/y", true},
    {"http://h/p?q#r", "http://h/p?q#r", true},
};

const UrlCase kFileUrls[] = {
    {"file:///a/b", "file:///a/b", true},
    {"FILE:///A", "file:///A", true},
    {"file:a", "file:///a", true},
    {"file:/a", "file:///a", true},
    {"file:////a", "file:///a", true},
    {"file://server/share", "file://server/share", true},
    {"file://SERVER", "file://server/", true},
    {"file://", "file:///", true},
    {"file:", "file:///", true},
    {"file:///a/../b?q#r", "file:///b?q#r", true},
    {"file:\\\\srv\\x", "file://srv/x", true},
    {"file:///a b", "file:///a%20b", true},
    {"file://a~b/", "file://a%7Eb/", false},
};

const UrlCase kPathUrls[] = {
    {"data:x", "data:x", true},
    {"data:text/plain;a?b#c", "data:text/plain;a?b#c", true},
    {"weird:Some Thing", "weird:Some Thing", true},
    {"JavaScript:alert(1)", "javascript:alert(1)", true},
    {"about:", "about:", true},
    {"data:a\x01"
     "b",
     "data:a%00b", false},
    {"data:\xC3\xA9", "data:%00%00", false},
    {"data:a\x7f", "data:a\x7f", true},
    {":foo", ":foo", true},
    {"a b:c", "a%20b:c", false},
    {"x\xC3:y", "x%00:y", false},
};

const UrlCase kMailtoUrls[] = {
    {"mailto:x?subject=y", "mailto:x?subject=y", true},
    {"MAILTO:Who@Where", "mailto:Who@Where", true},
    {"mailto:a b?c d#e", "mailto:a b?c%20d%23e", true},
    {"mailto:", "mailto:", true},
    {"mailto:?q", "mailto:?q", true},
    {"mailto:\xC3\xA9", "mailto:%00%00", false},
    {"mailto:a\x01"
     "b",
     "mailto:a%00b", false},
    {"mailto:x?\xC3\xA9", "mailto:x?%00%00", true},
};

class UrlKind : public ::testing::TestWithParam<UrlCase> {};

TEST_P(UrlKind, CanonicalizesToTheExpectedText) {
  const UrlCase& c = GetParam();
  CanonResult r = Canon(c.input);
  EXPECT_EQ(c.output, r.text) << c.input;
  EXPECT_EQ(c.valid, r.valid) << c.input;
}

TEST_P(UrlKind, SixteenBitFormAgreesOnAsciiInput) {
  const UrlCase& c = GetParam();
  std::string in(c.input);
  for (unsigned char ch : in) {
    if (ch >= 0x80) return;  // the forms differ by design beyond ASCII
  }
  CanonResult r8 = Canon(in);
  CanonResult r16 = Canon16(W(in));
  EXPECT_EQ(r8.text, r16.text);
  EXPECT_EQ(r8.valid, r16.valid);
  EXPECT_EQ(r8.parsed.scheme, r16.parsed.scheme);
  EXPECT_EQ(r8.parsed.host, r16.parsed.host);
  EXPECT_EQ(r8.parsed.port, r16.parsed.port);
  EXPECT_EQ(r8.parsed.path, r16.parsed.path);
  EXPECT_EQ(r8.parsed.query, r16.parsed.query);
  EXPECT_EQ(r8.parsed.ref, r16.parsed.ref);
}

TEST_P(UrlKind, ComponentRangesLieInsideTheText) {
  CanonResult r = Canon(GetParam().input);
  int len = static_cast<int>(r.text.size());
  for (const Component* c :
       {&r.parsed.scheme, &r.parsed.username, &r.parsed.password, &r.parsed.host, &r.parsed.port,
        &r.parsed.path, &r.parsed.query, &r.parsed.ref}) {
    if (!c->is_valid()) continue;
    EXPECT_GE(c->begin, 0);
    EXPECT_LE(c->end(), len);
  }
}

INSTANTIATE_TEST_SUITE_P(Standard, UrlKind, ::testing::ValuesIn(kStandardUrls));
INSTANTIATE_TEST_SUITE_P(File, UrlKind, ::testing::ValuesIn(kFileUrls));
INSTANTIATE_TEST_SUITE_P(Path, UrlKind, ::testing::ValuesIn(kPathUrls));
INSTANTIATE_TEST_SUITE_P(Mailto, UrlKind, ::testing::ValuesIn(kMailtoUrls));

TEST(UrlUtil, CanonicalizeWithoutSchemeFailsAndWritesNothing) {
  CanonResult r = Canon("nocolon");
  EXPECT_FALSE(r.valid);
  EXPECT_EQ("", r.text);
  CanonResult blank = Canon("   ");
  EXPECT_FALSE(blank.valid);
  EXPECT_EQ("", blank.text);
}

TEST(UrlUtil, CanonicalComponentsOfAFullUrl) {
  CanonResult r = Canon("HTTP://User:Pw@Host:81/P?Q#R");
  EXPECT_EQ("http://User:Pw@host:81/P?Q#R", r.text);
  EXPECT_EQ("http", Part(r.text, r.parsed.scheme));
  EXPECT_EQ("User", Part(r.text, r.parsed.username));
  EXPECT_EQ("Pw", Part(r.text, r.parsed.password));
  EXPECT_EQ("host", Part(r.text, r.parsed.host));
  EXPECT_EQ("81", Part(r.text, r.parsed.port));
  EXPECT_EQ("/P", Part(r.text, r.parsed.path));
  EXPECT_EQ("Q", Part(r.text, r.parsed.query));
  EXPECT_EQ("R", Part(r.text, r.parsed.ref));
}

TEST(UrlUtil, MailtoHasOnlySchemePathAndQuery) {
  CanonResult r = Canon("mailto:x?y");
  EXPECT_EQ("x", Part(r.text, r.parsed.path));
  EXPECT_EQ("y", Part(r.text, r.parsed.query));
  EXPECT_FALSE(r.parsed.host.is_valid());
  EXPECT_FALSE(r.parsed.ref.is_valid());
}

TEST(UrlUtil, PathUrlHasNoQueryOrRef) {
  CanonResult r = Canon("data:a?b#c");
  EXPECT_EQ("a?b#c", Part(r.text, r.parsed.path));
  EXPECT_FALSE(r.parsed.query.is_valid());
  EXPECT_FALSE(r.parsed.ref.is_valid());
}

TEST(UrlUtil, DefaultStandardSchemes) {
  for (const char* s : {"http", "https", "file", "ftp", "gopher", "ws", "wss", "HTTP", "Wss"}) {
    std::string t(s);
    EXPECT_TRUE(url_util::IsStandard(t.data(), Component(0, static_cast<int>(t.size())))) << s;
    string16 w = W(t);
    EXPECT_TRUE(url_util::IsStandard(w.data(), Component(0, static_cast<int>(t.size())))) << s;
  }
  for (const char* s : {"mailto", "data", "about", "javascript", "htt", "httpx"}) {
    std::string t(s);
    EXPECT_FALSE(url_util::IsStandard(t.data(), Component(0, static_cast<int>(t.size())))) << s;
  }
  EXPECT_FALSE(url_util::IsStandard("http", Component(0, 0)));
  EXPECT_FALSE(url_util::IsStandard("http", Component()));
}

TEST_F(SchemeRegistry, AddedSchemeBecomesStandard) {
  url_util::AddStandardScheme("foo");
  EXPECT_EQ("foo://host/", Canon("foo://Host/").text);
  EXPECT_EQ("foo://x/", Canon("foo:x").text);
  EXPECT_TRUE(Canon("FOO://h/").valid);
}

TEST_F(SchemeRegistry, ShutdownDropsAddedSchemesAndTheListRefills) {
  url_util::AddStandardScheme("foo");
  url_util::Shutdown();
  EXPECT_EQ("foo://Host/", Canon("foo://Host/").text);
  EXPECT_EQ("http://h/", Canon("HTTP://H").text);
  url_util::Initialize();
  url_util::Initialize();
  EXPECT_TRUE(url_util::IsStandard("ws", Component(0, 2)));
}

TEST_F(SchemeRegistry, AddingAnEmptySchemeDoesNothing) {
  url_util::AddStandardScheme("");
  EXPECT_FALSE(url_util::IsStandard(":", Component(0, 0)));
  EXPECT_EQ(":x", Canon(":x").text);
}

TEST_F(SchemeRegistry, AddedSchemeTextIsCopied) {
  char name[] = "bar";
  url_util::AddStandardScheme(name);
  name[0] = 'z';
  EXPECT_TRUE(url_util::IsStandard("bar", Component(0, 3)));
  EXPECT_FALSE(url_util::IsStandard("zar", Component(0, 3)));
}

TEST_F(SchemeRegistry, FileIsDecidedBeforeTheList) {
  url_util::AddStandardScheme("file");
  EXPECT_EQ("file:///a", Canon("file:a").text);
  EXPECT_EQ("file://srv/x", Canon("file://srv/x").text);
}

TEST_F(SchemeRegistry, SchemeWithoutDefaultPortKeepsItsPort) {
  url_util::AddStandardScheme("rtsp");
  EXPECT_EQ("rtsp://h:80/", Canon("rtsp://h:80/").text);
}

TEST(UrlUtil, FindAndCompareScheme) {
  Component found(7, 7);
  EXPECT_TRUE(url_util::FindAndCompareScheme("HTTP://x", 8, "http", &found));
  EXPECT_EQ(Component(0, 4), found);
  EXPECT_FALSE(url_util::FindAndCompareScheme("https://x", 9, "http", &found));
  EXPECT_EQ(Component(0, 5), found);
  EXPECT_FALSE(url_util::FindAndCompareScheme("nocolon", 7, "http", &found));
  EXPECT_FALSE(found.is_valid());
  EXPECT_TRUE(url_util::FindAndCompareScheme(":x", 2, "", nullptr));
  EXPECT_FALSE(url_util::FindAndCompareScheme(":x", 2, "http", nullptr));
  string16 w = W(" Mailto:a");
  EXPECT_TRUE(
      url_util::FindAndCompareScheme(w.data(), static_cast<int>(w.size()), "mailto", &found));
  EXPECT_EQ(Component(1, 6), found);
}

TEST(UrlUtil, LowerCaseEqualsASCIIFoldsOnlyTheFirstRange) {
  std::string a = "HtTp";
  EXPECT_TRUE(url_util::LowerCaseEqualsASCII(a.data(), a.data() + 4, "http"));
  EXPECT_FALSE(url_util::LowerCaseEqualsASCII(a.data(), a.data() + 4, "HTTP"));
  EXPECT_FALSE(url_util::LowerCaseEqualsASCII(a.data(), a.data() + 4, "https"));
  EXPECT_FALSE(url_util::LowerCaseEqualsASCII(a.data(), a.data() + 3, "http"));
  EXPECT_TRUE(url_util::LowerCaseEqualsASCII(a.data(), a.data(), ""));
  EXPECT_FALSE(url_util::LowerCaseEqualsASCII(a.data(), a.data(), "h"));

  std::string b = "http";
  EXPECT_TRUE(url_util::LowerCaseEqualsASCII(a.data(), a.data() + 4, b.data(), b.data() + 4));
  EXPECT_FALSE(url_util::LowerCaseEqualsASCII(b.data(), b.data() + 4, a.data(), a.data() + 4));
  EXPECT_FALSE(url_util::LowerCaseEqualsASCII(a.data(), a.data() + 4, b.data(), b.data() + 3));

  string16 w = W("HTTP");
  EXPECT_TRUE(url_util::LowerCaseEqualsASCII(w.data(), w.data() + 4, "http"));
  EXPECT_TRUE(url_util::LowerCaseEqualsASCII(w.data(), w.data() + 4, b.data(), b.data() + 4));
  EXPECT_FALSE(url_util::LowerCaseEqualsASCII(w.data(), w.data() + 3, b.data(), b.data() + 4));
}

// Replacement -----------------------------------------------------------------------------------

struct ReplaceResult {
  bool valid;
  std::string text;
};

template <typename CHAR>
ReplaceResult Replace(const std::string& base, const url_canon::Replacements<CHAR>& repl) {
  CanonResult b = Canon(base);
  ReplaceResult r;
  Parsed outParsed;
  url_canon::StdStringCanonOutput out(&r.text);
  r.valid = url_util::ReplaceComponents(b.text.data(), static_cast<int>(b.text.size()), b.parsed,
                                        repl, nullptr, &out, &outParsed);
  out.Complete();
  return r;
}

struct ReplaceCase {
  const char* base;
  const char* scheme;
  const char* username;
  const char* password;
  const char* host;
  const char* port;
  const char* path;
  const char* query;
  const char* ref;
  const char* expected;
  bool valid;
};

// nullptr keeps the base's component, "<clear>" clears it, anything else replaces it.
const char* const kClear = "<clear>";

const ReplaceCase kReplaceCases[] = {
    {"http://h/p?q#r", nullptr, nullptr, nullptr, nullptr, nullptr, "/x", nullptr, nullptr,
     "http://h/x?q#r", true},
    {"http://h/p?q#r", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, kClear, kClear,
     "http://h/p", true},
    {"http://h/p?q#r", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, "a b", "c d",
     "http://h/p?a%20b#c d", true},
    {"http://h/p", nullptr, "u", "pw", "NEW", "8080", nullptr, nullptr, nullptr,
     "http://u:pw@new:8080/p", true},
    {"http://u:pw@h:8080/p", nullptr, kClear, kClear, nullptr, kClear, nullptr, nullptr, nullptr,
     "http://h/p", true},
    {"http://h/p", nullptr, nullptr, nullptr, nullptr, "80", nullptr, nullptr, nullptr,
     "http://h/p", true},
    {"http://h/p", nullptr, nullptr, nullptr, "a~b", nullptr, nullptr, nullptr, nullptr,
     "http://a%7Eb/p", false},
    {"http://h/p", nullptr, nullptr, nullptr, kClear, nullptr, nullptr, nullptr, nullptr, "http:/p",
     false},
    {"http://h/p", nullptr, nullptr, nullptr, nullptr, nullptr, "a/../b", nullptr, nullptr,
     "http://h/b", true},
    {"http://h/p", nullptr, nullptr, nullptr, nullptr, nullptr, kClear, nullptr, nullptr,
     "http://h/", true},
    {"http://h/p", "HTTPS", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
     "https://h/p", true},
    {"http://h:443/p", "https", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
     "https://h/p", true},
    {"http://h/p", "file", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
     "file://h/p", true},
    {"http://h/p", "data", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
     "data://h/p", true},
    {"http://h/p", "ht tp", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
     "ht%252520tp://h/p", false},
    {"file:///a", nullptr, nullptr, nullptr, "srv", nullptr, "/b", "q", nullptr, "file://srv/b?q",
     true},
    {"file:///a", nullptr, "u", nullptr, nullptr, "99", nullptr, nullptr, nullptr, "file:///a",
     true},
    {"mailto:a", nullptr, nullptr, nullptr, "h", nullptr, "b", "s=1", "r", "mailto:b?s=1", true},
    {"data:x", nullptr, nullptr, nullptr, nullptr, nullptr, "y#z", nullptr, nullptr, "data:y#z",
     true},
    {"data:x", nullptr, nullptr, nullptr, nullptr, nullptr, kClear, nullptr, nullptr,
     "data:", true},
};

template <typename STR>
url_canon::Replacements<typename STR::value_type> MakeReplacements(const ReplaceCase& c,
                                                                   STR (*conv)(const std::string&),
                                                                   std::vector<STR>* store) {
  typedef typename STR::value_type CHAR;
  url_canon::Replacements<CHAR> r;
  const char* parts[8] = {c.scheme, c.username, c.password, c.host, c.port, c.path, c.query, c.ref};
  store->reserve(8);
  for (int i = 0; i < 8; i++) {
    if (!parts[i]) continue;
    const CHAR* src;
    Component comp;
    if (parts[i] == kClear) {
      src = url_canon::Replacements<CHAR>::Placeholder();
    } else {
      store->push_back(conv(parts[i]));
      src = store->back().data();
      comp = Component(0, static_cast<int>(store->back().size()));
    }
    switch (i) {
      case 0:
        r.SetScheme(src, comp);
        break;
      case 1:
        r.SetUsername(src, comp);
        break;
      case 2:
        r.SetPassword(src, comp);
        break;
      case 3:
        r.SetHost(src, comp);
        break;
      case 4:
        r.SetPort(src, comp);
        break;
      case 5:
        r.SetPath(src, comp);
        break;
      case 6:
        r.SetQuery(src, comp);
        break;
      case 7:
        r.SetRef(src, comp);
        break;
    }
  }
  return r;
}

std::string Same(const std::string& s) { return s; }

class Replacement : public ::testing::TestWithParam<ReplaceCase> {};

TEST_P(Replacement, EightBit) {
  const ReplaceCase& c = GetParam();
  std::vector<std::string> store;
  ReplaceResult r = Replace(c.base, MakeReplacements(c, &Same, &store));
  EXPECT_EQ(c.expected, r.text) << c.base;
  EXPECT_EQ(c.valid, r.valid) << c.base;
}

TEST_P(Replacement, SixteenBitAgreesOnAscii) {
  const ReplaceCase& c = GetParam();
  std::vector<string16> store;
  ReplaceResult r = Replace(c.base, MakeReplacements(c, &W, &store));
  EXPECT_EQ(c.expected, r.text) << c.base;
  EXPECT_EQ(c.valid, r.valid) << c.base;
}

INSTANTIATE_TEST_SUITE_P(Url, Replacement, ::testing::ValuesIn(kReplaceCases));

TEST(UrlUtil, ReplacementsTrackWhatTheyCarry) {
  url_canon::Replacements<char> r;
  EXPECT_FALSE(r.IsSchemeOverridden());
  EXPECT_FALSE(r.IsRefOverridden());
  r.ClearRef();
  EXPECT_TRUE(r.IsRefOverridden());
  EXPECT_EQ(url_canon::Replacements<char>::Placeholder(), r.sources().ref);
  EXPECT_FALSE(r.components().ref.is_valid());
  r.SetQuery("abc", Component(1, 2));
  EXPECT_TRUE(r.IsQueryOverridden());
  EXPECT_EQ(Component(1, 2), r.components().query);
  EXPECT_STREQ("", url_canon::Replacements<char>::Placeholder());
  EXPECT_EQ(0, url_canon::Replacements<base::char16>::Placeholder()[0]);
}

TEST(UrlUtil, SixteenBitReplacementWithNonAsciiBecomesPercentZeroZero) {
  string16 path = W("/a");
  path.push_back(0xE9);
  url_canon::Replacements<base::char16> r;
  r.SetPath(path.data(), Component(0, 3));
  ReplaceResult res = Replace("http://h/", r);
  EXPECT_EQ("http://h/a%00", res.text);
  EXPECT_FALSE(res.valid);

  string16 query = W("x");
  query.push_back(0x4E2D);
  url_canon::Replacements<base::char16> rq;
  rq.SetQuery(query.data(), Component(0, 2));
  EXPECT_EQ("http://h/?x%00", Replace("http://h/", rq).text);
}

TEST(UrlUtil, ReplacementTakesOnlyTheGivenRangeOfTheSource) {
  url_canon::Replacements<char> r;
  r.SetHost("xxnewyy", Component(2, 3));
  EXPECT_EQ("http://new/", Replace("http://old/", r).text);
}

TEST(UrlUtil, SetupOverrideComponentsPutsInOnlyCarriedParts) {
  std::string base = "http://h/p";
  CanonResult b = Canon(base);
  url_canon::Replacements<char> r;
  r.SetQuery("q", Component(0, 1));
  r.ClearPath();
  url_canon::URLComponentSource<char> source(b.text.data());
  Parsed parsed(b.parsed);
  url_canon::SetupOverrideComponents(b.text.data(), r, &source, &parsed);
  EXPECT_EQ(b.text.data(), source.host);
  EXPECT_EQ(b.parsed.host, parsed.host);
  EXPECT_STREQ("q", source.query);
  EXPECT_EQ(Component(0, 1), parsed.query);
  EXPECT_FALSE(parsed.path.is_valid());
}

}  // namespace
