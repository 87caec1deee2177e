#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "UrlTestHelpers.h"
#include "url_canon.h"
#include "url_canon_internal.h"
#include "url_canon_stdstring.h"

using url_canon::CanonHostInfo;
using url_canon::RawCanonOutput;
using url_canon::RawCanonOutputT;
using url_canon::RawCanonOutputW;
using url_canon::StdStringCanonOutput;
using url_parse::Component;
using urltest::W;

namespace {

Component All(const std::string& s) { return Component(0, static_cast<int>(s.size())); }

std::string Out(const url_canon::CanonOutput& o) { return std::string(o.data(), o.length()); }

// Runs a component canonicaliser of the common shape over 8-bit and 16-bit input.
template <typename Fn8, typename Fn16>
void ExpectComponent(const std::string& in, const std::string& expected, bool expectedValid,
                     Fn8 fn8, Fn16 fn16) {
  SCOPED_TRACE(in);
  RawCanonOutput<64> out8;
  Component c8;
  bool ok8 = fn8(in.data(), All(in), &out8, &c8);
  EXPECT_EQ(expected, Out(out8));
  EXPECT_EQ(expectedValid, ok8);

  string16 w = W(in);
  RawCanonOutput<64> out16;
  Component c16;
  bool ok16 = fn16(w.data(), All(in), &out16, &c16);
  EXPECT_EQ(Out(out8), Out(out16));
  EXPECT_EQ(ok8, ok16);
  EXPECT_EQ(c8, c16);
}

struct Case {
  const char* input;
  const char* output;
  bool valid;
};

// Scheme --------------------------------------------------------------------------------------

class SchemeCanon : public ::testing::TestWithParam<Case> {};

TEST_P(SchemeCanon, LowerCasesAndEscapesInvalidCharacters) {
  ExpectComponent(
      GetParam().input, GetParam().output, GetParam().valid,
      [](const char* s, const Component& c, url_canon::CanonOutput* o, Component* n) {
        return url_canon::CanonicalizeScheme(s, c, o, n);
      },
      [](const base::char16* s, const Component& c, url_canon::CanonOutput* o, Component* n) {
        return url_canon::CanonicalizeScheme(s, c, o, n);
      });
}

INSTANTIATE_TEST_SUITE_P(Url, SchemeCanon,
                         ::testing::Values(Case{"http", "http:", true}, Case{"HTTP", "http:", true},
                                           Case{"HtTpS", "https:", true},
                                           Case{"a+b-c.9", "a+b-c.9:", true},
                                           Case{"9x", "9x:", true}, Case{"a b", "a%20b:", false},
                                           Case{"a%b", "a%25b:", false},
                                           Case{"a_b", "a%5Fb:", false}));

TEST(UrlCanon, EmptySchemeWritesOnlyTheColon) {
  RawCanonOutput<16> out;
  Component s(5, 5);
  EXPECT_TRUE(url_canon::CanonicalizeScheme("x", Component(), &out, &s));
  EXPECT_EQ(":", Out(out));
  EXPECT_EQ(Component(0, 0), s);
}

TEST(UrlCanon, NonAsciiSchemeByteBecomesPercentZeroZero) {
  std::string in = "h\xC3\xA9";
  RawCanonOutput<16> out;
  Component s;
  EXPECT_FALSE(url_canon::CanonicalizeScheme(in.data(), All(in), &out, &s));
  EXPECT_EQ("h%00%00:", Out(out));
  EXPECT_EQ(Component(0, 7), s);
}

// User information ---------------------------------------------------------------------------

TEST(UrlCanon, UserInfoEscapesUnsafeCharactersAndKeepsEscapes) {
  std::string user = "us er%41:x";
  std::string pass = "p@ss;";
  RawCanonOutput<64> out;
  Component u, p;
  EXPECT_TRUE(url_canon::CanonicalizeUserInfo(user.data(), All(user), pass.data(), All(pass), &out,
                                              &u, &p));
  EXPECT_EQ("us%20er%41%3Ax:p%40ss%3B@", Out(out));
  EXPECT_EQ(Component(0, 14), u);
  EXPECT_EQ(Component(15, 9), p);
}

TEST(UrlCanon, EmptyUserInfoDisappearsWithItsAt) {
  RawCanonOutput<16> out;
  Component u(1, 1), p(1, 1);
  EXPECT_TRUE(url_canon::CanonicalizeUserInfo("", Component(0, 0), "", Component(), &out, &u, &p));
  EXPECT_EQ("", Out(out));
  EXPECT_FALSE(u.is_valid());
  EXPECT_FALSE(p.is_valid());
}

TEST(UrlCanon, EmptyPasswordLosesItsColon) {
  std::string user = "u";
  RawCanonOutput<16> out;
  Component u, p;
  EXPECT_TRUE(
      url_canon::CanonicalizeUserInfo(user.data(), All(user), "", Component(0, 0), &out, &u, &p));
  EXPECT_EQ("u@", Out(out));
  EXPECT_FALSE(p.is_valid());
}

TEST(UrlCanon, PasswordWithoutUserKeepsAnEmptyUser) {
  std::string pass = "pw";
  RawCanonOutput<16> out;
  Component u, p;
  EXPECT_TRUE(
      url_canon::CanonicalizeUserInfo("", Component(), pass.data(), All(pass), &out, &u, &p));
  EXPECT_EQ(":pw@", Out(out));
  EXPECT_EQ(Component(0, 0), u);
  EXPECT_EQ(Component(1, 2), p);
}

TEST(UrlCanon, NonAsciiUserInfoBecomesPercentZeroZero) {
  std::string user = "\xC3\xA9";
  RawCanonOutput<16> out;
  Component u, p;
  EXPECT_TRUE(
      url_canon::CanonicalizeUserInfo(user.data(), All(user), "", Component(), &out, &u, &p));
  EXPECT_EQ("%00%00@", Out(out));
}

// Host ----------------------------------------------------------------------------------------

class HostCanon : public ::testing::TestWithParam<Case> {};

TEST_P(HostCanon, CanonicalForm) {
  ExpectComponent(
      GetParam().input, GetParam().output, GetParam().valid,
      [](const char* s, const Component& c, url_canon::CanonOutput* o, Component* n) {
        return url_canon::CanonicalizeHost(s, c, o, n);
      },
      [](const base::char16* s, const Component& c, url_canon::CanonOutput* o, Component* n) {
        return url_canon::CanonicalizeHost(s, c, o, n);
      });
}

INSTANTIATE_TEST_SUITE_P(
    Url, HostCanon,
    ::testing::Values(
        Case{"HOST", "host", true}, Case{"a b", "a%20b", true}, Case{"a~b", "a%7Eb", false},
        Case{"h%41st", "hast", true}, Case{"h%4", "h%254", false}, Case{"h%zz", "h%25zz", false},
        Case{"a%2Fb", "a%2Fb", false}, Case{"a%20b", "a%20b", true},
        Case{"Www.Example.COM", "www.example.com", true}, Case{"a!b$c", "a%21b%24c", true},
        Case{"a^b", "a%5Eb", false}, Case{"under_score-dash", "under_score-dash", true},
        Case{"1.2.3", "1.2.0.3", true}, Case{"0x7f.1", "127.0.0.1", true},
        Case{"2130706433", "127.0.0.1", true}, Case{"256.1.1.1", "256.1.1.1", false},
        Case{"0300.0250.1.1", "192.168.1.1", true}, Case{"1.2.3.4.", "1.2.3.4", true},
        Case{"1.2.3.4.5", "1.2.3.4.5", true}, Case{"1.2.3.a", "1.2.3.a", true},
        Case{"1..2", "1..2", true}, Case{"0x100000000", "0x100000000", false},
        Case{"1.2.65536", "1.2.65536", false}, Case{"1.2.65535", "1.2.255.255", true},
        Case{"4294967295", "255.255.255.255", true}, Case{"4294967296", "4294967296", false},
        Case{"00000000000000000000001.2.3.4", "1.2.3.4", true},
        Case{"%31.%32.3.4", "1.2.3.4", true}, Case{"[1::0:2]", "[1::2]", true},
        Case{"[::ffff:1.2.3.4]", "[::ffff:102:304]", true},
        Case{"[::1.2.3.4]", "[::102:304]", true},
        Case{"[1:2:3:4:5:6:7:8]", "[1:2:3:4:5:6:7:8]", true},
        Case{"[0:0:0:0:0:0:0:0]", "[::]", true}, Case{"[1:0:0:2:0:0:0:3]", "[1:0:0:2::3]", true},
        Case{"[1:0:0:2:0:0:3:4]", "[1::2:0:0:3:4]", true},
        Case{"[1:0:2:3:4:5:6:7]", "[1:0:2:3:4:5:6:7]", true},
        Case{"[ABCD::EF]", "[abcd::ef]", true}, Case{"[0001::1]", "[1::1]", true},
        Case{"[::]", "[::]", true}, Case{"[1::]", "[1::]", true}, Case{"[x]", "[x]", false},
        Case{"[::1", "[::1", false}, Case{"[]", "[]", false},
        Case{"[1:2:3:4:5:6:7:8:9]", "[1:2:3:4:5:6:7:8:9]", false},
        Case{"[1::2::3]", "[1::2::3]", false}, Case{"[:1::2]", "[:1::2]", false},
        Case{"[1::2:]", "[1::2:]", false}, Case{"[12345::]", "[12345::]", false},
        Case{"[1:2:3:4:5:6:7::8]", "[1:2:3:4:5:6:7::8]", false},
        Case{"[1::1.2.3.4]", "[1::1.2.3.4]", false},
        Case{"[::fffe:1.2.3.4]", "[::fffe:1.2.3.4]", false},
        Case{"[::ffff:1.2.3]", "[::ffff:102:3]", true}, Case{"a:b", "a:b", false}));

TEST(UrlCanon, EmptyHostIsNeutralAndReset) {
  RawCanonOutput<16> out;
  CanonHostInfo info;
  info.m_family = CanonHostInfo::IPV4;
  url_canon::CanonicalizeHostVerbose("", Component(0, 0), &out, &info);
  EXPECT_EQ(CanonHostInfo::NEUTRAL, info.m_family);
  EXPECT_EQ(Component(), info.m_hostRange);
  Component h(1, 1);
  EXPECT_TRUE(url_canon::CanonicalizeHost("", Component(), &out, &h));
  EXPECT_EQ(Component(), h);
}

TEST(UrlCanon, HostVerboseReportsFamilyAndComponentCount) {
  struct {
    const char* in;
    CanonHostInfo::Family family;
    int components;
  } cases[] = {
      {"1.2.3", CanonHostInfo::IPV4, 3},   {"127.0.0.1", CanonHostInfo::IPV4, 4},
      {"7", CanonHostInfo::IPV4, 1},       {"[::1]", CanonHostInfo::IPV6, 0},
      {"name", CanonHostInfo::NEUTRAL, 0}, {"256.0.0.1", CanonHostInfo::BROKEN, 0},
      {"a~b", CanonHostInfo::BROKEN, 0},   {"[zz]", CanonHostInfo::BROKEN, 0},
  };
  for (const auto& c : cases) {
    std::string in(c.in);
    RawCanonOutput<64> out;
    out.push_back('#');
    CanonHostInfo info;
    url_canon::CanonicalizeHostVerbose(in.data(), All(in), &out, &info);
    EXPECT_EQ(c.family, info.m_family) << in;
    if (c.family == CanonHostInfo::IPV4) EXPECT_EQ(c.components, info.m_ipv4Components) << in;
    EXPECT_EQ(1, info.m_hostRange.begin) << in;
    EXPECT_EQ(out.length() - 1, info.m_hostRange.len) << in;
  }
}

TEST(UrlCanon, NonAsciiHostIsInvalidInEveryForm) {
  const char* inputs[] = {"h\xC3\xA9st", "h%C3%A9st", "\xC3\xA9%41"};
  const char* outputs[] = {"h%00%00st", "h%00%00st", "%00%00a"};
  for (int i = 0; i < 3; i++) {
    std::string in(inputs[i]);
    RawCanonOutput<64> out;
    Component h;
    EXPECT_FALSE(url_canon::CanonicalizeHost(in.data(), All(in), &out, &h)) << in;
    EXPECT_EQ(outputs[i], Out(out)) << in;
  }
}

TEST(UrlCanon, SixteenBitNonAsciiHostIsInvalid) {
  string16 in = W("hst");
  in.insert(1, 1, 0xE9);
  RawCanonOutput<64> out;
  Component h;
  EXPECT_FALSE(url_canon::CanonicalizeHost(in.data(), All(std::string(in.size(), 'x')), &out, &h));
  EXPECT_EQ("h%00st", Out(out));

  string16 escaped = W("h%41");
  escaped.push_back(0x4E2D);
  RawCanonOutput<64> out2;
  EXPECT_FALSE(url_canon::CanonicalizeHost(escaped.data(), Component(0, 5), &out2, &h));
  EXPECT_EQ("h%41%00", Out(out2));
}

TEST(UrlCanon, HostAppendsAfterExistingOutput) {
  std::string in = "[0::1]";
  RawCanonOutput<64> out;
  out.Append("http://", 7);
  Component h;
  EXPECT_TRUE(url_canon::CanonicalizeHost(in.data(), All(in), &out, &h));
  EXPECT_EQ("http://[::1]", Out(out));
  EXPECT_EQ(Component(7, 5), h);
}

// IP addresses --------------------------------------------------------------------------------

TEST(UrlCanon, FindIPv4ComponentsSplitsOnDots) {
  Component comps[4];
  std::string in = "1.22.0x3";
  ASSERT_TRUE(url_canon::FindIPv4Components(in.data(), All(in), comps));
  EXPECT_EQ(Component(0, 1), comps[0]);
  EXPECT_EQ(Component(2, 2), comps[1]);
  EXPECT_EQ(Component(5, 3), comps[2]);
  EXPECT_EQ(Component(), comps[3]);

  for (const char* bad : {"", ".", "1..2", ".1", "1.2.3.4.5", "1.2.3.4..", "1.g", "a-b"}) {
    std::string b(bad);
    EXPECT_FALSE(
        url_canon::FindIPv4Components(b.data(), b.empty() ? Component(0, 0) : All(b), comps))
        << bad;
  }
  std::string trailing = "1.2.3.4.";
  EXPECT_TRUE(url_canon::FindIPv4Components(trailing.data(), All(trailing), comps));
}

TEST(UrlCanon, IPv4AddressToNumberRadixes) {
  struct {
    const char* in;
    CanonHostInfo::Family family;
    unsigned char a, b, c, d;
    int count;
  } cases[] = {
      {"0x7f.1", CanonHostInfo::IPV4, 127, 0, 0, 1, 2},
      {"010.0X10.0.00", CanonHostInfo::IPV4, 8, 16, 0, 0, 4},
      {"0", CanonHostInfo::IPV4, 0, 0, 0, 0, 1},
      {"0x", CanonHostInfo::IPV4, 0, 0, 0, 0, 1},
      {"1.2.3", CanonHostInfo::IPV4, 1, 2, 0, 3, 3},
      {"08", CanonHostInfo::NEUTRAL, 0, 0, 0, 0, 0},
      {"0xg", CanonHostInfo::NEUTRAL, 0, 0, 0, 0, 0},
      {"1.2.3.a", CanonHostInfo::NEUTRAL, 0, 0, 0, 0, 0},
      {"0x100.1", CanonHostInfo::BROKEN, 0, 0, 0, 0, 0},
      {"99999999999999999999", CanonHostInfo::BROKEN, 0, 0, 0, 0, 0},
  };
  for (const auto& c : cases) {
    std::string in(c.in);
    unsigned char addr[4] = {9, 9, 9, 9};
    int count = -1;
    EXPECT_EQ(c.family, url_canon::IPv4AddressToNumber(in.data(), All(in), addr, &count)) << in;
    if (c.family == CanonHostInfo::IPV4) {
      EXPECT_EQ(c.a, addr[0]) << in;
      EXPECT_EQ(c.b, addr[1]) << in;
      EXPECT_EQ(c.c, addr[2]) << in;
      EXPECT_EQ(c.d, addr[3]) << in;
      EXPECT_EQ(c.count, count) << in;
    }
    string16 w = W(in);
    unsigned char addr16[4];
    int count16;
    EXPECT_EQ(c.family, url_canon::IPv4AddressToNumber(w.data(), All(in), addr16, &count16));
  }
}

TEST(UrlCanon, IPv6AddressToNumberBytes) {
  std::string in = "[1:203::ffff:1.2.3.4]";
  unsigned char addr[16];
  EXPECT_FALSE(url_canon::IPv6AddressToNumber(in.data(), All(in), addr));

  std::string mapped = "[::ffff:10.0.0.1]";
  ASSERT_TRUE(url_canon::IPv6AddressToNumber(mapped.data(), All(mapped), addr));
  const unsigned char expected[16] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff, 10, 0, 0, 1};
  for (int i = 0; i < 16; i++) EXPECT_EQ(expected[i], addr[i]) << i;

