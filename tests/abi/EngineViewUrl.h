// The engine's declarations of the URL code: 16-bit strings, the parser, the canonicaliser, the
// scheme registry and GURL. Templates and the accessors documented as inline are defined here, as
// in any header of theirs; everything else is the library's.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <ios>
#include <string>

namespace base {

typedef unsigned short char16;

int c16memcmp(const char16* s1, const char16* s2, size_t n);
size_t c16len(const char16* s);
const char16* c16memchr(const char16* s, char16 c, size_t n);
char16* c16memmove(char16* s1, const char16* s2, size_t n);
char16* c16memcpy(char16* s1, const char16* s2, size_t n);
char16* c16memset(char16* s, char16 c, size_t n);

struct string16_char_traits {
  typedef char16 char_type;
  typedef int int_type;
  typedef std::streamoff off_type;
  typedef std::mbstate_t state_type;
  typedef std::fpos<state_type> pos_type;

  static void assign(char_type& c1, const char_type& c2) { c1 = c2; }
  static bool eq(const char_type& c1, const char_type& c2) { return c1 == c2; }
  static bool lt(const char_type& c1, const char_type& c2) { return c1 < c2; }
  static int compare(const char_type* s1, const char_type* s2, size_t n) {
    return c16memcmp(s1, s2, n);
  }
  static size_t length(const char_type* s) { return c16len(s); }
  static const char_type* find(const char_type* s, size_t n, const char_type& a) {
    return c16memchr(s, a, n);
  }
  static char_type* move(char_type* s1, const char_type* s2, size_t n) {
    return c16memmove(s1, s2, n);
  }
  static char_type* copy(char_type* s1, const char_type* s2, size_t n) {
    return c16memcpy(s1, s2, n);
  }
  static char_type* assign(char_type* s, size_t n, char_type a) { return c16memset(s, a, n); }
  static int_type not_eof(const int_type& c) { return eq_int_type(c, eof()) ? 0 : c; }
  static char_type to_char_type(const int_type& c) { return static_cast<char_type>(c); }
  static int_type to_int_type(const char_type& c) { return static_cast<int_type>(c); }
  static bool eq_int_type(const int_type& c1, const int_type& c2) { return c1 == c2; }
  static int_type eof() { return static_cast<int_type>(EOF); }
};

typedef std::basic_string<char16, string16_char_traits> string16;

}  // namespace base

typedef base::string16 string16;

namespace url_parse {

typedef base::char16 char16;

struct Component {
  Component() : begin(0), len(-1) {}
  Component(int b, int l) : begin(b), len(l) {}
  int begin;
  int len;
};

struct Parsed {
  enum ComponentType { SCHEME, USERNAME, PASSWORD, HOST, PORT, PATH, QUERY, REF };
  int Length();
  int CountCharactersBefore(ComponentType type, bool includeDelimiter);

  Component scheme;
  Component username;
  Component password;
  Component host;
  Component port;
  Component path;
  Component query;
  Component ref;
};

bool ExtractScheme(const char* url, int length, Component* scheme);
bool ExtractScheme(const char16* url, int length, Component* scheme);
void ParseStandardURL(const char* url, int length, Parsed* parsed);
void ParseStandardURL(const char16* url, int length, Parsed* parsed);
void ParsePathURL(const char* url, int length, Parsed* parsed);
void ParsePathURL(const char16* url, int length, Parsed* parsed);
void ParseFileURL(const char* url, int length, Parsed* parsed);
void ParseFileURL(const char16* url, int length, Parsed* parsed);
void ParseMailtoURL(const char* url, int length, Parsed* parsed);
void ParseMailtoURL(const char16* url, int length, Parsed* parsed);
void ParseAfterScheme(const char* url, int length, int afterScheme, Parsed* parsed);
void ParseAfterScheme(const char16* url, int length, int afterScheme, Parsed* parsed);
void ParseAuthority(const char* url, const Component& authority, Component* username,
                    Component* password, Component* host, Component* port);
void ParseAuthority(const char16* url, const Component& authority, Component* username,
                    Component* password, Component* host, Component* port);
void ParsePathInternal(const char* url, const Component& path, Component* filePath,
                       Component* query, Component* ref);
void ParsePathInternal(const char16* url, const Component& path, Component* filePath,
                       Component* query, Component* ref);
int ParsePort(const char* url, const Component& port);
int ParsePort(const char16* url, const Component& port);
void ExtractFileName(const char* url, const Component& path, Component* fileName);
void ExtractFileName(const char16* url, const Component& path, Component* fileName);
bool ExtractQueryKeyValue(const char* url, Component* query, Component* key, Component* value);
bool ExtractQueryKeyValue(const char16* url, Component* query, Component* key, Component* value);
bool IsAuthorityTerminator(unsigned short ch);

}  // namespace url_parse

