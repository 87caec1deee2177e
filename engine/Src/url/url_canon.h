/// \file
/// Canonicalisation of URL components and of whole URLs. Every function exists for 8-bit and for
/// 16-bit input; output is always 8-bit. A false result marks the component as invalid, but the
/// best text is written all the same. There is no Unicode support: text above ASCII is escaped,
/// replaced or makes the URL invalid. All state lies in the caller's objects.
#pragma once

#include <cstddef>
#include <cstring>

#include "string16.h"
#include "url_parse.h"

namespace url_canon {

/// A UTF-16 code unit.
typedef base::char16 char16;

/// A growing output buffer. Subclasses own the storage and implement Resize. Past 0x3FFFFFFF
/// elements, appended text is dropped silently.
template <typename T>
class CanonOutputT {
 public:
  /// No storage yet.
  CanonOutputT() : m_data(nullptr), m_capacity(0), m_length(0) {}
  /// The subclass frees its storage.
  virtual ~CanonOutputT() {}

  /// Makes the buffer hold |sz| elements, keeping the first min(sz, length()) of them.
  virtual void Resize(int sz) = 0;

  /// The element at |offset|, unchecked.
  T at(int offset) const { return m_data[offset]; }
  /// Overwrites the element at |offset|, unchecked.
  void set(int offset, T ch) { m_data[offset] = ch; }
  /// Elements written.
  int length() const { return m_length; }
  /// Elements that fit before the next Resize.
  int capacity() const { return m_capacity; }
  /// Only shortens: drops everything from |newLength| on.
  void set_length(int newLength) { m_length = newLength; }

  /// The elements written.
  const T* data() const { return m_data; }
  /// The elements written.
  T* data() { return m_data; }

  /// Grows the storage to |estimatedSize| when it is smaller.
  void ReserveSizeIfNeeded(int estimatedSize) {
    if (estimatedSize > m_capacity) Resize(estimatedSize);
  }

  /// Appends one element, growing as needed.
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

  /// Appends |strLen| elements, growing as needed.
  void Append(const T* str, int strLen) {
    if (m_length + strLen > m_capacity) {
      if (!Grow(m_length + strLen - m_capacity)) return;
    }
    if (strLen > 0) std::memcpy(m_data + m_length, str, sizeof(T) * strLen);
    m_length += strLen;
  }

 protected:
  /// Doubles the capacity, at least once, until |minAdditional| more elements fit. False when the
  /// size would pass 0x3FFFFFFF.
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

  T* m_data;       ///< the storage
  int m_capacity;  ///< elements the storage holds
  int m_length;    ///< elements written
};

/// The 8-bit output every canonicaliser writes to.
typedef CanonOutputT<char> CanonOutput;
/// A 16-bit output, for conversions.
typedef CanonOutputT<char16> CanonOutputW;

/// An output with |fixedCapacity| elements inside the object, so short text never allocates.
template <typename T, int fixedCapacity = 1024>
class RawCanonOutputT : public CanonOutputT<T> {
 public:
  /// Writes into the inner storage.
  RawCanonOutputT() : CanonOutputT<T>() {
    this->m_data = m_fixedBuffer;
    this->m_capacity = fixedCapacity;
  }
  /// Frees heap storage, if it came to that.
  ~RawCanonOutputT() override {
    if (this->m_data != m_fixedBuffer) delete[] this->m_data;
  }
  RawCanonOutputT(const RawCanonOutputT&) = delete;
  RawCanonOutputT& operator=(const RawCanonOutputT&) = delete;

  /// Moves to heap storage of |sz| elements.
  void Resize(int sz) override {
    T* newBuf = new T[sz];
    int keep = this->m_length < sz ? this->m_length : sz;
    std::memcpy(newBuf, this->m_data, sizeof(T) * keep);
    if (this->m_data != m_fixedBuffer) delete[] this->m_data;
    this->m_data = newBuf;
    this->m_capacity = sz;
  }

