#include <gtest/gtest.h>

#include "RetryPolicy.h"
#include "UnitCode.h"

namespace strmplay {
namespace {

using namespace strmcommon;

TEST(RetryPolicy, FollowsTheEnginesRequestForTransientFailuresOnlyAndOnlyTwice) {
  struct Row {
    int code;
    long status;
    int requestsAgain;
    RetryDecision decision;
  } rows[] = {
      {err_none, 200, 0, RetryDecision::kDone},
      // The engine asks again for 400, 403, 404, 500, 503, 504 and cut transfers.
      {err_retry, 404, 0, RetryDecision::kGiveUpClient},
      {err_retry, 403, 0, RetryDecision::kGiveUpClient},
      {err_retry, 400, 0, RetryDecision::kGiveUpClient},
      {err_retry, 500, 0, RetryDecision::kRequestAgain},
      {err_retry, 503, 1, RetryDecision::kRequestAgain},
      {err_retry, 504, 2, RetryDecision::kGiveUpUsedUp},
      {err_retry, 200, 0, RetryDecision::kRequestAgain},  // broke off mid-body
      {err_retry, 0, kMaxRequestsAgain, RetryDecision::kGiveUpUsedUp},
      // Final codes are final.
      {err_recv_error, 0, 0, RetryDecision::kGiveUpFinal},
      {err_http_retry_over, 404, 0, RetryDecision::kGiveUpFinal},
      {err_timeout, 0, 0, RetryDecision::kGiveUpFinal},
      {err_interrupted, 0, 0, RetryDecision::kGiveUpFinal},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << row.code << " " << row.status << " " << row.requestsAgain);
    EXPECT_EQ(DecideRetry(row.code, row.status, row.requestsAgain), row.decision);
  }
}

TEST(RetryPolicy, EveryDecisionHasWords) {
  for (auto d : {RetryDecision::kDone, RetryDecision::kRequestAgain, RetryDecision::kGiveUpClient,
                 RetryDecision::kGiveUpUsedUp, RetryDecision::kGiveUpFinal}) {
    EXPECT_STRNE(RetryDecisionWords(d), "");
  }
}

}  // namespace
}  // namespace strmplay
