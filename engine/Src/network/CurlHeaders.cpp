// Response headers: the server's Date, redirect targets, and the client's extra request headers.
#include <cstring>

#include "Curl.h"
#include "DLog.h"
#include "StringHelper.h"
#include "gurl.h"

namespace strmcommon {

namespace {

// The first Date of a transfer that curl_getdate reads: the name in exactly this case, a line of
// more than 15 bytes, the value behind the first ':' after the first byte.
void ReadDate(Curl::urlInfo_t& entry, const char* text, int size) {
  if (size <= 15 || std::strncmp(text, "Date", 4) != 0) return;
  const void* colon = std::memchr(text + 1, ':', static_cast<size_t>(size - 1));
  if (colon == nullptr) return;
  const char* value = static_cast<const char*>(colon) + 1;
  if (value >= text + size || *value == '\0') return;
  time_t date = curl_getdate(value, nullptr);
  if (date > 0) entry.date = static_cast<long>(date);
}

// The target of a Location line, with the line end still on it. The value starts at the first
// blank-free character behind the nine bytes of the name. A relative one is glued to the scheme
// and host of the request URL, so every hop resolves against the first host and a
// document-relative path comes out glued to the host.
std::string RedirectTarget(const std::string& line, const std::string& requestUrl) {
  bool absolute =
      line.find("http://") != std::string::npos || line.find("https://") != std::string::npos;
  std::string value;
  size_t start = line.find_first_not_of(' ', 9);
  if (start != std::string::npos) value = line.substr(start);
  if (absolute) return value;
  size_t scheme = requestUrl.find("://");
  size_t slash = scheme == std::string::npos ? std::string::npos : requestUrl.find('/', scheme + 3);
  return (slash == std::string::npos ? requestUrl : requestUrl.substr(0, slash)) + value;
}

}  // namespace

size_t Curl::HeaderCB(void* data, size_t size, size_t nmemb, void* unitPtr) {
  UnitObject* unit = static_cast<UnitObject*>(unitPtr);
  Curl* curl = unit->m_curl;
  // Unlike the body callback this one aborts: libcurl ends the transfer with a write error.
  if (curl->m_quit || !curl->m_units[unit->m_index].first) {
    return static_cast<size_t>(kAbortTransfer);
  }
  return static_cast<size_t>(curl->OnHeaderDownload(unit, data, static_cast<int>(size * nmemb)));
}

int Curl::OnHeaderDownload(UnitObject* unit, void* data, int size) {
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return kAbortTransfer;
  }
  // libcurl's header buffer is NUL-terminated, so the line is also read as a C string.
  const char* text = static_cast<const char*>(data);

  if (unit->m_isCurlDebug) {
    VAS_LOG_DEBUG("before header_end [%s]", unit->m_headerEnd ? "true" : "false");
    unit->m_rawHeader.append(text, static_cast<size_t>(size));
    if (std::strcmp(text, "\r\n") == 0) {
      VAS_LOG_DEBUG("header end");
      unit->m_headerEnd = true;
    }
    VAS_LOG_DEBUG("after header_end [%s]", unit->m_headerEnd ? "true" : "false");
    return size;
  }

  urlInfo_t& entry = m_urlInfo[unit->m_urlIndex];
  if (entry.date == 0) ReadDate(entry, text, size);

  std::string line(text);
  // Any line counts, a Content-Length whose digits hold 301 as well as a status line.
  if (line.find("301") != std::string::npos || line.find("302") != std::string::npos ||
      line.find("307") != std::string::npos || line.find("308") != std::string::npos) {
    unit->m_redirecting = true;
  }
  if (unit->m_redirecting && (line.find("Location:") != std::string::npos ||
                              line.find("location:") != std::string::npos)) {
    VAS_LOG_ERROR(">> redirected url == %s ", line.c_str());
    std::string target = RedirectTarget(line, unit->m_url);
    m_redirects.emplace_back(unit, target);
    unit->m_redirecting = false;
  }
  if (vas_strncasecmp(text, "set-cookie:", 11) == 0) FileCookie(unit, entry, text + 11);
  return size;
}

void Curl::FileCookie(UnitObject* unit, urlInfo_t& entry, const char* cookie) {
  // The table entry moves to the address that answered; a later BeginDownload3 requests it.
  // libcurl always has an effective URL here, so a null one is not guarded against.
  char* effective = nullptr;
  unit->m_easy->GetInfo(CURLINFO_EFFECTIVE_URL, &effective);
  entry.url = effective;
  GURL parsed(entry.url);
  std::string path = parsed.path();
  std::string host = parsed.host();
  // The line end stays on the cookie text.
  m_cookie.addCookieToPool(std::string(cookie), host, path);
}

void Curl::SetCookie(const std::string& value) {
  m_cookieHeader = "Cookie:" + value;
  // Every call adds a line; only Quit frees the list.
  m_headers = curl_slist_append(m_headers, m_cookieHeader.c_str());
  if (m_headers == nullptr) VAS_LOG_ERROR("failed to set cookie header in curl");
}

void Curl::SetCookieToPool(std::string& cookie, std::string& host, std::string& path) {
  m_cookie.addCookieToPool(cookie, host, path);
}

void Curl::clearUsrDefCookie() { m_cookieHeader.clear(); }

}  // namespace strmcommon
