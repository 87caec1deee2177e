#include <gtest/gtest.h>

#include <string>

#include "UrlTestHelpers.h"
#include "gurl.h"
#include "url_canon.h"
#include "url_canon_stdstring.h"
#include "url_util.h"

using url_parse::Component;
using url_parse::Parsed;
using urltest::W;

namespace {

struct ResolveResult {
  bool ok;
  std::string text;
};

ResolveResult Resolve(const std::string& base, const std::string& relative) {
  GURL b(base);
  ResolveResult r;
  Parsed out;
  url_canon::StdStringCanonOutput output(&r.text);
  r.ok = url_util::ResolveRelative(b.possibly_invalid_spec().data(),
                                   static_cast<int>(b.possibly_invalid_spec().size()),
                                   b.parsed_for_possibly_invalid_spec(), relative.data(),
                                   static_cast<int>(relative.size()), nullptr, &output, &out);
  output.Complete();
  return r;
}

ResolveResult Resolve16(const std::string& base, const std::string& relative) {
  GURL b(base);
  string16 rel = W(relative);
  ResolveResult r;
  Parsed out;
  url_canon::StdStringCanonOutput output(&r.text);
  r.ok = url_util::ResolveRelative(b.possibly_invalid_spec().data(),
                                   static_cast<int>(b.possibly_invalid_spec().size()),
                                   b.parsed_for_possibly_invalid_spec(), rel.data(),
                                   static_cast<int>(rel.size()), nullptr, &output, &out);
  output.Complete();
  return r;
}

struct RelCase {
  const char* base;
  const char* relative;
  const char* expected;
  bool ok;
};

class Resolution : public ::testing::TestWithParam<RelCase> {};

TEST_P(Resolution, EightBit) {
  const RelCase& c = GetParam();
  ResolveResult r = Resolve(c.base, c.relative);
  EXPECT_EQ(c.ok, r.ok) << c.base << " + " << c.relative;
  if (c.ok) EXPECT_EQ(c.expected, r.text) << c.base << " + " << c.relative;
}

TEST_P(Resolution, SixteenBitAgrees) {
  const RelCase& c = GetParam();
  ResolveResult r8 = Resolve(c.base, c.relative);
  ResolveResult r16 = Resolve16(c.base, c.relative);
  EXPECT_EQ(r8.ok, r16.ok);
  EXPECT_EQ(r8.text, r16.text);
}

// The reference-resolution examples of RFC 3986 (section 5.4) where these rules give the
// same result.
const char kRfcBase[] = "http://a/b/c/d;p?q";
const RelCase kRfcAgreeing[] = {
    {kRfcBase, "g:h", "g:h", true},
    {kRfcBase, "g", "http://a/b/c/g", true},
    {kRfcBase, "./g", "http://a/b/c/g", true},
    {kRfcBase, "g/", "http://a/b/c/g/", true},
    {kRfcBase, "/g", "http://a/g", true},
    {kRfcBase, "?y", "http://a/b/c/d;p?y", true},
    {kRfcBase, "g?y", "http://a/b/c/g?y", true},
    {kRfcBase, "#s", "http://a/b/c/d;p?q#s", true},
    {kRfcBase, "g#s", "http://a/b/c/g#s", true},
    {kRfcBase, "g?y#s", "http://a/b/c/g?y#s", true},
    {kRfcBase, ";x", "http://a/b/c/;x", true},
    {kRfcBase, "g;x", "http://a/b/c/g;x", true},
    {kRfcBase, "g;x?y#s", "http://a/b/c/g;x?y#s", true},
    {kRfcBase, "", "http://a/b/c/d;p?q", true},
    {kRfcBase, ".", "http://a/b/c/", true},
    {kRfcBase, "./", "http://a/b/c/", true},
    {kRfcBase, "..", "http://a/b/", true},
    {kRfcBase, "../", "http://a/b/", true},
    {kRfcBase, "../g", "http://a/b/g", true},
    {kRfcBase, "../..", "http://a/", true},
    {kRfcBase, "../../", "http://a/", true},
    {kRfcBase, "../../g", "http://a/g", true},
    {kRfcBase, "../../../g", "http://a/g", true},
    {kRfcBase, "../../../../g", "http://a/g", true},
    {kRfcBase, "/./g", "http://a/g", true},
    {kRfcBase, "/../g", "http://a/g", true},
    {kRfcBase, "g.", "http://a/b/c/g.", true},
    {kRfcBase, ".g", "http://a/b/c/.g", true},
    {kRfcBase, "g..", "http://a/b/c/g..", true},
    {kRfcBase, "..g", "http://a/b/c/..g", true},
    {kRfcBase, "./../g", "http://a/b/g", true},
    {kRfcBase, "./g/.", "http://a/b/c/g/", true},
    {kRfcBase, "g/./h", "http://a/b/c/g/h", true},
    {kRfcBase, "g/../h", "http://a/b/c/h", true},
    {kRfcBase, "g;x=1/./y", "http://a/b/c/g;x=1/y", true},
    {kRfcBase, "g;x=1/../y", "http://a/b/c/y", true},
    {kRfcBase, "g?y/./x", "http://a/b/c/g?y/./x", true},
    {kRfcBase, "g?y/../x", "http://a/b/c/g?y/../x", true},
    {kRfcBase, "g#s/./x", "http://a/b/c/g#s/./x", true},
    {kRfcBase, "g#s/../x", "http://a/b/c/g#s/../x", true},
};
INSTANTIATE_TEST_SUITE_P(RfcAgreeing, Resolution, ::testing::ValuesIn(kRfcAgreeing));

// Where these rules deliberately differ from RFC 3986: a network-path reference gets the
// canonical root path; "http:g" is taken as a relative reference on an http base (the RFC's
// backward-compatible reading, not its strict one); one slash after the scheme is a path on the
// same host; backslashes are slashes; tab and line breaks vanish; a text whose "scheme" holds
// invalid characters is a relative path.
const RelCase kRfcDiffering[] = {
    {kRfcBase, "//g", "http://g/", true},
    {kRfcBase, "http:g", "http://a/b/c/g", true},
    {kRfcBase, "HTTP:g", "http://a/b/c/g", true},
    {kRfcBase, "http:/g", "http://a/g", true},
    {kRfcBase, "http:", "http://a/b/c/d;p?q", true},
    {kRfcBase, "http:?x", "http://a/b/c/d;p?x", true},
    {kRfcBase, "..\\g", "http://a/b/g", true},
    {kRfcBase, "\\\\g\\h", "http://g/h", true},
    {kRfcBase, "g\t/\nh", "http://a/b/c/g/h", true},
    {kRfcBase, "  g  ", "http://a/b/c/g", true},
    {kRfcBase, "a b:c", "http://a/b/c/a%20b:c", true},
    {kRfcBase, ":g", "http://a/b/c/:g", true},
    {kRfcBase, "%2E%2E/g", "http://a/b/g", true},
};
INSTANTIATE_TEST_SUITE_P(RfcDiffering, Resolution, ::testing::ValuesIn(kRfcDiffering));

const char kBase[] = "http://a/b/c?q#r";
const RelCase kOwnCases[] = {
    {kBase, "", "http://a/b/c?q", true},
    {kBase, "   ", "http://a/b/c?q", true},
    {kBase, "d", "http://a/b/d", true},
    {kBase, "/d", "http://a/d", true},
    {kBase, "../d", "http://a/d", true},
    {kBase, "?x", "http://a/b/c?x", true},
    {kBase, "#y", "http://a/b/c?q#y", true},
    {kBase, "?", "http://a/b/c?", true},
    {kBase, "#", "http://a/b/c?q#", true},
    {kBase, "//h/p", "http://h/p", true},
    {kBase, "//h", "http://h/", true},
    {kBase, "//u@H:81/p?x#y", "http://u@h:81/p?x#y", true},
    {kBase, "//h:80/p", "http://h/p", true},
    {kBase, "http:d", "http://a/b/d", true},
    {kBase, "https:d", "https://d/", true},
    {kBase, "http://d", "http://d/", true},
    {kBase, "mailto:x", "mailto:x", true},
    {kBase, "d?y#z", "http://a/b/d?y#z", true},
    {kBase, "d e", "http://a/b/d%20e", true},
    {kBase, "d?e f", "http://a/b/d?e%20f", true},
    {"http://a/b", "foo bar:baz", "http://a/foo%20bar:baz", true},
    {"http://a:8080/x/y", "../z", "http://a:8080/z", true},
    {"http://a/x/", "", "http://a/x/", true},
    {"http://a/", "..", "http://a/", true},
    {"https://[::1]/a/b", "c", "https://[::1]/a/c", true},
    {"file:///a/b", "///c", "file:///c", true},
    {"file:///a/b", "c", "file:///a/c", true},
    {"file:///a/b", "/c", "file:///c", true},
    {"file:///a/b", "/", "file:///", true},
    {"file:///a/b", "//", "file:///", true},
    {"file:///a/b", "//srv/x", "file://srv/x", true},
    {"file:///a/b", "////c", "file:///c", true},
    {"file:///a/b", "?q", "file:///a/b?q", true},
    {"file://h/a/b", "../c", "file://h/c", true},
    {"mailto:x", "y", "", false},
    {"mailto:x", "mailto:y", "mailto:y", true},
    {"mailto:x", "http://h/", "http://h/", true},
    {"data:x", "data:y", "data:y", true},
    {"data:x", "y", "", false},
    {"data:x", "", "data:x", true},
};
INSTANTIATE_TEST_SUITE_P(Own, Resolution, ::testing::ValuesIn(kOwnCases));

TEST(UrlCanonRelative, IsRelativeURLClassifies) {
  GURL base("http://a/b");
  const std::string& spec = base.possibly_invalid_spec();
  const Parsed& parsed = base.parsed_for_possibly_invalid_spec();
  struct {
    const char* text;
    bool hierarchical;
    bool result;
    bool isRelative;
    Component range;
  } cases[] = {
      {"", true, true, true, Component(0, 0)},
      {"   ", true, true, true, Component(3, 0)},
      {" d ", true, true, true, Component(1, 1)},
      {"d", false, false, false, Component()},
      {":d", true, true, true, Component(0, 2)},
      {":d", false, false, false, Component()},
      {"a b:c", false, true, true, Component(0, 5)},
      {"https:x", true, true, false, Component()},
      {"http:x", true, true, true, Component(5, 1)},
      {"HTTP:x", true, true, true, Component(5, 1)},
      {"http:x", false, true, false, Component()},
      {"http:", true, true, true, Component(5, 0)},
      {"http:/x", true, true, true, Component(5, 2)},
      {"http:\\x", true, true, true, Component(5, 2)},
      {"http://x", true, true, false, Component()},
      {"http:\\\\x", true, true, false, Component()},
      {"httpx:y", true, true, false, Component()},
  };
  for (const auto& c : cases) {
    std::string t(c.text);
    bool isRelative = !c.isRelative;
    Component range;
    bool result =
        url_canon::IsRelativeURL(spec.data(), parsed, t.data(), static_cast<int>(t.size()),
                                 c.hierarchical, &isRelative, &range);
    EXPECT_EQ(c.result, result) << t;
    EXPECT_EQ(c.isRelative, isRelative) << t;
    if (c.isRelative) EXPECT_EQ(c.range, range) << t;

    string16 w = W(t);
    bool isRelative16 = !c.isRelative;
    Component range16;
    EXPECT_EQ(result,
              url_canon::IsRelativeURL(spec.data(), parsed, w.data(), static_cast<int>(w.size()),
                                       c.hierarchical, &isRelative16, &range16));
    EXPECT_EQ(isRelative, isRelative16) << t;
    if (c.isRelative) EXPECT_EQ(range, range16) << t;
  }
}

TEST(UrlCanonRelative, BaseWithoutPathCopiesTheBaseAndFails) {
  std::string base = "http://h";
  Parsed parsed;
  url_parse::ParseStandardURL(base.data(), static_cast<int>(base.size()), &parsed);
  ASSERT_FALSE(parsed.path.is_valid());
  std::string rel = "x";
  url_canon::RawCanonOutput<64> out;
  Parsed outParsed;
  EXPECT_FALSE(url_canon::ResolveRelativeURL(base.data(), parsed, false, rel.data(),
                                             Component(0, 1), nullptr, &out, &outParsed));
  EXPECT_EQ(base, std::string(out.data(), out.length()));
}

TEST(UrlCanonRelative, EmptyBaseWithoutPathWritesNothing) {
  Parsed parsed;
  url_canon::RawCanonOutput<64> out;
  Parsed outParsed;
  EXPECT_FALSE(url_canon::ResolveRelativeURL("", parsed, false, "x", Component(0, 1), nullptr, &out,
                                             &outParsed));
  EXPECT_EQ(0, out.length());
}

TEST(UrlCanonRelative, SameDocumentDropsTheRefRange) {
  GURL base("http://a/b?q#r");
  url_canon::RawCanonOutput<64> out;
  Parsed outParsed;
  ASSERT_TRUE(url_canon::ResolveRelativeURL(base.possibly_invalid_spec().data(),
                                            base.parsed_for_possibly_invalid_spec(), false, "",
                                            Component(0, 0), nullptr, &out, &outParsed));
  EXPECT_EQ("http://a/b?q", std::string(out.data(), out.length()));
  EXPECT_FALSE(outParsed.ref.is_valid());
  EXPECT_EQ(Component(11, 1), outParsed.query);
}

TEST(UrlCanonRelative, ResolvedComponentsPointIntoTheNewText) {
  GURL base("http://host/dir/file?q#r");
  GURL r = base.Resolve(std::string("../other/x.ts?t=1#f"));
  ASSERT_TRUE(r.is_valid());
  EXPECT_EQ("http://host/other/x.ts?t=1#f", r.spec());
  EXPECT_EQ("host", r.host());
  EXPECT_EQ("/other/x.ts", r.path());
  EXPECT_EQ("t=1", r.query());
  EXPECT_EQ("f", r.ref());
}

TEST(UrlCanonRelative, RelativePathKeepsTheBaseQueryOnlyWhenThePathIsEmpty) {
  EXPECT_EQ("http://a/b/c?q#z", Resolve(kBase, "#z").text);
  EXPECT_EQ("http://a/b/x", Resolve(kBase, "x").text);
}

TEST(UrlCanonRelative, InvalidRelativePathStillResolvesButFails) {
  ResolveResult r = Resolve(kBase, std::string("a%00b"));
  EXPECT_FALSE(r.ok);
  EXPECT_EQ("http://a/b/a%00b", r.text);
}

}  // namespace
