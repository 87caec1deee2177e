// The URL code as the engine links it: 16-bit strings, the parser, the canonicaliser, the scheme
// registry and GURL, with the engine's own output buffers and converter handed in.
#include <gtest/gtest.h>

#include <string>

#include "EngineViewUrl.h"
#include "Patterned.h"

using abi_probe::Patterned;
using url_parse::Component;
using url_parse::Parsed;

namespace {

typedef url_canon::RawCanonOutputT<char, 1024> Output;
typedef url_canon::RawCanonOutputT<base::char16, 1024> WideOutput;

string16 Wide(const char* text) {
  string16 wide;
  for (const char* c = text; *c != '\0'; ++c) wide.push_back(static_cast<unsigned char>(*c));
  return wide;
}

std::string Text(const Output& output) { return std::string(output.data(), output.length()); }

bool Same(const Component& component, int begin, int len) {
  return component.begin == begin && component.len == len;
}

// The engine's converter writes one X for whatever it is given.
class ProbeConverter : public url_canon::CharsetConverter {
 public:
  void ConvertFromUTF16(const base::char16* input, int length,
                        url_canon::CanonOutput* output) override {
    ++calls;
    output->push_back('X');
  }
  int calls = 0;
};

}  // namespace

TEST(UrlSurface, SixteenBitStringsRunOnTheExportedHelpers) {
  string16 a = Wide("abc");
  string16 b = a;
  b.append(Wide("de"));
  EXPECT_EQ(b.size(), 5u);
  EXPECT_EQ(b.find('d'), 3u);
  EXPECT_EQ(a.compare(Wide("abd")), -1);
  base::char16 buffer[4] = {};
  base::c16memcpy(buffer, a.data(), 3);
  EXPECT_EQ(base::c16len(buffer), 3u);
  EXPECT_EQ(base::c16memcmp(buffer, a.data(), 3), 0);
  EXPECT_EQ(base::c16memchr(buffer, 'c', 3), buffer + 2);
  base::c16memmove(buffer + 1, buffer, 2);
  base::c16memset(buffer, 'z', 1);
  EXPECT_EQ(buffer[0], 'z');
  EXPECT_EQ(buffer[2], 'b');
}

TEST(UrlSurface, TheParserFillsTheDeclaredRecords) {
  const char url[] = "http://user:pa:ss@host:80/p?q#r";
  const int len = sizeof(url) - 1;
  Parsed parsed;
  url_parse::ParseStandardURL(url, len, &parsed);
  EXPECT_TRUE(Same(parsed.scheme, 0, 4));
  EXPECT_TRUE(Same(parsed.username, 7, 4));
  EXPECT_TRUE(Same(parsed.password, 12, 5));
  EXPECT_TRUE(Same(parsed.host, 18, 4));
  EXPECT_TRUE(Same(parsed.port, 23, 2));
  EXPECT_TRUE(Same(parsed.path, 25, 2));
  EXPECT_TRUE(Same(parsed.query, 28, 1));
  EXPECT_TRUE(Same(parsed.ref, 30, 1));
  EXPECT_EQ(parsed.Length(), len);
  EXPECT_EQ(parsed.CountCharactersBefore(Parsed::PORT, true), 22);
  EXPECT_EQ(url_parse::ParsePort(url, parsed.port), 80);
  Component scheme;
  EXPECT_TRUE(url_parse::ExtractScheme(url, len, &scheme));
  EXPECT_TRUE(Same(scheme, 0, 4));
  Component name;
  url_parse::ExtractFileName("/a/b.ts;v=1", Component(0, 11), &name);
  EXPECT_TRUE(Same(name, 3, 4));
  Component query(0, 5), key, value;
  EXPECT_TRUE(url_parse::ExtractQueryKeyValue("a=1&b", &query, &key, &value));
  EXPECT_TRUE(Same(key, 0, 1));
  EXPECT_TRUE(Same(value, 2, 1));
  EXPECT_TRUE(url_parse::IsAuthorityTerminator('?'));
  url_parse::ParsePathURL("data:a?b", 8, &parsed);
  EXPECT_TRUE(Same(parsed.path, 5, 3));
  url_parse::ParseFileURL("file://server/share", 19, &parsed);
  EXPECT_TRUE(Same(parsed.host, 7, 6));
  url_parse::ParseMailtoURL("mailto:x?subject=y", 18, &parsed);
  EXPECT_TRUE(Same(parsed.query, 9, 9));
  url_parse::ParseAfterScheme("http://h/p", 10, 5, &parsed);
  EXPECT_TRUE(Same(parsed.host, 7, 1));
  Component user, password, host, port;
  url_parse::ParseAuthority("a@b:1", Component(0, 5), &user, &password, &host, &port);
  EXPECT_TRUE(Same(host, 2, 1));
  Component file, q, ref;
  url_parse::ParsePathInternal("/p?q#r", Component(0, 6), &file, &q, &ref);
  EXPECT_TRUE(Same(ref, 5, 1));

  string16 wide = Wide(url);
  const base::char16* w = wide.data();
  url_parse::ParseStandardURL(w, len, &parsed);
  EXPECT_TRUE(Same(parsed.host, 18, 4));
  EXPECT_TRUE(url_parse::ExtractScheme(w, len, &scheme));
  EXPECT_EQ(url_parse::ParsePort(w, parsed.port), 80);
  url_parse::ExtractFileName(w, parsed.path, &name);
  query = parsed.query;
  EXPECT_TRUE(url_parse::ExtractQueryKeyValue(w, &query, &key, &value));
  url_parse::ParsePathURL(w, len, &parsed);
  url_parse::ParseFileURL(w, len, &parsed);
  url_parse::ParseMailtoURL(w, len, &parsed);
  url_parse::ParseAfterScheme(w, len, 5, &parsed);
  url_parse::ParseAuthority(w, Component(7, 15), &user, &password, &host, &port);
  EXPECT_TRUE(Same(host, 18, 4));
  url_parse::ParsePathInternal(w, Component(25, 6), &file, &q, &ref);
  EXPECT_TRUE(Same(q, 28, 1));
}

