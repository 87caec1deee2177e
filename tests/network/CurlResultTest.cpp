// Result classification and retry: ResultIf over substitute handles for every libcurl result,
// then the retry rules against the loopback server with a client that requests again on 10.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "EngineDoubles.h"
#include "StreamRoutes.h"
#include "WholeLogLine.h"

using enginetest::Data;
using enginetest::FakeBodyTest;
using enginetest::LiveEngineTest;
using strmcommon::err_connect;
using strmcommon::err_failed;
using strmcommon::err_http;
using strmcommon::err_http_retry_over;
using strmcommon::err_incomplete;
using strmcommon::err_interrupted;
using strmcommon::err_none;
using strmcommon::err_recv_error;
using strmcommon::err_resolve_host;
using strmcommon::err_resolve_proxy;
using strmcommon::err_retry;
using strmcommon::err_send;
using strmcommon::err_ssl;
using strmcommon::err_timeout;
using strmcommon::UnitObject;
using testsupport::HasWholeLine;
using testsupport::LogCapture;
using testsupport::WaitFor;

namespace {

using CurlResult = FakeBodyTest;

struct Row {
  CURLcode result;
  int mapped;          // the code of the mapping table, as the error line prints it
  const char* preLog;  // the line logged before the mapping, or null
  int final;           // with status 0, nothing received, no retries used
};

// Every row of the mapping table, and some unlisted results.
const Row kRows[] = {
    {CURLE_COULDNT_RESOLVE_PROXY, err_resolve_proxy, nullptr, err_recv_error},
    {CURLE_COULDNT_RESOLVE_HOST, err_resolve_host, nullptr, err_resolve_host},
    {CURLE_COULDNT_CONNECT, err_connect, nullptr, err_recv_error},
    {CURLE_REMOTE_ACCESS_DENIED, err_ssl, "[ERROR] SSL error: 9", err_ssl},
    {CURLE_PARTIAL_FILE, err_incomplete, nullptr, err_retry},
    {CURLE_HTTP_RETURNED_ERROR, err_http, "[ERROR] http error: 22", err_recv_error},
    {CURLE_OPERATION_TIMEDOUT, err_timeout, "[Warning] CURLE_OPERATION_TIMEDOUT occured!",
     err_timeout},
    {CURLE_HTTP_POST_ERROR, err_http, "[ERROR] http error: 34", err_recv_error},
    {CURLE_SSL_CONNECT_ERROR, err_ssl, "[ERROR] SSL error: 35", err_ssl},
    {CURLE_TOO_MANY_REDIRECTS, err_http, "[ERROR] http error: 47", err_recv_error},
    {CURLE_GOT_NOTHING, err_http, "[ERROR] http error: 52", err_recv_error},
    {CURLE_SSL_ENGINE_NOTFOUND, err_ssl, "[ERROR] SSL error: 53", err_ssl},
    {CURLE_SSL_ENGINE_SETFAILED, err_ssl, "[ERROR] SSL error: 54", err_ssl},
    {CURLE_SEND_ERROR, err_send, nullptr, err_recv_error},
    {CURLE_RECV_ERROR, err_incomplete, "[Warning]CURLE_RECV_ERROR error occured!", err_retry},
    {CURLE_PEER_FAILED_VERIFICATION, err_ssl, "[ERROR] SSL error: 60", err_ssl},
    {CURLE_UNSUPPORTED_PROTOCOL, -101, nullptr, err_recv_error},
    {CURLE_WRITE_ERROR, -123, nullptr, err_recv_error},
    {CURLE_BAD_CONTENT_ENCODING, -161, nullptr, err_recv_error},
    {CURLE_SSL_CACERT_BADFILE, -177, nullptr, err_recv_error},
};

std::string ErrorLinePart(int mapped, CURLcode result, long status) {
  return "vas(" + std::to_string(mapped) + "), Curl(" + std::to_string(result) + "), http(" +
         std::to_string(status) + ")";
}

}  // namespace

