// Result classification: a finished transfer's CURLcode and status become the unit's code.
#include "Clock.h"
#include "Curl.h"
#include "DLog.h"

namespace strmcommon {

namespace {

// The first mapping of a libcurl result; anything unlisted takes the computed value.
int MapResult(CURLcode result, long status, bool isCurlDebug) {
  switch (result) {
    case CURLE_OK:
      return isCurlDebug ? -23 : 0;
    case CURLE_COULDNT_RESOLVE_PROXY:
      return -16;
    case CURLE_COULDNT_RESOLVE_HOST:
      return -17;
    case CURLE_COULDNT_CONNECT:
      return -18;
    case CURLE_REMOTE_ACCESS_DENIED:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_ENGINE_SETFAILED:
    case CURLE_PEER_FAILED_VERIFICATION:
      VAS_LOG_ERROR("[ERROR] SSL error: %d", result);
      return -25;
    case CURLE_PARTIAL_FILE:
      return -26;
    case CURLE_HTTP_RETURNED_ERROR:
    case CURLE_HTTP_POST_ERROR:
    case CURLE_TOO_MANY_REDIRECTS:
    case CURLE_GOT_NOTHING:
      VAS_LOG_ERROR("[ERROR] http error: %d", result);
      return -23;
    case CURLE_OPERATION_TIMEDOUT:
      VAS_LOG_ERROR("[Warning] CURLE_OPERATION_TIMEDOUT occured!");
      return -53;
    case CURLE_ABORTED_BY_CALLBACK:
      return -12;
    case CURLE_SEND_ERROR:
      return -19;
    case CURLE_RECV_ERROR:
      VAS_LOG_ERROR("[Warning]CURLE_RECV_ERROR error occured!");
      return -26;
    default:
      return static_cast<int>(-(100 + 1000 * status + result));
  }
}

}  // namespace

int Curl::ResultIf(UnitObject* unit, CURLcode result, long status, int curlId) {
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return -1;
  }
  const urlInfo_t& entry = m_urlInfo[unit->m_urlIndex];
  int code = MapResult(result, status, unit->m_isCurlDebug);
  unit->code = code;

  if (code < 0) {
    if (code != -12) {
      VAS_LOG_ERROR(
          "Curl Download Error!!: pause(%d), interrupt(%d), vas(%d), Curl(%d), http(%ld), "
          "now(%zu), total(%zu), %s, curlID(%d)",
          unit->m_pause, unit->m_cancel, code, result, status, unit->m_pos, unit->m_size,
          entry.url.c_str(), curlId);
    }
    if (unit->m_cancel) {
      // Cancelling beats every retry rule.
      unit->code = -12;
    } else {
      bool decided = false;
      if (unit->code == -53) {
        VAS_LOG_DEBUG(" HTTP TIME OUT ERROR-1 !");
        if (unit->m_pos == 0 && unit->m_retry < static_cast<size_t>(m_retryCount)) {
          unit->code = 10;
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
      } else if (unit->code == -26 && unit->m_retry <= 19 &&
                 (unit->m_size == 0 || unit->m_size > unit->m_pos)) {
        unit->code = 10;
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
        unit->code = 0;
        unit->m_httpStatus = 0;
        decided = true;
      }

      if (!decided) {
        if (status == 400 || status == 403 || status == 404 || status == 500 || status == 503 ||
            status == 504) {
          unit->m_httpStatus = static_cast<int>(status);
          VAS_LOG_ERROR(" HTTP 400 404 504 403 500 Error case %d", static_cast<int>(status));
          if (unit->m_retry <= 19) {
            unit->code = 10;
            unit->m_retry++;
            VAS_LOG_DEBUG(" HTTP 4XX 5XX ERROR ( retry : %zu )", unit->m_retry);
            vas_sleep_ms(500);
          } else {
            VAS_LOG_DEBUG(" HTTP  4XX 5XX ERROR - retry count ( retry : %zu )", unit->m_retry);
            unit->code = -54;
          }
        } else if (unit->code == -25 || unit->code == -17) {
          VAS_LOG_DEBUG(
              " [ERROR] Host not resolved: unit code = %d, curl code = %d http status = %d",
              unit->code, result, static_cast<int>(status));
        } else {
          VAS_LOG_DEBUG("--- else, err_recv_error");
          unit->code = -20;
        }
      }

      // Only a m_retryCount above 20 reaches this.
      if (unit->m_retry > 20) unit->code = -20;
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