TEST(UrlSurface, ComponentCanonicalisersWriteIntoTheEnginesOutput) {
  Output out;
  Component result;
  EXPECT_TRUE(url_canon::CanonicalizeScheme("HTTP", Component(0, 4), &out, &result));
  EXPECT_EQ(Text(out), "http:");
  Component user, password;
  EXPECT_TRUE(url_canon::CanonicalizeUserInfo("u", Component(0, 1), "p", Component(0, 1), &out,
                                              &user, &password));
  EXPECT_EQ(Text(out), "http:u:p@");
  EXPECT_TRUE(url_canon::CanonicalizeHost("HOST", Component(0, 4), &out, &result));
  EXPECT_EQ(Text(out), "http:u:p@host");
  EXPECT_TRUE(url_canon::CanonicalizePort("80", Component(0, 2), 80, &out, &result));
  EXPECT_TRUE(Same(result, 0, -1));
  EXPECT_TRUE(url_canon::CanonicalizePath("/a/./b/../c", Component(0, 11), &out, &result));
  EXPECT_EQ(Text(out), "http:u:p@host/a/c");
  EXPECT_TRUE(url_canon::CanonicalizePartialPath("d", Component(0, 1), result.begin, &out));
  EXPECT_TRUE(url_canon::CanonicalizeQuery("a b", Component(0, 3), nullptr, &out, &result));
  EXPECT_TRUE(url_canon::CanonicalizeRef("a b", Component(0, 3), &out, &result));
  EXPECT_EQ(Text(out), "http:u:p@host/a/cd?a%20b#a b");
  Output file;
  EXPECT_TRUE(url_canon::FileCanonicalizePath("", Component(0, 0), &file, &result));
  EXPECT_EQ(Text(file), "/");

  Output address;
  url_canon::CanonHostInfo info;
  url_canon::CanonicalizeHostVerbose("1.2.3.4", Component(0, 7), &address, &info);
  EXPECT_EQ(info.m_family, url_canon::CanonHostInfo::IPV4);
  EXPECT_EQ(info.m_ipv4Components, 4);
  Output six;
  url_canon::CanonicalizeIPAddress("[0:0::1]", Component(0, 8), &six, &info);
  EXPECT_EQ(info.m_family, url_canon::CanonHostInfo::IPV6);
  EXPECT_EQ(Text(six), "[::1]");
  Component parts[4];
  EXPECT_TRUE(url_canon::FindIPv4Components("1.2.3.4", Component(0, 7), parts));
  EXPECT_TRUE(Same(parts[3], 6, 1));
  unsigned char v4[4] = {};
  int count = 0;
  EXPECT_EQ(url_canon::IPv4AddressToNumber("0x7f.1", Component(0, 6), v4, &count),
            url_canon::CanonHostInfo::IPV4);
  EXPECT_EQ(v4[0], 127);
  EXPECT_EQ(v4[3], 1);
  EXPECT_EQ(count, 2);
  unsigned char v6[16] = {};
  EXPECT_TRUE(url_canon::IPv6AddressToNumber("[::1]", Component(0, 5), v6));
  EXPECT_EQ(v6[15], 1);
  EXPECT_EQ(url_canon::DefaultPortForScheme("https", 5), 443);
  EXPECT_EQ(url_canon::CanonicalSchemeChar('A'), 'a');
  EXPECT_EQ(url_canon::CanonicalSchemeChar(static_cast<base::char16>(0x80)), 0);

  string16 wide = Wide("HOST:80/a b?c#d");
  const base::char16* w = wide.data();
  Output wout;
  EXPECT_TRUE(url_canon::CanonicalizeScheme(w, Component(0, 4), &wout, &result));
  EXPECT_TRUE(url_canon::CanonicalizeUserInfo(w, Component(0, 1), w, Component(0, 1), &wout, &user,
                                              &password));
  EXPECT_TRUE(url_canon::CanonicalizeHost(w, Component(0, 4), &wout, &result));
  url_canon::CanonicalizeHostVerbose(w, Component(0, 4), &wout, &info);
  url_canon::CanonicalizeIPAddress(w, Component(0, 4), &wout, &info);
  EXPECT_FALSE(url_canon::FindIPv4Components(w, Component(5, 3), parts));
  EXPECT_EQ(url_canon::IPv4AddressToNumber(w, Component(5, 2), v4, &count),
            url_canon::CanonHostInfo::IPV4);
  EXPECT_FALSE(url_canon::IPv6AddressToNumber(w, Component(0, 4), v6));
  EXPECT_TRUE(url_canon::CanonicalizePort(w, Component(5, 2), 80, &wout, &result));
  EXPECT_TRUE(url_canon::CanonicalizePath(w, Component(7, 4), &wout, &result));
  EXPECT_TRUE(url_canon::CanonicalizePartialPath(w, Component(7, 4), result.begin, &wout));
  EXPECT_TRUE(url_canon::FileCanonicalizePath(w, Component(7, 4), &wout, &result));
  EXPECT_TRUE(url_canon::CanonicalizeRef(w, Component(14, 1), &wout, &result));
  ProbeConverter converter;
  string16 accented;
  accented.push_back(0xE9);
  Output query;
  EXPECT_TRUE(
      url_canon::CanonicalizeQuery(accented.data(), Component(0, 1), &converter, &query, &result));
  EXPECT_EQ(converter.calls, 1);
  EXPECT_EQ(Text(query), "?X");
}