TEST_F(CurlResult, EveryLibcurlResultMapsAndEndsAsTheTableSays) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.result);
    UnitObject* unit = BeginScripted();
    engineinterpose::captureUsleep = true;
    LogCapture capture;
    curl->LockMutItem();
    int code = curl->ResultIf(unit, row.result, 0, -1);
    curl->UnlockMutItem();
    engineinterpose::captureUsleep = false;
    EXPECT_EQ(code, row.final);
    EXPECT_EQ(unit->code, row.final);
    auto error = capture.Containing("Curl Download Error!!");
    ASSERT_EQ(error.size(), 1u);
    EXPECT_NE(error[0].text.find(ErrorLinePart(row.mapped, row.result, 0)), std::string::npos)
        << error[0].text;
    EXPECT_EQ(error[0].priority, 6);
    if (row.preLog != nullptr) {
      auto pre = capture.WithMessage(row.preLog);
      ASSERT_EQ(pre.size(), 1u);
      EXPECT_EQ(pre[0].priority, 6);
      EXPECT_TRUE(HasWholeLine(capture, "CurlResult.cpp", "ResultIf", row.preLog));
    }
    EXPECT_EQ(capture.Count("--- final unit->code: " + std::to_string(row.final)), 1u);
    // Each unit's slot back for the next row.
    curl->m_units[unit->m_index].first = false;
    unit->code = err_none;
  }
}

TEST_F(CurlResult, SuccessIsZeroWithNoErrorLineAndLeavesTheRetryState) {
  UnitObject* unit = BeginScripted();
  unit->m_retry = 4;
  unit->m_httpStatus = 503;
  LogCapture capture;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_OK, 200, -1), err_none);
  EXPECT_TRUE(capture.Containing("Curl Download Error!!").empty());
  EXPECT_TRUE(capture.Containing("--- unit->code").empty());
  EXPECT_EQ(unit->m_retry, 4u);
  EXPECT_EQ(unit->m_httpStatus, 503);
}

TEST_F(CurlResult, NullUnitLogsTheErrorAndGivesMinusOne) {
  LogCapture capture;
  EXPECT_EQ(curl->ResultIf(nullptr, CURLE_OK, 200, -1), err_failed);
  EXPECT_EQ(capture.Count(">> strmcommon::Unit == NULL ERROR"), 1u);
}

TEST_F(CurlResult, ComputedCodeCarriesTheStatus) {
  UnitObject* unit = BeginScripted();
  LogCapture capture;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_WRITE_ERROR, 200, -1), err_recv_error);
  EXPECT_EQ(capture.Containing(ErrorLinePart(-200123, CURLE_WRITE_ERROR, 200)).size(), 1u);
  EXPECT_EQ(capture.Count("--- else, err_recv_error"), 1u);
}

TEST_F(CurlResult, ErrorLineShowsEveryField) {
  UnitObject* unit = BeginScripted();
  unit->m_pos = 12;
  unit->m_size = 34;
  unit->m_pause = true;
  LogCapture capture;
  curl->ResultIf(unit, CURLE_SEND_ERROR, 0, -1);
  EXPECT_EQ(capture.Count("Curl Download Error!!: pause(1), interrupt(0), vas(-19), Curl(55), "
                          "http(0), now(12), total(34), http://media.test/a.ts, curlID(-1)"),
            1u);
  // Printed, and nothing else: the pause decides nothing.
  EXPECT_EQ(unit->code, err_recv_error);
  unit->m_pause = false;
}

TEST_F(CurlResult, HeadersKeptModeNeverFinishesWithZero) {
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  ASSERT_EQ(
      curl->BeginDownload2(0, "http://media.test/d", "", false, unit, false, Data(), true, "tag"),
      0);
  curl->UnlockMutItem();
  LogCapture capture;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_OK, 200, -1), err_recv_error);
  EXPECT_EQ(capture.Containing(ErrorLinePart(-23, CURLE_OK, 200)).size(), 1u);
  engineinterpose::captureUsleep = true;
  unit->code = err_none;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_OK, 404, -1), err_retry);
  // The whole-content rule is closed to it too.
  unit->m_pos = unit->m_size = 100;
  unit->code = err_none;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_RECV_ERROR, 200, -1), err_recv_error);
}

TEST_F(CurlResult, NotFoundIsRetriedTwentyTimesOnOneCounterThenGivesMinusFiftyFour) {
  UnitObject* unit = BeginScripted();
  engineinterpose::captureUsleep = true;
  for (size_t i = 1; i <= 20; ++i) {
    LogCapture capture;
    EXPECT_EQ(curl->ResultIf(unit, CURLE_HTTP_RETURNED_ERROR, 404, -1), err_retry);
    EXPECT_EQ(unit->m_retry, i);
    EXPECT_EQ(unit->m_httpStatus, 404);
    auto lines = capture.WithMessage(" HTTP 400 404 504 403 500 Error case 404");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].priority, 6);
    EXPECT_EQ(capture.Count(" HTTP 4XX 5XX ERROR ( retry : " + std::to_string(i) + " )"), 1u);
  }
  LogCapture capture;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_HTTP_RETURNED_ERROR, 404, -1), err_http_retry_over);
  EXPECT_EQ(capture.Count(" HTTP  4XX 5XX ERROR - retry count ( retry : 20 )"), 1u);
  EXPECT_EQ(unit->m_retry, 20u);
  // One sleep of 500 ms per retry, none for the last.
  EXPECT_EQ(engineinterpose::UsleepCalls(), std::vector<unsigned int>(20, 500000));
}