  std::string plain = "[fe80::1:2]";
  ASSERT_TRUE(url_canon::IPv6AddressToNumber(plain.data(), All(plain), addr));
  EXPECT_EQ(0xfe, addr[0]);
  EXPECT_EQ(0x80, addr[1]);
  EXPECT_EQ(1, addr[13]);
  EXPECT_EQ(2, addr[15]);

  std::string unbracketed = "::1";
  EXPECT_FALSE(url_canon::IPv6AddressToNumber(unbracketed.data(), All(unbracketed), addr));
}

TEST(UrlCanon, CanonicalizeIPAddressWritesNothingForNames) {
  std::string in = "example";
  RawCanonOutput<64> out;
  CanonHostInfo info;
  url_canon::CanonicalizeIPAddress(in.data(), All(in), &out, &info);
  EXPECT_EQ(CanonHostInfo::NEUTRAL, info.m_family);
  EXPECT_EQ(0, out.length());
}

// Port ----------------------------------------------------------------------------------------

TEST(UrlCanon, PortDefaultIsDroppedAndOthersLoseLeadingZeros) {
  struct {
    const char* in;
    int defaultPort;
    const char* out;
    bool valid;
  } cases[] = {
      {"80", 80, "", true},         {"0080", 80, "", true}, {"8080", 80, ":8080", true},
      {"000443", 80, ":443", true}, {"", 80, "", true},     {"65536", 80, ":65536", false},
      {"8a", 80, ":8a", false},     {"0", 80, ":0", true},  {"1 2", -1, ":1%202", false},
  };
  for (const auto& c : cases) {
    std::string in(c.in);
    RawCanonOutput<32> out;
    Component p(9, 9);
    bool ok = url_canon::CanonicalizePort(in.data(), Component(0, static_cast<int>(in.size())),
                                          c.defaultPort, &out, &p);
    EXPECT_EQ(c.valid, ok) << in;
    EXPECT_EQ(c.out, Out(out)) << in;
    if (Out(out).empty()) EXPECT_FALSE(p.is_valid()) << in;
    string16 w = W(in);
    RawCanonOutput<32> out16;
    Component p16;
    EXPECT_EQ(ok, url_canon::CanonicalizePort(w.data(), Component(0, static_cast<int>(in.size())),
                                              c.defaultPort, &out16, &p16));
    EXPECT_EQ(Out(out), Out(out16));
  }
}