TEST(UrlSurface, HelpersAndStubsKeepTheirDocumentedSignatures) {
  Output buffer;
  int len = 0;
  const char* cleaned = url_canon::RemoveURLWhitespace("a\tb", 3, &buffer, &len);
  EXPECT_EQ(std::string(cleaned, len), "ab");
  WideOutput wideBuffer;
  string16 tabbed = Wide("a\tb");
  url_canon::RemoveURLWhitespace(tabbed.data(), 3, &wideBuffer, &len);
  EXPECT_EQ(len, 2);
  Output out;
  url_canon::AppendStringOfType("a b", 3, url_canon::CHAR_QUERY, &out);
  EXPECT_EQ(Text(out), "a%20b");
  string16 wide = Wide("a b");
  url_canon::AppendStringOfType(wide.data(), 3, url_canon::CHAR_QUERY, &out);
  url_canon::AppendInvalidNarrowString("a b", 0, 3, &out);
  url_canon::AppendInvalidNarrowString(wide.data(), 0, 3, &out);
  EXPECT_EQ(Text(out), "a%20ba%20ba%20ba%20b");
  WideOutput utf16;
  EXPECT_TRUE(url_canon::ConvertUTF8ToUTF16("ab", 2, &utf16));
  EXPECT_EQ(utf16.length(), 2);
  Output utf8;
  EXPECT_TRUE(url_canon::ConvertUTF16ToUTF8(wide.data(), 3, &utf8));
  EXPECT_EQ(Text(utf8), "a b");
  char digits[8] = {};
  EXPECT_EQ(url_canon::_itoa_s(255, digits, sizeof(digits), 16), 0);
  EXPECT_STREQ(digits, "ff");
  EXPECT_EQ(url_canon::_itoa_s(1, digits, sizeof(digits), 8), 22);
  base::char16 wideDigits[8] = {};
  EXPECT_EQ(url_canon::_itow_s(10, wideDigits, 8, 10), 0);
  EXPECT_EQ(wideDigits[1], '0');
  int index = 3;
  unsigned int codePoint = 77;
  EXPECT_FALSE(url_canon::ReadUTFChar("\xC3\xA9", &index, 2, &codePoint));
  EXPECT_FALSE(url_canon::ReadUTFChar(wide.data(), &index, 3, &codePoint));
  EXPECT_EQ(index, 3);
  EXPECT_EQ(codePoint, 77u);
  url_canon::RawCanonOutputW<1024> idn;
  EXPECT_FALSE(url_canon::IDNToASCII(wide.data(), 3, &idn));
  EXPECT_EQ(idn.length(), 0);
}

