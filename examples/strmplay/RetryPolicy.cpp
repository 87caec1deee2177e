#include "RetryPolicy.h"

#include "UnitCode.h"

namespace strmplay {

RetryDecision DecideRetry(int code, long httpStatus, int requestsAgain) {
  if (code == strmcommon::err_none) return RetryDecision::kDone;
  if (code != strmcommon::err_retry) return RetryDecision::kGiveUpFinal;
  // A client error (missing file, forbidden, bad request) stays what it is however often it is
  // asked for; server errors, cut transfers and timeouts may pass.
  if (httpStatus >= 400 && httpStatus < 500) return RetryDecision::kGiveUpClient;
  if (requestsAgain >= kMaxRequestsAgain) return RetryDecision::kGiveUpUsedUp;
  return RetryDecision::kRequestAgain;
}

const char* RetryDecisionWords(RetryDecision decision) {
  switch (decision) {
    case RetryDecision::kDone:
      return "done";
    case RetryDecision::kRequestAgain:
      return "requesting again";
    case RetryDecision::kGiveUpClient:
      return "not requested again: the server refuses the request itself";
    case RetryDecision::kGiveUpUsedUp:
      return "not requested again: still failing after the client's repeated requests";
    case RetryDecision::kGiveUpFinal:
      return "given up";
  }
  return "";
}

}  // namespace strmplay