namespace url_canon {

typedef base::char16 char16;

template <typename T>
class CanonOutputT {
 public:
  CanonOutputT() : m_data(nullptr), m_capacity(0), m_length(0) {}
  virtual ~CanonOutputT() {}
  virtual void Resize(int size) = 0;

  int length() const { return m_length; }
  const T* data() const { return m_data; }
  void push_back(T ch) {
    if (m_length >= m_capacity) {
      int size = m_capacity == 0 ? 16 : m_capacity;
      do {
        if (size >= (1 << 30)) return;
        size *= 2;
      } while (size < m_capacity + 1);
      Resize(size);
    }
    m_data[m_length++] = ch;
  }

  T* m_data;
  int m_capacity;
  int m_length;
};

typedef CanonOutputT<char> CanonOutput;
typedef CanonOutputT<char16> CanonOutputW;

template <typename T, int N>
class RawCanonOutputT : public CanonOutputT<T> {
 public:
  RawCanonOutputT() {
    this->m_data = m_inner;
    this->m_capacity = N;
  }
  ~RawCanonOutputT() override {
    if (this->m_data != m_inner) delete[] this->m_data;
  }
  void Resize(int size) override {
    T* grown = new T[size];
    int keep = this->m_length < size ? this->m_length : size;
    std::memcpy(grown, this->m_data, sizeof(T) * keep);
    if (this->m_data != m_inner) delete[] this->m_data;
    this->m_data = grown;
    this->m_capacity = size;
  }
  std::basic_string<T> str() const { return std::basic_string<T>(this->m_data, this->m_length); }

  T m_inner[N];
};

template <int N>
class RawCanonOutput : public RawCanonOutputT<char, N> {};

template <int N>
class RawCanonOutputW : public RawCanonOutputT<char16, N> {};

class CharsetConverter {
 public:
  virtual ~CharsetConverter() {}
  virtual void ConvertFromUTF16(const char16* input, int length, CanonOutput* output) = 0;
};

template <typename CHAR>
struct URLComponentSource {
  const CHAR* scheme = nullptr;
  const CHAR* username = nullptr;
  const CHAR* password = nullptr;
  const CHAR* host = nullptr;
  const CHAR* port = nullptr;
  const CHAR* path = nullptr;
  const CHAR* query = nullptr;
  const CHAR* ref = nullptr;
};

template <typename CHAR>
class Replacements {
 public:
  void SetPath(const CHAR* text, const url_parse::Component& range) {
    m_sources.path = text;
    m_components.path = range;
  }
  void ClearQuery() {
    m_sources.query = Placeholder();
    m_components.query = url_parse::Component();
  }
  static const CHAR* Placeholder() {
    static const CHAR kEmpty[1] = {0};
    return kEmpty;
  }

  URLComponentSource<CHAR> m_sources;
  url_parse::Parsed m_components;
};

struct CanonHostInfo {
  enum Family { NEUTRAL = 0, BROKEN = 1, IPV4 = 2, IPV6 = 3 };
  Family m_family = NEUTRAL;
  int m_ipv4Components = 0;
  url_parse::Component m_hostRange;
};

enum SharedCharTypes {
  CHAR_QUERY = 1,
  CHAR_USERINFO = 2,
  CHAR_IPV4 = 4,
  CHAR_HEX = 8,
  CHAR_DEC = 16,
  CHAR_OCT = 32,
};

class StdStringCanonOutput : public CanonOutputT<char> {
 public:
  explicit StdStringCanonOutput(std::string* str);
  ~StdStringCanonOutput() override;
  void Resize(int size) override;
  void Complete();