TEST(UrlSurface, WholeUrlCanonicalisationAndReplacement) {
  const char standard[] = "HTTP://HOST:80/";
  Parsed parsed, result;
  url_parse::ParseStandardURL(standard, 15, &parsed);
  Output out;
  EXPECT_TRUE(url_canon::CanonicalizeStandardURL(standard, 15, parsed, nullptr, &out, &result));
  EXPECT_EQ(Text(out), "http://host/");
  const std::string base = Text(out);
  const Parsed baseParsed = result;
  Output file;
  url_parse::ParseFileURL("file:///a", 9, &parsed);
  EXPECT_TRUE(url_canon::CanonicalizeFileURL("file:///a", 9, parsed, nullptr, &file, &result));
  EXPECT_EQ(Text(file), "file:///a");
  Output path;
  url_parse::ParsePathURL("data:x", 6, &parsed);
  EXPECT_TRUE(url_canon::CanonicalizePathURL("data:x", 6, parsed, &path, &result));
  EXPECT_EQ(Text(path), "data:x");
  Output mail;
  url_parse::ParseMailtoURL("mailto:x?y", 10, &parsed);
  EXPECT_TRUE(url_canon::CanonicalizeMailtoURL("mailto:x?y", 10, parsed, &mail, &result));
  EXPECT_EQ(Text(mail), "mailto:x?y");

  string16 wide = Wide(standard);
  Output wout;
  url_parse::ParseStandardURL(wide.data(), 15, &parsed);
  EXPECT_TRUE(url_canon::CanonicalizeStandardURL(wide.data(), 15, parsed, nullptr, &wout, &result));
  url_canon::CanonicalizeFileURL(wide.data(), 15, parsed, nullptr, &wout, &result);
  url_canon::CanonicalizePathURL(wide.data(), 15, parsed, &wout, &result);
  url_canon::CanonicalizeMailtoURL(wide.data(), 15, parsed, &wout, &result);

  url_canon::Replacements<char> narrow;
  narrow.SetPath("/c", Component(0, 2));
  Output replaced;
  EXPECT_TRUE(
      url_canon::ReplaceStandardURL(base.c_str(), baseParsed, narrow, nullptr, &replaced, &result));
  EXPECT_EQ(Text(replaced), "http://host/c");
  url_canon::URLComponentSource<char> source;
  Parsed sourceParsed;
  url_canon::SetupOverrideComponents(base.c_str(), narrow, &source, &sourceParsed);
  EXPECT_TRUE(Same(sourceParsed.path, 0, 2));
  url_canon::Replacements<base::char16> wideRepl;
  string16 widePath = Wide("/w");
  wideRepl.SetPath(widePath.data(), Component(0, 2));
  Output utf8;
  EXPECT_TRUE(url_canon::SetupUTF16OverrideComponents(base.c_str(), wideRepl, &utf8, &source,
                                                      &sourceParsed));
  Output any;
  EXPECT_TRUE(
      url_canon::ReplaceStandardURL(base.c_str(), baseParsed, wideRepl, nullptr, &any, &result));
  EXPECT_EQ(Text(any), "http://host/w");
  url_canon::ReplaceFileURL(base.c_str(), baseParsed, narrow, nullptr, &any, &result);
  url_canon::ReplaceFileURL(base.c_str(), baseParsed, wideRepl, nullptr, &any, &result);
  url_canon::ReplacePathURL(base.c_str(), baseParsed, narrow, &any, &result);
  url_canon::ReplacePathURL(base.c_str(), baseParsed, wideRepl, &any, &result);
  url_canon::ReplaceMailtoURL(base.c_str(), baseParsed, narrow, &any, &result);
  url_canon::ReplaceMailtoURL(base.c_str(), baseParsed, wideRepl, &any, &result);

  bool relative = false;
  Component part;
  EXPECT_TRUE(url_canon::IsRelativeURL(base.c_str(), baseParsed, "d", 1, true, &relative, &part));
  EXPECT_TRUE(relative);
  Output resolved;
  EXPECT_TRUE(url_canon::ResolveRelativeURL(base.c_str(), baseParsed, false, "d", part, nullptr,
                                            &resolved, &result));
  EXPECT_EQ(Text(resolved), "http://host/d");
  string16 wideRelative = Wide("e");
  EXPECT_TRUE(url_canon::IsRelativeURL(base.c_str(), baseParsed, wideRelative.data(), 1, true,
                                       &relative, &part));
  Output wideResolved;
  EXPECT_TRUE(url_canon::ResolveRelativeURL(base.c_str(), baseParsed, false, wideRelative.data(),
                                            part, nullptr, &wideResolved, &result));
  EXPECT_EQ(Text(wideResolved), "http://host/e");
}

