// Transfers through the download engine, one at a time, the way a playback engine makes them:
// the begin operation under LockMutItem, the body into a sink, GetCompleted and EndDownload, the
// client's retry policy on the engine's code, and the checks that only the client can make (a
// byte range that came back whole, a body over its cap, a redirect loop, where a redirect went).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "BodySink.h"
#include "Curl.h"
#include "ICurlCB.h"
#include "RetryPolicy.h"
#include "UnitCode.h"

namespace strmplay {

// The type word of the transfer's UserData.
enum class TransferKind { kPlaylist = 1, kKey = 2, kSegment = 3, kProbe = 4 };

// A transfer that follows more redirects than this is taken for a loop and cancelled.
constexpr long kMaxRedirects = 10;

struct FetchRequest {
  std::string url;
  TransferKind kind = TransferKind::kPlaylist;
  int stream = -1;  // stream index for the bandwidth checker; -1: no media stream
  int segment = -1;
  int bitrate = strmcommon::kBitrateUnknown;
  bool measure = false;        // the body's timing goes to the bandwidth checker
  long long rangeOffset = 0;   // byte range: first byte ...
  long long rangeLength = -1;  // ... and length; -1 for the whole resource
  std::size_t maxBytes = 0;    // cap on the body, 0 for none
  // A probe: the first maxBytes bytes are enough, and the transfer stops there. A shorter range
  // than asked for is accepted, and so is the whole resource (200) for a range from byte 0.
  bool prefixOnly = false;

  bool HasRange() const { return rangeLength >= 0; }
  // "first-last" as the begin operation takes it in front of the URL; empty without a range.
  std::string RangeText() const;
};

enum class FetchFailure {
  kNone,
  kNotStarted,    // the begin operation refused the request
  kEngine,        // the engine's code is not err_none
  kRangeIgnored,  // a byte range was asked for and the answer is not that range
  kTooLarge,      // more than the cap arrived
  kRedirectLoop,  // more than kMaxRedirects redirects
  kInterrupted,   // stopped by the user
};

// One request of a fetch.
struct FetchAttempt {
  int code = strmcommon::err_none;  // the engine's code (or the begin operation's refusal)
  long httpStatus = 0;              // status of the last answer, 0 when none came
  FetchFailure failure = FetchFailure::kNone;
  std::string curlError;       // libcurl's error text, empty when it gave none
  std::size_t bytes = 0;       // body bytes received (beyond any cap included)
  std::size_t length = 0;      // content length the server announced, 0 when unknown
  long long rangeLength = -1;  // the range asked for, -1 for none
  RetryDecision decision = RetryDecision::kDone;
};

struct FetchResult {
  std::vector<std::uint8_t> body;  // of the last attempt; empty when it failed
  std::string url;                 // where the body came from: the redirect target, if any
  bool redirected = false;
  std::vector<FetchAttempt> attempts;

  bool Ok() const { return !attempts.empty() && attempts.back().failure == FetchFailure::kNone; }
  const FetchAttempt& Last() const { return attempts.back(); }
};

// What happened to one request, in words: the HTTP status, the engine's code with its meaning,
// libcurl's error text, or the client's own finding.
std::string DescribeAttempt(const FetchAttempt& attempt);

struct FetcherHooks {
  std::function<void()> idle;  // runs every few milliseconds while a transfer is under way
  std::function<bool()> stop;  // true: cancel the transfer under way (the user stops)
  // After each failed request, with the decision about the next.
  std::function<void(const FetchRequest&, const FetchAttempt&)> failed;
};

class Fetcher : public strmcommon::ICurlCB {
 public:
  // curl must be initialised with this fetcher as its ICurlCB and its loop started before the
  // first Fetch.
  Fetcher(strmcommon::Curl& curl, FetcherHooks hooks);
  ~Fetcher() override;

  // Fetches the request, asking again while the retry policy says so. Runs on the client's
  // thread, one fetch at a time.
  FetchResult Fetch(const FetchRequest& request);

  // ICurlCB, on the engine's threads.
  int OnDownloadStart(strmcommon::UnitObject* unit) override;
  int OnDownloadData(strmcommon::UnitObject* unit, int code, unsigned char* data,
                     unsigned int size) override;
  int OnRedirect(strmcommon::UnitObject* unit, const char* url) override;

 private:
  // The state of one request while the engine runs it.
  struct Transfer {
    explicit Transfer(const FetchRequest& request)
        : sink(request.maxBytes, request.prefixOnly),
          wantRange(request.HasRange()),
          wholeWillDo(request.prefixOnly && request.rangeOffset == 0) {}
    BodySink sink;
    bool wantRange;
    bool wholeWillDo;  // a 200 with the whole resource serves as well as the range
    bool firstChunk = true;
    bool cancelled = false;  // the client cancelled it; no more body wanted
    FetchFailure failure = FetchFailure::kNone;
    long firstStatus = 0;
    bool redirected = false;
    std::string redirectUrl;
  };

  FetchAttempt Once(const FetchRequest& request, FetchResult& result);
  // Waits for the unit to complete, cancelling it when the user stops or it loops on redirects.
  void Wait(strmcommon::UnitObject* unit, Transfer& transfer);
  // The HTTP status, libcurl's error text and the announced length, read from the unit's handle
  // before its slot is given back.
  void ReadOutcome(strmcommon::UnitObject* unit, FetchAttempt& attempt);
  Transfer* Find(strmcommon::UnitObject* unit);

  strmcommon::Curl& m_curl;
  FetcherHooks m_hooks;
  std::mutex m_lock;              // the transfers, shared with the worker thread
  Transfer* m_pending = nullptr;  // bound to its unit by OnDownloadStart
  std::map<strmcommon::UnitObject*, Transfer*> m_transfers;
};

}  // namespace strmplay
