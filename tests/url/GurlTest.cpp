#include <gtest/gtest.h>
#include <pthread.h>

#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "UrlTestHelpers.h"
#include "gurl.h"
#include "url_util.h"

using url_parse::Component;
using urltest::W;

namespace {

GURL U(const char* s) { return GURL(std::string(s)); }

TEST(Gurl, EmptyInputIsInvalidWithEmptyTextAndSpecIsTheTextItself) {
  GURL g(std::string(""));
  EXPECT_FALSE(g.is_valid());
  EXPECT_TRUE(g.possibly_invalid_spec().empty());
  EXPECT_EQ(&g.possibly_invalid_spec(), &g.spec());
}

TEST(Gurl, InvalidUrlWithTextHandsOutTheSharedEmptyString) {
  GURL a = U("http://a~b/");
  GURL b = U("http:");
  ASSERT_FALSE(a.is_valid());
  ASSERT_FALSE(a.possibly_invalid_spec().empty());
  EXPECT_EQ("", a.spec());
  EXPECT_NE(&a.possibly_invalid_spec(), &a.spec());
  EXPECT_EQ(&a.spec(), &b.spec());
}

TEST(Gurl, InvalidUrlStillHasReadableComponents) {
  GURL g = U("http://a~b/p?q");
  ASSERT_FALSE(g.is_valid());
  EXPECT_EQ("a%7Eb", g.host());
  EXPECT_EQ("/p", g.path());
  EXPECT_EQ("q", g.query());
  EXPECT_TRUE(g.SchemeIs("http"));
}

TEST(Gurl, DefaultIsInvalidAndEmpty) {
  GURL g;
  EXPECT_FALSE(g.is_valid());
  EXPECT_TRUE(g.is_empty());
  EXPECT_EQ("", g.spec());
  EXPECT_EQ("", g.host());
  EXPECT_TRUE(g.SchemeIs(nullptr));
  EXPECT_EQ(Component(), g.parsed_for_possibly_invalid_spec().path);
}

TEST(Gurl, TextWithoutSchemeHasNoSchemeAndNoHost) {
  GURL g = U("www.example.com/x");
  EXPECT_FALSE(g.is_valid());
  EXPECT_TRUE(g.SchemeIs(nullptr));
  EXPECT_FALSE(g.SchemeIs("https"));
  EXPECT_EQ("", g.host());
  EXPECT_EQ("", g.path());
}

TEST(Gurl, SchemeIsIgnoresTheCaseOfTheInput) {
  EXPECT_TRUE(U("HTTPS://h/").SchemeIs("https"));
  EXPECT_TRUE(U("HtTpS://h/").SchemeIs("https"));
  EXPECT_FALSE(U("https://h/").SchemeIs("http"));
  EXPECT_FALSE(U("https://h/").SchemeIs("HTTPS"));
  EXPECT_FALSE(U("https://h/").SchemeIs(nullptr));
  EXPECT_TRUE(U("file:///x").SchemeIsFile());
  EXPECT_TRUE(U("wss://h/").SchemeIsSecure());
  EXPECT_FALSE(U("http://h/").SchemeIsSecure());
}

TEST(Gurl, SchemeIsComparesTheStoredSchemeCaseInsensitively) {
  url_parse::Parsed parsed;
  parsed.scheme = Component(0, 4);
  GURL trusted("HTTP://x", 8, parsed, true);
  EXPECT_TRUE(trusted.SchemeIs("http"));
}

TEST(Gurl, AccessorsReturnEachComponent) {
  GURL g = U("http://user:pw@Host:8080/a/b.ts?x=1#frag");
  EXPECT_TRUE(g.is_valid());
  EXPECT_EQ("http://user:pw@host:8080/a/b.ts?x=1#frag", g.spec());
  EXPECT_EQ("http", g.scheme());
  EXPECT_EQ("user", g.username());
  EXPECT_EQ("pw", g.password());
  EXPECT_EQ("host", g.host());
  EXPECT_EQ("8080", g.port());
  EXPECT_EQ("/a/b.ts", g.path());
  EXPECT_EQ("x=1", g.query());
  EXPECT_EQ("frag", g.ref());
  EXPECT_TRUE(g.has_port());
  EXPECT_TRUE(g.has_ref());
}

TEST(Gurl, EmptyComponentsReadAsEmptyStrings) {
  GURL g = U("http://h/?#");
  EXPECT_EQ("", g.query());
  EXPECT_EQ("", g.ref());
  EXPECT_TRUE(g.has_query());
  EXPECT_FALSE(U("http://h/").has_query());
}

TEST(Gurl, SixteenBitConstructionAgreesOnAscii) {
  const char* inputs[] = {"HTTP://A:80/b/../c?d e#f",
                          "file:a",
                          "mailto:x?y",
                          "data:z",
                          "nocolon",
                          "http://[::1]/",
                          "http://a~b/"};
  for (const char* in : inputs) {
    GURL a = U(in);
    GURL b{W(in)};
    EXPECT_EQ(a.possibly_invalid_spec(), b.possibly_invalid_spec()) << in;
    EXPECT_EQ(a.is_valid(), b.is_valid()) << in;
  }
}

TEST(Gurl, TrustedConstructionStoresWhatItIsGiven) {
  url_parse::Parsed parsed;
  parsed.host = Component(0, 3);
  GURL g("abcdef", 6, parsed, true);
  EXPECT_TRUE(g.is_valid());
  EXPECT_EQ("abcdef", g.spec());
  EXPECT_EQ("abc", g.host());
}

TEST(Gurl, CopyAssignAndSwap) {
  GURL a = U("http://a/");
  GURL b = U("nocolon");
  GURL c(a);
  EXPECT_EQ(a.spec(), c.spec());
  EXPECT_TRUE(c.is_valid());
  c = b;
  EXPECT_FALSE(c.is_valid());
  GURL& self = c;
  c = self;
  EXPECT_FALSE(c.is_valid());
  a.Swap(&b);
  EXPECT_FALSE(a.is_valid());
  EXPECT_TRUE(b.is_valid());
  EXPECT_EQ("a", b.host());
  EXPECT_EQ("", a.host());
}

TEST(Gurl, EffectiveIntPort) {
  EXPECT_EQ(443, U("https://h/").EffectiveIntPort());
  EXPECT_EQ(80, U("http://h/").EffectiveIntPort());
  EXPECT_EQ(21, U("ftp://h/").EffectiveIntPort());
  EXPECT_EQ(8080, U("http://h:8080/").EffectiveIntPort());
  EXPECT_EQ(-1, U("weird://h/").EffectiveIntPort());
  EXPECT_EQ(-1, U("file:///x").EffectiveIntPort());
  EXPECT_EQ(-2, U("http://h:99999/").EffectiveIntPort());
  EXPECT_EQ(-1, U("http://h/").IntPort());
  EXPECT_EQ(-2, U("http://h:8a/").IntPort());
}

TEST(Gurl, HostNoBracketsDropsIPv6Brackets) {
  EXPECT_EQ("::1", U("http://[::1]:8/").HostNoBrackets());
  EXPECT_EQ("host", U("http://host/").HostNoBrackets());
  url_parse::Parsed parsed;
  parsed.host = Component(0, 1);
  EXPECT_EQ("[", GURL("[", 1, parsed, false).HostNoBrackets());
  parsed.host = Component(0, 2);
  EXPECT_EQ("", GURL("[]", 2, parsed, false).HostNoBrackets());
}

TEST(Gurl, HostIsIPAddress) {
  EXPECT_TRUE(U("http://1.2.3.4/").HostIsIPAddress());
  EXPECT_TRUE(U("http://0x7f.1/").HostIsIPAddress());
  EXPECT_TRUE(U("http://[::1]/").HostIsIPAddress());
  EXPECT_FALSE(U("http://example.com/").HostIsIPAddress());
  EXPECT_FALSE(U("http://256.0.0.1/").HostIsIPAddress());
  EXPECT_FALSE(GURL().HostIsIPAddress());
}

TEST(Gurl, PathForRequestKeepsTheQueryAndDropsTheRef) {
  EXPECT_EQ("/a/b?q=1", U("http://h/a/b?q=1#frag").PathForRequest());
  EXPECT_EQ("/a/b?q=1", U("http://h/a/b?q=1").PathForRequest());
  EXPECT_EQ("/", U("http://h#x").PathForRequest());
  EXPECT_EQ("/", U("http://h").PathForRequest());
}

TEST(Gurl, ExtractFileName) {
  EXPECT_EQ("b.ts", U("http://h/a/b.ts;v=1?x").ExtractFileName());
  EXPECT_EQ("", U("http://h/a/").ExtractFileName());
  EXPECT_EQ("seg.ts", U("http://h/seg.ts").ExtractFileName());
}

TEST(Gurl, DomainIs) {
  GURL dot = U("http://host./");
  GURL sub = U("http://a.host/");
  GURL glued = U("http://ahost/");
  EXPECT_TRUE(dot.DomainIs("host", 4));
  EXPECT_TRUE(sub.DomainIs("host", 4));
  EXPECT_FALSE(glued.DomainIs("host", 4));
  EXPECT_TRUE(U("http://HOST/").DomainIs("host", 4));
  EXPECT_TRUE(sub.DomainIs(".host", 5));
  EXPECT_FALSE(dot.DomainIs(".host", 5));
  EXPECT_TRUE(dot.DomainIs("host.", 5));
  EXPECT_FALSE(sub.DomainIs("host", 0));
  EXPECT_FALSE(U("http://ost/").DomainIs("host", 4));
  EXPECT_FALSE(U("file:///x").DomainIs("x", 1));
  EXPECT_FALSE(U("http://a~host/").DomainIs("host", 4));
  EXPECT_TRUE(U("http://b.host/").DomainIs("b.host"));
  EXPECT_FALSE(U("http://ab.host/").DomainIs("b.host"));
}

TEST(Gurl, ResolveAgainstABase) {
  GURL base = U("http://cdn.example.com/live/master.m3u8?token=abc");
  EXPECT_EQ("http://cdn.example.com/live/720p/index.m3u8",
            base.Resolve(std::string("720p/index.m3u8")).spec());
  EXPECT_EQ("http://cdn.example.com/live/720p/index.m3u8",
            base.Resolve(W("720p/index.m3u8")).spec());
  EXPECT_EQ("https://other/x", base.Resolve(std::string("https://other/x")).spec());
}

TEST(Gurl, FailedResolutionYieldsEmptyText) {
  GURL r = U("mailto:x").Resolve(std::string("y"));
  EXPECT_FALSE(r.is_valid());
  EXPECT_TRUE(r.possibly_invalid_spec().empty());
  GURL partial = U("http://h/").Resolve(std::string("http://a~b/"));
  EXPECT_FALSE(partial.is_valid());
  EXPECT_TRUE(partial.possibly_invalid_spec().empty());
}

TEST(Gurl, ResolveOnAnInvalidBaseIsEmpty) {
  GURL r = U("http://a~b/").Resolve(std::string("x"));
  EXPECT_FALSE(r.is_valid());
  EXPECT_TRUE(r.possibly_invalid_spec().empty());
}

class Upper : public url_canon::CharsetConverter {
 public:
  void ConvertFromUTF16(const base::char16* input, int inputLen,
                        url_canon::CanonOutput* output) override {
    for (int i = 0; i < inputLen; i++) output->push_back('Z');
  }
};

TEST(Gurl, ResolveWithCharsetConverterConvertsNonAsciiQueries) {
  Upper conv;
  string16 rel = W("x?a");
  rel.push_back(0xE9);
  GURL r = U("http://h/").ResolveWithCharsetConverter(rel, &conv);
  EXPECT_EQ("http://h/x?ZZ", r.spec());
}

TEST(Gurl, ReplaceComponents) {
  GURL g = U("http://h/p?q#r");
  url_canon::Replacements<char> repl;
  repl.ClearRef();
  repl.SetPath("/new", Component(0, 4));
  GURL r = g.ReplaceComponents(repl);
  EXPECT_TRUE(r.is_valid());
  EXPECT_EQ("http://h/new?q", r.spec());

  url_canon::Replacements<unsigned short> wide;
  string16 host = W("Other");
  wide.SetHost(host.data(), Component(0, 5));
  EXPECT_EQ("http://other/p?q#r", g.ReplaceComponents(wide).spec());
}

TEST(Gurl, FailedReplacementKeepsItsPartialText) {
  url_canon::Replacements<char> repl;
  repl.SetHost("a~b", Component(0, 3));
  GURL r = U("http://h/p").ReplaceComponents(repl);
  EXPECT_FALSE(r.is_valid());
  EXPECT_EQ("http://a%7Eb/p", r.possibly_invalid_spec());
}

TEST(Gurl, ReplaceComponentsOnAnInvalidUrlIsEmpty) {
  url_canon::Replacements<char> repl;
  repl.ClearRef();
  EXPECT_TRUE(U("http://a~b/").ReplaceComponents(repl).possibly_invalid_spec().empty());
}

TEST(Gurl, GetOriginKeepsSchemeHostAndPort) {
  EXPECT_EQ("http://h:81/", U("http://u:p@h:81/a?b#c").GetOrigin().spec());
  EXPECT_EQ("https://h/", U("https://h/x").GetOrigin().spec());
  EXPECT_TRUE(U("data:x").GetOrigin().possibly_invalid_spec().empty());
  EXPECT_TRUE(U("http://a~b/").GetOrigin().possibly_invalid_spec().empty());
}

TEST(Gurl, GetWithEmptyPath) {
  GURL e = U("http://u@h:81/a/b?q#r").GetWithEmptyPath();
  EXPECT_EQ("http://u@h:81/", e.spec());
  EXPECT_EQ("/", e.path());
  EXPECT_FALSE(e.has_query());
  EXPECT_FALSE(e.has_ref());
  EXPECT_TRUE(U("mailto:x").GetWithEmptyPath().possibly_invalid_spec().empty());
  EXPECT_TRUE(GURL().GetWithEmptyPath().possibly_invalid_spec().empty());

  url_parse::Parsed parsed;
  parsed.scheme = Component(0, 4);
  parsed.host = Component(7, 1);
  parsed.path = Component(8, 0);
  parsed.query = Component(9, 1);
  GURL noPath("http://h?q", 10, parsed, true);
  EXPECT_EQ("http://h?q", noPath.GetWithEmptyPath().spec());
}

TEST(Gurl, IsStandard) {
  EXPECT_TRUE(U("http://h/").IsStandard());
  EXPECT_TRUE(U("file:///").IsStandard());
  EXPECT_FALSE(U("mailto:x").IsStandard());
  EXPECT_FALSE(GURL().IsStandard());
}

TEST(Gurl, EmptyGURLIsOneSharedDefaultValue) {
  const GURL& a = GURL::EmptyGURL();
  const GURL& b = GURL::EmptyGURL();
  EXPECT_EQ(&a, &b);
  EXPECT_FALSE(a.is_valid());
  EXPECT_TRUE(a.is_empty());
}

TEST(Gurl, SingletonsAreSafeOnFirstUseFromManyThreads) {
  // The scheme list has no lock of its own: it is built before threads start, as its users must.
  url_util::Initialize();
  std::vector<const GURL*> seen(8, nullptr);
  std::vector<const std::string*> specs(8, nullptr);
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int i = 0; i < 8; i++) {
    threads.emplace_back([i, &seen, &specs] {
      seen[i] = &GURL::EmptyGURL();
      GURL invalid(std::string("http://a~b/"));
      specs[i] = &invalid.spec();
    });
  }
  for (std::thread& t : threads) t.join();
  for (int i = 1; i < 8; i++) {
    EXPECT_EQ(seen[0], seen[i]);
    EXPECT_EQ(specs[0], specs[i]);
  }
}

