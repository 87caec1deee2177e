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
    name[0] = '\0';
    what[0] = '\0';
    if (sscanf(ptr, "%1023[^;\r\n =]=%4999[^;\r\n]", name, what) >= 1) {
      size_t nameLen = strlen(name);
      const char* endOfName = ptr + nameLen;
      while (*endOfName && isBlank(*endOfName)) endOfName++;
      bool sep = *endOfName == '=';

      size_t len = strlen(what);
      while (len && isBlank(what[len - 1])) {
        what[len - 1] = '\0';
        len--;
      }
      const char* whatptr = what;
      while (*whatptr && isBlank(*whatptr)) whatptr++;

      bool done = false;
      if (!*whatptr) {
        // "secure" and "httponly" count also when written with an empty value.
        done = true;
        if (rawEqual("secure", name))
          co->secure = true;
        else if (rawEqual("httponly", name))
          co->httponly = true;
        else if (sep)
          done = false;
      }

      if (done) {
        // a flag attribute, or a name without '=': nothing more to read
      } else if (rawEqual("path", name)) {
        if (co->path || co->sanitizedPath) {
          badcookie = true;
          break;
        }
        strstore(&co->path, whatptr);
        if (!co->path) {
          badcookie = true;
          break;
        }
        co->sanitizedPath = sanitize_cookie_path(co->path);
        if (!co->sanitizedPath) {
          badcookie = true;
          break;
        }
      } else if (rawEqual("domain", name)) {
        if (*whatptr == '.') whatptr++;
        if (!domain || tailmatch(whatptr, domain)) {
          if (*whatptr == '.') whatptr++;
          strstore(&co->domain, whatptr);
          if (!co->domain) {
            badcookie = true;
            break;
          }
          co->tailmatch = true;
        } else {
          badcookie = true;
        }
      } else if (rawEqual("version", name)) {
        strstore(&co->version, whatptr);
        if (!co->version) {
          badcookie = true;
          break;
        }
      } else if (rawEqual("max-age", name)) {
        strstore(&co->maxAgeText, whatptr);
        if (!co->maxAgeText) {
          badcookie = true;
          break;
        }
        const char* age = co->maxAgeText;
        if (*age == '"') age++;
        // Intended: the sum is taken in 32 bits and sign-extended, so a huge max-age wraps.
        co->expires = width32::Signed32(width32::Low32(width32::Strtol(age)) + width32::Low32(now));
      } else if (rawEqual("expires", name)) {
        strstore(&co->expiresText, whatptr);
        if (!co->expiresText) {
          badcookie = true;
          break;
        }
        time_t reference = static_cast<time_t>(now);
        time_t date = curl_getdate(co->expiresText, &reference);
        if (date == 0)
          co->expires = 1;  // a date of exactly 0 is an expired cookie, not a session one
        else if (date < 0)
          co->expires = 0;
        else
          co->expires = date;
      } else if (!co->name) {
        co->name = strdup(name);
        co->value = strdup(whatptr);
        if (!co->name || !co->value) {
          badcookie = true;
          break;
        }
      }
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

  if (!badcookie && !co->path && path) {
    const char* query = strchr(path, '?');
    const char* endslash;
    if (query)
      endslash =
          static_cast<const char*>(memrchr(path, '/', static_cast<unsigned int>(query - path)));
    else
      endslash = strrchr(path, '/');
    if (endslash) {
      size_t pathLen = static_cast<size_t>(endslash - path) + 1;
      co->path = static_cast<char*>(malloc(pathLen + 1));
      if (co->path) {
        memcpy(co->path, path, pathLen);
        co->path[pathLen] = '\0';
        co->sanitizedPath = sanitize_cookie_path(co->path);
        if (!co->sanitizedPath) badcookie = true;
      } else {
        badcookie = true;
      }
    }
  }

  free(what);
  return !badcookie && co->name;
}

// The file form: seven tab-separated fields, or six without the path. Cuts `line` in place.
bool parseFileForm(Cookie* co, char* line) {
  char* lineptr = line;
  if (strncmp(lineptr, "#HttpOnly_", 10) == 0) {
    lineptr += 10;
    co->httponly = true;
  }
  if (lineptr[0] == '#') return false;

  char* end = strchr(lineptr, '\r');
  if (end) *end = '\0';
  end = strchr(lineptr, '\n');
  if (end) *end = '\0';

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
          co->path = strdup(ptr);
          if (!co->path) {
            badcookie = true;
          } else {
            co->sanitizedPath = sanitize_cookie_path(co->path);
            if (!co->sanitizedPath) badcookie = true;
          }
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