TEST_F(CurlResult, EveryListedStatusIsRetriedAndOthersAreNot) {
  engineinterpose::captureUsleep = true;
  for (long status : {400L, 403L, 404L, 500L, 503L, 504L}) {
    UnitObject* unit = BeginScripted();
    EXPECT_EQ(curl->ResultIf(unit, CURLE_HTTP_RETURNED_ERROR, status, -1), err_retry) << status;
    EXPECT_EQ(unit->m_httpStatus, status);
    unit->code = err_none;
    curl->m_units[unit->m_index].first = false;
  }
  for (long status : {401L, 402L, 405L, 410L, 501L, 502L, 505L}) {
    UnitObject* unit = BeginScripted();
    EXPECT_EQ(curl->ResultIf(unit, CURLE_HTTP_RETURNED_ERROR, status, -1), err_recv_error)
        << status;
    EXPECT_EQ(unit->m_httpStatus, 0);
    EXPECT_EQ(unit->m_retry, 0u);
    curl->m_units[unit->m_index].first = false;
  }
}

TEST_F(CurlResult, ListedStatusIsRetriedWhateverTheFailure) {
  UnitObject* unit = BeginScripted();
  engineinterpose::captureUsleep = true;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_SSL_CONNECT_ERROR, 404, -1), err_retry);
  EXPECT_EQ(curl->ResultIf(unit, CURLE_COULDNT_RESOLVE_HOST, 500, -1), err_retry);
  EXPECT_EQ(unit->m_retry, 2u);
}

TEST_F(CurlResult, TlsFailureWithoutAListedStatusKeepsItsCodeUnderTheHostMessage) {
  UnitObject* unit = BeginScripted();
  LogCapture capture;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_PEER_FAILED_VERIFICATION, 0, -1), err_ssl);
  EXPECT_EQ(capture.Count(" [ERROR] Host not resolved: unit code = -25, curl code = 60 http "
                          "status = 0"),
            1u);
  EXPECT_EQ(unit->m_retry, 0u);
}

TEST_F(CurlResult, BodyCutShortIsRetriedWithTheReceivedBytesToSkip) {
  UnitObject* unit = BeginScripted();
  unit->m_size = 1000;
  unit->m_pos = 400;
  unit->m_skipBytes = 100;
  engineinterpose::captureUsleep = true;
  LogCapture capture;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_PARTIAL_FILE, 200, -1), err_retry);
  EXPECT_EQ(unit->m_skipBytes, 400u);
  EXPECT_EQ(unit->m_retry, 1u);
  auto lines = capture.WithMessage(
      "Curl Retry incomplete download: retry(1), pause(0), interrupt(0), now(400), total(1000), "
      "url(http://media.test/a.ts)");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_EQ(engineinterpose::UsleepCalls(), (std::vector<unsigned int>{500000}));
  // The skip position never goes back.
  unit->m_pos = 200;
  curl->ResultIf(unit, CURLE_PARTIAL_FILE, 200, -1);
  EXPECT_EQ(unit->m_skipBytes, 400u);
}

TEST_F(CurlResult, BrokenOffAfterTheWholeContentIsASuccess) {
  UnitObject* unit = BeginScripted();
  unit->m_size = 1000;
  unit->m_pos = 1000;
  unit->m_httpStatus = 404;
  engineinterpose::captureUsleep = true;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_RECV_ERROR, 200, -1), err_none);
  EXPECT_EQ(unit->m_httpStatus, 0);
  EXPECT_EQ(unit->m_retry, 0u);
  EXPECT_TRUE(engineinterpose::UsleepCalls().empty());
}

