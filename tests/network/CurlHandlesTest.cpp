#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "ConcreateCurlFactory.h"
#include "CurlEasy.h"
#include "CurlMulti.h"
#include "EngineInterpose.h"
#include "LoopbackServer.h"

using strmcommon::ConcreateCurlFactory;
using strmcommon::CurlEasy;
using strmcommon::CurlMsg;
using strmcommon::CurlMulti;
using strmcommon::ICurlEasy;
using strmcommon::ICurlMulti;

namespace {

size_t Discard(char*, size_t size, size_t nmemb, void*) { return size * nmemb; }

struct RecursivePerform {
  CurlMulti* multi = nullptr;
  bool called = false;
  bool result = true;
  CURLMcode code = CURLM_OK;
};

size_t PerformFromCallback(char*, size_t size, size_t nmemb, void* arg) {
  auto* probe = static_cast<RecursivePerform*>(arg);
  if (!probe->called) {
    int running = 0;
    probe->called = true;
    probe->result = probe->multi->Perform(running);
    probe->code = probe->multi->GetLastError();
  }
  return size * nmemb;
}

// Runs every transfer on the multi handle to its end, with a deadline.
bool RunToEnd(CurlMulti& multi) {
  int running = 1;
  for (int i = 0; i < 10000 && running != 0; ++i) {
    while (multi.Perform(running)) {
    }
    if (running == 0) break;
    fd_set r, w, e;
    FD_ZERO(&r);
    FD_ZERO(&w);
    FD_ZERO(&e);
    int maxFd = -1;
    multi.FDSet(&r, &w, &e, &maxFd);
    timeval timeout = {0, 10000};
    multi.Select(maxFd + 1, &r, &w, &e, &timeout);
  }
  return running == 0;
}

}  // namespace

TEST(CurlEasy, FreshObjectHasLastErrorZeroAndAHandle) {
  CurlEasy easy;
  EXPECT_EQ(easy.GetLastError(), CURLE_OK);
  EXPECT_NE(easy.GetHandle(), nullptr);
}

TEST(CurlEasy, SetOptStoresTheCodeAndReturnsTrueOnlyForZero) {
  CurlEasy easy;
  EXPECT_TRUE(easy.SetOpt(CURLOPT_URL, "http://127.0.0.1/"));
  EXPECT_EQ(easy.GetLastError(), CURLE_OK);
  // An out-of-range value for a numeric option, passed in the pointer.
  EXPECT_FALSE(easy.SetOpt(CURLOPT_SSLVERSION, reinterpret_cast<void*>(999L)));
  EXPECT_EQ(easy.GetLastError(), CURLE_BAD_FUNCTION_ARGUMENT);
}

TEST(CurlEasy, ResetLeavesTheEarlierCodeAlone) {
  CurlEasy easy;
  ASSERT_FALSE(easy.SetOpt(CURLOPT_SSLVERSION, reinterpret_cast<void*>(999L)));
  easy.Reset();
  EXPECT_EQ(easy.GetLastError(), CURLE_BAD_FUNCTION_ARGUMENT);
}

TEST(CurlEasy, GetLastErrorHoldsTheLatestStoringCall) {
  CurlEasy easy;
  ASSERT_FALSE(easy.SetOpt(CURLOPT_SSLVERSION, reinterpret_cast<void*>(999L)));
  long status = -1;
  EXPECT_TRUE(easy.GetInfoWithLong(CURLINFO_RESPONSE_CODE, &status));
  EXPECT_EQ(status, 0);
  EXPECT_EQ(easy.GetLastError(), CURLE_OK);
}

TEST(CurlEasy, GetInfoWithAnUnknownInfoFails) {
  CurlEasy easy;
  long value = 0;
  EXPECT_FALSE(easy.GetInfoWithLong(CURLINFO_NONE, &value));
  EXPECT_NE(easy.GetLastError(), CURLE_OK);
  double d = 0;
  EXPECT_FALSE(easy.GetInfoWithDouble(CURLINFO_NONE, &d));
  EXPECT_FALSE(easy.GetInfo(CURLINFO_NONE, &value));
}

TEST(CurlEasy, SetOptMaxNwLimitTakesASixtyFourBitValue) {
  CurlEasy easy;
  EXPECT_TRUE(easy.SetOptMaxNwLimit(CURLOPT_MAX_RECV_SPEED_LARGE, 5000000000LL));
  EXPECT_EQ(easy.GetLastError(), CURLE_OK);
}

