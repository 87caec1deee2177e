#include "Fetcher.h"

#include <chrono>
#include <thread>

#include "ICurlEasy.h"
#include "ResultText.h"

namespace strmplay {

namespace {

using strmcommon::UnitObject;

// How often a running transfer is looked at for a stop request or a redirect loop.
constexpr auto kWaitStep = std::chrono::milliseconds(2);
constexpr int kRedirectCheckSteps = 25;

std::string WithoutLineEnd(const char* text) {
  std::string s = text != nullptr ? text : "";
  while (!s.empty() && (s.back() == '\r' || s.back() == '\n' || s.back() == ' ')) s.pop_back();
  return s;
}

std::string Bytes(std::size_t n) { return std::to_string(n) + (n == 1 ? " byte" : " bytes"); }

}  // namespace

std::string FetchRequest::RangeText() const {
  if (!HasRange()) return std::string();
  return std::to_string(rangeOffset) + "-" + std::to_string(rangeOffset + rangeLength - 1);
}

std::string DescribeAttempt(const FetchAttempt& a) {
  const std::string status = HttpStatusText(a.httpStatus);
  switch (a.failure) {
    case FetchFailure::kNone:
      return status.empty() ? "done" : status;
    case FetchFailure::kNotStarted:
      return "the engine refused the request: result " + DescribeResult(a.code);
    case FetchFailure::kRangeIgnored:
      if (a.httpStatus != 206) {
        return "asked for a byte range of " + Bytes(static_cast<std::size_t>(a.rangeLength)) +
               " and got " + (status.empty() ? std::string("no answer") : status) +
               (a.length > 0 ? " with the whole resource of " + Bytes(a.length) : std::string()) +
               ": the server does not honour byte ranges";
      }
      return "asked for a byte range of " + Bytes(static_cast<std::size_t>(a.rangeLength)) +
             " and got " + Bytes(a.bytes) + " (" + status + ")";
    case FetchFailure::kTooLarge:
      return "larger than the client accepts: cut off after " + Bytes(a.bytes) +
             (status.empty() ? std::string() : " (" + status + ")");
    case FetchFailure::kRedirectLoop:
      return "more than " + std::to_string(kMaxRedirects) + " redirects: a redirect loop" +
             (status.empty() ? std::string() : " (last answer " + status + ")");
    case FetchFailure::kInterrupted:
      return "stopped by the user";
    case FetchFailure::kEngine:
      break;
  }
  std::string text;
  if (!status.empty()) text = status + ", ";
  if (a.code == strmcommon::err_retry && a.length > 0 && a.bytes < a.length) {
    text +=
        "the transfer broke off after " + Bytes(a.bytes) + " of " + std::to_string(a.length) + ", ";
  }
  text += "result " + DescribeResult(a.code);
  if (!a.curlError.empty()) text += "; libcurl: " + a.curlError;
  return text;
}

Fetcher::Fetcher(strmcommon::Curl& curl, FetcherHooks hooks)
    : m_curl(curl), m_hooks(std::move(hooks)) {}

Fetcher::~Fetcher() = default;

FetchResult Fetcher::Fetch(const FetchRequest& request) {
  FetchResult result;
  result.url = request.url;
  for (int again = 0;; ++again) {
    FetchAttempt attempt = Once(request, result);
    if (attempt.failure == FetchFailure::kEngine) {
      attempt.decision = DecideRetry(attempt.code, attempt.httpStatus, again);
    } else if (attempt.failure != FetchFailure::kNone) {
      attempt.decision = RetryDecision::kGiveUpFinal;
    }
    result.attempts.push_back(attempt);
    if (attempt.failure == FetchFailure::kNone) return result;
    result.body.clear();
    if (m_hooks.failed) m_hooks.failed(request, attempt);
    if (attempt.decision != RetryDecision::kRequestAgain) return result;
  }
}

FetchAttempt Fetcher::Once(const FetchRequest& request, FetchResult& result) {
  FetchAttempt attempt;
  attempt.rangeLength = request.rangeLength;
  Transfer transfer(request);
  {
    std::lock_guard<std::mutex> guard(m_lock);
    m_pending = &transfer;
  }
  const strmcommon::UserData data{
      static_cast<int>(request.kind), request.stream, request.segment, request.bitrate, 0, 0};
  UnitObject* unit = nullptr;
  // The begin operations choose a unit without a lock of their own: the client holds the
  // engine's item lock across the call, so that the worker cannot change the pool meanwhile.
  m_curl.LockMutItem();
  const int begun =
      m_curl.BeginDownload(static_cast<unsigned int>(m_curl.GetRequestKey()),
                           request.RangeText() + request.url, false, unit, !request.measure, data);
  m_curl.UnlockMutItem();
  {
    std::lock_guard<std::mutex> guard(m_lock);
    m_pending = nullptr;
  }
  if (begun != strmcommon::err_none || unit == nullptr) {
    attempt.code = begun != strmcommon::err_none ? begun : strmcommon::err_failed;
    attempt.failure = FetchFailure::kNotStarted;
    return attempt;
  }

  Wait(unit, transfer);
  ReadOutcome(unit, attempt);
  attempt.code = unit->code;
  m_curl.EndDownload(unit);

  std::lock_guard<std::mutex> guard(m_lock);
  m_transfers.erase(unit);
  attempt.bytes = transfer.sink.Offered();
  if (attempt.httpStatus == 0) attempt.httpStatus = transfer.firstStatus;
  if (transfer.failure != FetchFailure::kNone) {
    attempt.failure = transfer.failure;
  } else if (transfer.sink.Enough()) {
    // The prefix that was wanted is here; the cancel that ended the transfer was the client's.
    attempt.failure = FetchFailure::kNone;
  } else if (attempt.code != strmcommon::err_none) {
    attempt.failure = FetchFailure::kEngine;
  } else if (request.HasRange() && !request.prefixOnly &&
             transfer.sink.Bytes().size() != static_cast<std::size_t>(request.rangeLength)) {
    attempt.failure = FetchFailure::kRangeIgnored;
  }
  if (attempt.failure == FetchFailure::kNone) {
    result.body.swap(transfer.sink.Bytes());
    result.redirected = transfer.redirected;
    result.url = transfer.redirected ? transfer.redirectUrl : request.url;
  }
  return attempt;
}

void Fetcher::Wait(UnitObject* unit, Transfer& transfer) {
  bool cancelled = false;
  for (int step = 0;; ++step) {
    int code = 0;
    long date = 0;
    UnitObject* done = m_curl.GetCompleted(code, date);
    if (done == unit) return;
    // One transfer runs at a time, so another unit here is a left-over: give its slot back.
    if (done != nullptr) m_curl.EndDownload(done);
    // A unit cancelled while it still waited in the request queue never completes: the worker
    // drops it and frees its slot.
    if (cancelled && !m_curl.IsDownloading(unit)) return;
    if (!cancelled && m_hooks.stop && m_hooks.stop()) {
      {
        std::lock_guard<std::mutex> guard(m_lock);
        transfer.failure = FetchFailure::kInterrupted;
        transfer.cancelled = true;
      }
      m_curl.Cancel(unit);
      cancelled = true;
    }
    if (!cancelled && step % kRedirectCheckSteps == 0) {
      // libcurl follows redirects by itself, without a limit; the count is read under the item
      // lock, while the worker is not inside libcurl.
      long redirects = 0;
      m_curl.LockMutItem();
      if (unit->m_easy != nullptr) {
        unit->m_easy->GetInfoWithLong(CURLINFO_REDIRECT_COUNT, &redirects);
      }
      m_curl.UnlockMutItem();
      if (redirects > kMaxRedirects) {
        {
          std::lock_guard<std::mutex> guard(m_lock);
          transfer.failure = FetchFailure::kRedirectLoop;
          transfer.cancelled = true;
        }
        m_curl.Cancel(unit);
        cancelled = true;
      }
    }
    if (m_hooks.idle) m_hooks.idle();
    std::this_thread::sleep_for(kWaitStep);
  }
}

void Fetcher::ReadOutcome(UnitObject* unit, FetchAttempt& attempt) {
  // The unit keeps its handle until the slot is used again, so the answer can still be read.
  m_curl.LockMutItem();
  if (unit->m_easy != nullptr) {
    long status = 0;
    if (unit->m_easy->GetInfoWithLong(CURLINFO_RESPONSE_CODE, &status)) attempt.httpStatus = status;
  }
  attempt.curlError = WithoutLineEnd(unit->m_errorBuf);
  attempt.length = unit->m_size;
  m_curl.UnlockMutItem();
}

Fetcher::Transfer* Fetcher::Find(UnitObject* unit) {
  const auto it = m_transfers.find(unit);
  return it == m_transfers.end() ? nullptr : it->second;
}

int Fetcher::OnDownloadStart(UnitObject* unit) {
  std::lock_guard<std::mutex> guard(m_lock);
  if (m_pending != nullptr) m_transfers[unit] = m_pending;
  return 0;
}

int Fetcher::OnDownloadData(UnitObject* unit, int /*code*/, unsigned char* data,
                            unsigned int size) {
  bool cancel = false;
  {
    std::lock_guard<std::mutex> guard(m_lock);
    Transfer* t = Find(unit);
    if (t == nullptr || t->cancelled) return 0;
    if (t->firstChunk) {
      t->firstChunk = false;
      if (unit->m_easy != nullptr) {
        unit->m_easy->GetInfoWithLong(CURLINFO_RESPONSE_CODE, &t->firstStatus);
      }
      // A server that ignores Range answers 200 with the whole resource: stop it at once.
      if (t->wantRange && t->firstStatus != 206 && !(t->wholeWillDo && t->firstStatus == 200)) {
        t->failure = FetchFailure::kRangeIgnored;
        cancel = true;
      }
    }
    if (!cancel) {
      const BodySink::Take take = t->sink.Append(data, size);
      if (take == BodySink::Take::kOverflow) t->failure = FetchFailure::kTooLarge;
      cancel = take != BodySink::Take::kMore;
    }
    t->cancelled = cancel;
  }
  // On the worker thread, under the item lock the engine holds here: Cancel takes it again.
  if (cancel) m_curl.Cancel(unit);
  return 0;
}

int Fetcher::OnRedirect(UnitObject* unit, const char* url) {
  std::lock_guard<std::mutex> guard(m_lock);
  Transfer* t = Find(unit);
  if (t == nullptr) return 0;
  t->redirected = true;
  // The engine reports the first Location target. Relative URIs in the body are resolved against
  // where the body really came from, which libcurl knows after every hop; the reported target is
  // the fallback.
  t->redirectUrl = WithoutLineEnd(url);
  char* effective = nullptr;
  if (unit->m_easy != nullptr && unit->m_easy->GetInfo(CURLINFO_EFFECTIVE_URL, &effective) &&
      effective != nullptr && *effective != '\0') {
    t->redirectUrl = effective;
  }
  return 0;
}

}  // namespace strmplay
