#include "ResultText.h"

#include <iterator>

#include "UnitCode.h"

namespace strmplay {

namespace {

using namespace strmcommon;

constexpr ResultWords kResults[] = {
    {err_none, "err_none", "finished well"},
    {err_retry, "err_retry", "failed, and the engine asks for the same request again"},
    {err_failed, "err_failed",
     "refused by the engine: it is stopping, has no free transfer slot for this host, or the URL "
     "is not http(s)"},
    {err_add_handle, "err_add_handle", "the transfer could not be started"},
    {err_interrupted, "err_interrupted", "cancelled"},
    {err_invalidarg, "err_invalidarg", "empty URL, or no free transfer slot"},
    // Passing values: the engine logs them and ends with one of the final codes.
    {err_resolve_proxy, "err_resolve_proxy", "the proxy's name was not resolved"},
    {err_resolve_host, "err_resolve_host", "the host name was not resolved"},
    {err_connect, "err_connect", "could not connect"},
    {err_send, "err_send", "the request could not be sent"},
    {err_recv_error, "err_recv_error",
     "the transfer failed: no connection, a connection cut, no valid answer, or an HTTP error "
     "the engine does not retry"},
    {err_http, "err_http", "HTTP error"},
    {err_ssl, "err_ssl", "TLS failure"},
    {err_incomplete, "err_incomplete", "the transfer broke off"},
    {err_timeout, "err_timeout", "timed out"},
    {err_http_retry_over, "err_http_retry_over",
     "HTTP error, and the engine's retries are used up"},
};

const ResultWords* Find(int code) {
  for (const auto& row : kResults) {
    if (row.code == code) return &row;
  }
  return nullptr;
}

struct Reason {
  long status;
  const char* phrase;
};

// The statuses a media server answers with, from the HTTP semantics.
constexpr Reason kReasons[] = {
    {200, "OK"},
    {206, "Partial Content"},
    {301, "Moved Permanently"},
    {302, "Found"},
    {303, "See Other"},
    {304, "Not Modified"},
    {307, "Temporary Redirect"},
    {308, "Permanent Redirect"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {410, "Gone"},
    {416, "Range Not Satisfiable"},
    {429, "Too Many Requests"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
    {502, "Bad Gateway"},
    {503, "Service Unavailable"},
    {504, "Gateway Timeout"},
};

}  // namespace

const ResultWords* ResultTableBegin() { return std::begin(kResults); }
const ResultWords* ResultTableEnd() { return std::end(kResults); }

std::string ResultName(int code) {
  const ResultWords* row = Find(code);
  return row != nullptr ? row->name : "code " + std::to_string(code);
}

std::string ResultMeaning(int code) {
  if (const ResultWords* row = Find(code)) return row->words;
  // The engine's computed value for a libcurl result it has no row for:
  // -(100 + 1000 * status + result).
  if (code <= -100) {
    const int rest = -code - 100;
    const int status = rest / 1000;
    const int curlResult = rest % 1000;
    std::string text = "libcurl error " + std::to_string(curlResult);
    if (status != 0) text += " with " + HttpStatusText(status);
    return text;
  }
  return "unknown result code";
}

std::string DescribeResult(int code) {
  return std::to_string(code) + " (" + ResultName(code) + ": " + ResultMeaning(code) + ")";
}

const char* HttpReason(long status) {
  for (const auto& row : kReasons) {
    if (row.status == status) return row.phrase;
  }
  return "";
}

std::string HttpStatusText(long status) {
  if (status == 0) return std::string();
  const std::string phrase = HttpReason(status);
  return "HTTP " + std::to_string(status) + (phrase.empty() ? "" : " " + phrase);
}

}  // namespace strmplay
