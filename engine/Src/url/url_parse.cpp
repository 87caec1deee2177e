#include "url_parse.h"

#include <cstdlib>
#include <cstring>

namespace url_parse {

namespace {

template <typename CHAR>
int FindNextAuthorityTerminator(const CHAR* spec, int startOffset, int specLen) {
  for (int i = startOffset; i < specLen; i++) {
    if (IsAuthorityTerminator(spec[i])) return i;
  }
  return specLen;
}

template <typename CHAR>
int FindNextSlash(const CHAR* spec, int beginIndex, int specLen) {
  int i = beginIndex;
  while (i < specLen && !IsURLSlash(spec[i])) i++;
  return i;
}

template <typename CHAR>
bool DoExtractScheme(const CHAR* url, int urlLen, Component* scheme) {
  if (urlLen < 1) return false;
  int begin = 0;
  while (begin < urlLen && ShouldTrimFromURL(url[begin])) begin++;
  if (begin == urlLen) return false;

  for (int i = begin; i < urlLen; i++) {
    if (url[i] == ':') {
      *scheme = MakeRange(begin, i);
      return true;
    }
  }
  return false;
}

template <typename CHAR>
void ParseUserInfo(const CHAR* spec, const Component& user, Component* username,
                   Component* password) {
  int colonOffset = 0;
  while (colonOffset < user.len && spec[user.begin + colonOffset] != ':') colonOffset++;

  if (colonOffset < user.len) {
    *username = Component(user.begin, colonOffset);
    *password = MakeRange(user.begin + colonOffset + 1, user.begin + user.len);
  } else {
    *username = user;
    password->reset();
  }
}

template <typename CHAR>
void ParseServerInfo(const CHAR* spec, const Component& serverinfo, Component* hostname,
                     Component* portNum) {
  if (serverinfo.len == 0) {
    hostname->reset();
    portNum->reset();
    return;
  }

  // A host opening with a bracket is taken as an IPv6 literal up to its closing bracket, or to the
  // end when that is missing, so a colon inside it can't start the port.
  int ipv6Terminator = spec[serverinfo.begin] == '[' ? serverinfo.end() : -1;
  int colon = -1;
  for (int i = serverinfo.begin; i < serverinfo.end(); i++) {
    if (spec[i] == ']') {
      ipv6Terminator = i;
    } else if (spec[i] == ':') {
      colon = i;
    }
  }

  if (colon > ipv6Terminator) {
    *hostname = MakeRange(serverinfo.begin, colon);
    if (hostname->len == 0) hostname->reset();
    *portNum = MakeRange(colon + 1, serverinfo.end());
  } else {
    *hostname = serverinfo;
    portNum->reset();
  }
}

template <typename CHAR>
void DoParseAuthority(const CHAR* spec, const Component& auth, Component* username,
                      Component* password, Component* hostname, Component* portNum) {
  if (auth.len == 0) {
    username->reset();
    password->reset();
    hostname->reset();
    portNum->reset();
    return;
  }

  // The last '@' ends the user information; earlier ones belong to it.
  int i = auth.begin + auth.len - 1;
  while (i > auth.begin && spec[i] != '@') i--;

  if (spec[i] == '@') {
    ParseUserInfo(spec, Component(auth.begin, i - auth.begin), username, password);
    ParseServerInfo(spec, MakeRange(i + 1, auth.begin + auth.len), hostname, portNum);
  } else {
    username->reset();
    password->reset();
    ParseServerInfo(spec, auth, hostname, portNum);
  }
}

// The first '#', and the first '?' before it; -1 for none.
void FindPathSeparators(const char* spec, int begin, int end, int* querySeparator,
                        int* refSeparator) {
  const char* base = spec + begin;
  size_t n = static_cast<size_t>(end - begin);
  const char* hash = static_cast<const char*>(std::memchr(base, '#', n));
  size_t beforeRef = hash ? static_cast<size_t>(hash - base) : n;
  const char* question = static_cast<const char*>(std::memchr(base, '?', beforeRef));
  *refSeparator = hash ? static_cast<int>(hash - spec) : -1;
  *querySeparator = question ? static_cast<int>(question - spec) : -1;
}

void FindPathSeparators(const char16* spec, int begin, int end, int* querySeparator,
                        int* refSeparator) {
  *querySeparator = -1;
  *refSeparator = -1;
  for (int i = begin; i < end; i++) {
    if (spec[i] == '?') {
      if (*querySeparator < 0) *querySeparator = i;
    } else if (spec[i] == '#') {
      *refSeparator = i;
      return;
    }
  }
}

template <typename CHAR>
void DoParsePathInternal(const CHAR* spec, const Component& path, Component* filepath,
                         Component* query, Component* ref) {
  if (path.len == -1) {
    filepath->reset();
    query->reset();
    ref->reset();
    return;
  }

  int pathEnd = path.begin + path.len;
  int querySeparator;
  int refSeparator;
  FindPathSeparators(spec, path.begin, pathEnd, &querySeparator, &refSeparator);

  int fileEnd;
  int queryEnd;
  if (refSeparator >= 0) {
    fileEnd = queryEnd = refSeparator;
    *ref = MakeRange(refSeparator + 1, pathEnd);
  } else {
    fileEnd = queryEnd = pathEnd;
    ref->reset();
  }

  if (querySeparator >= 0) {
    fileEnd = querySeparator;
    *query = MakeRange(querySeparator + 1, queryEnd);
  } else {
    query->reset();
  }

  if (fileEnd != path.begin) {
    *filepath = MakeRange(path.begin, fileEnd);
  } else {
    filepath->reset();
  }
}

template <typename CHAR>
void DoParseAfterScheme(const CHAR* spec, int specLen, int afterScheme, Parsed* parsed) {
  int numSlashes = CountConsecutiveSlashes(spec, afterScheme, specLen);
  int afterSlashes = afterScheme + numSlashes;

  // Whatever the number of slashes, what follows them up to a terminator is the authority.
  int endAuth = FindNextAuthorityTerminator(spec, afterSlashes, specLen);
  Component authority(afterSlashes, endAuth - afterSlashes);
  Component fullPath;
  if (endAuth != specLen) fullPath = Component(endAuth, specLen - endAuth);

  DoParseAuthority(spec, authority, &parsed->username, &parsed->password, &parsed->host,
                   &parsed->port);
  DoParsePathInternal(spec, fullPath, &parsed->path, &parsed->query, &parsed->ref);
}

template <typename CHAR>
void DoParseStandardURL(const CHAR* spec, int specLen, Parsed* parsed) {
  int begin = 0;
  TrimURL(spec, &begin, &specLen);

  int afterScheme;
  if (DoExtractScheme(spec, specLen, &parsed->scheme)) {
    afterScheme = parsed->scheme.end() + 1;
  } else {
    parsed->scheme.reset();
    afterScheme = begin;
  }
  DoParseAfterScheme(spec, specLen, afterScheme, parsed);
}

template <typename CHAR>
void DoParsePathURL(const CHAR* spec, int specLen, Parsed* parsed) {
  parsed->username.reset();
  parsed->password.reset();
  parsed->host.reset();
  parsed->port.reset();
  parsed->query.reset();
  parsed->ref.reset();

  int begin = 0;
  TrimURL(spec, &begin, &specLen);
  if (begin == specLen) {
    parsed->scheme.reset();
    parsed->path.reset();
    return;
  }

  if (DoExtractScheme(&spec[begin], specLen - begin, &parsed->scheme)) {
    parsed->scheme.begin += begin;
    if (parsed->scheme.end() == specLen - 1) {
      parsed->path.reset();
    } else {
      parsed->path = MakeRange(parsed->scheme.end() + 1, specLen);
    }
  } else {
    parsed->scheme.reset();
    parsed->path = MakeRange(begin, specLen);
  }
}

template <typename CHAR>
void DoParseMailtoURL(const CHAR* spec, int specLen, Parsed* parsed) {
  parsed->username.reset();
  parsed->password.reset();
  parsed->host.reset();
  parsed->port.reset();
  parsed->ref.reset();
  parsed->query.reset();

  int begin = 0;
  TrimURL(spec, &begin, &specLen);
  if (begin == specLen) {
    parsed->scheme.reset();
    parsed->path.reset();
    return;
  }

  int pathBegin = -1;
  int pathEnd = -1;
  if (DoExtractScheme(&spec[begin], specLen - begin, &parsed->scheme)) {
    parsed->scheme.begin += begin;
    if (parsed->scheme.end() != specLen - 1) {
      pathBegin = parsed->scheme.end() + 1;
      pathEnd = specLen;
    }
  } else {
    parsed->scheme.reset();
    pathBegin = begin;
    pathEnd = specLen;
  }

  for (int i = pathBegin; i < pathEnd; ++i) {
    if (spec[i] == '?') {
      parsed->query = MakeRange(i + 1, pathEnd);
      pathEnd = i;
      break;
    }
  }

  if (pathBegin == pathEnd) {
    parsed->path.reset();
  } else {
    parsed->path = MakeRange(pathBegin, pathEnd);
  }
}

template <typename CHAR>
void DoParseFileURL(const CHAR* spec, int specLen, Parsed* parsed) {
  parsed->username.reset();
  parsed->password.reset();
  parsed->port.reset();
  parsed->query.reset();
  parsed->ref.reset();

  int begin = 0;
  TrimURL(spec, &begin, &specLen);

  int afterScheme;
  if (DoExtractScheme(&spec[begin], specLen - begin, &parsed->scheme)) {
    parsed->scheme.begin += begin;
    afterScheme = parsed->scheme.end() + 1;
  } else {
    parsed->scheme.reset();
    afterScheme = begin;
  }

  if (afterScheme == specLen) {
    parsed->host.reset();
    parsed->path.reset();
    return;
  }

  int numSlashes = CountConsecutiveSlashes(spec, afterScheme, specLen);
  int afterSlashes = afterScheme + numSlashes;

  if (numSlashes != 2) {
    // No host: the path starts at the last slash, or right after the scheme when there is none.
    parsed->host.reset();
    int pathBegin = numSlashes > 0 ? afterSlashes - 1 : afterScheme;
    DoParsePathInternal(spec, MakeRange(pathBegin, specLen), &parsed->path, &parsed->query,
                        &parsed->ref);
    return;
  }

  int nextSlash = FindNextSlash(spec, afterSlashes, specLen);
  if (nextSlash == specLen) {
    int hostLen = specLen - afterSlashes;
    if (hostLen) {
      parsed->host = Component(afterSlashes, hostLen);
    } else {
      parsed->host.reset();
    }
    parsed->path.reset();
    return;
  }

  if (nextSlash > afterSlashes) {
    parsed->host = MakeRange(afterSlashes, nextSlash);
  } else {
    parsed->host.reset();
  }
  DoParsePathInternal(spec, MakeRange(nextSlash, specLen), &parsed->path, &parsed->query,
                      &parsed->ref);
}

template <typename CHAR>
int DoParsePort(const CHAR* spec, const Component& component) {
  const int kMaxDigits = 5;
  if (component.len < 1) return PORT_UNSPECIFIED;

  Component digitsComp(component.end(), 0);
  for (int i = 0; i < component.len; i++) {
    if (spec[component.begin + i] != '0') {
      digitsComp = MakeRange(component.begin + i, component.end());
      break;
    }
  }
  if (digitsComp.len == 0) return 0;  // only zeros
  if (digitsComp.len > kMaxDigits) return PORT_INVALID;

  char digits[kMaxDigits + 1];
  for (int i = 0; i < digitsComp.len; i++) {
    CHAR ch = spec[digitsComp.begin + i];
    if (ch < '0' || ch > '9') return PORT_INVALID;
    digits[i] = static_cast<char>(ch);
  }
  digits[digitsComp.len] = 0;
  int port = atoi(digits);
  if (port > 65535) return PORT_INVALID;
  return port;
}

template <typename CHAR>
void DoExtractFileName(const CHAR* spec, const Component& path, Component* fileName) {
  if (path.len <= 0) {
    fileName->reset();
    return;
  }

  // Parameters after the last ';' are not part of the name. The first character is not looked
  // at, as a path starts with a slash.
  int fileEnd = path.end();
  for (int i = path.end() - 1; i > path.begin; i--) {
    if (spec[i] == ';') {
      fileEnd = i;
      break;
    }
  }

  for (int i = fileEnd - 1; i >= path.begin; i--) {
    if (IsURLSlash(spec[i])) {
      *fileName = MakeRange(i + 1, fileEnd);
      return;
    }
  }
  *fileName = MakeRange(path.begin, fileEnd);
}

template <typename CHAR>
bool DoExtractQueryKeyValue(const CHAR* spec, Component* query, Component* key, Component* value) {
  if (query->len <= 0) return false;

  int cur = query->begin;
  int end = query->end();

  key->begin = cur;
  while (cur < end && spec[cur] != '&' && spec[cur] != '=') cur++;
  key->len = cur - key->begin;

  if (cur < end && spec[cur] == '=') cur++;

  value->begin = cur;
  while (cur < end && spec[cur] != '&') cur++;
  value->len = cur - value->begin;

  if (cur < end && spec[cur] == '&') cur++;

  *query = MakeRange(cur, end);
  return true;
}

}  // namespace

int Parsed::Length() {
  if (ref.is_valid()) return ref.end();
  return CountCharactersBefore(REF, false);
}

int Parsed::CountCharactersBefore(ComponentType type, bool includeDelimiter) {
  if (type == SCHEME) return scheme.begin;

  int cur = 0;
  if (scheme.is_valid()) cur = scheme.end() + 1;  // past the ':'

  if (username.is_valid()) {
    if (type <= USERNAME) return username.begin;
    cur = username.end() + 1;  // past the ':' or '@'
  }
  if (password.is_valid()) {
    if (type <= PASSWORD) return password.begin;
    cur = password.end() + 1;  // past the '@'
  }
  if (host.is_valid()) {
    if (type <= HOST) return host.begin;
    cur = host.end();
  }
  if (port.is_valid()) {
    if (type < PORT || (type == PORT && includeDelimiter)) return port.begin - 1;
    if (type == PORT) return port.begin;
    cur = port.end();
  }
  if (path.is_valid()) {
    if (type <= PATH) return path.begin;
    cur = path.end();
  }
  if (query.is_valid()) {
    if (type < QUERY || (type == QUERY && includeDelimiter)) return query.begin - 1;
    if (type == QUERY) return query.begin;
    cur = query.end();
  }
  if (ref.is_valid()) {
    if (type == REF && !includeDelimiter) return ref.begin;
    return ref.begin - 1;
  }
  return cur;
}

bool IsAuthorityTerminator(char16 ch) {
  return ch == '/' || ch == '\\' || ch == '?' || ch == ';' || ch == '#';
}

bool ExtractScheme(const char* url, int urlLen, Component* scheme) {
  return DoExtractScheme(url, urlLen, scheme);
}
bool ExtractScheme(const char16* url, int urlLen, Component* scheme) {
  return DoExtractScheme(url, urlLen, scheme);
}

void ParseStandardURL(const char* url, int urlLen, Parsed* parsed) {
  DoParseStandardURL(url, urlLen, parsed);
}
void ParseStandardURL(const char16* url, int urlLen, Parsed* parsed) {
  DoParseStandardURL(url, urlLen, parsed);
}

void ParsePathURL(const char* url, int urlLen, Parsed* parsed) {
  DoParsePathURL(url, urlLen, parsed);
}
void ParsePathURL(const char16* url, int urlLen, Parsed* parsed) {
  DoParsePathURL(url, urlLen, parsed);
}

void ParseFileURL(const char* url, int urlLen, Parsed* parsed) {
  DoParseFileURL(url, urlLen, parsed);
}
void ParseFileURL(const char16* url, int urlLen, Parsed* parsed) {
  DoParseFileURL(url, urlLen, parsed);
}

void ParseMailtoURL(const char* url, int urlLen, Parsed* parsed) {
  DoParseMailtoURL(url, urlLen, parsed);
}
void ParseMailtoURL(const char16* url, int urlLen, Parsed* parsed) {
  DoParseMailtoURL(url, urlLen, parsed);
}

void ParseAfterScheme(const char* spec, int specLen, int afterScheme, Parsed* parsed) {
  DoParseAfterScheme(spec, specLen, afterScheme, parsed);
}
void ParseAfterScheme(const char16* spec, int specLen, int afterScheme, Parsed* parsed) {
  DoParseAfterScheme(spec, specLen, afterScheme, parsed);
}

void ParseAuthority(const char* spec, const Component& auth, Component* username,
                    Component* password, Component* hostname, Component* portNum) {
  DoParseAuthority(spec, auth, username, password, hostname, portNum);
}
void ParseAuthority(const char16* spec, const Component& auth, Component* username,
                    Component* password, Component* hostname, Component* portNum) {
  DoParseAuthority(spec, auth, username, password, hostname, portNum);
}

void ParsePathInternal(const char* spec, const Component& path, Component* filepath,
                       Component* query, Component* ref) {
  DoParsePathInternal(spec, path, filepath, query, ref);
}
void ParsePathInternal(const char16* spec, const Component& path, Component* filepath,
                       Component* query, Component* ref) {
  DoParsePathInternal(spec, path, filepath, query, ref);
}

int ParsePort(const char* url, const Component& port) { return DoParsePort(url, port); }
int ParsePort(const char16* url, const Component& port) { return DoParsePort(url, port); }

void ExtractFileName(const char* url, const Component& path, Component* fileName) {
  DoExtractFileName(url, path, fileName);
}
void ExtractFileName(const char16* url, const Component& path, Component* fileName) {
  DoExtractFileName(url, path, fileName);
}

bool ExtractQueryKeyValue(const char* url, Component* query, Component* key, Component* value) {
  return DoExtractQueryKeyValue(url, query, key, value);
}
bool ExtractQueryKeyValue(const char16* url, Component* query, Component* key, Component* value) {
  return DoExtractQueryKeyValue(url, query, key, value);
}

}  // namespace url_parse
