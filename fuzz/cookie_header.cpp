// Set-Cookie values into the pool: every input line is one header from one of a few hosts, a line
// starting with 'U' becomes the user's cookie. Then lookups and a save to a temporary file.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "CHttpCookie.h"

namespace {

const char* const kHosts[] = {"media.site.test", "site.test", "other.test", ""};
const char* const kPaths[] = {"/dir/file?q=/x/y", "/", "", "noslash"};
const char* const kUrls[] = {"http://media.site.test/dir/file", "https://www.site.test/",
                             "http://other.test", "https://media.site.test/a/b?c"};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string out = "/tmp/fuzz_cookie_header_" + std::to_string(getpid()) + ".txt";
  std::string input(reinterpret_cast<const char*>(data), size);

  strmcommon::CHttpCookie jar;
  size_t pos = 0;
  unsigned line = 0;
  while (pos <= input.size()) {
    size_t nl = input.find('\n', pos);
    if (nl == std::string::npos) nl = input.size();
    std::string text = input.substr(pos, nl - pos);
    if (!text.empty() && text[0] == 'U')
      jar.addUsrDefCookie(text.substr(1));
    else
      jar.addCookieToPool(text, kHosts[line % 4], kPaths[(line / 4) % 4]);
    pos = nl + 1;
    line++;
  }
  for (const char* url : kUrls) jar.getCookieFromPool(url);
  jar.flushOutCookieJar(out, false);
  jar.flushOutCookieJar(out, true);
  jar.readInCookieJar(out);
  jar.getCookieFromPool(kUrls[0]);
  unlink(out.c_str());
  return 0;
}
