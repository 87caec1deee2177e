#include "CHttpCookie.h"

#include <cstdlib>
#include <cstring>

#include "Clock.h"
#include "CookieUtil.h"
#include "DLog.h"
#include "gurl.h"

namespace strmcommon {

namespace {

// Name, domain and path all set on both and equal, case significant.
bool sameIdentity(const Cookie* a, const Cookie* b) {
  return a->name && b->name && a->domain && b->domain && a->path && b->path &&
         strcmp(a->name, b->name) == 0 && strcmp(a->domain, b->domain) == 0 &&
         strcmp(a->path, b->path) == 0;
}

}  // namespace

CHttpCookie::CHttpCookie()
    : m_cookies(nullptr), m_usrDefCookie(nullptr), m_utcOffset(0), m_saved(false) {
  VAS_LOG_DEBUG("CHttpCookie constructor");
}

Cookie* CHttpCookie::addCookieToPool(std::string header, std::string domain, std::string path) {
  VAS_LOG_DEBUG("addCookieToPool %s, %s, %s", header.c_str(), domain.c_str(), path.c_str());
  return addCookieEntryToList(m_cookies, true, header.c_str(), domain.c_str(), path.c_str());
}

Cookie* CHttpCookie::addUsrDefCookie(std::string header) {
  delUsrDefCookie();
  return addCookieEntryToList(m_usrDefCookie, true, header.c_str(), nullptr, nullptr);
}

void CHttpCookie::delUsrDefCookie() {
  if (m_usrDefCookie) freecookie(m_usrDefCookie);
  m_usrDefCookie = nullptr;
}

int64_t CHttpCookie::getPseudoUTC() {
  return static_cast<int64_t>(vas_getTime() / 1000) + m_utcOffset;
}

Cookie* CHttpCookie::getCookieEntryFromList(Cookie* list, const char* host, const char* path,
                                            bool secure) {
  int64_t now = getPseudoUTC();
  Cookie* mainco = nullptr;
  Cookie* last = nullptr;
  size_t matches = 0;

  for (Cookie* co = list; co; co = co->next) {
    if (co->expires != 0 && now >= co->expires) continue;
    if (co->secure && !secure) continue;
    if (co->domain) {
      bool domainOk = co->tailmatch ? tailmatch(co->domain, host) : rawEqual(host, co->domain);
      if (!domainOk) continue;
    }
    if (co->sanitizedPath && !pathmatch(co->sanitizedPath, path)) continue;

    Cookie* copy = static_cast<Cookie*>(malloc(sizeof(Cookie)));
    if (!copy) {
      freelist(mainco, false);
      return nullptr;
    }
    *copy = *co;
    copy->next = nullptr;
    if (last)
      last->next = copy;
    else
      mainco = copy;
    last = copy;
    matches++;
  }

  if (matches == 0) return mainco;

  // NOLINTNEXTLINE(bugprone-sizeof-expression): an array of Cookie pointers.
  Cookie** array = static_cast<Cookie**>(malloc(sizeof(Cookie*) * matches));
  if (!array) {
    freelist(mainco, false);
    return nullptr;
  }
  size_t i = 0;
  for (Cookie* co = mainco; co; co = co->next) array[i++] = co;
  qsort(array, matches, sizeof(Cookie*), cookie_sort);  // NOLINT(bugprone-sizeof-expression)
  mainco = array[0];
  for (i = 0; i + 1 < matches; i++) array[i]->next = array[i + 1];
  array[matches - 1]->next = nullptr;
  free(array);
  return mainco;
}

std::string CHttpCookie::getCookieFromPool(std::string url) {
  VAS_LOG_DEBUG("getCookieFromPool start >>>");
  GURL gurl(url);
  std::string result;

  bool secure = gurl.SchemeIs("https");
  std::string path = gurl.path();
  std::string host = gurl.host();
  Cookie* usr = getCookieEntryFromList(m_usrDefCookie, host.c_str(), path.c_str(), secure);

  secure = gurl.SchemeIs("https");
  path = gurl.path();
  host = gurl.host();
  Cookie* pool = getCookieEntryFromList(m_cookies, host.c_str(), path.c_str(), secure);

  for (Cookie* co = pool; co; co = co->next) {
    // The user's cookie wins over a pool cookie of the same identity.
    if (usr && sameIdentity(usr, co)) continue;
    result += co->name;
    result += "=";
    if (co->value) result += co->value;
    result += ";";
  }
  if (usr) {
    result += usr->name;
    result += "=";
    if (usr->value) result += usr->value;
  }

  freelist(usr, false);
  freelist(pool, false);
  VAS_LOG_DEBUG("<<< getCookieFromPool end");
  return result;
}

void CHttpCookie::clearAll() {
  freelist(m_cookies, true);
  m_cookies = nullptr;
  // Intended: the user pointer is left as it is; the destructor is the only caller.
  freelist(m_usrDefCookie, true);
}

void CHttpCookie::freecookie(Cookie* co) {
  free(co->expiresText);
  free(co->maxAgeText);
  free(co->path);
  free(co->sanitizedPath);
  free(co->domain);
  free(co->name);
  free(co->value);
  free(co->version);
  free(co);
}

void CHttpCookie::freelist(Cookie* co, bool freeStrings) {
  while (co) {
    Cookie* next = co->next;
    if (freeStrings)
      freecookie(co);
    else
      free(co);
    co = next;
  }
}

}  // namespace strmcommon