TEST(Gurl, ComparisonAndStreaming) {
  EXPECT_EQ(U("HTTP://H/"), U("http://h"));
  EXPECT_NE(U("http://h/a"), U("http://h/b"));
  EXPECT_LT(U("http://a/"), U("http://b/"));
  std::ostringstream out;
  out << U("http://a~b/");
  EXPECT_EQ("http://a%7Eb/", out.str());
}

TEST(Gurl, AccessorsUsedByTheDownloadEngine) {
  GURL g = U("https://Cdn.Example.com:8443/live/seg_001.ts?token=a%20b&x=1#t=5");
  EXPECT_TRUE(g.SchemeIs("https"));
  EXPECT_EQ("cdn.example.com", g.host());
  EXPECT_EQ("/live/seg_001.ts", g.path());
  EXPECT_EQ("token=a%20b&x=1", g.query());
}

TEST(Gurl, RefWithReplacementCharactersGrowsOnEveryPass) {
  // Intended: without Unicode support each byte of U+FFFD is itself non-ASCII and becomes
  // U+FFFD again on the next canonicalisation.
  GURL once = U("http://h/#\xC3\xA9");
  EXPECT_EQ("http://h/#\xEF\xBF\xBD\xEF\xBF\xBD", once.spec());
  GURL twice(once.spec());
  EXPECT_EQ(
      "http://h/#"
      "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD",
      twice.spec());
}