TEST(UrlSurface, TheSchemeRegistryAndTheEntryPoints) {
  url_util::Initialize();
  EXPECT_TRUE(url_util::IsStandard("http", Component(0, 4)));
  EXPECT_FALSE(url_util::IsStandard("abiprobe", Component(0, 8)));
  url_util::AddStandardScheme("abiprobe");
  EXPECT_TRUE(url_util::IsStandard("abiprobe", Component(0, 8)));
  string16 wide = Wide("HTTP://A/b");
  EXPECT_TRUE(url_util::IsStandard(wide.data(), Component(0, 4)));
  Component found;
  EXPECT_TRUE(url_util::FindAndCompareScheme("http://x", 8, "http", &found));
  EXPECT_TRUE(url_util::FindAndCompareScheme(wide.data(), 10, "http", &found));
  const char upper[] = "HTTP";
  EXPECT_TRUE(url_util::LowerCaseEqualsASCII(upper, upper + 4, "http"));
  EXPECT_TRUE(url_util::LowerCaseEqualsASCII(wide.data(), wide.data() + 4, "http"));
  const char lower[] = "http";
  EXPECT_TRUE(url_util::LowerCaseEqualsASCII(upper, upper + 4, lower, lower + 4));
  EXPECT_TRUE(url_util::LowerCaseEqualsASCII(wide.data(), wide.data() + 4, lower, lower + 4));
  Output out;
  Parsed parsed;
  EXPECT_TRUE(url_util::Canonicalize("HTTP://A/b", 10, nullptr, &out, &parsed));
  EXPECT_EQ(Text(out), "http://a/b");
  Output wout;
  EXPECT_TRUE(url_util::Canonicalize(wide.data(), 10, nullptr, &wout, &parsed));
  EXPECT_EQ(Text(wout), "http://a/b");
  const std::string base = Text(out);
  Output resolved;
  Parsed result;
  EXPECT_TRUE(
      url_util::ResolveRelative(base.c_str(), 10, parsed, "../c", 4, nullptr, &resolved, &result));
  EXPECT_EQ(Text(resolved), "http://a/c");
  string16 wideRelative = Wide("?q");
  Output wideResolved;
  EXPECT_TRUE(url_util::ResolveRelative(base.c_str(), 10, parsed, wideRelative.data(), 2, nullptr,
                                        &wideResolved, &result));
  EXPECT_EQ(Text(wideResolved), "http://a/b?q");
  url_canon::Replacements<char> narrow;
  narrow.SetPath("/z", Component(0, 2));
  Output replaced;
  EXPECT_TRUE(
      url_util::ReplaceComponents(base.c_str(), 10, parsed, narrow, nullptr, &replaced, &result));
  EXPECT_EQ(Text(replaced), "http://a/z");
  url_canon::Replacements<base::char16> wideRepl;
  string16 path = Wide("/y");
  wideRepl.SetPath(path.data(), Component(0, 2));
  Output wideReplaced;
  EXPECT_TRUE(url_util::ReplaceComponents(base.c_str(), 10, parsed, wideRepl, nullptr,
                                          &wideReplaced, &result));
  EXPECT_EQ(Text(wideReplaced), "http://a/y");
  url_util::Shutdown();
  EXPECT_FALSE(url_util::IsStandard("abiprobe", Component(0, 8)));
}

