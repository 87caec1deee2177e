// Canonicalisation of URL components and of whole URLs. Every function exists for 8-bit and for
// 16-bit input; output is always 8-bit. A false result marks the component as invalid, but the
// best text is written all the same.
#pragma once

#include <cstddef>
#include <cstring>

#include "string16.h"
#include "url_parse.h"

namespace url_canon {

typedef base::char16 char16;

// A growing output buffer. Subclasses own the storage and implement Resize.
template <typename T>
class CanonOutputT {
 public:
  CanonOutputT() : m_data(nullptr), m_capacity(0), m_length(0) {}
  virtual ~CanonOutputT() {}

  // Makes the buffer hold |sz| elements, keeping the first min(sz, length()) of them.
  virtual void Resize(int sz) = 0;

  T at(int offset) const { return m_data[offset]; }
  void set(int offset, T ch) { m_data[offset] = ch; }
  int length() const { return m_length; }
  int capacity() const { return m_capacity; }
  // Only shortens: drops everything from |newLength| on.
  void set_length(int newLength) { m_length = newLength; }

  const T* data() const { return m_data; }
  T* data() { return m_data; }

  void ReserveSizeIfNeeded(int estimatedSize) {
    if (estimatedSize > m_capacity) Resize(estimatedSize);
  }

  void push_back(T ch) {
    if (m_length < m_capacity) {
      m_data[m_length] = ch;
      m_length++;
      return;
    }
    // Past the largest size the buffer may take, the element is dropped silently.
    if (!Grow(1)) return;
    m_data[m_length] = ch;
    m_length++;
  }

  void Append(const T* str, int strLen) {
    if (m_length + strLen > m_capacity) {
      if (!Grow(m_length + strLen - m_capacity)) return;
    }
    if (strLen > 0) std::memcpy(m_data + m_length, str, sizeof(T) * strLen);
    m_length += strLen;
  }

 protected:
  // Doubles the capacity, at least once, until |minAdditional| more elements fit. False when the
  // size would pass 0x3FFFFFFF.
  bool Grow(int minAdditional) {
    static const int kMinBufferLen = 16;
    int newLen = (m_capacity == 0) ? kMinBufferLen : m_capacity;
    do {
      if (newLen >= (1 << 30)) return false;
      newLen *= 2;
    } while (newLen < m_capacity + minAdditional);
    Resize(newLen);
    return true;
  }

  T* m_data;
  int m_capacity;
  int m_length;
};

typedef CanonOutputT<char> CanonOutput;
typedef CanonOutputT<char16> CanonOutputW;

// An output with |fixedCapacity| elements inside the object, so short text never allocates.
template <typename T, int fixedCapacity = 1024>
class RawCanonOutputT : public CanonOutputT<T> {
 public:
  RawCanonOutputT() : CanonOutputT<T>() {
    this->m_data = m_fixedBuffer;
    this->m_capacity = fixedCapacity;
  }
  ~RawCanonOutputT() override {
    if (this->m_data != m_fixedBuffer) delete[] this->m_data;
  }
  RawCanonOutputT(const RawCanonOutputT&) = delete;
  RawCanonOutputT& operator=(const RawCanonOutputT&) = delete;

  void Resize(int sz) override {
    T* newBuf = new T[sz];
    int keep = this->m_length < sz ? this->m_length : sz;
    std::memcpy(newBuf, this->m_data, sizeof(T) * keep);
    if (this->m_data != m_fixedBuffer) delete[] this->m_data;
    this->m_data = newBuf;
    this->m_capacity = sz;
  }

