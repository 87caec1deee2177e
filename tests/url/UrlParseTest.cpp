#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "UrlTestHelpers.h"
#include "url_parse.h"

using url_parse::Component;
using url_parse::Parsed;
using urltest::Part;
using urltest::W;

namespace {

const char* const kAbsent = "<absent>";

struct ParseCase {
  const char* input;
  const char* scheme;
  const char* username;
  const char* password;
  const char* host;
  const char* port;
  const char* path;
  const char* query;
  const char* ref;
};

void ExpectParsed(const ParseCase& c, const std::string& in, const Parsed& p) {
  SCOPED_TRACE(in);
  EXPECT_EQ(c.scheme, Part(in, p.scheme));
  EXPECT_EQ(c.username, Part(in, p.username));
  EXPECT_EQ(c.password, Part(in, p.password));
  EXPECT_EQ(c.host, Part(in, p.host));
  EXPECT_EQ(c.port, Part(in, p.port));
  EXPECT_EQ(c.path, Part(in, p.path));
  EXPECT_EQ(c.query, Part(in, p.query));
  EXPECT_EQ(c.ref, Part(in, p.ref));
}

const ParseCase kStandardCases[] = {
    {"http://user:pa:ss@host:80/p?q#r", "http", "user", "pa:ss", "host", "80", "/p", "q", "r"},
    {"http://a@b@c/", "http", "a@b", kAbsent, "c", kAbsent, "/", kAbsent, kAbsent},
    {"http://[::1]:8080/", "http", kAbsent, kAbsent, "[::1]", "8080", "/", kAbsent, kAbsent},
    {"http://[::1]/", "http", kAbsent, kAbsent, "[::1]", kAbsent, "/", kAbsent, kAbsent},
    {"http://[::1", "http", kAbsent, kAbsent, "[::1", kAbsent, kAbsent, kAbsent, kAbsent},
    {"http://:80/", "http", kAbsent, kAbsent, kAbsent, "80", "/", kAbsent, kAbsent},
    {"http://host:/", "http", kAbsent, kAbsent, "host", "", "/", kAbsent, kAbsent},
    {"http://host/", "http", kAbsent, kAbsent, "host", kAbsent, "/", kAbsent, kAbsent},
    {"http://host;x/y", "http", kAbsent, kAbsent, "host", kAbsent, ";x/y", kAbsent, kAbsent},
    {"http:\\\\host\\path", "http", kAbsent, kAbsent, "host", kAbsent, "\\path", kAbsent, kAbsent},
    {"  http://host  ", "http", kAbsent, kAbsent, "host", kAbsent, kAbsent, kAbsent, kAbsent},
    {"http://a?b#c?d", "http", kAbsent, kAbsent, "a", kAbsent, kAbsent, "b", "c?d"},
    {"http://a#b?c", "http", kAbsent, kAbsent, "a", kAbsent, kAbsent, kAbsent, "b?c"},
    {"http:foo", "http", kAbsent, kAbsent, "foo", kAbsent, kAbsent, kAbsent, kAbsent},
    {"http:///foo", "http", kAbsent, kAbsent, "foo", kAbsent, kAbsent, kAbsent, kAbsent},
    {"http://", "http", kAbsent, kAbsent, kAbsent, kAbsent, kAbsent, kAbsent, kAbsent},
    {"http://@host/", "http", "", kAbsent, "host", kAbsent, "/", kAbsent, kAbsent},
    {"http://u:@host/", "http", "u", "", "host", kAbsent, "/", kAbsent, kAbsent},
    {"http://host:80:90/", "http", kAbsent, kAbsent, "host:80", "90", "/", kAbsent, kAbsent},
    {"http://[::1]x:5/", "http", kAbsent, kAbsent, "[::1]x", "5", "/", kAbsent, kAbsent},
    {"a b://host/", "a b", kAbsent, kAbsent, "host", kAbsent, "/", kAbsent, kAbsent},
    {"//host/p", kAbsent, kAbsent, kAbsent, "host", kAbsent, "/p", kAbsent, kAbsent},
    {"http://h/p?#", "http", kAbsent, kAbsent, "h", kAbsent, "/p", "", ""},
    {"http://h?q", "http", kAbsent, kAbsent, "h", kAbsent, kAbsent, "q", kAbsent},
};

class StandardParse : public ::testing::TestWithParam<ParseCase> {};

TEST_P(StandardParse, SplitsAllEightComponents) {
  const ParseCase& c = GetParam();
  std::string in(c.input);
  Parsed p;
  url_parse::ParseStandardURL(in.data(), static_cast<int>(in.size()), &p);
  ExpectParsed(c, in, p);
}

TEST_P(StandardParse, SixteenBitFormDrawsTheSameBorders) {
  const ParseCase& c = GetParam();
  std::string in(c.input);
  string16 wide = W(in);
  Parsed p8;
  Parsed p16;
  url_parse::ParseStandardURL(in.data(), static_cast<int>(in.size()), &p8);
  url_parse::ParseStandardURL(wide.data(), static_cast<int>(wide.size()), &p16);
  EXPECT_EQ(p8.scheme, p16.scheme);
  EXPECT_EQ(p8.username, p16.username);
  EXPECT_EQ(p8.password, p16.password);
  EXPECT_EQ(p8.host, p16.host);
  EXPECT_EQ(p8.port, p16.port);
  EXPECT_EQ(p8.path, p16.path);
  EXPECT_EQ(p8.query, p16.query);
  EXPECT_EQ(p8.ref, p16.ref);
}

INSTANTIATE_TEST_SUITE_P(Url, StandardParse, ::testing::ValuesIn(kStandardCases));

TEST(UrlParse, BackslashesParseLikeSlashes) {
  std::string a = "http:\\\\host\\path";
  std::string b = "http://host/path";
  Parsed pa;
  Parsed pb;
  url_parse::ParseStandardURL(a.data(), static_cast<int>(a.size()), &pa);
  url_parse::ParseStandardURL(b.data(), static_cast<int>(b.size()), &pb);
  EXPECT_EQ(pa.host, pb.host);
  EXPECT_EQ(pa.path, pb.path);
}

TEST(UrlParse, TrimmingKeepsBytesAboveAsciiInTheEightBitForm) {
  std::string in = "\xC3\xA9:x\xA0";
  Parsed p;
  url_parse::ParsePathURL(in.data(), static_cast<int>(in.size()), &p);
  EXPECT_EQ("\xC3\xA9", Part(in, p.scheme));
  EXPECT_EQ("x\xA0", Part(in, p.path));
}

TEST(UrlParse, TrimmingDropsControlCharactersAtBothEnds) {
  std::string in = "\x01\x1f http://h/ \x7f\x10";
  Parsed p;
  url_parse::ParseStandardURL(in.data(), static_cast<int>(in.size()), &p);
  EXPECT_EQ("http", Part(in, p.scheme));
  EXPECT_EQ("/ \x7f", Part(in, p.path));
}

TEST(UrlParse, ExtractSchemeRules) {
  Component s;
  EXPECT_FALSE(url_parse::ExtractScheme("", 0, &s));
  EXPECT_FALSE(url_parse::ExtractScheme("   ", 3, &s));
  EXPECT_FALSE(url_parse::ExtractScheme("nocolon", 7, &s));
  ASSERT_TRUE(url_parse::ExtractScheme(":x", 2, &s));
  EXPECT_EQ(Component(0, 0), s);
  ASSERT_TRUE(url_parse::ExtractScheme("  a b:c", 7, &s));
  EXPECT_EQ(Component(2, 3), s);
  ASSERT_TRUE(url_parse::ExtractScheme("http://x:1", 10, &s));
  EXPECT_EQ(Component(0, 4), s);
}

TEST(UrlParse, AuthorityTerminators) {
  for (char c : std::string("/\\?;#")) EXPECT_TRUE(url_parse::IsAuthorityTerminator(c)) << c;
  for (char c : std::string("a:@[]. ")) EXPECT_FALSE(url_parse::IsAuthorityTerminator(c)) << c;
}

TEST(UrlParse, PathUrlKeepsQueryAndRefInThePath) {
  std::string in = "data:text/plain;a?b#c";
  Parsed p;
  url_parse::ParsePathURL(in.data(), static_cast<int>(in.size()), &p);
  EXPECT_EQ("data", Part(in, p.scheme));
  EXPECT_EQ("text/plain;a?b#c", Part(in, p.path));
  EXPECT_EQ(kAbsent, Part(in, p.query));
  EXPECT_EQ(kAbsent, Part(in, p.ref));
  EXPECT_EQ(kAbsent, Part(in, p.host));
}

TEST(UrlParse, PathUrlEdgeForms) {
  Parsed p;
  std::string colonLast = "about:";
  url_parse::ParsePathURL(colonLast.data(), static_cast<int>(colonLast.size()), &p);
  EXPECT_EQ("about", Part(colonLast, p.scheme));
  EXPECT_EQ(kAbsent, Part(colonLast, p.path));

  std::string noScheme = " just text ";
  url_parse::ParsePathURL(noScheme.data(), static_cast<int>(noScheme.size()), &p);
  EXPECT_EQ(kAbsent, Part(noScheme, p.scheme));
  EXPECT_EQ("just text", Part(noScheme, p.path));

  std::string blank = "  ";
  url_parse::ParsePathURL(blank.data(), static_cast<int>(blank.size()), &p);
  EXPECT_EQ(kAbsent, Part(blank, p.scheme));
  EXPECT_EQ(kAbsent, Part(blank, p.path));
}

TEST(UrlParse, MailtoSplitsTheQueryAtTheFirstQuestionMark) {
  std::string in = "mailto:x?subject=y?z#w";
  Parsed p;
  url_parse::ParseMailtoURL(in.data(), static_cast<int>(in.size()), &p);
  EXPECT_EQ("mailto", Part(in, p.scheme));
  EXPECT_EQ("x", Part(in, p.path));
  EXPECT_EQ("subject=y?z#w", Part(in, p.query));
  EXPECT_EQ(kAbsent, Part(in, p.ref));
}

TEST(UrlParse, MailtoEdgeForms) {
  Parsed p;
  std::string empty = "mailto:";
  url_parse::ParseMailtoURL(empty.data(), static_cast<int>(empty.size()), &p);
  EXPECT_EQ(kAbsent, Part(empty, p.path));
  EXPECT_EQ(kAbsent, Part(empty, p.query));

  std::string onlyQuery = "mailto:?a";
  url_parse::ParseMailtoURL(onlyQuery.data(), static_cast<int>(onlyQuery.size()), &p);
  EXPECT_EQ(kAbsent, Part(onlyQuery, p.path));
  EXPECT_EQ("a", Part(onlyQuery, p.query));

  std::string noScheme = "a@b";
  url_parse::ParseMailtoURL(noScheme.data(), static_cast<int>(noScheme.size()), &p);
  EXPECT_EQ(kAbsent, Part(noScheme, p.scheme));
  EXPECT_EQ("a@b", Part(noScheme, p.path));
}

struct FileCase {
  const char* input;
  const char* host;
  const char* path;
  const char* query;
  const char* ref;
};

const FileCase kFileCases[] = {
    {"file://server/share", "server", "/share", kAbsent, kAbsent},
    {"file:///a", kAbsent, "/a", kAbsent, kAbsent},
    {"file:////a", kAbsent, "/a", kAbsent, kAbsent},
    {"file:/a", kAbsent, "/a", kAbsent, kAbsent},
    {"file:a", kAbsent, "a", kAbsent, kAbsent},
    {"file://server", "server", kAbsent, kAbsent, kAbsent},
    {"file://", kAbsent, kAbsent, kAbsent, kAbsent},
    {"file:", kAbsent, kAbsent, kAbsent, kAbsent},
    {"file:\\\\srv\\x?q#r", "srv", "\\x", "q", "r"},
    {"file:///a/b?q#r", kAbsent, "/a/b", "q", "r"},
};

class FileParse : public ::testing::TestWithParam<FileCase> {};

TEST_P(FileParse, HostOnlyWithExactlyTwoSlashes) {
  const FileCase& c = GetParam();
  std::string in(c.input);
  Parsed p;
  url_parse::ParseFileURL(in.data(), static_cast<int>(in.size()), &p);
  SCOPED_TRACE(in);
  EXPECT_EQ("file", Part(in, p.scheme));
  EXPECT_EQ(c.host, Part(in, p.host));
  EXPECT_EQ(c.path, Part(in, p.path));
  EXPECT_EQ(c.query, Part(in, p.query));
  EXPECT_EQ(c.ref, Part(in, p.ref));
  EXPECT_EQ(kAbsent, Part(in, p.username));
  EXPECT_EQ(kAbsent, Part(in, p.port));
}

INSTANTIATE_TEST_SUITE_P(Url, FileParse, ::testing::ValuesIn(kFileCases));

TEST(UrlParse, FileWithoutSchemeStartsAtTheFirstNonBlank) {
  std::string in = "  ///c";
  Parsed p;
  url_parse::ParseFileURL(in.data(), static_cast<int>(in.size()), &p);
  EXPECT_EQ(kAbsent, Part(in, p.scheme));
  EXPECT_EQ("/c", Part(in, p.path));
}

TEST(UrlParse, ParseAuthorityOfEmptyRangeResetsAll) {
  Component u(1, 1), pw(1, 1), h(1, 1), port(1, 1);
  url_parse::ParseAuthority("x", Component(0, 0), &u, &pw, &h, &port);
  EXPECT_FALSE(u.is_valid());
  EXPECT_FALSE(pw.is_valid());
  EXPECT_FALSE(h.is_valid());
  EXPECT_FALSE(port.is_valid());
}

TEST(UrlParse, ParsePathInternalSeparators) {
  std::string in = "/p?a?b#c#d";
  Component path, query, ref;
  url_parse::ParsePathInternal(in.data(), Component(0, static_cast<int>(in.size())), &path, &query,
                               &ref);
  EXPECT_EQ("/p", Part(in, path));
  EXPECT_EQ("a?b", Part(in, query));
  EXPECT_EQ("c#d", Part(in, ref));

  std::string onlyRef = "#x";
  url_parse::ParsePathInternal(onlyRef.data(), Component(0, 2), &path, &query, &ref);
  EXPECT_EQ(kAbsent, Part(onlyRef, path));
  EXPECT_EQ(kAbsent, Part(onlyRef, query));
  EXPECT_EQ("x", Part(onlyRef, ref));

  url_parse::ParsePathInternal(onlyRef.data(), Component(), &path, &query, &ref);
  EXPECT_FALSE(path.is_valid());
  EXPECT_FALSE(query.is_valid());
  EXPECT_FALSE(ref.is_valid());
}

struct PortCase {
  const char* text;
  int expected;
};

class PortParse : public ::testing::TestWithParam<PortCase> {};

TEST_P(PortParse, Value) {
  std::string t(GetParam().text);
  Component c = t.empty() ? Component(0, 0) : Component(0, static_cast<int>(t.size()));
  EXPECT_EQ(GetParam().expected, url_parse::ParsePort(t.data(), c)) << t;
  string16 w = W(t);
  EXPECT_EQ(GetParam().expected, url_parse::ParsePort(w.data(), c)) << t;
}

INSTANTIATE_TEST_SUITE_P(Url, PortParse,
                         ::testing::Values(PortCase{"", -1}, PortCase{"80", 80},
                                           PortCase{"000080", 80}, PortCase{"0", 0},
                                           PortCase{"0000", 0}, PortCase{"65535", 65535},
                                           PortCase{"65536", -2}, PortCase{"8a", -2},
                                           PortCase{"123456", -2}, PortCase{"0012345", 12345},
                                           PortCase{"-1", -2}, PortCase{" 8", -2}));

TEST(UrlParse, ParsePortOfAbsentComponentIsUnspecified) {
  EXPECT_EQ(url_parse::PORT_UNSPECIFIED, url_parse::ParsePort("80", Component()));
}

struct FileNameCase {
  const char* path;
  const char* name;
};

class FileNameExtraction : public ::testing::TestWithParam<FileNameCase> {};

TEST_P(FileNameExtraction, Name) {
  std::string p(GetParam().path);
  Component name;
  url_parse::ExtractFileName(p.data(), Component(0, static_cast<int>(p.size())), &name);
  EXPECT_EQ(GetParam().name, Part(p, name)) << p;
}

INSTANTIATE_TEST_SUITE_P(Url, FileNameExtraction,
                         ::testing::Values(FileNameCase{"/a/b.ts;v=1", "b.ts"},
                                           FileNameCase{"/a/", ""}, FileNameCase{"/a/b.ts", "b.ts"},
                                           FileNameCase{"/a;x/b;y;z", "b;y"},
                                           FileNameCase{"noslash", "noslash"},
                                           FileNameCase{";x", ";x"}, FileNameCase{"/a\\b", "b"}));

TEST(UrlParse, ExtractFileNameOfEmptyPathIsReset) {
  Component name(3, 3);
  url_parse::ExtractFileName("x", Component(0, 0), &name);
  EXPECT_FALSE(name.is_valid());
}

TEST(UrlParse, ExtractQueryKeyValueWalksPairs) {
  std::string q = "a=1&b&=c&d=";
  Component query(0, static_cast<int>(q.size()));
  Component key, value;
  std::vector<std::pair<std::string, std::string>> pairs;
  while (url_parse::ExtractQueryKeyValue(q.data(), &query, &key, &value))
    pairs.emplace_back(Part(q, key), Part(q, value));
  std::vector<std::pair<std::string, std::string>> expected = {
      {"a", "1"}, {"b", ""}, {"", "c"}, {"d", ""}};
  EXPECT_EQ(expected, pairs);
}

TEST(UrlParse, ExtractQueryKeyValueOfEmptyQueryIsFalse) {
  Component query(0, 0);
  Component key, value;
  EXPECT_FALSE(url_parse::ExtractQueryKeyValue("", &query, &key, &value));
}

TEST(UrlParse, CountCharactersBeforeOnAFullUrl) {
  std::string in = "http://u:p@h:8/a?q#r";
  Parsed p;
  url_parse::ParseStandardURL(in.data(), static_cast<int>(in.size()), &p);
  EXPECT_EQ(0, p.CountCharactersBefore(Parsed::SCHEME, false));
  EXPECT_EQ(7, p.CountCharactersBefore(Parsed::USERNAME, false));
  EXPECT_EQ(9, p.CountCharactersBefore(Parsed::PASSWORD, false));
  EXPECT_EQ(11, p.CountCharactersBefore(Parsed::HOST, false));
  EXPECT_EQ(12, p.CountCharactersBefore(Parsed::PORT, true));
  EXPECT_EQ(13, p.CountCharactersBefore(Parsed::PORT, false));
  EXPECT_EQ(14, p.CountCharactersBefore(Parsed::PATH, false));
  EXPECT_EQ(16, p.CountCharactersBefore(Parsed::QUERY, true));
  EXPECT_EQ(17, p.CountCharactersBefore(Parsed::QUERY, false));
  EXPECT_EQ(18, p.CountCharactersBefore(Parsed::REF, true));
  EXPECT_EQ(19, p.CountCharactersBefore(Parsed::REF, false));
  EXPECT_EQ(static_cast<int>(in.size()), p.Length());
}

TEST(UrlParse, CountCharactersBeforeForAbsentComponents) {
  std::string in = "http://h/a";
  Parsed p;
  url_parse::ParseStandardURL(in.data(), static_cast<int>(in.size()), &p);
  EXPECT_EQ(7, p.CountCharactersBefore(Parsed::USERNAME, false));
  EXPECT_EQ(8, p.CountCharactersBefore(Parsed::PORT, true));
  EXPECT_EQ(10, p.CountCharactersBefore(Parsed::QUERY, true));
  EXPECT_EQ(10, p.CountCharactersBefore(Parsed::REF, false));
  EXPECT_EQ(10, p.Length());

  std::string withRef = "http://h#r";
  url_parse::ParseStandardURL(withRef.data(), static_cast<int>(withRef.size()), &p);
  // Before the ref, everything absent stands at the '#'.
  EXPECT_EQ(8, p.CountCharactersBefore(Parsed::PATH, false));
  EXPECT_EQ(8, p.CountCharactersBefore(Parsed::QUERY, false));
  EXPECT_EQ(10, p.Length());
}

TEST(UrlParse, ComponentDefaultsAndPredicates) {
  Component c;
  EXPECT_EQ(0, c.begin);
  EXPECT_EQ(-1, c.len);
  EXPECT_FALSE(c.is_valid());
  EXPECT_FALSE(c.is_nonempty());
  Component empty(4, 0);
  EXPECT_TRUE(empty.is_valid());
  EXPECT_FALSE(empty.is_nonempty());
  EXPECT_EQ(4, empty.end());
  empty.reset();
  EXPECT_EQ(Component(), empty);
  EXPECT_EQ(Component(2, 3), url_parse::MakeRange(2, 5));
}

TEST(UrlParse, ParsedStartsAllReset) {
  Parsed p;
  for (const Component* c :
       {&p.scheme, &p.username, &p.password, &p.host, &p.port, &p.path, &p.query, &p.ref})
    EXPECT_EQ(Component(), *c);
  EXPECT_EQ(0, static_cast<int>(Parsed::SCHEME));
  EXPECT_EQ(7, static_cast<int>(Parsed::REF));
}

TEST(UrlParse, ParseAfterSchemeStartsAtTheGivenOffset) {
  std::string in = "xx//h:1/p";
  Parsed p;
  url_parse::ParseAfterScheme(in.data(), static_cast<int>(in.size()), 2, &p);
  EXPECT_EQ("h", Part(in, p.host));
  EXPECT_EQ("1", Part(in, p.port));
  EXPECT_EQ("/p", Part(in, p.path));
  EXPECT_EQ(kAbsent, Part(in, p.scheme));
}

}  // namespace