TEST_F(CurlResult, BrokenOffWithoutALengthIsRetriedUpToTheLimitThenFallsToMinusTwenty) {
  UnitObject* unit = BeginScripted();
  unit->m_pos = 5000;
  engineinterpose::captureUsleep = true;
  for (int i = 0; i < 20; ++i)
    EXPECT_EQ(curl->ResultIf(unit, CURLE_RECV_ERROR, 200, -1), err_retry);
  EXPECT_EQ(curl->ResultIf(unit, CURLE_RECV_ERROR, 200, -1), err_recv_error);
  // With a listed status behind it the status rule takes over.
  EXPECT_EQ(curl->ResultIf(unit, CURLE_RECV_ERROR, 503, -1), err_http_retry_over);
}

TEST_F(CurlResult, TimeoutIsRetriedOnlyWithoutBodyAndBelowTheRetryCount) {
  UnitObject* unit = BeginScripted();
  curl->m_retryCount = 6;
  engineinterpose::captureUsleep = true;
  unit->m_pos = 1;
  LogCapture capture;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_OPERATION_TIMEDOUT, 0, -1), err_timeout);
  EXPECT_EQ(capture.Count(" HTTP TIME OUT ERROR-1 !"), 1u);
  auto lines = capture.WithMessage(
      "Curl Retry on operation timeout: retry(0), pause(0), interrupt(0), now(1), total(0), "
      "url(http://media.test/a.ts)");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
  unit->m_pos = 0;
  unit->m_retry = 5;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_OPERATION_TIMEDOUT, 0, -1), err_retry);
  EXPECT_EQ(unit->m_retry, 6u);
  EXPECT_EQ(curl->ResultIf(unit, CURLE_OPERATION_TIMEDOUT, 0, -1), err_timeout);
  EXPECT_EQ(engineinterpose::UsleepCalls(), (std::vector<unsigned int>{500000}));
}

TEST_F(CurlResult, TimeoutIsNotRetriedWithTheRetryCountAsBuilt) {
  UnitObject* unit = BeginScripted();
  EXPECT_EQ(curl->m_retryCount, 0);
  EXPECT_EQ(curl->ResultIf(unit, CURLE_OPERATION_TIMEDOUT, 0, -1), err_timeout);
  EXPECT_EQ(unit->m_retry, 0u);
}

TEST_F(CurlResult, TimeoutWithTheWholeBodyStillStaysMinusFiftyThree) {
  UnitObject* unit = BeginScripted();
  unit->m_pos = unit->m_size = 1000;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_OPERATION_TIMEDOUT, 200, -1), err_timeout);
}

TEST_F(CurlResult, ThreeKindsOfRetryShareOneCounter) {
  UnitObject* unit = BeginScripted();
  curl->m_retryCount = 30;
  engineinterpose::captureUsleep = true;
  for (int i = 0; i < 10; ++i) curl->ResultIf(unit, CURLE_OPERATION_TIMEDOUT, 0, -1);
  unit->m_pos = 10;
  for (int i = 0; i < 5; ++i) curl->ResultIf(unit, CURLE_PARTIAL_FILE, 200, -1);
  EXPECT_EQ(unit->m_retry, 15u);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(curl->ResultIf(unit, CURLE_HTTP_RETURNED_ERROR, 404, -1), err_retry);
  }
  EXPECT_EQ(unit->m_retry, 20u);
  EXPECT_EQ(curl->ResultIf(unit, CURLE_HTTP_RETURNED_ERROR, 404, -1), err_http_retry_over);
}

TEST_F(CurlResult, GuardTurnsATwentyFirstTimeoutRetryIntoMinusTwenty) {
  UnitObject* unit = BeginScripted();
  curl->m_retryCount = 25;
  unit->m_retry = 20;
  engineinterpose::captureUsleep = true;
  LogCapture capture;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_OPERATION_TIMEDOUT, 0, -1), err_recv_error);
  EXPECT_EQ(unit->m_retry, 21u);
  EXPECT_EQ(capture.Count("--- unit->code  :-20"), 1u);
  // The guard also stands over the whole-content rule.
  unit->m_pos = unit->m_size = 10;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_RECV_ERROR, 200, -1), err_recv_error);
}

TEST_F(CurlResult, CancelBeatsEveryRetryRuleWithoutAnErrorLine) {
  UnitObject* unit = BeginScripted();
  unit->m_cancel = true;
  LogCapture capture;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_ABORTED_BY_CALLBACK, 404, -1), err_interrupted);
  EXPECT_TRUE(capture.Containing("Curl Download Error!!").empty());
  EXPECT_TRUE(capture.Containing("--- unit->code").empty());
  EXPECT_FALSE(unit->m_cancel);
  EXPECT_EQ(unit->m_retry, 0u);
  // Another failure of a cancelled unit is logged, then becomes -12.
  unit->m_cancel = true;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_HTTP_RETURNED_ERROR, 404, -1), err_interrupted);
  EXPECT_EQ(capture.Containing("interrupt(1)").size(), 1u);
}

