#include "CookieUtil.h"

#include <cstdlib>
#include <cstring>

#include "Cookie.h"

namespace strmcommon {

char shiftToUpper(char in) {
  if (in >= 'a' && in <= 'z') return static_cast<char>(in - 'a' + 'A');
  return in;
}

bool rawEqual(const char* first, const char* second) {
  while (*first && *second) {
    if (shiftToUpper(*first) != shiftToUpper(*second)) break;
    first++;
    second++;
  }
  return shiftToUpper(*first) == shiftToUpper(*second);
}

bool rawNEqual(const char* first, const char* second, unsigned int max) {
  while (*first && *second && max) {
    if (shiftToUpper(*first) != shiftToUpper(*second)) break;
    max--;
    first++;
    second++;
  }
  if (max == 0) return true;
  return shiftToUpper(*first) == shiftToUpper(*second);
}

bool isBlank(char c) { return c == ' '; }

void strstore(char** str, const char* newstr) {
  free(*str);
  *str = newstr ? strdup(newstr) : nullptr;
}

void* memrchr(const void* s, int c, unsigned int n) {
  const unsigned char* begin = static_cast<const unsigned char*>(s);
  const unsigned char* p = begin + n;
  while (p > begin) {
    --p;
    if (*p == static_cast<unsigned char>(c)) return const_cast<unsigned char*>(p);
  }
  return nullptr;
}

bool tailmatch(const char* cookieDomain, const char* hostname) {
  size_t cookieLen = strlen(cookieDomain);
  size_t hostLen = strlen(hostname);
  if (hostLen < cookieLen) return false;
  if (!rawEqual(cookieDomain, hostname + hostLen - cookieLen)) return false;
  if (hostLen == cookieLen) return true;
  return hostname[hostLen - cookieLen - 1] == '.';
}

bool pathmatch(const char* cookiePath, const char* requestUri) {
  size_t cookiePathLen = strlen(cookiePath);
  // A one-character cookie path matches everything, whatever the character is.
  if (cookiePathLen == 1) return true;

  char* uriPath = strdup(requestUri);
  if (!uriPath) return false;
  char* query = strchr(uriPath, '?');
  if (query) *query = '\0';
  if (uriPath[0] != '/') {
    free(uriPath);
    uriPath = strdup("/");
    if (!uriPath) return false;
  }

  bool match = false;
  size_t uriPathLen = strlen(uriPath);
  if (uriPathLen >= cookiePathLen && strncmp(cookiePath, uriPath, cookiePathLen) == 0) {
    match = cookiePathLen == uriPathLen || uriPath[cookiePathLen] == '/';
  }
  free(uriPath);
  return match;
}

char* sanitize_cookie_path(const char* cookiePath) {
  char* newPath = strdup(cookiePath);
  if (!newPath) return nullptr;
  size_t len = strlen(newPath);
  if (newPath[0] == '"') {
    memmove(newPath, newPath + 1, len);
    len--;
  }
  if (len && newPath[len - 1] == '"') {
    newPath[len - 1] = '\0';
    len--;
  }
  if (newPath[0] != '/') {
    free(newPath);
    return strdup("/");
  }
  if (len > 1 && newPath[len - 1] == '/') newPath[len - 1] = '\0';
  return newPath;
}

int cookie_sort(const void* p1, const void* p2) {
  const Cookie* c1 = *static_cast<const Cookie* const*>(p1);
  const Cookie* c2 = *static_cast<const Cookie* const*>(p2);

  // The raw path counts here, not the sanitized one.
  size_t l1 = c1->path ? strlen(c1->path) : 0;
  size_t l2 = c2->path ? strlen(c2->path) : 0;
  if (l1 != l2) return (l2 > l1) ? 1 : -1;

  l1 = c1->domain ? strlen(c1->domain) : 0;
  l2 = c2->domain ? strlen(c2->domain) : 0;
  if (l1 != l2) return (l2 > l1) ? 1 : -1;

  if (c1->name && c2->name) return strcmp(c1->name, c2->name);
  return 0;
}

}  // namespace strmcommon
