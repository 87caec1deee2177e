// Server-controlled response header lines through the download engine's header callback, on a
// real Curl over substitute handles (no network). Input, one line each:
//   the request URL, with a leading '!' for the headers-kept mode;
//   the effective URL the handle reports (where a Set-Cookie is filed);
//   then the header lines, each handed over with its line feed, as libcurl does.
// After every line the engine must match a model of the rules kept here:
// - the callback takes the whole line;
// - Date: only a line over 15 bytes starting "Date" counts, and the first value curl_getdate
//   reads wins for the transfer;
// - a line holding 301, 302, 307 or 308 raises the redirect flag; a Location line while it is up
//   files one target (text from index 9 on, blanks skipped, the line end kept; a relative one
//   joined to the request's scheme and host) and lowers it; nothing else files a target;
// - a Set-Cookie line moves the URL table entry to the effective URL;
// - in the headers-kept mode the lines only pile up, and the blank line ends the header;
// - the Cookie header the store builds from what arrived stays well-formed: name=value pairs,
//   each closed by ';', a name never empty and without blank or '=', no line end anywhere, and no
//   more pairs than Set-Cookie lines.
#include <curl/curl.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Curl.h"
#include "FakeCurl.h"
#include "FuzzCheck.h"
#include "system_info.h"

namespace {

using strmcommon::UnitObject;

class Engine : public strmcommon::Curl {
 public:
  using Curl::Curl;
  using Curl::m_cookie;
  using Curl::m_redirects;
  using Curl::m_urlInfo;
};

const char* const kLookups[] = {"http://media.test/a/b.ts", "https://media.test/",
                                "http://sub.media.test/x?y", "https://other.test/a"};

struct Model {
  long date = 0;
  bool redirecting = false;
  std::vector<std::string> targets;
  std::string tableUrl;
  std::string raw;
  bool headerEnd = false;
  int cookieLines = 0;
};

bool Contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

// The scheme and host of the request URL: up to the first '/' behind the first "://".
std::string RequestBase(const std::string& url) {
  const std::size_t scheme = url.find("://");
  const std::size_t slash = scheme == std::string::npos ? scheme : url.find('/', scheme + 3);
  return slash == std::string::npos ? url : url.substr(0, slash);
}

void Advance(Model& m, const std::string& request, const std::string& effective,
             const std::vector<char>& buffer, int size) {
  const char* bytes = buffer.data();
  const std::string line(bytes);  // up to the first NUL
  if (m.date == 0 && size > 15 && std::memcmp(bytes, "Date", 4) == 0) {
    const char* colon = static_cast<const char*>(std::memchr(bytes + 1, ':', size - 1));
    if (colon != nullptr && colon + 1 < bytes + size && colon[1] != '\0') {
      const time_t date = curl_getdate(colon + 1, nullptr);
      if (date > 0) m.date = static_cast<long>(date);
    }
  }
  if (Contains(line, "301") || Contains(line, "302") || Contains(line, "307") ||
      Contains(line, "308")) {
    m.redirecting = true;
  }
  if (m.redirecting && (Contains(line, "Location:") || Contains(line, "location:"))) {
    const std::size_t start = line.size() > 9 ? line.find_first_not_of(' ', 9) : std::string::npos;
    const std::string value = start == std::string::npos ? std::string() : line.substr(start);
    const bool absolute = Contains(line, "http://") || Contains(line, "https://");
    m.targets.push_back(absolute ? value : RequestBase(request) + value);
    m.redirecting = false;
  }
  if (line.size() >= 11) {
    std::string name = line.substr(0, 11);
    for (char& c : name) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c | 0x20 : c);
    if (name == "set-cookie:") {
      m.tableUrl = effective.c_str();  // the handle hands out a C string
      ++m.cookieLines;
    }
  }
}