TEST_F(CurlResult, SleepOfARetryHappensWithTheEngineLockHeld) {
  UnitObject* unit = BeginScripted();
  curl->Process();
  EasyOf(unit)->longInfo[CURLINFO_RESPONSE_CODE] = 404;
  state->messages.push_back(testsupport::DoneMessage(unit, CURLE_HTTP_RETURNED_ERROR));
  LogCapture capture;
  std::thread worker([&] { curl->Process(); });
  // Logged just before the 500 ms sleep.
  ASSERT_TRUE(WaitFor([&] { return capture.Count(" HTTP 4XX 5XX ERROR ( retry : 1 )") == 1; }));
  auto start = std::chrono::steady_clock::now();
  curl->LockMutItem();
  auto waited = std::chrono::steady_clock::now() - start;
  curl->UnlockMutItem();
  worker.join();
  EXPECT_GE(waited, std::chrono::milliseconds(300));
  int code = 0;
  long date = 0;
  EXPECT_EQ(curl->GetCompleted(code, date), unit);
  EXPECT_EQ(code, err_retry);
}

TEST_F(CurlResult, RedirectEndingInSuccessIsReportedWithItsFirstTarget) {
  UnitObject* unit = BeginScripted();
  UnitObject* other = BeginScripted();
  curl->m_redirects.push_back({other, "http://x/o\r\n"});
  curl->m_redirects.push_back({unit, "http://x/first\r\n"});
  curl->m_redirects.push_back({other, "http://x/o2\r\n"});
  curl->m_redirects.push_back({unit, "http://x/second\r\n"});
  EasyOf(unit)->longInfo[CURLINFO_REDIRECT_COUNT] = 2;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_OK, 200, -1), err_none);
  auto redirects = client.Redirects();
  ASSERT_EQ(redirects.size(), 1u);
  EXPECT_EQ(redirects[0].first, unit);
  EXPECT_EQ(redirects[0].second, "http://x/first\r\n");
  ASSERT_EQ(curl->m_redirects.size(), 3u);
  EXPECT_EQ(curl->m_redirects[0].second, "http://x/o\r\n");
  EXPECT_EQ(curl->m_redirects[1].second, "http://x/o2\r\n");
  EXPECT_EQ(curl->m_redirects[2].second, "http://x/second\r\n");
}

TEST_F(CurlResult, RedirectEndingInFailureIsNotReportedButItsEntryIsGone) {
  UnitObject* unit = BeginScripted();
  curl->m_redirects.push_back({unit, "http://x/first\r\n"});
  EasyOf(unit)->longInfo[CURLINFO_REDIRECT_COUNT] = 1;
  engineinterpose::captureUsleep = true;
  EXPECT_EQ(curl->ResultIf(unit, CURLE_HTTP_RETURNED_ERROR, 404, -1), err_retry);
  EXPECT_TRUE(client.Redirects().empty());
  EXPECT_TRUE(curl->m_redirects.empty());
}

TEST_F(CurlResult, NoRedirectCountNoReport) {
  UnitObject* unit = BeginScripted();
  curl->m_redirects.push_back({unit, "http://x/first\r\n"});
  EXPECT_EQ(curl->ResultIf(unit, CURLE_OK, 200, -1), err_none);
  EXPECT_TRUE(client.Redirects().empty());
  EXPECT_TRUE(curl->m_redirects.empty());
}

// Real transfers: a client that requests the same URL again whenever it receives 10.

namespace {

class CurlResultLive : public LiveEngineTest {
 protected:
  void SetUp() override {
    LiveEngineTest::SetUp();
    testsupport::AddStreamRoutes(server);
    engineinterpose::Reset();
    // The 500 ms sleeps of a retry return at once; the worker's own 1 ms pacing stays.
    engineinterpose::skipUsleepFrom = 400000;
  }
  void TearDown() override {
    LiveEngineTest::TearDown();
    engineinterpose::Reset();
  }