  std::string* m_str;
};

unsigned char CanonicalSchemeChar(char16 ch);
unsigned char CanonicalSchemeChar(char ch);

const char* RemoveURLWhitespace(const char* input, int length, CanonOutputT<char>* buffer,
                                int* outputLength);
const char16* RemoveURLWhitespace(const char16* input, int length, CanonOutputT<char16>* buffer,
                                  int* outputLength);
bool IDNToASCII(const char16* src, int length, CanonOutputW* output);
bool ReadUTFChar(const char* text, int* index, int length, unsigned int* codePoint);
bool ReadUTFChar(const char16* text, int* index, int length, unsigned int* codePoint);
void AppendStringOfType(const char* text, int length, SharedCharTypes type, CanonOutput* output);
void AppendStringOfType(const char16* text, int length, SharedCharTypes type, CanonOutput* output);
void AppendInvalidNarrowString(const char* text, int begin, int end, CanonOutput* output);
void AppendInvalidNarrowString(const char16* text, int begin, int end, CanonOutput* output);
bool ConvertUTF8ToUTF16(const char* input, int length, CanonOutputT<char16>* output);
bool ConvertUTF16ToUTF8(const char16* input, int length, CanonOutput* output);
void SetupOverrideComponents(const char* base, const Replacements<char>& replacements,
                             URLComponentSource<char>* source, url_parse::Parsed* parsed);
bool SetupUTF16OverrideComponents(const char* base, const Replacements<char16>& replacements,
                                  CanonOutput* utf8Buffer, URLComponentSource<char>* source,
                                  url_parse::Parsed* parsed);
int _itoa_s(int value, char* buffer, size_t size, int radix);
int _itow_s(int value, char16* buffer, size_t size, int radix);

bool CanonicalizeScheme(const char* text, const url_parse::Component& scheme, CanonOutput* output,
                        url_parse::Component* newScheme);
bool CanonicalizeScheme(const char16* text, const url_parse::Component& scheme, CanonOutput* output,
                        url_parse::Component* newScheme);
bool CanonicalizeUserInfo(const char* user, const url_parse::Component& userRange,
                          const char* password, const url_parse::Component& passwordRange,
                          CanonOutput* output, url_parse::Component* newUser,
                          url_parse::Component* newPassword);
bool CanonicalizeUserInfo(const char16* user, const url_parse::Component& userRange,
                          const char16* password, const url_parse::Component& passwordRange,
                          CanonOutput* output, url_parse::Component* newUser,
                          url_parse::Component* newPassword);
bool CanonicalizeHost(const char* text, const url_parse::Component& host, CanonOutput* output,
                      url_parse::Component* newHost);
bool CanonicalizeHost(const char16* text, const url_parse::Component& host, CanonOutput* output,
                      url_parse::Component* newHost);
void CanonicalizeHostVerbose(const char* text, const url_parse::Component& host,
                             CanonOutput* output, CanonHostInfo* info);
void CanonicalizeHostVerbose(const char16* text, const url_parse::Component& host,
                             CanonOutput* output, CanonHostInfo* info);
void CanonicalizeIPAddress(const char* text, const url_parse::Component& host, CanonOutput* output,
                           CanonHostInfo* info);
void CanonicalizeIPAddress(const char16* text, const url_parse::Component& host,
                           CanonOutput* output, CanonHostInfo* info);
bool FindIPv4Components(const char* text, const url_parse::Component& host,
                        url_parse::Component components[4]);
bool FindIPv4Components(const char16* text, const url_parse::Component& host,
                        url_parse::Component components[4]);
CanonHostInfo::Family IPv4AddressToNumber(const char* text, const url_parse::Component& host,
                                          unsigned char address[4], int* count);
CanonHostInfo::Family IPv4AddressToNumber(const char16* text, const url_parse::Component& host,
                                          unsigned char address[4], int* count);
bool IPv6AddressToNumber(const char* text, const url_parse::Component& host,
                         unsigned char address[16]);
bool IPv6AddressToNumber(const char16* text, const url_parse::Component& host,
                         unsigned char address[16]);
bool CanonicalizePort(const char* text, const url_parse::Component& port, int defaultPort,
                      CanonOutput* output, url_parse::Component* newPort);
bool CanonicalizePort(const char16* text, const url_parse::Component& port, int defaultPort,
                      CanonOutput* output, url_parse::Component* newPort);
int DefaultPortForScheme(const char* scheme, int length);
bool CanonicalizePath(const char* text, const url_parse::Component& path, CanonOutput* output,
                      url_parse::Component* newPath);
bool CanonicalizePath(const char16* text, const url_parse::Component& path, CanonOutput* output,
                      url_parse::Component* newPath);
bool CanonicalizePartialPath(const char* text, const url_parse::Component& path, int pathBegin,
                             CanonOutput* output);
bool CanonicalizePartialPath(const char16* text, const url_parse::Component& path, int pathBegin,
                             CanonOutput* output);
bool FileCanonicalizePath(const char* text, const url_parse::Component& path, CanonOutput* output,
                          url_parse::Component* newPath);
bool FileCanonicalizePath(const char16* text, const url_parse::Component& path, CanonOutput* output,
                          url_parse::Component* newPath);
bool CanonicalizeQuery(const char* text, const url_parse::Component& query,
                       CharsetConverter* converter, CanonOutput* output,
                       url_parse::Component* newQuery);
bool CanonicalizeQuery(const char16* text, const url_parse::Component& query,
                       CharsetConverter* converter, CanonOutput* output,
                       url_parse::Component* newQuery);
bool CanonicalizeRef(const char* text, const url_parse::Component& ref, CanonOutput* output,
                     url_parse::Component* newRef);
bool CanonicalizeRef(const char16* text, const url_parse::Component& ref, CanonOutput* output,
                     url_parse::Component* newRef);
bool CanonicalizeStandardURL(const char* text, int length, const url_parse::Parsed& parsed,
                             CharsetConverter* converter, CanonOutput* output,
                             url_parse::Parsed* newParsed);
bool CanonicalizeStandardURL(const char16* text, int length, const url_parse::Parsed& parsed,
                             CharsetConverter* converter, CanonOutput* output,
                             url_parse::Parsed* newParsed);
bool CanonicalizeFileURL(const char* text, int length, const url_parse::Parsed& parsed,
                         CharsetConverter* converter, CanonOutput* output,
                         url_parse::Parsed* newParsed);
bool CanonicalizeFileURL(const char16* text, int length, const url_parse::Parsed& parsed,
                         CharsetConverter* converter, CanonOutput* output,
                         url_parse::Parsed* newParsed);
bool CanonicalizePathURL(const char* text, int length, const url_parse::Parsed& parsed,
                         CanonOutput* output, url_parse::Parsed* newParsed);
bool CanonicalizePathURL(const char16* text, int length, const url_parse::Parsed& parsed,
                         CanonOutput* output, url_parse::Parsed* newParsed);
bool CanonicalizeMailtoURL(const char* text, int length, const url_parse::Parsed& parsed,
                           CanonOutput* output, url_parse::Parsed* newParsed);
bool CanonicalizeMailtoURL(const char16* text, int length, const url_parse::Parsed& parsed,
                           CanonOutput* output, url_parse::Parsed* newParsed);
bool ReplaceStandardURL(const char* base, const url_parse::Parsed& baseParsed,
                        const Replacements<char>& replacements, CharsetConverter* converter,
                        CanonOutput* output, url_parse::Parsed* newParsed);
bool ReplaceStandardURL(const char* base, const url_parse::Parsed& baseParsed,
                        const Replacements<char16>& replacements, CharsetConverter* converter,
                        CanonOutput* output, url_parse::Parsed* newParsed);
bool ReplaceFileURL(const char* base, const url_parse::Parsed& baseParsed,
                    const Replacements<char>& replacements, CharsetConverter* converter,
                    CanonOutput* output, url_parse::Parsed* newParsed);
bool ReplaceFileURL(const char* base, const url_parse::Parsed& baseParsed,
                    const Replacements<char16>& replacements, CharsetConverter* converter,
                    CanonOutput* output, url_parse::Parsed* newParsed);
bool ReplacePathURL(const char* base, const url_parse::Parsed& baseParsed,
                    const Replacements<char>& replacements, CanonOutput* output,
                    url_parse::Parsed* newParsed);
bool ReplacePathURL(const char* base, const url_parse::Parsed& baseParsed,
                    const Replacements<char16>& replacements, CanonOutput* output,
                    url_parse::Parsed* newParsed);
bool ReplaceMailtoURL(const char* base, const url_parse::Parsed& baseParsed,
                      const Replacements<char>& replacements, CanonOutput* output,
                      url_parse::Parsed* newParsed);
bool ReplaceMailtoURL(const char* base, const url_parse::Parsed& baseParsed,
                      const Replacements<char16>& replacements, CanonOutput* output,
                      url_parse::Parsed* newParsed);
bool IsRelativeURL(const char* base, const url_parse::Parsed& baseParsed, const char* text,
                   int length, bool isBaseHierarchical, bool* isRelative,
                   url_parse::Component* relative);
bool IsRelativeURL(const char* base, const url_parse::Parsed& baseParsed, const char16* text,
                   int length, bool isBaseHierarchical, bool* isRelative,
                   url_parse::Component* relative);
bool ResolveRelativeURL(const char* base, const url_parse::Parsed& baseParsed, bool baseIsFile,
                        const char* text, const url_parse::Component& relative,
                        CharsetConverter* converter, CanonOutput* output,
                        url_parse::Parsed* parsed);
bool ResolveRelativeURL(const char* base, const url_parse::Parsed& baseParsed, bool baseIsFile,
                        const char16* text, const url_parse::Component& relative,
                        CharsetConverter* converter, CanonOutput* output,
                        url_parse::Parsed* parsed);

}  // namespace url_canon

