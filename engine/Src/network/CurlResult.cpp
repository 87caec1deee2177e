// Result classification: a finished transfer's CURLcode and status become the unit's code.
#include "Clock.h"
#include "Curl.h"
#include "DLog.h"
#include "UnitCode.h"

namespace strmcommon {

namespace {

// The line that ResultIf writes before it takes the first mapping of a libcurl result.
enum class MappingNote { kNone, kSslError, kHttpError, kTimeout, kRecvError };

struct Mapping {
  int code;
  MappingNote note;
};

// The first mapping of a libcurl result; anything unlisted takes the computed value.
Mapping MapResult(CURLcode result, long status, bool isCurlDebug) {
  switch (result) {
    case CURLE_OK:
      return {isCurlDebug ? err_http : err_none, MappingNote::kNone};
    case CURLE_COULDNT_RESOLVE_PROXY:
      return {err_resolve_proxy, MappingNote::kNone};
    case CURLE_COULDNT_RESOLVE_HOST:
      return {err_resolve_host, MappingNote::kNone};
    case CURLE_COULDNT_CONNECT:
      return {err_connect, MappingNote::kNone};
    case CURLE_REMOTE_ACCESS_DENIED:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_ENGINE_SETFAILED:
    case CURLE_PEER_FAILED_VERIFICATION:
      return {err_ssl, MappingNote::kSslError};
    case CURLE_PARTIAL_FILE:
      return {err_incomplete, MappingNote::kNone};
    case CURLE_HTTP_RETURNED_ERROR:
    case CURLE_HTTP_POST_ERROR:
    case CURLE_TOO_MANY_REDIRECTS:
    case CURLE_GOT_NOTHING:
      return {err_http, MappingNote::kHttpError};
    case CURLE_OPERATION_TIMEDOUT:
      return {err_timeout, MappingNote::kTimeout};
    case CURLE_ABORTED_BY_CALLBACK:
      return {err_interrupted, MappingNote::kNone};
    case CURLE_SEND_ERROR:
      return {err_send, MappingNote::kNone};
    case CURLE_RECV_ERROR:
      return {err_incomplete, MappingNote::kRecvError};
    default:
      return {static_cast<int>(-(100 + 1000 * status + result)), MappingNote::kNone};
  }
}

}  // namespace

int Curl::ResultIf(UnitObject* unit, CURLcode result, long status, int curlId) {
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return err_failed;
  }
  const urlInfo_t& entry = m_urlInfo[unit->m_urlIndex];
  const Mapping mapping = MapResult(result, status, unit->m_isCurlDebug);
  switch (mapping.note) {
    case MappingNote::kSslError:
      VAS_LOG_ERROR("[ERROR] SSL error: %d", result);
      break;
    case MappingNote::kHttpError:
      VAS_LOG_ERROR("[ERROR] http error: %d", result);
      break;
    case MappingNote::kTimeout:
      VAS_LOG_ERROR("[Warning] CURLE_OPERATION_TIMEDOUT occured!");
      break;
    case MappingNote::kRecvError:
      VAS_LOG_ERROR("[Warning]CURLE_RECV_ERROR error occured!");
      break;
    case MappingNote::kNone:
      break;
  }
  const int code = mapping.code;
  unit->code = code;

  if (code < 0) {
    if (code != err_interrupted) {
      VAS_LOG_ERROR(
          "Curl Download Error!!: pause(%d), interrupt(%d), vas(%d), Curl(%d), http(%ld), "
          "now(%zu), total(%zu), %s, curlID(%d)",
          unit->m_pause, unit->m_cancel, code, result, status, unit->m_pos, unit->m_size,
          entry.url.c_str(), curlId);
    }
    if (unit->m_cancel) {
      // Cancelling beats every retry rule.
      unit->code = err_interrupted;
    } else {
      bool decided = false;
      if (unit->code == err_timeout) {
        VAS_LOG_DEBUG(" HTTP TIME OUT ERROR-1 !");
        if (unit->m_pos == 0 && unit->m_retry < static_cast<size_t>(m_retryCount)) {
          unit->code = err_retry;
          unit->m_retry++;
          vas_sleep_ms(500);
        }
        VAS_LOG_ERROR(
            "Curl Retry on operation timeout: retry(%d), pause(%d), interrupt(%d), now(%u), "
            "total(%u), url(%s)",
            static_cast<int>(unit->m_retry), unit->m_pause, unit->m_cancel,
            static_cast<unsigned int>(unit->m_pos), static_cast<unsigned int>(unit->m_size),
            entry.url.c_str());
        decided = true;
      } else if (unit->code == err_incomplete && unit->m_retry <= 19 &&
                 (unit->m_size == 0 || unit->m_size > unit->m_pos)) {
        unit->code = err_retry;
        unit->m_retry++;
        if (unit->m_pos > unit->m_skipBytes) unit->m_skipBytes = unit->m_pos;
        VAS_LOG_ERROR(
            "Curl Retry incomplete download: retry(%zu), pause(%d), interrupt(%d), now(%zu), "
            "total(%zu), url(%s)",
            unit->m_retry, unit->m_pause, 0, unit->m_pos, unit->m_size, entry.url.c_str());
        vas_sleep_ms(500);
        decided = true;
      } else if (unit->m_pos != 0 && unit->m_size != 0 && unit->m_pos >= unit->m_size &&
                 !unit->m_isCurlDebug) {
        // The whole content has arrived; the error does not matter.
        unit->code = err_none;
        unit->m_httpStatus = 0;
        decided = true;
      }

      if (!decided) {
        if (status == 400 || status == 403 || status == 404 || status == 500 || status == 503 ||
            status == 504) {
          unit->m_httpStatus = static_cast<int>(status);
          VAS_LOG_ERROR(" HTTP 400 404 504 403 500 Error case %d", static_cast<int>(status));
          if (unit->m_retry <= 19) {
            unit->code = err_retry;
            unit->m_retry++;
            VAS_LOG_DEBUG(" HTTP 4XX 5XX ERROR ( retry : %zu )", unit->m_retry);
            vas_sleep_ms(500);
          } else {
            VAS_LOG_DEBUG(" HTTP  4XX 5XX ERROR - retry count ( retry : %zu )", unit->m_retry);
            unit->code = err_http_retry_over;
          }
        } else if (unit->code == err_ssl || unit->code == err_resolve_host) {
          VAS_LOG_DEBUG(
              " [ERROR] Host not resolved: unit code = %d, curl code = %d http status = %d",
              unit->code, result, static_cast<int>(status));
        } else {
          VAS_LOG_DEBUG("--- else, err_recv_error");
          unit->code = err_recv_error;
        }
      }

      // Only a m_retryCount above 20 reaches this.
      if (unit->m_retry > 20) unit->code = err_recv_error;
      VAS_LOG_DEBUG("--- unit->code  :%d", unit->code);
    }
  }

  std::string target;
  for (auto it = m_redirects.begin(); it != m_redirects.end(); ++it) {
    if (it->first == unit) {
      target = it->second;
      m_redirects.erase(it);
      break;
    }
  }
  if (unit->m_easy != nullptr) {
    long redirectCount = 0;
    unit->m_easy->GetInfo(CURLINFO_REDIRECT_COUNT, &redirectCount);
    if (redirectCount >= 1 && status == 200) m_callback->OnRedirect(unit, target.c_str());
  }

  if (curlId < 0) unit->m_cancel = false;
  VAS_LOG_DEBUG("--- final unit->code: %d", unit->code);
  return unit->code;
}

}  // namespace strmcommon