// Path ----------------------------------------------------------------------------------------

class PathCanon : public ::testing::TestWithParam<Case> {};

TEST_P(PathCanon, CanonicalForm) {
  ExpectComponent(
      GetParam().input, GetParam().output, GetParam().valid,
      [](const char* s, const Component& c, url_canon::CanonOutput* o, Component* n) {
        return url_canon::CanonicalizePath(s, c, o, n);
      },
      [](const base::char16* s, const Component& c, url_canon::CanonOutput* o, Component* n) {
        return url_canon::CanonicalizePath(s, c, o, n);
      });
}

INSTANTIATE_TEST_SUITE_P(
    Url, PathCanon,
    ::testing::Values(
        Case{"/a/b/../c", "/a/c", true}, Case{"/a/./b", "/a/b", true}, Case{"/..", "/", true},
        Case{"/../../a", "/a", true}, Case{"/a/%2E%2e/b", "/b", true},
        Case{"/a/...", "/a/...", true}, Case{"/a/.", "/a/", true}, Case{"/a/..", "/", true},
        Case{"/a/b/..", "/a/", true}, Case{"/a/.b", "/a/.b", true}, Case{"/a/..b", "/a/..b", true},
        Case{"/a/b.", "/a/b.", true}, Case{"/a/%2e", "/a/", true}, Case{"/a%2e/b", "/a./b", true},
        Case{"/a/.%2E/b", "/b", true}, Case{"/a\\b\\..\\c", "/a/c", true},
        Case{"/a/.\\b", "/a/b", true}, Case{"a", "/a", true}, Case{"\\a", "/a", true},
        Case{"//a//b", "//a//b", true}, Case{"/a b", "/a%20b", true},
        Case{"/a%2fb", "/a%2fb", true}, Case{"/%41", "/A", true}, Case{"/%7e%5F%2D", "/~_-", true},
        Case{"/%3a%3A", "/%3a%3A", true}, Case{"/%00", "/%00", false}, Case{"/%", "/%", true},
        Case{"/%4", "/%4", true}, Case{"/%zz", "/%zz", true},
        Case{"/\"#<>?^`{|}", "/%22%23%3C%3E%3F%5E%60%7B%7C%7D", true},
        Case{"/!$&'()*+,:;=@[]", "/!$&'()*+,:;=@[]", true}, Case{"/a\x01\x7f", "/a%01%7F", true},
        Case{"/%2525", "/%2525", true}, Case{"/%80", "/%80", true}));