 protected:
  T m_fixedBuffer[fixedCapacity];  ///< the inner storage
};

/// An 8-bit RawCanonOutputT.
template <int fixedCapacity>
class RawCanonOutput : public RawCanonOutputT<char, fixedCapacity> {};

/// A 16-bit RawCanonOutputT.
template <int fixedCapacity>
class RawCanonOutputW : public RawCanonOutputT<char16, fixedCapacity> {};

/// Turns UTF-16 query text into the bytes of some character set. The library itself always passes
/// null (UTF-8).
class CharsetConverter {
 public:
  /// Nothing to set up.
  CharsetConverter() {}
  /// Virtual, for the implementing class.
  virtual ~CharsetConverter() {}
  /// Appends the bytes of |inputLen| units of |input| to |output|.
  virtual void ConvertFromUTF16(const char16* input, int inputLen, CanonOutput* output) = 0;
};

/// Drops tab, line feed and carriage return anywhere in |input|. Without any, |input| itself comes
/// back with its own length; otherwise the cleaned text is built in |buffer|.
const char* RemoveURLWhitespace(const char* input, int inputLen, CanonOutputT<char>* buffer,
                                int* outputLen);
/// The same for 16-bit text.
const char16* RemoveURLWhitespace(const char16* input, int inputLen, CanonOutputT<char16>* buffer,
                                  int* outputLen);

/// There is no Unicode support: false, and nothing written. An internationalised host therefore
/// never gives a valid URL.
bool IDNToASCII(const char16* src, int srcLen, CanonOutputW* output);
/// There is no Unicode support: false, and neither *begin nor *codePointOut written. Callers
/// preset the code point to 0 and step one unit on.
bool ReadUTFChar(const char* str, int* begin, int length, unsigned* codePointOut);
/// The same for 16-bit text.
bool ReadUTFChar(const char16* str, int* begin, int length, unsigned* codePointOut);

/// Text pointers, one per component in Parsed order, so that each component may come from another
/// string.
template <typename CHAR>
struct URLComponentSource {
  /// All null.
  URLComponentSource()
      : scheme(nullptr),
        username(nullptr),
        password(nullptr),
        host(nullptr),
        port(nullptr),
        path(nullptr),
        query(nullptr),
        ref(nullptr) {}
  /// All |defaultValue|: every component from one text.
  explicit URLComponentSource(const CHAR* defaultValue)
      : scheme(defaultValue),
        username(defaultValue),
        password(defaultValue),
        host(defaultValue),
        port(defaultValue),
        path(defaultValue),
        query(defaultValue),
        ref(defaultValue) {}

  const CHAR* scheme;    ///< text of the scheme
  const CHAR* username;  ///< text of the username
  const CHAR* password;  ///< text of the password
  const CHAR* host;      ///< text of the host
  const CHAR* port;      ///< text of the port
  const CHAR* path;      ///< text of the path
  const CHAR* query;     ///< text of the query
  const CHAR* ref;       ///< text of the ref
};

/// What to put in place of a URL's components. A null source keeps the base's component; a source
/// with a valid range replaces it; Placeholder() with a reset range clears it.
template <typename CHAR>
class Replacements {
 public:
  /// Replaces nothing.
  Replacements() {}

  /// Replaces the scheme by the range |comp| of |s|.
  void SetScheme(const CHAR* s, const url_parse::Component& comp) {
    m_sources.scheme = s;
    m_components.scheme = comp;
  }
  /// Removes the scheme.
  void ClearScheme() {
    m_sources.scheme = Placeholder();
    m_components.scheme.reset();
  }
  /// True when the scheme is replaced or removed.
  bool IsSchemeOverridden() const { return m_sources.scheme != nullptr; }

  /// Replaces the user name by the range |comp| of |s|.
  void SetUsername(const CHAR* s, const url_parse::Component& comp) {
    m_sources.username = s;
    m_components.username = comp;
  }
  /// Removes the user name.
  void ClearUsername() {
    m_sources.username = Placeholder();
    m_components.username.reset();
  }
  /// True when the user name is replaced or removed.
  bool IsUsernameOverridden() const { return m_sources.username != nullptr; }

  /// Replaces the password by the range |comp| of |s|.
  void SetPassword(const CHAR* s, const url_parse::Component& comp) {
    m_sources.password = s;
    m_components.password = comp;
  }
  /// Removes the password.
  void ClearPassword() {
    m_sources.password = Placeholder();
    m_components.password.reset();
  }
  /// True when the password is replaced or removed.
  bool IsPasswordOverridden() const { return m_sources.password != nullptr; }

