// The client's answer to a failed transfer: whether to request the same thing again.
// The engine classifies (its code 10 asks for another request); the client decides how often it
// follows that request, and it does not for a status that asking again will not change.
#pragma once

namespace strmplay {

// Requests after the first one, at most, for one resource.
constexpr int kMaxRequestsAgain = 2;

enum class RetryDecision {
  kDone,          // finished well: nothing to repeat
  kRequestAgain,  // the engine asks for another request, and the failure may pass
  kGiveUpClient,  // the engine asks, but the server said the request itself is wrong (4xx)
  kGiveUpUsedUp,  // the engine asks, but the client's own requests are used up
  kGiveUpFinal,   // the engine's code is final
};

// code: the engine's final code of the attempt; httpStatus: the status of its answer, 0 for none;
// requestsAgain: how many requests after the first have been made already.
RetryDecision DecideRetry(int code, long httpStatus, int requestsAgain);

// In words, for the line that reports the attempt ("requesting again", ...).
const char* RetryDecisionWords(RetryDecision decision);

}  // namespace strmplay
