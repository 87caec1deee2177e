// Splitting URL text into components. The parsers only draw borders: they never copy, change or
// validate, and every input gives some result. Each function exists for 8-bit and for 16-bit text.
#pragma once

#include "string16.h"

namespace url_parse {

typedef base::char16 char16;

// One range inside a string. len -1 means absent, 0 present but empty.
struct Component {
  Component() : begin(0), len(-1) {}
  Component(int b, int l) : begin(b), len(l) {}

  int end() const { return begin + len; }
  bool is_valid() const { return len != -1; }
  bool is_nonempty() const { return len > 0; }
  void reset() {
    begin = 0;
    len = -1;
  }
  bool operator==(const Component& other) const { return begin == other.begin && len == other.len; }
  bool operator!=(const Component& other) const { return !(*this == other); }

  int begin;
  int len;
};

inline Component MakeRange(int begin, int end) { return Component(begin, end - begin); }

// The ranges of the eight components of one URL text, offsets counted from its start.
struct Parsed {
  enum ComponentType { SCHEME, USERNAME, PASSWORD, HOST, PORT, PATH, QUERY, REF };

  // Length of the whole URL the ranges describe.
  int Length();
  // Offset at which the component of |type| stands or would stand; with |includeDelimiter| the
  // offset of its separator (":" of the port, "?" of the query, "#" of the ref).
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

// Results of ParsePort besides the port number itself.
enum SpecialPort { PORT_UNSPECIFIED = -1, PORT_INVALID = -2 };

bool ExtractScheme(const char* url, int urlLen, Component* scheme);
bool ExtractScheme(const char16* url, int urlLen, Component* scheme);

bool IsAuthorityTerminator(char16 ch);

void ParseStandardURL(const char* url, int urlLen, Parsed* parsed);
void ParseStandardURL(const char16* url, int urlLen, Parsed* parsed);

void ParsePathURL(const char* url, int urlLen, Parsed* parsed);
void ParsePathURL(const char16* url, int urlLen, Parsed* parsed);

void ParseFileURL(const char* url, int urlLen, Parsed* parsed);
void ParseFileURL(const char16* url, int urlLen, Parsed* parsed);

void ParseMailtoURL(const char* url, int urlLen, Parsed* parsed);
void ParseMailtoURL(const char16* url, int urlLen, Parsed* parsed);

void ParseAfterScheme(const char* spec, int specLen, int afterScheme, Parsed* parsed);
void ParseAfterScheme(const char16* spec, int specLen, int afterScheme, Parsed* parsed);

void ParseAuthority(const char* spec, const Component& auth, Component* username,
                    Component* password, Component* hostname, Component* portNum);
void ParseAuthority(const char16* spec, const Component& auth, Component* username,
                    Component* password, Component* hostname, Component* portNum);

void ParsePathInternal(const char* spec, const Component& path, Component* filepath,
                       Component* query, Component* ref);
void ParsePathInternal(const char16* spec, const Component& path, Component* filepath,
                       Component* query, Component* ref);

// -1 for no port, -2 for an invalid one, otherwise the number.
int ParsePort(const char* url, const Component& port);
int ParsePort(const char16* url, const Component& port);

void ExtractFileName(const char* url, const Component& path, Component* fileName);
void ExtractFileName(const char16* url, const Component& path, Component* fileName);

bool ExtractQueryKeyValue(const char* url, Component* query, Component* key, Component* value);
bool ExtractQueryKeyValue(const char16* url, Component* query, Component* key, Component* value);

// Characters up to and including code 0x20 are trimmed from both ends of a URL; bytes of 0x80 and
// above are not.
inline bool ShouldTrimFromURL(char ch) { return static_cast<unsigned char>(ch) <= ' '; }
inline bool ShouldTrimFromURL(char16 ch) { return ch <= ' '; }

template <typename CHAR>
inline void TrimURL(const CHAR* spec, int* begin, int* len) {
  while (*begin < *len && ShouldTrimFromURL(spec[*begin])) (*begin)++;
  while (*len > *begin && ShouldTrimFromURL(spec[*len - 1])) (*len)--;
}

template <typename CHAR>
inline bool IsURLSlash(CHAR ch) {
  return ch == '/' || ch == '\\';
}

template <typename CHAR>
inline int CountConsecutiveSlashes(const CHAR* str, int beginOffset, int strLen) {
  int count = 0;
  while (beginOffset + count < strLen && IsURLSlash(str[beginOffset + count])) ++count;
  return count;
}

}  // namespace url_parse