  /// Replaces the host by the range |comp| of |s|.
  void SetHost(const CHAR* s, const url_parse::Component& comp) {
    m_sources.host = s;
    m_components.host = comp;
  }
  /// Removes the host.
  void ClearHost() {
    m_sources.host = Placeholder();
    m_components.host.reset();
  }
  /// True when the host is replaced or removed.
  bool IsHostOverridden() const { return m_sources.host != nullptr; }

  /// Replaces the port by the range |comp| of |s|.
  void SetPort(const CHAR* s, const url_parse::Component& comp) {
    m_sources.port = s;
    m_components.port = comp;
  }
  /// Removes the port.
  void ClearPort() {
    m_sources.port = Placeholder();
    m_components.port.reset();
  }
  /// True when the port is replaced or removed.
  bool IsPortOverridden() const { return m_sources.port != nullptr; }

  /// Replaces the path by the range |comp| of |s|.
  void SetPath(const CHAR* s, const url_parse::Component& comp) {
    m_sources.path = s;
    m_components.path = comp;
  }
  /// Removes the path.
  void ClearPath() {
    m_sources.path = Placeholder();
    m_components.path.reset();
  }
  /// True when the path is replaced or removed.
  bool IsPathOverridden() const { return m_sources.path != nullptr; }

  /// Replaces the query by the range |comp| of |s|.
  void SetQuery(const CHAR* s, const url_parse::Component& comp) {
    m_sources.query = s;
    m_components.query = comp;
  }
  /// Removes the query.
  void ClearQuery() {
    m_sources.query = Placeholder();
    m_components.query.reset();
  }
  /// True when the query is replaced or removed.
  bool IsQueryOverridden() const { return m_sources.query != nullptr; }

  /// Replaces the fragment by the range |comp| of |s|.
  void SetRef(const CHAR* s, const url_parse::Component& comp) {
    m_sources.ref = s;
    m_components.ref = comp;
  }
  /// Removes the fragment.
  void ClearRef() {
    m_sources.ref = Placeholder();
    m_components.ref.reset();
  }
  /// True when the fragment is replaced or removed.
  bool IsRefOverridden() const { return m_sources.ref != nullptr; }

  /// The texts of the replacements.
  const URLComponentSource<CHAR>& sources() const { return m_sources; }
  /// The ranges of the replacements.
  const url_parse::Parsed& components() const { return m_components; }

  /// A non-null empty text, for clearing a component.
  static const CHAR* Placeholder() {
    static const CHAR kEmpty[1] = {0};
    return kEmpty;
  }

 private:
  URLComponentSource<CHAR> m_sources;
  url_parse::Parsed m_components;
};

/// What host canonicalisation found.
struct CanonHostInfo {
  /// The kind of host.
  enum Family {
    NEUTRAL = 0,  ///< not an IP address
    BROKEN = 1,   ///< looked like an IP address but is invalid; so is the URL
    IPV4 = 2,     ///< an IPv4 address, written in dotted decimal
    IPV6 = 3,     ///< an IPv6 address, written in brackets
  };

  /// Neutral, no range.
  CanonHostInfo() : m_family(NEUTRAL), m_ipv4Components(0) {}

  /// IPv4 or IPv6.
  bool IsIPAddress() const { return m_family == IPV4 || m_family == IPV6; }

