// The cookie store of one download engine: the pool fed by Set-Cookie headers and the cookie
// files, plus one cookie defined by the user that wins over the pool and is never saved. It runs
// on the engine's worker thread and takes no lock.
#pragma once

#include <cstdint>
#include <string>

#include "Cookie.h"

namespace strmcommon {

class CHttpCookie {
 public:
  CHttpCookie();
  // Saves both files unless saveCookieFile already ran, then frees everything.
  ~CHttpCookie();
  CHttpCookie(const CHttpCookie&) = delete;
  CHttpCookie& operator=(const CHttpCookie&) = delete;

  // Store and matching.
  // Adds one Set-Cookie value received from host `domain` for the request path `path`.
  Cookie* addCookieToPool(std::string header, std::string domain, std::string path);
  // Replaces the user's cookie with one parsed from a Set-Cookie value (no default domain/path).
  Cookie* addUsrDefCookie(std::string header);
  void delUsrDefCookie();
  // The value of the Cookie request header for url; empty when nothing matches.
  std::string getCookieFromPool(std::string url);
  // A new list of shallow copies of the cookies of `list` that go to host/path, sorted by
  // cookie_sort. Free it with freelist(result, false).
  Cookie* getCookieEntryFromList(Cookie* list, const char* host, const char* path, bool secure);
  // Seconds of the monotonic clock plus the offset fixed by init.
  int64_t getPseudoUTC();
  // Frees the pool and the user cookie (teardown only: m_usrDefCookie is left dangling).
  void clearAll();
  void freecookie(Cookie* co);
  // Frees every node of a list; with freeStrings false the strings are left alone.
  void freelist(Cookie* co, bool freeStrings);

  // Parsing. With httpHeader true, `line` is a Set-Cookie value and domain/path (either may be
  // null) are the host and path of the request that brought it. With httpHeader false it is a
  // line of a cookie file and must be writable: it is cut up in place. The new cookie is merged
  // into `list`; the result is the stored record or null when the line was rejected.
  Cookie* addCookieEntryToList(Cookie*& list, bool httpHeader, const char* line, const char* domain,
                               const char* path);

  // Cookie files.
  // Sets up the two file paths of client `name` under the platform root and reads both files.
  void init(std::string name);
  void readInCookieJar(std::string path);
  void flushOutCookieJar(std::string path, bool sessionFile);
  void saveCookieFile();

 private:
  friend class CHttpCookieTestPeer;  // lets the tests look at the two lists

  std::string m_appName;
  std::string m_persistentFile;
  std::string m_sessionFile;
  Cookie* m_cookies;
  Cookie* m_usrDefCookie;
  int64_t m_utcOffset;
  bool m_saved;
};

}  // namespace strmcommon