TEST(UrlCanon, PathWithNulIsInvalid) {
  std::string in("/a\0b", 4);
  RawCanonOutput<32> out;
  Component p;
  EXPECT_FALSE(url_canon::CanonicalizePath(in.data(), All(in), &out, &p));
  EXPECT_EQ("/a%00b", Out(out));
}

TEST(UrlCanon, EightBitPathEscapesNonAsciiBytesAsThemselves) {
  std::string in = "/\xC3\xA9";
  RawCanonOutput<32> out;
  Component p;
  EXPECT_TRUE(url_canon::CanonicalizePath(in.data(), All(in), &out, &p));
  EXPECT_EQ("/%C3%A9", Out(out));
}

TEST(UrlCanon, SixteenBitPathWritesPercentZeroZeroForNonAscii) {
  string16 in = W("/x");
  in.push_back(0xE9);
  RawCanonOutput<32> out;
  Component p;
  EXPECT_FALSE(url_canon::CanonicalizePath(in.data(), Component(0, 3), &out, &p));
  EXPECT_EQ("/x%00", Out(out));
}

TEST(UrlCanon, EmptyPathWritesSlashButResetsTheRange) {
  RawCanonOutput<8> out;
  Component p(3, 3);
  EXPECT_TRUE(url_canon::CanonicalizePath("", Component(0, 0), &out, &p));
  EXPECT_EQ("/", Out(out));
  EXPECT_FALSE(p.is_valid());
}