TEST(Gurl, BareEscapeBeforeADecodedOneCompletesOnTheNextPass) {
  // Intended: a '%' that starts no escape is kept, so a decoded escape right after it can form
  // a new one that the next canonicalisation decodes.
  GURL once = U("http://h/%4%41");
  EXPECT_EQ("http://h/%4A", once.spec());
  EXPECT_EQ("http://h/J", GURL(once.spec()).spec());
}

TEST(Gurl, FileUrlLosesExtraLeadingSlashesOnTheNextPass) {
  GURL once = U("file:///.//x");
  EXPECT_EQ("file:////x", once.spec());
  EXPECT_EQ("file:///x", GURL(once.spec()).spec());
}

TEST(Gurl, NetworkPathAgainstAFileBaseKeepsUserAndPort) {
  // Intended: the reference is resolved with the standard rules, which a file parse of the
  // result doesn't share.
  GURL r = U("file:///var/x").Resolve(std::string("//u@h:8/y"));
  EXPECT_TRUE(r.is_valid());
  EXPECT_EQ("file://u@h:8/y", r.spec());
  EXPECT_FALSE(GURL(r.spec()).is_valid());
}

TEST(Gurl, InvalidSchemeCharactersResolveAsAPathEvenAgainstMailto) {
  GURL r = U("mailto:x").Resolve(std::string("\xF4:a?b#c"));
  EXPECT_TRUE(r.is_valid());
  EXPECT_EQ("mailto:%F4:a?b#c", r.spec());
  EXPECT_EQ("mailto:%F4:a?b%23c", GURL(r.spec()).spec());
}

TEST(Gurl, HostWithAColonThatIsNoIPv6LiteralIsInvalid) {
  GURL g = U("http://http:ht://x/");
  EXPECT_FALSE(g.is_valid());
  EXPECT_EQ("http:ht", g.host());
}

}  // namespace