  Family m_family;                   ///< the kind of host
  int m_ipv4Components;              ///< components an IPv4 address was written with
  url_parse::Component m_hostRange;  ///< where the host was written in the output
};

// Component canonicalisers: each writes the canonical form of one component and its new range.

/// The scheme in lower case and its colon; an invalid character is escaped and gives false. An
/// empty scheme writes only the colon and is valid.
bool CanonicalizeScheme(const char* spec, const url_parse::Component& scheme, CanonOutput* output,
                        url_parse::Component* outScheme);
/// The same for 16-bit text.
bool CanonicalizeScheme(const char16* spec, const url_parse::Component& scheme, CanonOutput* output,
                        url_parse::Component* outScheme);

/// "user:password@", each escaped as user information; nothing at all when both are empty (so an
/// empty "@" disappears). Always true.
bool CanonicalizeUserInfo(const char* usernameSource, const url_parse::Component& username,
                          const char* passwordSource, const url_parse::Component& password,
                          CanonOutput* output, url_parse::Component* outUsername,
                          url_parse::Component* outPassword);
/// The same for 16-bit text.
bool CanonicalizeUserInfo(const char16* usernameSource, const url_parse::Component& username,
                          const char16* passwordSource, const url_parse::Component& password,
                          CanonOutput* output, url_parse::Component* outUsername,
                          url_parse::Component* outPassword);

/// The host in lower case, with escapes decoded and the characters of the host table escaped; an
/// IP address in its canonical form. False only when the host is broken (an invalid character,
/// non-ASCII text, or an address that does not parse).
bool CanonicalizeHost(const char* spec, const url_parse::Component& host, CanonOutput* output,
                      url_parse::Component* outHost);
/// The same for 16-bit text.
bool CanonicalizeHost(const char16* spec, const url_parse::Component& host, CanonOutput* output,
                      url_parse::Component* outHost);

/// CanonicalizeHost, reporting the kind of host in |hostInfo|.
void CanonicalizeHostVerbose(const char* spec, const url_parse::Component& host,
                             CanonOutput* output, CanonHostInfo* hostInfo);
/// The same for 16-bit text.
void CanonicalizeHostVerbose(const char16* spec, const url_parse::Component& host,
                             CanonOutput* output, CanonHostInfo* hostInfo);

/// Writes the canonical address only when |host| is an IPv4 or IPv6 address; |hostInfo| says
/// which, or neutral, or broken.
void CanonicalizeIPAddress(const char* spec, const url_parse::Component& host, CanonOutput* output,
                           CanonHostInfo* hostInfo);
/// The same for 16-bit text.
void CanonicalizeIPAddress(const char16* spec, const url_parse::Component& host,
                           CanonOutput* output, CanonHostInfo* hostInfo);

/// Splits an IPv4-looking host at its dots into up to four components (one trailing dot allowed).
/// False for an empty component, a character outside the IPv4 class, or a fifth component.
bool FindIPv4Components(const char* spec, const url_parse::Component& host,
                        url_parse::Component components[4]);
/// The same for 16-bit text.
bool FindIPv4Components(const char16* spec, const url_parse::Component& host,
                        url_parse::Component components[4]);

/// The four bytes of an IPv4 address written with one to four components, each decimal, octal
/// (leading 0) or hexadecimal (0x); the last component fills the remaining bytes. Neutral when it
/// is not an address, broken when it is one that does not fit.
CanonHostInfo::Family IPv4AddressToNumber(const char* spec, const url_parse::Component& host,
                                          unsigned char address[4], int* numIpv4Components);
/// The same for 16-bit text.
CanonHostInfo::Family IPv4AddressToNumber(const char16* spec, const url_parse::Component& host,
                                          unsigned char address[4], int* numIpv4Components);

/// The sixteen bytes of a bracketed IPv6 address, with at most one "::" and an optional IPv4
/// tail; false when it is not a valid one.
bool IPv6AddressToNumber(const char* spec, const url_parse::Component& host,
                         unsigned char address[16]);
/// The same for 16-bit text.
bool IPv6AddressToNumber(const char16* spec, const url_parse::Component& host,
                         unsigned char address[16]);

/// ":" and the port in decimal; nothing for no port or the scheme's default port. An invalid port
/// is written as it came and gives false.
bool CanonicalizePort(const char* spec, const url_parse::Component& port, int defaultPortForScheme,
                      CanonOutput* output, url_parse::Component* outPort);
/// The same for 16-bit text.
bool CanonicalizePort(const char16* spec, const url_parse::Component& port,
                      int defaultPortForScheme, CanonOutput* output, url_parse::Component* outPort);

/// The default port of a standard scheme given in lower case; -1 for anything else.
int DefaultPortForScheme(const char* scheme, int schemeLen);

/// The path with a leading slash, backslashes as slashes, "." and ".." segments resolved, escapes
/// decoded where the character may stand plainly and other characters escaped. An empty path is
/// written as "/" with its range reset. False for a NUL, written or escaped.
bool CanonicalizePath(const char* spec, const url_parse::Component& path, CanonOutput* output,
                      url_parse::Component* outPath);
/// The same for 16-bit text.
bool CanonicalizePath(const char16* spec, const url_parse::Component& path, CanonOutput* output,
                      url_parse::Component* outPath);

/// Appends |path| after output that already holds the start of a path (beginning at
/// |pathBeginInOutput|), resolving "." and ".." against it.
bool CanonicalizePartialPath(const char* spec, const url_parse::Component& path,
                             int pathBeginInOutput, CanonOutput* output);
/// The same for 16-bit text.
bool CanonicalizePartialPath(const char16* spec, const url_parse::Component& path,
                             int pathBeginInOutput, CanonOutput* output);

/// CanonicalizePath for file: URLs; an empty path gets a range of length 1.
bool FileCanonicalizePath(const char* spec, const url_parse::Component& path, CanonOutput* output,
                          url_parse::Component* outPath);
/// The same for 16-bit text.
bool FileCanonicalizePath(const char16* spec, const url_parse::Component& path, CanonOutput* output,
                          url_parse::Component* outPath);

/// "?" and the query: query-safe characters copied, others escaped; non-ASCII through the
/// converter, or as "%00" without one. Queries and refs never make a URL invalid: always true.
bool CanonicalizeQuery(const char* spec, const url_parse::Component& query,
                       CharsetConverter* converter, CanonOutput* output,
                       url_parse::Component* outQuery);
/// The same for 16-bit text.
bool CanonicalizeQuery(const char16* spec, const url_parse::Component& query,
                       CharsetConverter* converter, CanonOutput* output,
                       url_parse::Component* outQuery);

/// "#" and the fragment: controls escaped, other ASCII copied, non-ASCII as U+FFFD. Never
/// invalid.
bool CanonicalizeRef(const char* spec, const url_parse::Component& ref, CanonOutput* output,
                     url_parse::Component* outRef);
/// The same for 16-bit text.
bool CanonicalizeRef(const char16* spec, const url_parse::Component& ref, CanonOutput* output,
                     url_parse::Component* outRef);

// Whole URLs.

/// A whole URL with an authority: scheme, "//", user information, host (required), port without
/// the default, path ("/" when anything stands around it), query, fragment.
bool CanonicalizeStandardURL(const char* spec, int specLen, const url_parse::Parsed& parsed,
                             CharsetConverter* queryConverter, CanonOutput* output,
                             url_parse::Parsed* newParsed);
/// The same for 16-bit text.
bool CanonicalizeStandardURL(const char16* spec, int specLen, const url_parse::Parsed& parsed,
                             CharsetConverter* queryConverter, CanonOutput* output,
                             url_parse::Parsed* newParsed);

/// A whole file: URL: "file://", host (may be empty), path, query, fragment; no user or port.
bool CanonicalizeFileURL(const char* spec, int specLen, const url_parse::Parsed& parsed,
                         CharsetConverter* queryConverter, CanonOutput* output,
                         url_parse::Parsed* newParsed);
/// The same for 16-bit text.
bool CanonicalizeFileURL(const char16* spec, int specLen, const url_parse::Parsed& parsed,
                         CharsetConverter* queryConverter, CanonOutput* output,
                         url_parse::Parsed* newParsed);

/// A whole URL of scheme and opaque path: units from 0x20 to 0x7F copied, any other written as
/// "%00", which makes it invalid.
bool CanonicalizePathURL(const char* spec, int specLen, const url_parse::Parsed& parsed,
                         CanonOutput* output, url_parse::Parsed* newParsed);
/// The same for 16-bit text.
bool CanonicalizePathURL(const char16* spec, int specLen, const url_parse::Parsed& parsed,
                         CanonOutput* output, url_parse::Parsed* newParsed);

/// A whole mailto: URL: "mailto:", the address as CanonicalizePathURL writes a path, the query.
bool CanonicalizeMailtoURL(const char* spec, int specLen, const url_parse::Parsed& parsed,
                           CanonOutput* output, url_parse::Parsed* newParsed);
/// The same for 16-bit text.
bool CanonicalizeMailtoURL(const char16* spec, int specLen, const url_parse::Parsed& parsed,
                           CanonOutput* output, url_parse::Parsed* newParsed);

// Replacement: the base is canonical 8-bit text; the replacements are 8- or 16-bit.

/// CanonicalizeStandardURL of the canonical |base| with the replacements put in.
bool ReplaceStandardURL(const char* base, const url_parse::Parsed& baseParsed,
                        const Replacements<char>& replacements, CharsetConverter* queryConverter,
                        CanonOutput* output, url_parse::Parsed* newParsed);
/// The same for 16-bit replacements.
bool ReplaceStandardURL(const char* base, const url_parse::Parsed& baseParsed,
                        const Replacements<char16>& replacements, CharsetConverter* queryConverter,
                        CanonOutput* output, url_parse::Parsed* newParsed);

/// CanonicalizeFileURL of the canonical |base| with the replacements put in.
bool ReplaceFileURL(const char* base, const url_parse::Parsed& baseParsed,
                    const Replacements<char>& replacements, CharsetConverter* queryConverter,
                    CanonOutput* output, url_parse::Parsed* newParsed);
/// The same for 16-bit replacements.
bool ReplaceFileURL(const char* base, const url_parse::Parsed& baseParsed,
                    const Replacements<char16>& replacements, CharsetConverter* queryConverter,
                    CanonOutput* output, url_parse::Parsed* newParsed);

/// CanonicalizePathURL of the canonical |base| with the replacements put in.
bool ReplacePathURL(const char* base, const url_parse::Parsed& baseParsed,
                    const Replacements<char>& replacements, CanonOutput* output,
                    url_parse::Parsed* newParsed);
/// The same for 16-bit replacements.
bool ReplacePathURL(const char* base, const url_parse::Parsed& baseParsed,
                    const Replacements<char16>& replacements, CanonOutput* output,
                    url_parse::Parsed* newParsed);

/// CanonicalizeMailtoURL of the canonical |base| with the replacements put in.
bool ReplaceMailtoURL(const char* base, const url_parse::Parsed& baseParsed,
                      const Replacements<char>& replacements, CanonOutput* output,
                      url_parse::Parsed* newParsed);
/// The same for 16-bit replacements.
bool ReplaceMailtoURL(const char* base, const url_parse::Parsed& baseParsed,
                      const Replacements<char16>& replacements, CanonOutput* output,
                      url_parse::Parsed* newParsed);

// Relative references.

/// Decides whether |fragment| is relative to |base|; *relativeComponent gets its relative part.
/// False when it can't be resolved against a non-hierarchical base. Kept: "http:foo" against an
/// http base is relative, "http://foo" absolute.
bool IsRelativeURL(const char* base, const url_parse::Parsed& baseParsed, const char* fragment,
                   int fragmentLen, bool isBaseHierarchical, bool* isRelative,
                   url_parse::Component* relativeComponent);
/// The same for 16-bit relative text.
bool IsRelativeURL(const char* base, const url_parse::Parsed& baseParsed, const char16* fragment,
                   int fragmentLen, bool isBaseHierarchical, bool* isRelative,
                   url_parse::Component* relativeComponent);

/// Writes the URL that the relative part |relativeComponent| of |relativeUrl| makes of the
/// canonical |baseUrl|: a network path replaces the authority, a slash the path, a relative path
/// continues the base's directory. False when the base has no path to resolve against.
bool ResolveRelativeURL(const char* baseUrl, const url_parse::Parsed& baseParsed, bool baseIsFile,
                        const char* relativeUrl, const url_parse::Component& relativeComponent,
                        CharsetConverter* queryConverter, CanonOutput* output,
                        url_parse::Parsed* outParsed);
/// The same for 16-bit relative text.
bool ResolveRelativeURL(const char* baseUrl, const url_parse::Parsed& baseParsed, bool baseIsFile,
                        const char16* relativeUrl, const url_parse::Component& relativeComponent,
                        CharsetConverter* queryConverter, CanonOutput* output,
                        url_parse::Parsed* outParsed);

}  // namespace url_canon