TEST(CurlEasy, PerformFetchesAUrl) {
  testsupport::LoopbackServer server;
  CurlEasy easy;
  std::string url = server.Url("/bytes/100");
  easy.SetOpt(CURLOPT_URL, url.c_str());
  easy.SetOpt(CURLOPT_WRITEFUNCTION, reinterpret_cast<void*>(&Discard));
  EXPECT_TRUE(easy.Perform());
  long status = 0;
  EXPECT_TRUE(easy.GetInfoWithLong(CURLINFO_RESPONSE_CODE, &status));
  EXPECT_EQ(status, 200);
  double seconds = -1;
  EXPECT_TRUE(easy.GetInfoWithDouble(CURLINFO_TOTAL_TIME, &seconds));
  EXPECT_GE(seconds, 0.0);
}

TEST(CurlEasy, PerformFailureIsFalseWithTheCodeKept) {
  CurlEasy easy;
  easy.SetOpt(CURLOPT_URL, "nosuchscheme://x/");
  EXPECT_FALSE(easy.Perform());
  EXPECT_EQ(easy.GetLastError(), CURLE_UNSUPPORTED_PROTOCOL);
}

TEST(CurlEasy, PauseAndResumeOfAnIdleHandleFailAndStoreTheCode) {
  CurlEasy easy;
  EXPECT_FALSE(easy.Pause());
  EXPECT_EQ(easy.GetLastError(), CURLE_BAD_FUNCTION_ARGUMENT);
  ASSERT_TRUE(easy.SetOpt(CURLOPT_URL, "http://127.0.0.1/"));
  EXPECT_FALSE(easy.Resume());
  EXPECT_EQ(easy.GetLastError(), CURLE_BAD_FUNCTION_ARGUMENT);
}

TEST(CurlMulti, FreshObjectHasLastErrorZeroAndAHandle) {
  CurlMulti multi;
  EXPECT_EQ(multi.GetLastError(), CURLM_OK);
  EXPECT_NE(multi.GetHandle(), nullptr);
}

TEST(CurlMulti, PerformThatSucceedsReturnsFalse) {
  CurlMulti multi;
  int running = 7;
  EXPECT_FALSE(multi.Perform(running));
  EXPECT_EQ(multi.GetLastError(), CURLM_OK);
  EXPECT_EQ(running, 0);
}

TEST(CurlMulti, PerformThatFailsAlsoReturnsFalseAndOnlyGetLastErrorTellsThemApart) {
  testsupport::LoopbackServer server;
  CurlMulti multi;
  CurlEasy easy;
  RecursivePerform probe;
  probe.multi = &multi;
  std::string url = server.Url("/bytes/1000");
  easy.SetOpt(CURLOPT_URL, url.c_str());
  easy.SetOpt(CURLOPT_WRITEFUNCTION, reinterpret_cast<void*>(&PerformFromCallback));
  easy.SetOpt(CURLOPT_WRITEDATA, &probe);
  ASSERT_TRUE(multi.AddHandle(easy));
  ASSERT_TRUE(RunToEnd(multi));
  ASSERT_TRUE(probe.called);
  EXPECT_FALSE(probe.result);
  EXPECT_EQ(probe.code, CURLM_RECURSIVE_API_CALL);
  multi.RemoveHandle(easy);
}

TEST(CurlMulti, AddHandleTwiceFailsWithTheCodeKept) {
  CurlMulti multi;
  CurlEasy easy;
  EXPECT_TRUE(multi.AddHandle(easy));
  EXPECT_FALSE(multi.AddHandle(easy));
  EXPECT_EQ(multi.GetLastError(), CURLM_ADDED_ALREADY);
  EXPECT_TRUE(multi.RemoveHandle(easy));
  EXPECT_EQ(multi.GetLastError(), CURLM_OK);
}

TEST(CurlMulti, SetMOptStoresTheCode) {
  CurlMulti multi;
  EXPECT_TRUE(multi.SetMOpt(CURLMOPT_MAXCONNECTS, reinterpret_cast<void*>(5L)));
  EXPECT_FALSE(multi.SetMOpt(static_cast<CURLMoption>(9999), nullptr));
  EXPECT_EQ(multi.GetLastError(), CURLM_UNKNOWN_OPTION);
}

TEST(CurlMulti, InfoReadWithAnEmptyQueueReturnsFalseAndLeavesTheMessage) {
  CurlMulti multi;
  CurlMsg msg;
  std::memset(&msg, 0xA5, sizeof(msg));
  CurlMsg before = msg;
  int left = -1;
  EXPECT_FALSE(multi.InfoRead(left, msg));
  // Byte for byte, padding included: nothing of the record may be written.
  // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
  EXPECT_EQ(std::memcmp(&msg, &before, sizeof(msg)), 0);
}

