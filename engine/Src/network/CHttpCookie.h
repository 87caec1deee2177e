/// \file
/// The cookie store of one download engine: the pool fed by Set-Cookie headers and the cookie
/// files, plus one cookie defined by the user that wins over the pool and is never saved.
#pragma once

#include <cstdint>
#include <string>

#include "Cookie.h"

namespace strmcommon {

/// The cookie store of one download engine (Curl::m_cookie). The pool is a singly linked list of
/// Cookie records with heap strings; it only grows (an expired cookie stays, unseen, until a save
/// leaves it out). Expiry is compared with pseudo UTC, the monotonic clock plus an offset fixed by
/// init, so a change of the wall clock moves no expiry. The store takes no lock: the engine calls
/// it on its worker thread with m_mutItem held, and a client's calls through Curl belong under
/// LockMutItem. A failed allocation gives a null record or an empty header, never an error.
class CHttpCookie {
 public:
  /// An empty store with no file paths.
  CHttpCookie();
  /// Saves both files unless saveCookieFile already ran, then frees everything.
  ~CHttpCookie();
  CHttpCookie(const CHttpCookie&) = delete;
  CHttpCookie& operator=(const CHttpCookie&) = delete;

  /// Adds one Set-Cookie value received from host `domain` for the request path `path`: parsed,
  /// then merged into the pool, where a cookie of the same name, domain and path (names and
  /// domains ignoring case) is replaced in place, also by an expired one. The stored record, or
  /// null when the value was rejected: a second path attribute, a domain attribute that is no
  /// tail of `domain`, no name, or a failed allocation.
  Cookie* addCookieToPool(std::string header, std::string domain, std::string path);
  /// Replaces the user's cookie with one parsed from a Set-Cookie value, with no default domain
  /// or path. It wins over a pool cookie of the same name, domain and path, always goes last in
  /// the header, and is never saved. The record, or null when rejected.
  Cookie* addUsrDefCookie(std::string header);
  /// Removes the user's cookie.
  void delUsrDefCookie();
  /// The value of the Cookie request header for `url`: "name=value;" for each pool cookie that
  /// matches host, path and scheme (secure ones for https only, expired ones never), longest path
  /// first, then the user's cookie as "name=value" with no semicolon. Empty when nothing matches.
  std::string getCookieFromPool(std::string url);
  /// A new list of shallow copies of the cookies of `list` that go to `host` and `path` over a
  /// connection that is `secure` or not, sorted by cookie_sort. Free it with
  /// freelist(result, false); null when nothing matches or an allocation failed.
  Cookie* getCookieEntryFromList(Cookie* list, const char* host, const char* path, bool secure);
  /// Seconds of the monotonic clock plus the offset fixed by init: the time expiries count in.
  int64_t getPseudoUTC();
  /// Frees the pool and the user cookie. Teardown only: m_usrDefCookie is left dangling.
  void clearAll();
  /// Frees a record and all its strings.
  void freecookie(Cookie* co);
  /// Frees every node of a list; with `freeStrings` false the strings (shared with the pool) are
  /// left alone.
  void freelist(Cookie* co, bool freeStrings);

  /// Parses one line into a cookie and merges it into `list`. With `httpHeader` true, `line` is a
  /// Set-Cookie value and `domain` and `path` (either may be null) are the host and path of the
  /// request that brought it; the attributes path, domain, version, max-age, expires, secure and
  /// httponly are read, the first other pair is the cookie itself. With `httpHeader` false it is a
  /// line of a cookie file and must be writable: it is cut up in place. The result is the stored
  /// record or null when the line was rejected. Nothing is logged.
  Cookie* addCookieEntryToList(Cookie*& list, bool httpHeader, const char* line, const char* domain,
                               const char* path);

  /// Sets up the two file paths of client `name`, `ROOT/NAME/data/cookie/persistent_cookie.txt`
  /// and `ROOT/NAME/data/cookie/session_cookie.txt` under the platform's per-user root, fixes the
  /// pseudo UTC offset, and reads the persistent file, then the session file. Called once by
  /// Curl::Init.
  void init(std::string name);
  /// Reads one cookie file into the pool, expired cookies included. A missing file is no error; a
  /// malformed line costs only itself.
  void readInCookieJar(std::string path);
  /// Writes one cookie file: with `sessionFile` the session cookies, else the cookies with an
  /// expiry that has not passed; a pool cookie that the user's cookie replaces is left out. An
  /// empty pool leaves the file as it was; a file that can't be opened is skipped silently (the
  /// directory is not created).
  void flushOutCookieJar(std::string path, bool sessionFile);
  /// Writes both files (Curl::Quit calls it). Also after an earlier save: it writes regardless.
  void saveCookieFile();

 private:
  friend class CHttpCookieTestPeer;  // lets the tests look at the two lists

  std::string m_appName;         ///< the client name given to init
  std::string m_persistentFile;  ///< path of the persistent file
  std::string m_sessionFile;     ///< path of the session file
  Cookie* m_cookies;             ///< head of the pool
  Cookie* m_usrDefCookie;        ///< the user's cookie, or null
  int64_t m_utcOffset;           ///< UTC minus monotonic time, seconds, fixed by init
  bool m_saved;                  ///< the files have been written
};

}  // namespace strmcommon
