#include <gtest/gtest.h>

#include <set>

#include "ResultText.h"
#include "UnitCode.h"

namespace strmplay {
namespace {

using namespace strmcommon;

TEST(ResultText, EveryResultCodeOfTheEngineHasANameAndWords) {
  const int codes[] = {err_none,        err_retry,      err_failed,        err_add_handle,
                       err_interrupted, err_invalidarg, err_resolve_proxy, err_resolve_host,
                       err_connect,     err_send,       err_recv_error,    err_http,
                       err_ssl,         err_incomplete, err_timeout,       err_http_retry_over};
  std::set<int> inTable;
  for (const ResultWords* row = ResultTableBegin(); row != ResultTableEnd(); ++row) {
    inTable.insert(row->code);
  }
  EXPECT_EQ(inTable.size(), std::size(codes)) << "one row per code, no more";
  for (int code : codes) {
    SCOPED_TRACE(code);
    EXPECT_EQ(inTable.count(code), 1u);
    EXPECT_EQ(ResultName(code).rfind("err_", 0), 0u);
    EXPECT_NE(ResultMeaning(code), "unknown result code");
  }
}

TEST(ResultText, NamesAndMeaningsOfTheCodesAUserMeetsMost) {
  struct Row {
    int code;
    const char* name;
    const char* words;
  } rows[] = {
      {10, "err_retry", "the engine asks for the same request again"},
      {-20, "err_recv_error", "no connection, a connection cut"},
      {-54, "err_http_retry_over", "retries are used up"},
      {-12, "err_interrupted", "cancelled"},
      {-53, "err_timeout", "timed out"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.code);
    EXPECT_EQ(ResultName(row.code), row.name);
    EXPECT_NE(ResultMeaning(row.code).find(row.words), std::string::npos)
        << ResultMeaning(row.code);
  }
}

TEST(ResultText, AComputedCodeIsReadBackIntoTheLibcurlErrorAndTheStatus) {
  // -(100 + 1000 * status + result): libcurl's write error 23 with status 200.
  EXPECT_EQ(ResultMeaning(-200123), "libcurl error 23 with HTTP 200 OK");
  EXPECT_EQ(ResultMeaning(-123), "libcurl error 23");
  EXPECT_EQ(ResultName(-200123), "code -200123");
  EXPECT_EQ(ResultMeaning(-7), "unknown result code");
}

TEST(ResultText, DescribeResultGivesTheCodeItsNameAndItsMeaning) {
  EXPECT_EQ(DescribeResult(-13), "-13 (err_invalidarg: empty URL, or no free transfer slot)");
}

TEST(ResultText, HttpStatusesCarryTheirReasonPhrase) {
  EXPECT_EQ(HttpStatusText(404), "HTTP 404 Not Found");
  EXPECT_EQ(HttpStatusText(503), "HTTP 503 Service Unavailable");
  EXPECT_EQ(HttpStatusText(206), "HTTP 206 Partial Content");
  EXPECT_EQ(HttpStatusText(599), "HTTP 599");
  EXPECT_EQ(HttpStatusText(0), "");
}

}  // namespace
}  // namespace strmplay