TEST(CurlMulti, InfoReadDeliversAFinishedTransferWithItsPrivatePointerAndAddresses) {
  testsupport::LoopbackServer server;
  CurlMulti multi;
  CurlEasy easy;
  int marker = 0;
  std::string url = server.Url("/bytes/10");
  easy.SetOpt(CURLOPT_URL, url.c_str());
  easy.SetOpt(CURLOPT_WRITEFUNCTION, reinterpret_cast<void*>(&Discard));
  easy.SetOpt(CURLOPT_PRIVATE, &marker);
  ASSERT_TRUE(multi.AddHandle(easy));
  ASSERT_TRUE(RunToEnd(multi));
  CurlMsg msg;
  int left = -1;
  ASSERT_TRUE(multi.InfoRead(left, msg));
  EXPECT_EQ(msg.msg, CURLMSG_DONE);
  EXPECT_EQ(msg.unit, &marker);
  EXPECT_EQ(msg.result, CURLE_OK);
  EXPECT_EQ(msg.easy, easy.GetHandle());
  ASSERT_NE(msg.primaryIp, nullptr);
  EXPECT_STREQ(msg.primaryIp, "127.0.0.1");
  ASSERT_NE(msg.localIp, nullptr);
  EXPECT_STREQ(msg.localIp, "127.0.0.1");
  EXPECT_EQ(left, 0);
  EXPECT_FALSE(multi.InfoRead(left, msg));
  multi.RemoveHandle(easy);
}

TEST(CurlMulti, SelectIsPlainSelectAndStoresNothing) {
  CurlMulti multi;
  CurlEasy easy;
  multi.AddHandle(easy);
  multi.AddHandle(easy);
  CURLMcode before = multi.GetLastError();
  timeval timeout = {0, 1000};
  EXPECT_EQ(multi.Select(0, nullptr, nullptr, nullptr, &timeout), 0);
  EXPECT_EQ(multi.Select(-1, nullptr, nullptr, nullptr, &timeout), -1);
  EXPECT_EQ(multi.GetLastError(), before);
  multi.RemoveHandle(easy);
}

TEST(CurlMulti, FDSetReportsNoDescriptorsWithoutTransfers) {
  CurlMulti multi;
  fd_set r, w, e;
  FD_ZERO(&r);
  FD_ZERO(&w);
  FD_ZERO(&e);
  int maxFd = 0;
  EXPECT_TRUE(multi.FDSet(&r, &w, &e, &maxFd));
  EXPECT_EQ(maxFd, -1);
}

TEST(CurlEasy, ConstructorThrowsWithoutAHandle) {
  engineinterpose::easyInitFailAfter = 0;
  EXPECT_THROW(CurlEasy easy, std::exception);
  engineinterpose::Reset();
}

TEST(CurlMulti, ConstructorThrowsWithoutAHandle) {
  engineinterpose::failMultiInit = true;
  EXPECT_THROW(CurlMulti multi, std::exception);
  engineinterpose::Reset();
}

TEST(ConcreateCurlFactory, CreateLetsTheConstructorsExceptionPass) {
  ConcreateCurlFactory<CurlEasy, CurlMulti> factory;
  engineinterpose::easyInitFailAfter = 0;
  EXPECT_THROW(factory.CreateCurlEasy(), std::exception);
  engineinterpose::Reset();
}

TEST(ConcreateCurlFactory, CreatesAndReleasesConcreteObjects) {
  ConcreateCurlFactory<CurlEasy, CurlMulti> factory;
  ICurlEasy* easy = factory.CreateCurlEasy();
  ICurlMulti* multi = factory.CreateCurlMulti();
  EXPECT_NE(dynamic_cast<CurlEasy*>(easy), nullptr);
  EXPECT_NE(dynamic_cast<CurlMulti*>(multi), nullptr);
  factory.ReleaseCurlEasy(easy);
  factory.ReleaseCurlMulti(multi);
}

TEST(ConcreateCurlFactory, ReleasingNullPointersCleansUpNoHandle) {
  ConcreateCurlFactory<CurlEasy, CurlMulti> factory;
  engineinterpose::Reset();
  factory.ReleaseCurlEasy(nullptr);
  factory.ReleaseCurlMulti(nullptr);
  EXPECT_EQ(engineinterpose::easyCleanups.load(), 0);
  EXPECT_EQ(engineinterpose::multiCleanups.load(), 0);
  // A real release is counted.
  factory.ReleaseCurlEasy(factory.CreateCurlEasy());
  factory.ReleaseCurlMulti(factory.CreateCurlMulti());
  EXPECT_EQ(engineinterpose::easyCleanups.load(), 1);
  EXPECT_EQ(engineinterpose::multiCleanups.load(), 1);
}