TEST(UrlCanon, FileCanonicalizePathOfEmptyInputIsOneSlash) {
  RawCanonOutput<8> out;
  Component p;
  EXPECT_TRUE(url_canon::FileCanonicalizePath("", Component(), &out, &p));
  EXPECT_EQ("/", Out(out));
  EXPECT_EQ(Component(0, 1), p);

  std::string in = "/a/../b";
  RawCanonOutput<16> out2;
  EXPECT_TRUE(url_canon::FileCanonicalizePath(in.data(), All(in), &out2, &p));
  EXPECT_EQ("/b", Out(out2));
  EXPECT_EQ(Component(0, 2), p);
}

TEST(UrlCanon, PartialPathNeverBacksUpBeforeThePathStart) {
  RawCanonOutput<32> out;
  out.Append("http://h/a/", 11);
  std::string rel = "../../../x";
  EXPECT_TRUE(url_canon::CanonicalizePartialPath(rel.data(), All(rel), 8, &out));
  EXPECT_EQ("http://h/x", Out(out));
}

// Query ---------------------------------------------------------------------------------------

TEST(UrlCanon, QueryEscapesOnlyUnsafeCharacters) {
  std::string in = "a b\"#<>'%41~\x7f";
  RawCanonOutput<64> out;
  Component q;
  EXPECT_TRUE(url_canon::CanonicalizeQuery(in.data(), All(in), nullptr, &out, &q));
  EXPECT_EQ("?a%20b%22%23%3C%3E'%41~%7F", Out(out));
  EXPECT_EQ(Component(1, out.length() - 1), q);
}

TEST(UrlCanon, NonAsciiQueryWithoutConverterGetsPercentZeroZeroPerByte) {
  std::string in = "x=\xC3\xA9 ";
  RawCanonOutput<64> out;
  Component q;
  url_canon::CanonicalizeQuery(in.data(), All(in), nullptr, &out, &q);
  EXPECT_EQ("?x=%00%00%20", Out(out));
}

TEST(UrlCanon, AbsentQueryWritesNothingAndEmptyQueryWritesTheMark) {
  RawCanonOutput<8> out;
  Component q(1, 1);
  url_canon::CanonicalizeQuery("", Component(), nullptr, &out, &q);
  EXPECT_EQ("", Out(out));
  EXPECT_FALSE(q.is_valid());
  url_canon::CanonicalizeQuery("", Component(0, 0), nullptr, &out, &q);
  EXPECT_EQ("?", Out(out));
  EXPECT_EQ(Component(1, 0), q);
}

class Latin1Converter : public url_canon::CharsetConverter {
 public:
  void ConvertFromUTF16(const base::char16* input, int inputLen,
                        url_canon::CanonOutput* output) override {
    calls++;
    for (int i = 0; i < inputLen; i++) output->push_back(static_cast<char>(input[i] & 0xff));
  }
  int calls = 0;
};

