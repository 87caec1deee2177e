// Turning a Set-Cookie value or a cookie file line into a Cookie, and merging it into a list.
#include <curl/curl.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "CHttpCookie.h"
#include "CookieUtil.h"
#include "Width32.h"

namespace strmcommon {

namespace {

constexpr size_t kValueBufferSize = 5000;
constexpr size_t kNameBufferSize = 1024;

// What an attribute of the header form did to the cookie being parsed.
enum class Verdict {
  kGo,    // parsing goes on
  kBad,   // the cookie will be rejected; parsing goes on
  kStop,  // the cookie is rejected and parsing stops
};

// strstore that reports a failed copy.
Verdict Store(char** field, const char* value) {
  strstore(field, value);
  return *field ? Verdict::kGo : Verdict::kStop;
}

// A second path attribute rejects the whole cookie, also when both are equal.
Verdict PathAttribute(Cookie* co, const char* value) {
  if (co->path || co->sanitizedPath) return Verdict::kStop;
  if (Store(&co->path, value) == Verdict::kStop) return Verdict::kStop;
  co->sanitizedPath = sanitize_cookie_path(co->path);
  return co->sanitizedPath ? Verdict::kGo : Verdict::kStop;
}

// Accepted when the request gave no host or the value (less one leading dot) is a tail of it;
// no count of dots, no list of public suffixes. It makes the cookie match subdomains too.
Verdict DomainAttribute(Cookie* co, const char* value, const char* domain) {
  if (*value == '.') value++;
  if (domain && !tailmatch(value, domain)) return Verdict::kBad;
  if (*value == '.') value++;
  if (Store(&co->domain, value) == Verdict::kStop) return Verdict::kStop;
  co->tailmatch = true;
  return Verdict::kGo;
}

Verdict MaxAgeAttribute(Cookie* co, const char* value, int64_t now) {
  if (Store(&co->maxAgeText, value) == Verdict::kStop) return Verdict::kStop;
  const char* age = co->maxAgeText;
  if (*age == '"') age++;
  // Intended: the sum is taken in 32 bits and sign-extended, so a huge max-age wraps.
  co->expires = width32::Signed32(width32::Low32(width32::Strtol(age)) + width32::Low32(now));
  return Verdict::kGo;
}

// A date curl_getdate can't read leaves a session cookie.
Verdict ExpiresAttribute(Cookie* co, const char* value, int64_t now) {
  if (Store(&co->expiresText, value) == Verdict::kStop) return Verdict::kStop;
  time_t reference = static_cast<time_t>(now);
  time_t date = curl_getdate(co->expiresText, &reference);
  if (date == 0)
    co->expires = 1;  // a date of exactly 0 is an expired cookie, not a session one
  else if (date < 0)
    co->expires = 0;
  else
    co->expires = date;
  return Verdict::kGo;
}

// The first pair of an unknown name is the cookie itself; later ones are ignored.
Verdict NameValueAttribute(Cookie* co, const char* name, const char* value) {
  if (co->name) return Verdict::kGo;
  co->name = strdup(name);
  co->value = strdup(value);
  return co->name && co->value ? Verdict::kGo : Verdict::kStop;
}

// One attribute, its name compared ignoring case. "secure" and "httponly" count also when written
// with an empty value; any other name with an empty value counts only when '=' follows it.
Verdict ApplyAttribute(Cookie* co, const char* name, const char* value, bool sep,
                       const char* domain, int64_t now) {
  if (!*value) {
    if (rawEqual("secure", name)) {
      co->secure = true;
      return Verdict::kGo;
    }
    if (rawEqual("httponly", name)) {
      co->httponly = true;
      return Verdict::kGo;
    }
    if (!sep) return Verdict::kGo;
  }
  if (rawEqual("path", name)) return PathAttribute(co, value);
  if (rawEqual("domain", name)) return DomainAttribute(co, value, domain);
  if (rawEqual("version", name)) return Store(&co->version, value);
  if (rawEqual("max-age", name)) return MaxAgeAttribute(co, value, now);
  if (rawEqual("expires", name)) return ExpiresAttribute(co, value, now);
  return NameValueAttribute(co, name, value);
}

// Scans the attribute at ptr into name and what; false when not even a name was read. A longer
// value is cut to 4999 bytes; a name cut at 1023 bytes has no '=' behind it and reads no value.
// *value is what without its surrounding blanks, and *sep tells whether the first non-blank
// character after the name in the line is '='.
bool ScanAttribute(const char* ptr, char* name, char* what, const char** value, bool* sep) {
  name[0] = '\0';
  what[0] = '\0';
  if (sscanf(ptr, "%1023[^;\r\n =]=%4999[^;\r\n]", name, what) < 1) return false;
  const char* endOfName = ptr + strlen(name);
  while (*endOfName && isBlank(*endOfName)) endOfName++;
  *sep = *endOfName == '=';
  size_t len = strlen(what);
  while (len && isBlank(what[len - 1])) {
    what[len - 1] = '\0';
    len--;
  }
  *value = what;
  while (**value && isBlank(**value)) (*value)++;
  return true;
}

// No path attribute: the request path up to and including its last '/' before any '?'. A path
// without '/' leaves both paths null. False when a copy fails.
bool DefaultPath(Cookie* co, const char* path) {
  const char* query = strchr(path, '?');
  const char* endslash;
  if (query)
    endslash =
        static_cast<const char*>(memrchr(path, '/', static_cast<unsigned int>(query - path)));
  else
    endslash = strrchr(path, '/');
  if (!endslash) return true;
  size_t pathLen = static_cast<size_t>(endslash - path) + 1;
  co->path = static_cast<char*>(malloc(pathLen + 1));
  if (!co->path) return false;
  memcpy(co->path, path, pathLen);
  co->path[pathLen] = '\0';
  co->sanitizedPath = sanitize_cookie_path(co->path);
  return co->sanitizedPath != nullptr;
}

// The header form. Returns false when the cookie must be rejected.
bool parseHeaderForm(Cookie* co, const char* line, const char* domain, const char* path,
                     int64_t now) {
  char* what = static_cast<char*>(malloc(kValueBufferSize));
  if (!what) return false;
  char name[kNameBufferSize];
  bool badcookie = false;

  const char* ptr = line;
  const char* semiptr = strchr(ptr, ';');
  while (*ptr && isBlank(*ptr)) ptr++;

  do {
    const char* value = nullptr;
    bool sep = false;
    if (ScanAttribute(ptr, name, what, &value, &sep)) {
      const Verdict verdict = ApplyAttribute(co, name, value, sep, domain, now);
      if (verdict != Verdict::kGo) badcookie = true;
      if (verdict == Verdict::kStop) break;
    }

    if (!semiptr || !*semiptr) break;
    ptr = semiptr + 1;
    while (*ptr && isBlank(*ptr)) ptr++;
    semiptr = strchr(ptr, ';');
    // No further ';': what is left is the last attribute.
    if (!semiptr && *ptr) semiptr = strchr(ptr, '\0');
  } while (semiptr);

  if (!badcookie && !co->domain && domain) {
    // No domain attribute: the cookie binds to exactly the host that sent it.
    co->domain = strdup(domain);
    if (!co->domain) badcookie = true;
  }
  if (!badcookie && !co->path && path && !DefaultPath(co, path)) badcookie = true;

  free(what);
  return !badcookie && co->name;
}

// Field 3 of a file line when it is a path. False when a copy fails.
bool StoreFilePath(Cookie* co, const char* text) {
  co->path = strdup(text);
  if (!co->path) return false;
  co->sanitizedPath = sanitize_cookie_path(co->path);
  return co->sanitizedPath != nullptr;
}

// The record text of a file line: behind a "#HttpOnly_" prefix (which sets httponly), cut at the
// first carriage return and then at the first newline. Null for a comment line.
char* FileRecordText(Cookie* co, char* line) {
  char* lineptr = line;
  if (strncmp(lineptr, "#HttpOnly_", 10) == 0) {
    lineptr += 10;
    co->httponly = true;
  }
  if (lineptr[0] == '#') return nullptr;
  char* end = strchr(lineptr, '\r');
  if (end) *end = '\0';
  end = strchr(lineptr, '\n');
  if (end) *end = '\0';
  return lineptr;
}

// The file form: seven tab-separated fields, or six without the path. Cuts `line` in place.
bool parseFileForm(Cookie* co, char* line) {
  char* lineptr = FileRecordText(co, line);
  if (!lineptr) return false;

  bool badcookie = false;
  int field = 0;
  char* save = nullptr;
  for (char* ptr = strtok_r(lineptr, "\t", &save); ptr && !badcookie;
       ptr = strtok_r(nullptr, "\t", &save), field++) {
    switch (field) {
      case 0:
        if (ptr[0] == '.') ptr++;
        co->domain = strdup(ptr);
        if (!co->domain) badcookie = true;
        break;
      case 1:
        co->tailmatch = rawEqual(ptr, "true");
        break;
      case 2:
        // Case significant on purpose: "TRUE" here is a path.
        if (strcmp("true", ptr) != 0 && strcmp("false", ptr) != 0) {
          if (!StoreFilePath(co, ptr)) badcookie = true;
          break;
        }
        // The compact form has no path: this field is already the secure flag.
        co->path = strdup("/");
        co->sanitizedPath = strdup("/");
        if (!co->path || !co->sanitizedPath) badcookie = true;
        field++;
        [[fallthrough]];
      case 3:
        co->secure = rawEqual(ptr, "true");
        break;
      case 4:
        co->expires = width32::Strtol(ptr);
        break;
      case 5:
        co->name = strdup(ptr);
        if (!co->name) badcookie = true;
        break;
      case 6:
        co->value = strdup(ptr);
        if (!co->value) badcookie = true;
        break;
      default:
        badcookie = true;  // a field behind the value
        break;
    }
  }

  if (badcookie) return false;
  if (field == 6) {
    // The line ends behind the name: an empty value.
    co->value = strdup("");
    return co->value != nullptr;
  }
  return field == 7;
}

bool sameOrBothNull(const char* a, const char* b) {
  if (a && b) return rawEqual(a, b);
  return !a && !b;
}

}  // namespace

Cookie* CHttpCookie::addCookieEntryToList(Cookie*& list, bool httpHeader, const char* line,
                                          const char* domain, const char* path) {
  int64_t now = getPseudoUTC();
  Cookie* co = static_cast<Cookie*>(calloc(1, sizeof(Cookie)));
  if (!co) return nullptr;

  // File-form callers hand in a writable buffer; only that form cuts the line.
  bool ok = httpHeader ? parseHeaderForm(co, line, domain, path, now)
                       : parseFileForm(co, const_cast<char*>(line));
  if (!ok) {
    freecookie(co);
    return nullptr;
  }

  if (!list) {
    list = co;
    return co;
  }

  Cookie* last = nullptr;
  for (Cookie* old = list; old; old = old->next) {
    if (old->name && co->name && rawEqual(old->name, co->name) &&
        sameOrBothNull(old->domain, co->domain) &&
        sameOrBothNull(old->sanitizedPath, co->sanitizedPath)) {
      if (!co->liveFlag && old->liveFlag) {
        freecookie(co);
        return nullptr;
      }
      // The new fields move into the old record, which keeps its place in the list.
      Cookie* next = old->next;
      free(old->expiresText);
      free(old->maxAgeText);
      free(old->path);
      free(old->sanitizedPath);
      free(old->domain);
      free(old->name);
      free(old->value);
      free(old->version);
      *old = *co;
      old->next = next;
      free(co);
      return old;
    }
    last = old;
  }
  last->next = co;
  return co;
}

}  // namespace strmcommon