TEST(UrlSurface, GurlKeepsItsTextAndRangesInTheDeclaredFields) {
  Patterned<GURL> url(std::string("HTTP://Host/a/b?q#r"));
  EXPECT_TRUE(url.TailUntouched());
  EXPECT_TRUE(url->m_isValid);
  EXPECT_TRUE(url->is_valid());
  EXPECT_EQ(url->m_spec, "http://host/a/b?q#r");
  EXPECT_EQ(&url->spec(), &url->m_spec);
  EXPECT_EQ(url->host(), "host");
  EXPECT_EQ(url->path(), "/a/b");
  EXPECT_EQ(url->query(), "q");
  EXPECT_TRUE(url->SchemeIs("http"));
  EXPECT_TRUE(url->IsStandard());
  EXPECT_EQ(url->IntPort(), -1);
  EXPECT_EQ(url->EffectiveIntPort(), 80);
  EXPECT_FALSE(url->HostIsIPAddress());
  EXPECT_EQ(url->HostNoBrackets(), "host");
  EXPECT_EQ(url->PathForRequest(), "/a/b?q");
  EXPECT_EQ(url->ExtractFileName(), "b");
  EXPECT_TRUE(url->DomainIs("host", 4));
  EXPECT_EQ(GURL::EmptyGURL().m_spec, "");
  EXPECT_EQ(url->Resolve("c").m_spec, "http://host/a/c");
  EXPECT_EQ(url->Resolve(Wide("c")).m_spec, "http://host/a/c");
  EXPECT_EQ(url->ResolveWithCharsetConverter("d", nullptr).m_spec, "http://host/a/d");
  EXPECT_EQ(url->ResolveWithCharsetConverter(Wide("d"), nullptr).m_spec, "http://host/a/d");
  url_canon::Replacements<char> noQuery;
  noQuery.ClearQuery();
  EXPECT_EQ(url->ReplaceComponents(noQuery).m_spec, "http://host/a/b#r");
  url_canon::Replacements<unsigned short> wideNoQuery;
  wideNoQuery.ClearQuery();
  EXPECT_EQ(url->ReplaceComponents(wideNoQuery).m_spec, "http://host/a/b#r");
  EXPECT_EQ(url->GetOrigin().m_spec, "http://host/");
  EXPECT_EQ(url->GetWithEmptyPath().m_spec, "http://host/");

  GURL copy(*url);
  EXPECT_EQ(copy.m_spec, url->m_spec);
  GURL wide(Wide("http://w/"));
  EXPECT_EQ(wide.host(), "w");
  GURL trusted(copy.m_spec.c_str(), static_cast<unsigned int>(copy.m_spec.size()), copy.m_parsed,
               true);
  EXPECT_EQ(trusted.query(), "q");
  GURL assigned;
  EXPECT_FALSE(assigned.is_valid());
  assigned = wide;
  EXPECT_EQ(assigned.m_spec, "http://w/");
  assigned.Swap(&copy);
  EXPECT_EQ(copy.m_spec, "http://w/");
  EXPECT_EQ(assigned.path(), "/a/b");
  url.Destroy();
  EXPECT_TRUE(url.TailUntouched());
}

TEST(UrlSurface, StdStringCanonOutputWritesIntoTheEnginesString) {
  std::string text = "ab";
  text.reserve(8);
  Patterned<url_canon::StdStringCanonOutput> out(&text);
  EXPECT_TRUE(out.TailUntouched());
  EXPECT_EQ(out->m_str, &text);
  EXPECT_EQ(out->length(), 2);
  for (char c : std::string("cdefghijkl")) out->push_back(c);
  out->Resize(64);
  out->push_back('m');
  out->Complete();
  EXPECT_EQ(text, "abcdefghijklm");
  out.Destroy();
  EXPECT_TRUE(out.TailUntouched());
}