// name=value; name=value; ... as the pool writes it: every pair closed by ';'.
void CheckCookieHeader(const std::string& header, int cookieLines) {
  FUZZ_CHECK(header.find_first_of(std::string("\r\n\0", 3)) == std::string::npos);
  FUZZ_CHECK(header.empty() || header.back() == ';');
  int pairs = 0;
  std::size_t at = 0;
  while (at < header.size()) {
    const std::size_t end = header.find(';', at);
    const std::string pair = header.substr(at, end - at);
    const std::size_t eq = pair.find('=');
    FUZZ_CHECK(eq != std::string::npos && eq > 0);
    FUZZ_CHECK(pair.find(' ') == std::string::npos || pair.find(' ') > eq);
    ++pairs;
    at = end + 1;
  }
  FUZZ_CHECK(pairs <= cookieLines);
}

std::string NextLine(const std::string& input, std::size_t& at, bool keepEnd) {
  const std::size_t nl = input.find('\n', at);
  const std::size_t end = nl == std::string::npos ? input.size() : nl + (keepEnd ? 1 : 0);
  std::string line = input.substr(at, end - at);
  at = nl == std::string::npos ? input.size() : nl + 1;
  return line;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // Log lines cost time and say nothing here; no feature file is read, and the cookie files
  // would go below a directory that does not exist, so none is read or written.
  setenv("DLOG_STUB_LEVEL", "S", 0);
  setenv("TZPLATFORM_STUB_ROOT", "/nonexistent/strmcommon-fuzz", 1);
  system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 16384) return 0;
  const std::string input(reinterpret_cast<const char*>(data), size);
  std::size_t at = 0;
  std::string request = NextLine(input, at, false);
  const bool kept = !request.empty() && request[0] == '!';
  if (kept) request.erase(0, 1);
  if (request.empty()) request = "http://media.test/a/b.m3u8";
  const std::string effective = NextLine(input, at, false);

  auto state = std::make_shared<testsupport::FakeCurlState>();
  Engine engine(strmcommon::CURL_THREAD_FIXED, 0, "client",
                new testsupport::FakeCurlFactory(state));
  engine.Init(nullptr, nullptr);
  UnitObject* unit = nullptr;
  const strmcommon::UserData userData{1, 0, 0, strmcommon::kBitrateUnknown, 0, 0};
  FUZZ_CHECK(engine.BeginDownload2(0, request, "", false, unit, true, userData, kept, "") == 0);
  FUZZ_CHECK(unit != nullptr);
  static_cast<testsupport::FakeCurlEasy*>(unit->m_easy)->stringInfo[CURLINFO_EFFECTIVE_URL] =
      effective;
  strmcommon::Curl::urlInfo_t& entry = engine.m_urlInfo[unit->m_urlIndex];

  Model model;
  model.tableUrl = request;
  while (at < input.size()) {
    const std::string line = NextLine(input, at, true);
    // libcurl's header buffer is NUL-terminated.
    std::vector<char> buffer(line.begin(), line.end());
    buffer.push_back('\0');
    const int length = static_cast<int>(line.size());
    FUZZ_CHECK(strmcommon::Curl::HeaderCB(buffer.data(), 1, line.size(), unit) == line.size());

    if (kept) {
      model.raw += line;
      if (std::strcmp(buffer.data(), "\r\n") == 0) model.headerEnd = true;
      FUZZ_CHECK(unit->m_rawHeader == model.raw);
      FUZZ_CHECK(unit->m_headerEnd == model.headerEnd);
    } else {
      Advance(model, request, effective, buffer, length);
    }
    FUZZ_CHECK(entry.date == model.date);
    FUZZ_CHECK(unit->m_redirecting == model.redirecting);
    FUZZ_CHECK(engine.m_redirects.size() == model.targets.size());
    for (std::size_t i = 0; i < model.targets.size(); ++i) {
      FUZZ_CHECK(engine.m_redirects[i].first == unit);
      FUZZ_CHECK(engine.m_redirects[i].second == model.targets[i]);
    }
    FUZZ_CHECK(entry.url == model.tableUrl);
  }

  for (const std::string& url : {request, effective}) {
    CheckCookieHeader(engine.m_cookie.getCookieFromPool(url), model.cookieLines);
  }
  for (const char* url : kLookups) {
    CheckCookieHeader(engine.m_cookie.getCookieFromPool(url), model.cookieLines);
  }
  engine.Quit();
  return 0;
}
