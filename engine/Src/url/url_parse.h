/// \file
/// Splitting URL text into components. The parsers only draw borders: they never copy, change or
/// validate, and every input gives some result. Each function exists for 8-bit and for 16-bit text;
/// the two behave alike. No state: safe on any thread.
#pragma once

#include "string16.h"

namespace url_parse {

/// A UTF-16 code unit.
typedef base::char16 char16;

/// One range inside a string. len -1 means absent, 0 present but empty; every accessor of GURL
/// reads a component only when len is above 0, so absent and empty read alike there.
struct Component {
  /// Absent: begin 0, len -1.
  Component() : begin(0), len(-1) {}
  /// `l` characters from offset `b`.
  Component(int b, int l) : begin(b), len(l) {}

  /// The offset just past the range.
  int end() const { return begin + len; }
  /// True unless absent.
  bool is_valid() const { return len != -1; }
  /// True when it holds at least one character.
  bool is_nonempty() const { return len > 0; }
  /// Back to absent.
  void reset() {
    begin = 0;
    len = -1;
  }
  /// Same begin and length.
  bool operator==(const Component& other) const { return begin == other.begin && len == other.len; }
  /// Not the same range.
  bool operator!=(const Component& other) const { return !(*this == other); }

  int begin;  ///< offset of the first character from the start of the text
  int len;    ///< number of characters, -1 when absent
};

/// The range from `begin` up to `end`.
inline Component MakeRange(int begin, int end) { return Component(begin, end - begin); }

/// The ranges of the eight components of one URL text, offsets counted from its start; meaningless
/// apart from that text. All start absent.
struct Parsed {
  /// The components in the order of a URL.
  enum ComponentType {
    SCHEME,    ///< scheme, without its colon
    USERNAME,  ///< user name
    PASSWORD,  ///< password
    HOST,      ///< host
    PORT,      ///< port, without its colon
    PATH,      ///< path
    QUERY,     ///< query, without its "?"
    REF,       ///< fragment, without its "#"
  };

  /// Length of the whole URL the ranges describe.
  int Length();
  /// Offset at which the component of |type| stands or would stand; with |includeDelimiter| the
  /// offset of its separator (":" of the port, "?" of the query, "#" of the ref).
  int CountCharactersBefore(ComponentType type, bool includeDelimiter);

  Component scheme;    ///< the scheme
  Component username;  ///< the user name
  Component password;  ///< the password
  Component host;      ///< the host, with the brackets of an IPv6 address
  Component port;      ///< the port
  Component path;      ///< the path
  Component query;     ///< the query
  Component ref;       ///< the fragment
};

/// Results of ParsePort besides the port number itself.
enum SpecialPort {
  PORT_UNSPECIFIED = -1,  ///< no port
  PORT_INVALID = -2,      ///< not a number from 0 to 65535
};

/// Finds the scheme: from the first character above 0x20 up to the first colon (a colon in first
/// place gives an empty scheme). False without a colon. The scheme's characters are not checked.
bool ExtractScheme(const char* url, int urlLen, Component* scheme);
/// The same for 16-bit text.
bool ExtractScheme(const char16* url, int urlLen, Component* scheme);

/// True for the characters that end an authority: '/', '\\', '?', ';' and '#'.
bool IsAuthorityTerminator(char16 ch);

/// Parses a URL with an authority (http, ftp and the like) after trimming characters of 0x20 and
/// below from both ends.
void ParseStandardURL(const char* url, int urlLen, Parsed* parsed);
/// The same for 16-bit text.
void ParseStandardURL(const char16* url, int urlLen, Parsed* parsed);

/// Parses a scheme and an opaque path: "?" and "#" belong to the path.
void ParsePathURL(const char* url, int urlLen, Parsed* parsed);
/// The same for 16-bit text.
void ParsePathURL(const char16* url, int urlLen, Parsed* parsed);

/// Parses a file: URL. Exactly two slashes after the scheme introduce a host; there is no
/// drive-letter logic.
void ParseFileURL(const char* url, int urlLen, Parsed* parsed);
/// The same for 16-bit text.
void ParseFileURL(const char16* url, int urlLen, Parsed* parsed);

/// Parses a mailto: URL: the address as path, then the query.
void ParseMailtoURL(const char* url, int urlLen, Parsed* parsed);
/// The same for 16-bit text.
void ParseMailtoURL(const char16* url, int urlLen, Parsed* parsed);

/// The standard parse from offset `afterScheme` on (any number of slashes, the authority, the
/// path), for a scheme found by other means.
void ParseAfterScheme(const char* spec, int specLen, int afterScheme, Parsed* parsed);
/// The same for 16-bit text.
void ParseAfterScheme(const char16* spec, int specLen, int afterScheme, Parsed* parsed);

/// Splits an authority at its last '@' into user information (user name and password at the
/// first colon) and server (host and port at a colon behind any closing bracket).
void ParseAuthority(const char* spec, const Component& auth, Component* username,
                    Component* password, Component* hostname, Component* portNum);
/// The same for 16-bit text.
void ParseAuthority(const char16* spec, const Component& auth, Component* username,
                    Component* password, Component* hostname, Component* portNum);

/// Splits a full path at the first '#' (ref) and the first '?' before it (query); an empty
/// part is absent.
void ParsePathInternal(const char* spec, const Component& path, Component* filepath,
                       Component* query, Component* ref);
/// The same for 16-bit text.
void ParsePathInternal(const char16* spec, const Component& path, Component* filepath,
                       Component* query, Component* ref);

/// The port number: PORT_UNSPECIFIED for no port, PORT_INVALID for more than five digits after
/// leading zeros, any other character, or a value above 65535.
int ParsePort(const char* url, const Component& port);
/// The same for 16-bit text.
int ParsePort(const char16* url, const Component& port);

/// The last path segment, without parameters after a ';'; absent for an empty path.
void ExtractFileName(const char* url, const Component& path, Component* fileName);
/// The same for 16-bit text.
void ExtractFileName(const char16* url, const Component& path, Component* fileName);

/// The next key and value of `query` ("a=1&b" gives a and 1, then b and an empty value), and
/// `query` advanced past them. False when the query is empty.
bool ExtractQueryKeyValue(const char* url, Component* query, Component* key, Component* value);
/// The same for 16-bit text.
bool ExtractQueryKeyValue(const char16* url, Component* query, Component* key, Component* value);

/// Characters up to and including code 0x20 are trimmed from both ends of a URL; bytes of 0x80 and
/// above are not.
inline bool ShouldTrimFromURL(char ch) { return static_cast<unsigned char>(ch) <= ' '; }
/// The same for 16-bit text.
inline bool ShouldTrimFromURL(char16 ch) { return ch <= ' '; }

/// Moves `*begin` and `*len` (the end) inward past the characters to trim.
template <typename CHAR>
inline void TrimURL(const CHAR* spec, int* begin, int* len) {
  while (*begin < *len && ShouldTrimFromURL(spec[*begin])) (*begin)++;
  while (*len > *begin && ShouldTrimFromURL(spec[*len - 1])) (*len)--;
}

/// '/' or '\\': URLs take either as a slash.
template <typename CHAR>
inline bool IsURLSlash(CHAR ch) {
  return ch == '/' || ch == '\\';
}

/// How many slashes of either kind follow from `beginOffset`.
template <typename CHAR>
inline int CountConsecutiveSlashes(const CHAR* str, int beginOffset, int strLen) {
  int count = 0;
  while (beginOffset + count < strLen && IsURLSlash(str[beginOffset + count])) ++count;
  return count;
}

}  // namespace url_parse
