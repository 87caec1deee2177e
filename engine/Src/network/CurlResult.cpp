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

// The retry rule that decided a failure, once the first mapping is done and the unit was not
// cancelled. ResultIf writes the lines that go with it and takes the pauses.
enum class RetryRule {
  kTimeoutRetried,     // operation timeout with no body yet: requested again
  kTimeoutKept,        // operation timeout that stays a timeout
  kIncompleteRetried,  // broke off before the known length: requested again
  kWholeContent,       // the whole content had arrived: the failure does not matter
  kStatusRetried,      // a listed HTTP status: requested again
  kStatusRetriesOver,  // a listed HTTP status with its retries used up
  kHostNotResolved,    // TLS failure or host not resolved: kept, no retry
  kOther,              // every other failure
};

bool IsRetriedStatus(long status) {
  return status == 400 || status == 403 || status == 404 || status == 500 || status == 503 ||
         status == 504;
}

// The retry rules of a failure, in their order, with their effects on the unit. One counter,
// m_retry, serves all three kinds of retry.
RetryRule ApplyRetryRules(UnitObject* unit, long status, int retryCount) {
  if (unit->code == err_timeout) {
    if (unit->m_pos != 0 || unit->m_retry >= static_cast<size_t>(retryCount)) {
      return RetryRule::kTimeoutKept;
    }
    unit->code = err_retry;
    unit->m_retry++;
    return RetryRule::kTimeoutRetried;
  }
  if (unit->code == err_incomplete && unit->m_retry < Curl::kRetryLimit &&
      (unit->m_size == 0 || unit->m_size > unit->m_pos)) {
    unit->code = err_retry;
    unit->m_retry++;
    if (unit->m_pos > unit->m_skipBytes) unit->m_skipBytes = unit->m_pos;
    return RetryRule::kIncompleteRetried;
  }
  if (unit->m_pos != 0 && unit->m_size != 0 && unit->m_pos >= unit->m_size &&
      !unit->m_isCurlDebug) {
    unit->code = err_none;
    unit->m_httpStatus = 0;
    return RetryRule::kWholeContent;
  }
  if (IsRetriedStatus(status)) {
    unit->m_httpStatus = static_cast<int>(status);
    if (unit->m_retry >= Curl::kRetryLimit) {
      unit->code = err_http_retry_over;
      return RetryRule::kStatusRetriesOver;
    }
    unit->code = err_retry;
    unit->m_retry++;
    return RetryRule::kStatusRetried;
  }
  if (unit->code == err_ssl || unit->code == err_resolve_host) return RetryRule::kHostNotResolved;
  unit->code = err_recv_error;
  return RetryRule::kOther;
}

}  // namespace

// NOLINTNEXTLINE(readability-function-size): longer, as every line of the classification is its.
int Curl::ResultIf(UnitObject* unit, CURLcode result, long status, int curlId) {
  if (unit == nullptr) {
    VAS_LOG_ERROR(">> strmcommon::Unit == NULL ERROR");
    return err_failed;
  }
  const urlInfo_t& entry = m_urlInfo[unit->m_urlIndex];
  const Mapping mapping = MapResult(result, status, unit->m_isCurlDebug);
  const MappingNote note = mapping.note;
  if (note == MappingNote::kSslError) VAS_LOG_ERROR("[ERROR] SSL error: %d", result);
  if (note == MappingNote::kHttpError) VAS_LOG_ERROR("[ERROR] http error: %d", result);
  if (note == MappingNote::kTimeout) VAS_LOG_ERROR("[Warning] CURLE_OPERATION_TIMEDOUT occured!");
  if (note == MappingNote::kRecvError) VAS_LOG_ERROR("[Warning]CURLE_RECV_ERROR error occured!");
  unit->code = mapping.code;

  if (unit->code < 0) {
    if (unit->code != err_interrupted) {
      VAS_LOG_ERROR(
          "Curl Download Error!!: pause(%d), interrupt(%d), vas(%d), Curl(%d), http(%ld), "
          "now(%zu), total(%zu), %s, curlID(%d)",
          unit->m_pause, unit->m_cancel, unit->code, result, status, unit->m_pos, unit->m_size,
          entry.url.c_str(), curlId);
    }
    if (unit->m_cancel) {
      // Cancelling beats every retry rule.
      unit->code = err_interrupted;
    } else {
      if (unit->code == err_timeout) VAS_LOG_DEBUG(" HTTP TIME OUT ERROR-1 !");
      const RetryRule rule = ApplyRetryRules(unit, status, m_retryCount);
      switch (rule) {
        case RetryRule::kTimeoutRetried:
        case RetryRule::kTimeoutKept:
          if (rule == RetryRule::kTimeoutRetried) vas_sleep_ms(kRetryPauseMs);
          VAS_LOG_ERROR(
              "Curl Retry on operation timeout: retry(%d), pause(%d), interrupt(%d), now(%u), "
              "total(%u), url(%s)",
              static_cast<int>(unit->m_retry), unit->m_pause, unit->m_cancel,
              static_cast<unsigned int>(unit->m_pos), static_cast<unsigned int>(unit->m_size),
              entry.url.c_str());
          break;
        case RetryRule::kIncompleteRetried:
          VAS_LOG_ERROR(
              "Curl Retry incomplete download: retry(%zu), pause(%d), interrupt(%d), now(%zu), "
              "total(%zu), url(%s)",
              unit->m_retry, unit->m_pause, 0, unit->m_pos, unit->m_size, entry.url.c_str());
          vas_sleep_ms(kRetryPauseMs);
          break;
        case RetryRule::kWholeContent:
          break;
        case RetryRule::kStatusRetried:
        case RetryRule::kStatusRetriesOver:
          VAS_LOG_ERROR(" HTTP 400 404 504 403 500 Error case %d", unit->m_httpStatus);
          if (rule == RetryRule::kStatusRetriesOver) {
            VAS_LOG_DEBUG(" HTTP  4XX 5XX ERROR - retry count ( retry : %zu )", unit->m_retry);
            break;
          }
          VAS_LOG_DEBUG(" HTTP 4XX 5XX ERROR ( retry : %zu )", unit->m_retry);
          vas_sleep_ms(kRetryPauseMs);
          break;
        case RetryRule::kHostNotResolved:
          VAS_LOG_DEBUG(
              " [ERROR] Host not resolved: unit code = %d, curl code = %d http status = %d",
              unit->code, result, static_cast<int>(status));
          break;
        case RetryRule::kOther:
          VAS_LOG_DEBUG("--- else, err_recv_error");
          break;
      }
      // Only a m_retryCount above 20 reaches this.
      if (unit->m_retry > kRetryLimit) unit->code = err_recv_error;
      VAS_LOG_DEBUG("--- unit->code  :%d", unit->code);
    }
  }

  ReportRedirect(unit, status);
  if (curlId < 0) unit->m_cancel = false;
  VAS_LOG_DEBUG("--- final unit->code: %d", unit->code);
  return unit->code;
}

void Curl::ReportRedirect(UnitObject* unit, long status) {
  // The first pending target of this unit goes, whether or not the client hears of it.
  std::string target;
  for (auto it = m_redirects.begin(); it != m_redirects.end(); ++it) {
    if (it->first == unit) {
      target = it->second;
      m_redirects.erase(it);
      break;
    }
  }
  if (unit->m_easy == nullptr) return;
  long redirectCount = 0;
  unit->m_easy->GetInfo(CURLINFO_REDIRECT_COUNT, &redirectCount);
  if (redirectCount >= 1 && status == kHttpOk) m_callback->OnRedirect(unit, target.c_str());
}

}  // namespace strmcommon