 protected:
  T m_fixedBuffer[fixedCapacity];
};

template <int fixedCapacity>
class RawCanonOutput : public RawCanonOutputT<char, fixedCapacity> {};

template <int fixedCapacity>
class RawCanonOutputW : public RawCanonOutputT<char16, fixedCapacity> {};

// Turns UTF-16 query text into the bytes of some character set.
class CharsetConverter {
 public:
  CharsetConverter() {}
  virtual ~CharsetConverter() {}
  virtual void ConvertFromUTF16(const char16* input, int inputLen, CanonOutput* output) = 0;
};

// Drops tab, line feed and carriage return anywhere in |input|. Without any, |input| itself comes
// back with its own length; otherwise the cleaned text is built in |buffer|.
const char* RemoveURLWhitespace(const char* input, int inputLen, CanonOutputT<char>* buffer,
                                int* outputLen);
const char16* RemoveURLWhitespace(const char16* input, int inputLen, CanonOutputT<char16>* buffer,
                                  int* outputLen);

// There is no Unicode support: both of these fail and write nothing.
bool IDNToASCII(const char16* src, int srcLen, CanonOutputW* output);
bool ReadUTFChar(const char* str, int* begin, int length, unsigned* codePointOut);
bool ReadUTFChar(const char16* str, int* begin, int length, unsigned* codePointOut);

// Text pointers, one per component, so that each component may come from another string.
template <typename CHAR>
struct URLComponentSource {
  URLComponentSource()
      : scheme(nullptr),
        username(nullptr),
        password(nullptr),
        host(nullptr),
        port(nullptr),
        path(nullptr),
        query(nullptr),
        ref(nullptr) {}
  explicit URLComponentSource(const CHAR* defaultValue)
      : scheme(defaultValue),
        username(defaultValue),
        password(defaultValue),
        host(defaultValue),
        port(defaultValue),
        path(defaultValue),
        query(defaultValue),
        ref(defaultValue) {}

  const CHAR* scheme;
  const CHAR* username;
  const CHAR* password;
  const CHAR* host;
  const CHAR* port;
  const CHAR* path;
  const CHAR* query;
  const CHAR* ref;
};

// What to put in place of a URL's components. A null source keeps the base's component; a source
// with a valid range replaces it; Placeholder() with a reset range clears it.
template <typename CHAR>
class Replacements {
 public:
  Replacements() {}

  void SetScheme(const CHAR* s, const url_parse::Component& comp) {
    m_sources.scheme = s;
    m_components.scheme = comp;
  }
  void ClearScheme() {
    m_sources.scheme = Placeholder();
    m_components.scheme.reset();
  }
  bool IsSchemeOverridden() const { return m_sources.scheme != nullptr; }

  void SetUsername(const CHAR* s, const url_parse::Component& comp) {
    m_sources.username = s;
    m_components.username = comp;
  }
  void ClearUsername() {
    m_sources.username = Placeholder();
    m_components.username.reset();
  }
  bool IsUsernameOverridden() const { return m_sources.username != nullptr; }

  void SetPassword(const CHAR* s, const url_parse::Component& comp) {
    m_sources.password = s;
    m_components.password = comp;
  }
  void ClearPassword() {
    m_sources.password = Placeholder();
    m_components.password.reset();
  }
  bool IsPasswordOverridden() const { return m_sources.password != nullptr; }

  void SetHost(const CHAR* s, const url_parse::Component& comp) {
    m_sources.host = s;
    m_components.host = comp;
  }
  void ClearHost() {
    m_sources.host = Placeholder();
    m_components.host.reset();
  }
  bool IsHostOverridden() const { return m_sources.host != nullptr; }

  void SetPort(const CHAR* s, const url_parse::Component& comp) {
    m_sources.port = s;
    m_components.port = comp;
  }
  void ClearPort() {
    m_sources.port = Placeholder();
    m_components.port.reset();
  }
  bool IsPortOverridden() const { return m_sources.port != nullptr; }

  void SetPath(const CHAR* s, const url_parse::Component& comp) {
    m_sources.path = s;
    m_components.path = comp;
  }
  void ClearPath() {
    m_sources.path = Placeholder();
    m_components.path.reset();
  }
  bool IsPathOverridden() const { return m_sources.path != nullptr; }

  void SetQuery(const CHAR* s, const url_parse::Component& comp) {
    m_sources.query = s;
    m_components.query = comp;
  }
  void ClearQuery() {
    m_sources.query = Placeholder();
    m_components.query.reset();
  }
  bool IsQueryOverridden() const { return m_sources.query != nullptr; }

  void SetRef(const CHAR* s, const url_parse::Component& comp) {
    m_sources.ref = s;
    m_components.ref = comp;
  }
  void ClearRef() {
    m_sources.ref = Placeholder();
    m_components.ref.reset();
  }
  bool IsRefOverridden() const { return m_sources.ref != nullptr; }

  const URLComponentSource<CHAR>& sources() const { return m_sources; }
  const url_parse::Parsed& components() const { return m_components; }

  // A non-null empty text, for clearing a component.
  static const CHAR* Placeholder() {
    static const CHAR kEmpty[1] = {0};
    return kEmpty;
  }

 private:
  URLComponentSource<CHAR> m_sources;
  url_parse::Parsed m_components;
};

// What host canonicalisation found.
struct CanonHostInfo {
  enum Family {
    NEUTRAL = 0,  // not an IP address
    BROKEN = 1,   // looked like an IP address but is invalid; so is the URL
    IPV4 = 2,
    IPV6 = 3,
  };