TEST(UrlCanon, QueryConverterRunsOnlyForNonAsciiText) {
  Latin1Converter conv;
  std::string ascii = "a=b";
  RawCanonOutput<32> out;
  Component q;
  url_canon::CanonicalizeQuery(ascii.data(), All(ascii), &conv, &out, &q);
  EXPECT_EQ(0, conv.calls);

  string16 wide = W("a=");
  wide.push_back(0xE9);
  RawCanonOutput<32> out16;
  url_canon::CanonicalizeQuery(wide.data(), Component(0, 3), &conv, &out16, &q);
  EXPECT_EQ(1, conv.calls);
  EXPECT_EQ("?a=%E9", Out(out16));

  // UTF-8 text can't be converted to UTF-16 without Unicode support: the unit becomes 0.
  std::string utf8 = "a=\xC3\xA9";
  RawCanonOutput<32> out8;
  url_canon::CanonicalizeQuery(utf8.data(), All(utf8), &conv, &out8, &q);
  EXPECT_EQ(2, conv.calls);
  EXPECT_EQ("?a=%00%00", Out(out8));
}

// Ref -----------------------------------------------------------------------------------------

TEST(UrlCanon, RefKeepsAsciiDropsNulAndEscapesControls) {
  std::string in("a b\x01\0#\x7f", 7);
  RawCanonOutput<32> out;
  Component r;
  EXPECT_TRUE(url_canon::CanonicalizeRef(in.data(), All(in), &out, &r));
  EXPECT_EQ("#a b%01#\x7f", Out(out));
  EXPECT_EQ(Component(1, out.length() - 1), r);
}

TEST(UrlCanon, NonAsciiRefUnitsBecomeReplacementCharacters) {
  std::string in = "x\xC3\xA9";
  RawCanonOutput<32> out;
  Component r;
  EXPECT_TRUE(url_canon::CanonicalizeRef(in.data(), All(in), &out, &r));
  EXPECT_EQ("#x\xEF\xBF\xBD\xEF\xBF\xBD", Out(out));

  string16 w = W("x");
  w.push_back(0xE9);
  RawCanonOutput<32> out16;
  url_canon::CanonicalizeRef(w.data(), Component(0, 2), &out16, &r);
  EXPECT_EQ("#x\xEF\xBF\xBD", Out(out16));
}

TEST(UrlCanon, AbsentRefWritesNothingAndEmptyRefWritesTheSign) {
  RawCanonOutput<8> out;
  Component r(1, 1);
  url_canon::CanonicalizeRef("", Component(), &out, &r);
  EXPECT_EQ("", Out(out));
  EXPECT_FALSE(r.is_valid());
  url_canon::CanonicalizeRef("", Component(0, 0), &out, &r);
  EXPECT_EQ("#", Out(out));
}

// Helpers -------------------------------------------------------------------------------------

TEST(UrlCanon, RemoveURLWhitespaceReturnsTheInputWhenThereIsNone) {
  std::string in = "http://a b/";
  RawCanonOutputT<char, 16> buf;
  int len = 0;
  const char* out =
      url_canon::RemoveURLWhitespace(in.data(), static_cast<int>(in.size()), &buf, &len);
  EXPECT_EQ(in.data(), out);
  EXPECT_EQ(static_cast<int>(in.size()), len);
  EXPECT_EQ(0, buf.length());
}

TEST(UrlCanon, RemoveURLWhitespaceDropsTabsAndLineBreaksAnywhere) {
  std::string in = "\thttp://a\n/b\r\nc ";
  RawCanonOutputT<char, 16> buf;
  int len = 0;
  const char* out =
      url_canon::RemoveURLWhitespace(in.data(), static_cast<int>(in.size()), &buf, &len);
  EXPECT_EQ("http://a/bc ", std::string(out, len));

  string16 w = W(in);
  RawCanonOutputT<base::char16, 16> buf16;
  const base::char16* out16 =
      url_canon::RemoveURLWhitespace(w.data(), static_cast<int>(w.size()), &buf16, &len);
  EXPECT_EQ(W("http://a/bc "), string16(out16, len));
}

TEST(UrlCanon, ReadUTFCharAndIDNToASCIIAreFailingStubsThatWriteNothing) {
  int index = 1;
  unsigned codePoint = 77;
  EXPECT_FALSE(url_canon::ReadUTFChar("a\xC3\xA9", &index, 3, &codePoint));
  EXPECT_EQ(1, index);
  EXPECT_EQ(77u, codePoint);
  string16 w = W("ab");
  EXPECT_FALSE(url_canon::ReadUTFChar(w.data(), &index, 2, &codePoint));
  EXPECT_EQ(1, index);
  EXPECT_EQ(77u, codePoint);

  RawCanonOutputW<8> out;
  EXPECT_FALSE(url_canon::IDNToASCII(w.data(), 2, &out));
  EXPECT_EQ(0, out.length());
}

TEST(UrlCanon, AppendStringOfTypeKeepsExistingEscapes) {
  std::string in = "a%20b c\xC3";
  RawCanonOutput<32> out;
  url_canon::AppendStringOfType(in.data(), static_cast<int>(in.size()), url_canon::CHAR_USERINFO,
                                &out);
  EXPECT_EQ("a%20b%20c%00", Out(out));
}

TEST(UrlCanon, AppendInvalidNarrowStringEscapesBlanksControlsAndNonAscii) {
  std::string in = "a b\x7f:\xC3";
  RawCanonOutput<32> out;
  url_canon::AppendInvalidNarrowString(in.data(), 0, static_cast<int>(in.size()), &out);
  EXPECT_EQ("a%20b%7F:%00", Out(out));
}

