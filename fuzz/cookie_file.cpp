// A cookie file read into the pool, then lookups, a save to a temporary file and a second read of
// what was saved.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "CHttpCookie.h"

namespace {

const char* const kUrls[] = {"http://media.site.test/dir/file", "https://www.site.test/",
                             "http://other.test", "https://h.test/a/b?c"};

bool WriteAll(const std::string& path, const uint8_t* data, size_t size) {
  FILE* f = fopen(path.c_str(), "wb");
  if (!f) return false;
  bool ok = fwrite(data, 1, size, f) == size;
  return fclose(f) == 0 && ok;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string in = "/tmp/fuzz_cookie_file_in_" + std::to_string(getpid()) + ".txt";
  static const std::string out = "/tmp/fuzz_cookie_file_out_" + std::to_string(getpid()) + ".txt";
  if (!WriteAll(in, data, size)) return 0;

  strmcommon::CHttpCookie jar;
  jar.readInCookieJar(in);
  jar.addUsrDefCookie("u=1; domain=h.test; path=/a");
  for (const char* url : kUrls) jar.getCookieFromPool(url);
  jar.flushOutCookieJar(out, false);

  strmcommon::CHttpCookie again;
  again.readInCookieJar(out);
  for (const char* url : kUrls) again.getCookieFromPool(url);
  jar.flushOutCookieJar(out, true);
  again.readInCookieJar(out);

  unlink(in.c_str());
  unlink(out.c_str());
  return 0;
}