  CanonHostInfo() : m_family(NEUTRAL), m_ipv4Components(0), m_hostRange() {}

  bool IsIPAddress() const { return m_family == IPV4 || m_family == IPV6; }

  Family m_family;
  int m_ipv4Components;
  url_parse::Component m_hostRange;
};

// Component canonicalisers: each writes the canonical form of one component and its new range.

bool CanonicalizeScheme(const char* spec, const url_parse::Component& scheme, CanonOutput* output,
                        url_parse::Component* outScheme);
bool CanonicalizeScheme(const char16* spec, const url_parse::Component& scheme, CanonOutput* output,
                        url_parse::Component* outScheme);

bool CanonicalizeUserInfo(const char* usernameSource, const url_parse::Component& username,
                          const char* passwordSource, const url_parse::Component& password,
                          CanonOutput* output, url_parse::Component* outUsername,
                          url_parse::Component* outPassword);
bool CanonicalizeUserInfo(const char16* usernameSource, const url_parse::Component& username,
                          const char16* passwordSource, const url_parse::Component& password,
                          CanonOutput* output, url_parse::Component* outUsername,
                          url_parse::Component* outPassword);

bool CanonicalizeHost(const char* spec, const url_parse::Component& host, CanonOutput* output,
                      url_parse::Component* outHost);
bool CanonicalizeHost(const char16* spec, const url_parse::Component& host, CanonOutput* output,
                      url_parse::Component* outHost);

void CanonicalizeHostVerbose(const char* spec, const url_parse::Component& host,
                             CanonOutput* output, CanonHostInfo* hostInfo);
void CanonicalizeHostVerbose(const char16* spec, const url_parse::Component& host,
                             CanonOutput* output, CanonHostInfo* hostInfo);

// Writes the canonical address only when |host| is an IPv4 or IPv6 address.
void CanonicalizeIPAddress(const char* spec, const url_parse::Component& host, CanonOutput* output,
                           CanonHostInfo* hostInfo);
void CanonicalizeIPAddress(const char16* spec, const url_parse::Component& host,
                           CanonOutput* output, CanonHostInfo* hostInfo);

bool FindIPv4Components(const char* spec, const url_parse::Component& host,
                        url_parse::Component components[4]);
bool FindIPv4Components(const char16* spec, const url_parse::Component& host,
                        url_parse::Component components[4]);

CanonHostInfo::Family IPv4AddressToNumber(const char* spec, const url_parse::Component& host,
                                          unsigned char address[4], int* numIpv4Components);
CanonHostInfo::Family IPv4AddressToNumber(const char16* spec, const url_parse::Component& host,
                                          unsigned char address[4], int* numIpv4Components);

bool IPv6AddressToNumber(const char* spec, const url_parse::Component& host,
                         unsigned char address[16]);
bool IPv6AddressToNumber(const char16* spec, const url_parse::Component& host,
                         unsigned char address[16]);

bool CanonicalizePort(const char* spec, const url_parse::Component& port, int defaultPortForScheme,
                      CanonOutput* output, url_parse::Component* outPort);
bool CanonicalizePort(const char16* spec, const url_parse::Component& port,
                      int defaultPortForScheme, CanonOutput* output, url_parse::Component* outPort);

// The default port of a standard scheme given in lower case; -1 for anything else.
int DefaultPortForScheme(const char* scheme, int schemeLen);

bool CanonicalizePath(const char* spec, const url_parse::Component& path, CanonOutput* output,
                      url_parse::Component* outPath);
bool CanonicalizePath(const char16* spec, const url_parse::Component& path, CanonOutput* output,
                      url_parse::Component* outPath);

// Appends |path| after output that already holds the start of a path (beginning at
// |pathBeginInOutput|), resolving "." and ".." against it.
bool CanonicalizePartialPath(const char* spec, const url_parse::Component& path,
                             int pathBeginInOutput, CanonOutput* output);
bool CanonicalizePartialPath(const char16* spec, const url_parse::Component& path,
                             int pathBeginInOutput, CanonOutput* output);

bool FileCanonicalizePath(const char* spec, const url_parse::Component& path, CanonOutput* output,
                          url_parse::Component* outPath);
bool FileCanonicalizePath(const char16* spec, const url_parse::Component& path, CanonOutput* output,
                          url_parse::Component* outPath);

// Queries and refs never make a URL invalid: these always return true.
bool CanonicalizeQuery(const char* spec, const url_parse::Component& query,
                       CharsetConverter* converter, CanonOutput* output,
                       url_parse::Component* outQuery);
bool CanonicalizeQuery(const char16* spec, const url_parse::Component& query,
                       CharsetConverter* converter, CanonOutput* output,
                       url_parse::Component* outQuery);

bool CanonicalizeRef(const char* spec, const url_parse::Component& ref, CanonOutput* output,
                     url_parse::Component* outRef);
bool CanonicalizeRef(const char16* spec, const url_parse::Component& ref, CanonOutput* output,
                     url_parse::Component* outRef);

// Whole URLs.

bool CanonicalizeStandardURL(const char* spec, int specLen, const url_parse::Parsed& parsed,
                             CharsetConverter* queryConverter, CanonOutput* output,
                             url_parse::Parsed* newParsed);
bool CanonicalizeStandardURL(const char16* spec, int specLen, const url_parse::Parsed& parsed,
                             CharsetConverter* queryConverter, CanonOutput* output,
                             url_parse::Parsed* newParsed);

bool CanonicalizeFileURL(const char* spec, int specLen, const url_parse::Parsed& parsed,
                         CharsetConverter* queryConverter, CanonOutput* output,
                         url_parse::Parsed* newParsed);
bool CanonicalizeFileURL(const char16* spec, int specLen, const url_parse::Parsed& parsed,
                         CharsetConverter* queryConverter, CanonOutput* output,
                         url_parse::Parsed* newParsed);

bool CanonicalizePathURL(const char* spec, int specLen, const url_parse::Parsed& parsed,
                         CanonOutput* output, url_parse::Parsed* newParsed);
bool CanonicalizePathURL(const char16* spec, int specLen, const url_parse::Parsed& parsed,
                         CanonOutput* output, url_parse::Parsed* newParsed);

bool CanonicalizeMailtoURL(const char* spec, int specLen, const url_parse::Parsed& parsed,
                           CanonOutput* output, url_parse::Parsed* newParsed);
bool CanonicalizeMailtoURL(const char16* spec, int specLen, const url_parse::Parsed& parsed,
                           CanonOutput* output, url_parse::Parsed* newParsed);

// Replacement: the base is canonical 8-bit text; the replacements are 8- or 16-bit.

bool ReplaceStandardURL(const char* base, const url_parse::Parsed& baseParsed,
                        const Replacements<char>& replacements, CharsetConverter* queryConverter,
                        CanonOutput* output, url_parse::Parsed* newParsed);
bool ReplaceStandardURL(const char* base, const url_parse::Parsed& baseParsed,
                        const Replacements<char16>& replacements, CharsetConverter* queryConverter,
                        CanonOutput* output, url_parse::Parsed* newParsed);

bool ReplaceFileURL(const char* base, const url_parse::Parsed& baseParsed,
                    const Replacements<char>& replacements, CharsetConverter* queryConverter,
                    CanonOutput* output, url_parse::Parsed* newParsed);
bool ReplaceFileURL(const char* base, const url_parse::Parsed& baseParsed,
                    const Replacements<char16>& replacements, CharsetConverter* queryConverter,
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

// Relative references.

// Decides whether |fragment| is relative to |base|; *relativeComponent gets its relative part.
// False when it can't be resolved against a non-hierarchical base.
bool IsRelativeURL(const char* base, const url_parse::Parsed& baseParsed, const char* fragment,
                   int fragmentLen, bool isBaseHierarchical, bool* isRelative,
                   url_parse::Component* relativeComponent);
bool IsRelativeURL(const char* base, const url_parse::Parsed& baseParsed, const char16* fragment,
                   int fragmentLen, bool isBaseHierarchical, bool* isRelative,
                   url_parse::Component* relativeComponent);

bool ResolveRelativeURL(const char* baseUrl, const url_parse::Parsed& baseParsed, bool baseIsFile,
                        const char* relativeUrl, const url_parse::Component& relativeComponent,
                        CharsetConverter* queryConverter, CanonOutput* output,
                        url_parse::Parsed* outParsed);
bool ResolveRelativeURL(const char* baseUrl, const url_parse::Parsed& baseParsed, bool baseIsFile,
                        const char16* relativeUrl, const url_parse::Component& relativeComponent,
                        CharsetConverter* queryConverter, CanonOutput* output,
                        url_parse::Parsed* outParsed);

}  // namespace url_canon