TEST(UrlCanon, UtfConversionsFailOnNonAsciiUnits) {
  RawCanonOutputW<16> wide;
  EXPECT_TRUE(url_canon::ConvertUTF8ToUTF16("abc", 3, &wide));
  EXPECT_EQ(W("abc"), string16(wide.data(), wide.length()));
  RawCanonOutputW<16> wide2;
  EXPECT_FALSE(url_canon::ConvertUTF8ToUTF16("a\xC3\xA9", 3, &wide2));

  RawCanonOutput<16> narrow;
  string16 w = W("ab");
  EXPECT_TRUE(url_canon::ConvertUTF16ToUTF8(w.data(), 2, &narrow));
  EXPECT_EQ("ab", Out(narrow));
  w.push_back(0x100);
  RawCanonOutput<16> narrow2;
  EXPECT_FALSE(url_canon::ConvertUTF16ToUTF8(w.data(), 3, &narrow2));
}

TEST(UrlCanon, ItoaFormatsDecimalAndHexAndRejectsTheRest) {
  char buf[8];
  EXPECT_EQ(0, url_canon::_itoa_s(1234, buf, sizeof(buf), 10));
  EXPECT_STREQ("1234", buf);
  EXPECT_EQ(0, url_canon::_itoa_s(0xbeef, buf, 16));
  EXPECT_STREQ("beef", buf);
  EXPECT_EQ(22, url_canon::_itoa_s(5, buf, 8));
  EXPECT_EQ(22, url_canon::_itoa_s(123456, buf, 4, 10));

  base::char16 wbuf[8];
  EXPECT_EQ(0, url_canon::_itow_s(-42, wbuf, 10));
  EXPECT_EQ(W("-42"), string16(wbuf));
  EXPECT_EQ(0, url_canon::_itow_s(255, wbuf, 16));
  EXPECT_EQ(W("ff"), string16(wbuf));
  EXPECT_EQ(22, url_canon::_itow_s(1, wbuf, 2));
  EXPECT_EQ(22, url_canon::_itow_s(12345, wbuf, 3, 10));
}

TEST(UrlCanon, DefaultPortForSchemeComparesExactly) {
  EXPECT_EQ(-1, url_canon::DefaultPortForScheme("HTTP", 4));
  EXPECT_EQ(80, url_canon::DefaultPortForScheme("http", 4));
  EXPECT_EQ(443, url_canon::DefaultPortForScheme("https", 5));
  EXPECT_EQ(21, url_canon::DefaultPortForScheme("ftp", 3));
  EXPECT_EQ(70, url_canon::DefaultPortForScheme("gopher", 6));
  EXPECT_EQ(80, url_canon::DefaultPortForScheme("ws", 2));
  EXPECT_EQ(443, url_canon::DefaultPortForScheme("wss", 3));
  EXPECT_EQ(-1, url_canon::DefaultPortForScheme("file", 4));
  EXPECT_EQ(-1, url_canon::DefaultPortForScheme("http", 3));
  EXPECT_EQ(-1, url_canon::DefaultPortForScheme("httpx", 5));
}

// Tables --------------------------------------------------------------------------------------

TEST(UrlCanon, SharedCharTypeTableIsZeroOutsidePrintableAscii) {
  for (int c = 0; c < 0x21; c++) EXPECT_EQ(0, url_canon::kSharedCharTypeTable[c]) << c;
  for (int c = 0x7f; c < 0x100; c++) EXPECT_EQ(0, url_canon::kSharedCharTypeTable[c]) << c;
}

TEST(UrlCanon, SharedCharTypeClasses) {
  using url_canon::IsCharOfType;
  for (int c = 0x21; c < 0x7f; c++) {
    bool query = std::string("\"#<>").find(static_cast<char>(c)) == std::string::npos;
    EXPECT_EQ(query, IsCharOfType(c, url_canon::CHAR_QUERY)) << c;
    bool alnum = isalnum(c) != 0;
    bool user =
        alnum || std::string("!$%&'()*+,-._~").find(static_cast<char>(c)) != std::string::npos;
    EXPECT_EQ(user, IsCharOfType(c, url_canon::CHAR_USERINFO)) << c;
    bool hex = isxdigit(c) != 0;
    EXPECT_EQ(hex, IsCharOfType(c, url_canon::CHAR_HEX)) << c;
    EXPECT_EQ(hex || c == '.' || c == 'x' || c == 'X', IsCharOfType(c, url_canon::CHAR_IPV4)) << c;
    EXPECT_EQ(c >= '0' && c <= '9', IsCharOfType(c, url_canon::CHAR_DEC)) << c;
    EXPECT_EQ(c >= '0' && c <= '7', IsCharOfType(c, url_canon::CHAR_OCT)) << c;
  }
  EXPECT_EQ(1, url_canon::CHAR_QUERY);
  EXPECT_EQ(2, url_canon::CHAR_USERINFO);
  EXPECT_EQ(4, url_canon::CHAR_IPV4);
  EXPECT_EQ(8, url_canon::CHAR_HEX);
  EXPECT_EQ(16, url_canon::CHAR_DEC);
  EXPECT_EQ(32, url_canon::CHAR_OCT);
}