namespace url_util {

typedef base::char16 char16;

void Initialize();
void Shutdown();
void AddStandardScheme(const char* scheme);
bool IsStandard(const char* spec, const url_parse::Component& scheme);
bool IsStandard(const char16* spec, const url_parse::Component& scheme);
bool FindAndCompareScheme(const char* text, int length, const char* compare,
                          url_parse::Component* found);
bool FindAndCompareScheme(const char16* text, int length, const char* compare,
                          url_parse::Component* found);
bool LowerCaseEqualsASCII(const char* begin, const char* end, const char* lower);
bool LowerCaseEqualsASCII(const char16* begin, const char16* end, const char* lower);
bool LowerCaseEqualsASCII(const char* aBegin, const char* aEnd, const char* bBegin,
                          const char* bEnd);
bool LowerCaseEqualsASCII(const char16* aBegin, const char16* aEnd, const char* bBegin,
                          const char* bEnd);
bool Canonicalize(const char* spec, int length, url_canon::CharsetConverter* converter,
                  url_canon::CanonOutputT<char>* output, url_parse::Parsed* parsed);
bool Canonicalize(const char16* spec, int length, url_canon::CharsetConverter* converter,
                  url_canon::CanonOutputT<char>* output, url_parse::Parsed* parsed);
bool ResolveRelative(const char* base, int baseLength, const url_parse::Parsed& baseParsed,
                     const char* relative, int relativeLength,
                     url_canon::CharsetConverter* converter, url_canon::CanonOutput* output,
                     url_parse::Parsed* parsed);
bool ResolveRelative(const char* base, int baseLength, const url_parse::Parsed& baseParsed,
                     const char16* relative, int relativeLength,
                     url_canon::CharsetConverter* converter, url_canon::CanonOutput* output,
                     url_parse::Parsed* parsed);
bool ReplaceComponents(const char* spec, int length, const url_parse::Parsed& parsed,
                       const url_canon::Replacements<char>& replacements,
                       url_canon::CharsetConverter* converter, url_canon::CanonOutput* output,
                       url_parse::Parsed* outParsed);
bool ReplaceComponents(const char* spec, int length, const url_parse::Parsed& parsed,
                       const url_canon::Replacements<char16>& replacements,
                       url_canon::CharsetConverter* converter, url_canon::CanonOutput* output,
                       url_parse::Parsed* outParsed);

}  // namespace url_util