  // Requests url, and again on every 10, until another code; the codes in order.
  std::vector<int> RunWithRetries(const std::string& url, UnitObject*& last, size_t limit = 40) {
    std::vector<int> codes;
    UnitObject* unit = nullptr;
    EXPECT_EQ(Begin(unit, url), err_none);
    while (unit != nullptr && codes.size() < limit) {
      int code = 99;
      long date = 0;
      UnitObject* done = WaitCompleted(code, date);
      EXPECT_EQ(done, unit);
      if (done == nullptr) break;
      codes.push_back(code);
      last = unit;
      EXPECT_EQ(curl->EndDownload(unit), code);
      if (code != err_retry || codes.size() == limit) break;
      UnitObject* again = nullptr;
      EXPECT_EQ(Begin(again, url), err_none);
      // The retry lands on the same slot, so its counter goes on.
      EXPECT_EQ(again, unit);
      unit = again;
    }
    return codes;
  }
};

}  // namespace

TEST_F(CurlResultLive, NotFoundIsRetriedOnOneSlotUntilMinusFiftyFour) {
  UnitObject* unit = nullptr;
  auto codes = RunWithRetries(server.Url("/status/404"), unit);
  std::vector<int> expected(20, 10);
  expected.push_back(-54);
  EXPECT_EQ(codes, expected);
  ASSERT_NE(unit, nullptr);
  EXPECT_EQ(unit->m_retry, 20u);
  EXPECT_EQ(unit->m_httpStatus, 404);
  EXPECT_EQ(engineinterpose::UsleepCalls(), std::vector<unsigned int>(20, 500000));
}

TEST_F(CurlResultLive, UnauthorizedAndBadGatewayEndAsMinusTwentyWithoutRetry) {
  for (const char* path : {"/status/401", "/status/502"}) {
    LogCapture capture;
    UnitObject* unit = nullptr;
    EXPECT_EQ(RunWithRetries(server.Url(path), unit), (std::vector<int>{-20})) << path;
    EXPECT_EQ(capture.Count("--- else, err_recv_error"), 1u);
    EXPECT_EQ(capture.Count("[ERROR] http error: 22"), 1u);
  }
}

TEST_F(CurlResultLive, ServiceUnavailableIsRetried) {
  UnitObject* unit = nullptr;
  auto codes = RunWithRetries(server.Url("/status/503"), unit, 3);
  EXPECT_EQ(codes, (std::vector<int>{10, 10, 10}));
  EXPECT_EQ(unit->m_httpStatus, 503);
  EXPECT_EQ(unit->m_retry, 3u);
}

TEST_F(CurlResultLive, BodyCutShortAtFourHundredOfAThousandAsksForARetryWithFourHundredToSkip) {
  LogCapture capture;
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/drop/1000/400")), err_none);
  int code = 0;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_retry);
  EXPECT_EQ(unit->m_pos, 400u);
  EXPECT_EQ(unit->m_size, 1000u);
  EXPECT_EQ(unit->m_skipBytes, 400u);
  EXPECT_EQ(client.Get(unit).sum.Value(), testsupport::Checksum::OfContent(400));
  EXPECT_EQ(capture
                .Containing("Curl Retry incomplete download: retry(1), pause(0), interrupt(0), "
                            "now(400), total(1000)")
                .size(),
            1u);
  EXPECT_EQ(curl->EndDownload(unit), err_retry);
  // The request again starts from the first byte: the skip is cleared by the set-up.
  UnitObject* again = nullptr;
  ASSERT_EQ(Begin(again, server.Url("/bytes/1000")), err_none);
  EXPECT_EQ(again->m_skipBytes, 0u);
  ASSERT_EQ(WaitCompleted(code, date), again);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(client.Get(again).sum.Value(), testsupport::Checksum::OfContent(1000));
  EXPECT_EQ(curl->EndDownload(again), err_none);
}

TEST_F(CurlResultLive, ChunkedBodyBrokenOffIsRetriedForLackOfALength) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/chunkdrop/50000")), err_none);
  int code = 0;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_retry);
  EXPECT_EQ(unit->m_size, 0u);
  EXPECT_EQ(unit->m_pos, 50000u);
  EXPECT_EQ(unit->m_skipBytes, 50000u);
  EXPECT_EQ(client.Get(unit).sum.Value(), testsupport::Checksum::OfContent(50000));
  EXPECT_EQ(curl->EndDownload(unit), err_retry);
}

TEST_F(CurlResultLive, WholeChunkedBodyIsASuccess) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/chunked/300000")), err_none);
  int code = -1;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(client.Get(unit).sum.Value(), testsupport::Checksum::OfContent(300000));
  EXPECT_EQ(curl->EndDownload(unit), err_none);
}
