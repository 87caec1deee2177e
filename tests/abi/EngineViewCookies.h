// The engine's declarations of the cookie store: the record, the store and its string helpers.
#pragma once

#include <cstdint>
#include <string>

namespace strmcommon {

struct Cookie {
  Cookie* next;
  char* name;
  char* value;
  char* path;
  char* sanitizedPath;
  char* domain;
  int64_t expires;
  char* expiresText;
  bool tailmatch;
  char* version;
  char* maxAgeText;
  bool secure;
  bool liveFlag;
  bool httponly;
};

class CHttpCookie {
 public:
  CHttpCookie();
  ~CHttpCookie();

  Cookie* addCookieToPool(std::string header, std::string domain, std::string path);
  Cookie* addUsrDefCookie(std::string header);
  void delUsrDefCookie();
  std::string getCookieFromPool(std::string url);
  Cookie* getCookieEntryFromList(Cookie* list, const char* host, const char* path, bool secure);
  int64_t getPseudoUTC();
  void clearAll();
  void freecookie(Cookie* cookie);
  void freelist(Cookie* list, bool freeStrings);
  Cookie* addCookieEntryToList(Cookie*& list, bool httpHeader, const char* line, const char* domain,
                               const char* path);
  void init(std::string name);
  void readInCookieJar(std::string path);
  void flushOutCookieJar(std::string path, bool sessionFile);
  void saveCookieFile();

  std::string m_appName;
  std::string m_persistentFile;
  std::string m_sessionFile;
  Cookie* m_cookies;
  Cookie* m_usrDefCookie;
  int64_t m_utcOffset;
  bool m_saved;
};

char shiftToUpper(char in);
bool rawEqual(const char* first, const char* second);
bool rawNEqual(const char* first, const char* second, unsigned int max);
bool isBlank(char c);
void strstore(char** str, const char* newstr);
void* memrchr(const void* s, int c, unsigned int n);
bool tailmatch(const char* cookieDomain, const char* hostname);
bool pathmatch(const char* cookiePath, const char* urlPath);
char* sanitize_cookie_path(const char* cookiePath);
int cookie_sort(const void* first, const void* second);

}  // namespace strmcommon