class GURL {
 public:
  GURL();
  GURL(const GURL& other);
  GURL(const std::string& url);  // NOLINT(google-explicit-constructor)
  GURL(const string16& url);     // NOLINT(google-explicit-constructor)
  GURL(const char* canonical, unsigned int length, const url_parse::Parsed& parsed, bool isValid);
  GURL& operator=(const GURL& other);
  void Swap(GURL* other);

  bool is_valid() const;
  const std::string& spec() const;
  std::string host() const { return Range(m_parsed.host); }
  std::string path() const { return Range(m_parsed.path); }
  std::string query() const { return Range(m_parsed.query); }
  bool SchemeIs(const char* lowerAsciiScheme) const;
  bool IsStandard() const;
  int IntPort() const;
  int EffectiveIntPort() const;
  bool HostIsIPAddress() const;
  std::string HostNoBrackets() const;
  std::string PathForRequest() const;
  std::string ExtractFileName() const;
  bool DomainIs(const char* lowerAsciiDomain, int domainLength) const;
  static const GURL& EmptyGURL();

  GURL Resolve(const std::string& relative) const;
  GURL Resolve(const string16& relative) const;
  GURL ResolveWithCharsetConverter(const std::string& relative,
                                   url_canon::CharsetConverter* converter) const;
  GURL ResolveWithCharsetConverter(const string16& relative,
                                   url_canon::CharsetConverter* converter) const;
  GURL ReplaceComponents(const url_canon::Replacements<char>& replacements) const;
  GURL ReplaceComponents(const url_canon::Replacements<unsigned short>& replacements) const;
  GURL GetOrigin() const;
  GURL GetWithEmptyPath() const;

  std::string Range(const url_parse::Component& range) const {
    return range.len > 0 ? std::string(m_spec, range.begin, range.len) : std::string();
  }

  std::string m_spec;
  bool m_isValid;
  url_parse::Parsed m_parsed;
};