TEST(UrlCanon, SchemeTableMapsOnlySchemeCharacters) {
  for (int c = 0; c < 0x80; c++) {
    unsigned char expected = 0;
    if (isalpha(c)) expected = static_cast<unsigned char>(tolower(c));
    if (isdigit(c) || c == '+' || c == '-' || c == '.') expected = static_cast<unsigned char>(c);
    EXPECT_EQ(expected, url_canon::CanonicalSchemeChar(static_cast<char>(c))) << c;
  }
  EXPECT_EQ(0, url_canon::CanonicalSchemeChar(static_cast<base::char16>(0x100 + 'a')));
  EXPECT_EQ(0, url_canon::CanonicalSchemeChar('\xC3'));
}

TEST(UrlCanon, HostTableClasses) {
  const std::string invalid = "%/;?\\^~";
  const std::string escaped = " !\"#$&'()*,<=>@`{|}";
  for (int c = 0; c < 0x80; c++) {
    unsigned char v = url_canon::kHostCharLookup[c];
    if (c < 0x20 || c == 0x7f || invalid.find(static_cast<char>(c)) != std::string::npos) {
      EXPECT_EQ(0, v) << c;
    } else if (escaped.find(static_cast<char>(c)) != std::string::npos) {
      EXPECT_EQ(url_canon::kEsc, v) << c;
    } else {
      EXPECT_EQ(tolower(c), v) << c;
    }
  }
}

TEST(UrlCanon, PathTableClasses) {
  const std::string pass = "!$&'()*+,/:;=@[]";
  const std::string escape = " \"#%<>?\\^`{|}";
  for (int c = 0; c < 0x100; c++) {
    unsigned char v = url_canon::kPathCharLookup[c];
    if (c == 0) {
      EXPECT_EQ(9, v);
    } else if (c < 0x20 || c >= 0x7f || escape.find(static_cast<char>(c)) != std::string::npos) {
      EXPECT_EQ(3, v) << c;
    } else if (pass.find(static_cast<char>(c)) != std::string::npos) {
      EXPECT_EQ(0, v) << c;
    } else if (c == '.') {
      EXPECT_EQ(1, v);
    } else {
      EXPECT_EQ(4, v) << c;
    }
  }
}

TEST(UrlCanon, HexLookupIsUpperCase) {
  EXPECT_EQ(std::string("0123456789ABCDEF"), std::string(url_canon::kHexCharLookup, 16));
}

// Output buffers ------------------------------------------------------------------------------

TEST(UrlCanon, RawOutputUsesInlineStorageUntilItGrows) {
  RawCanonOutputT<char, 4> out;
  const char* inlineData = out.data();
  EXPECT_EQ(4, out.capacity());
  for (char c : std::string("abcd")) out.push_back(c);
  EXPECT_EQ(inlineData, out.data());
  out.push_back('e');
  EXPECT_NE(inlineData, out.data());
  EXPECT_EQ(8, out.capacity());
  EXPECT_EQ("abcde", Out(out));
  out.Append("0123456789", 10);
  EXPECT_EQ(16, out.capacity());
  EXPECT_EQ("abcde0123456789", Out(out));
}

class CountingOutput : public url_canon::CanonOutputT<char> {
 public:
  ~CountingOutput() override { delete[] m_data; }
  void Resize(int sz) override {
    resizes.push_back(sz);
    char* n = new char[sz];
    if (m_length > 0) std::memcpy(n, m_data, std::min(m_length, sz));
    delete[] m_data;
    m_data = n;
    m_capacity = sz;
  }
  std::vector<int> resizes;
};

TEST(UrlCanon, GrowthStartsAtSixteenAndDoubles) {
  CountingOutput out;
  out.push_back('a');
  EXPECT_EQ(std::vector<int>{32}, out.resizes);
  out.Append(std::string(40, 'b').data(), 40);
  EXPECT_EQ((std::vector<int>{32, 64}), out.resizes);
  EXPECT_EQ(41, out.length());
}

TEST(UrlCanon, StdStringOutputWritesIntoTheStringAfterItsText) {
  std::string s = "ab";
  s.reserve(40);
  {
    StdStringCanonOutput out(&s);
    EXPECT_EQ(2, out.length());
    EXPECT_EQ(static_cast<int>(s.capacity()), out.capacity());
    for (int i = 0; i < 100; i++) out.push_back('x');
    out.Complete();
    EXPECT_EQ(102, out.capacity());
  }
  EXPECT_EQ("ab" + std::string(100, 'x'), s);
}

TEST(UrlCanon, StdStringOutputOnAnEmptyStringGrows) {
  std::string s;
  StdStringCanonOutput out(&s);
  out.Append("hello", 5);
  out.Complete();
  EXPECT_EQ("hello", s);
}

TEST(UrlCanon, CanonHostInfoStartsNeutral) {
  CanonHostInfo info;
  EXPECT_EQ(CanonHostInfo::NEUTRAL, info.m_family);
  EXPECT_EQ(0, info.m_ipv4Components);
  EXPECT_FALSE(info.m_hostRange.is_valid());
  EXPECT_FALSE(info.IsIPAddress());
  EXPECT_EQ(0, CanonHostInfo::NEUTRAL);
  EXPECT_EQ(1, CanonHostInfo::BROKEN);
  EXPECT_EQ(2, CanonHostInfo::IPV4);
  EXPECT_EQ(3, CanonHostInfo::IPV6);
}

}  // namespace
