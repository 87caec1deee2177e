// The cookie store as the engine links it: the record, the store and the string helpers.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "EngineViewCookies.h"
#include "EngineViewFoundation.h"
#include "Patterned.h"

using abi_probe::Patterned;
using namespace strmcommon;

TEST(CookieSurface, TheStoreKeepsItsFieldsAndRecordsInTheDeclaredLayout) {
  Patterned<CHttpCookie> jar;
  EXPECT_TRUE(jar.TailUntouched());
  EXPECT_EQ(jar->m_cookies, nullptr);
  EXPECT_EQ(jar->m_usrDefCookie, nullptr);
  EXPECT_FALSE(jar->m_saved);

  // A name whose directory does not exist: the files are neither read nor written.
  jar->init("abi-probe-no-such-client");
  EXPECT_EQ(jar->m_appName, "abi-probe-no-such-client");
  const std::string tail = "/abi-probe-no-such-client/data/cookie/persistent_cookie.txt";
  ASSERT_GE(jar->m_persistentFile.size(), tail.size());
  EXPECT_EQ(jar->m_persistentFile.substr(jar->m_persistentFile.size() - tail.size()), tail);
  EXPECT_NE(jar->m_sessionFile.find("/data/cookie/session_cookie.txt"), std::string::npos);

  Cookie* added = jar->addCookieToPool("k=v; path=/a; secure; httponly", "media.test", "/a/b");
  ASSERT_NE(added, nullptr);
  EXPECT_EQ(jar->m_cookies, added);
  EXPECT_EQ(added->next, nullptr);
  EXPECT_STREQ(added->name, "k");
  EXPECT_STREQ(added->value, "v");
  EXPECT_STREQ(added->path, "/a");
  EXPECT_STREQ(added->sanitizedPath, "/a");
  EXPECT_STREQ(added->domain, "media.test");
  EXPECT_EQ(added->expires, 0);
  EXPECT_EQ(added->expiresText, nullptr);
  EXPECT_FALSE(added->tailmatch);
  EXPECT_EQ(added->version, nullptr);
  EXPECT_EQ(added->maxAgeText, nullptr);
  EXPECT_TRUE(added->secure);
  EXPECT_FALSE(added->liveFlag);
  EXPECT_TRUE(added->httponly);
  EXPECT_EQ(jar->getCookieFromPool("https://media.test/a/x"), "k=v;");

  ASSERT_NE(jar->addUsrDefCookie("u=1"), nullptr);
  EXPECT_NE(jar->m_usrDefCookie, nullptr);
  EXPECT_EQ(jar->getCookieFromPool("https://media.test/a/x"), "k=v;u=1");
  jar->delUsrDefCookie();
  EXPECT_EQ(jar->m_usrDefCookie, nullptr);

  Cookie* matches = jar->getCookieEntryFromList(jar->m_cookies, "media.test", "/a", true);
  ASSERT_NE(matches, nullptr);
  EXPECT_STREQ(matches->name, "k");
  jar->freelist(matches, false);
  const int64_t before = static_cast<int64_t>(vas_getTime() / 1000);
  EXPECT_GE(jar->getPseudoUTC(), before);

  Cookie* list = nullptr;
  Cookie* own = jar->addCookieEntryToList(list, true, "n=1", "other.test", "/");
  ASSERT_NE(own, nullptr);
  EXPECT_EQ(list, own);
  jar->freecookie(own);

  jar->readInCookieJar("");
  jar->flushOutCookieJar("", false);
  jar->saveCookieFile();
  EXPECT_TRUE(jar->m_saved);
  jar->clearAll();
  EXPECT_EQ(jar->m_cookies, nullptr);
  jar.Destroy();
  EXPECT_TRUE(jar.TailUntouched());
}

TEST(CookieSurface, TheStringHelpersAreFreeFunctionsOfTheNamespace) {
  EXPECT_EQ(shiftToUpper('a'), 'A');
  EXPECT_EQ(shiftToUpper('1'), '1');
  EXPECT_TRUE(rawEqual("Site.Test", "site.test"));
  EXPECT_TRUE(rawNEqual("abcX", "ABCY", 3));
  EXPECT_TRUE(isBlank(' '));
  EXPECT_FALSE(isBlank('\t'));
  char* stored = nullptr;
  strstore(&stored, "text");
  EXPECT_STREQ(stored, "text");
  strstore(&stored, nullptr);
  EXPECT_EQ(stored, nullptr);
  const char bytes[] = "a/b/c";
  EXPECT_EQ(strmcommon::memrchr(bytes, '/', 5u), bytes + 3);
  EXPECT_TRUE(tailmatch("site.test", "media.site.test"));
  EXPECT_FALSE(tailmatch("site.test", "badsite.test"));
  EXPECT_TRUE(pathmatch("/a", "/a/b"));
  EXPECT_FALSE(pathmatch("/a", "/ab"));
  char* path = sanitize_cookie_path("\"/x/\"");
  EXPECT_STREQ(path, "/x");
  free(path);
  Cookie longer = {};
  Cookie shorter = {};
  char longPath[] = "/long/path";
  char shortPath[] = "/";
  longer.path = longPath;
  shorter.path = shortPath;
  Cookie* pair[2] = {&shorter, &longer};
  EXPECT_GT(cookie_sort(&pair[0], &pair[1]), 0);
}
