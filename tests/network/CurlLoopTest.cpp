// The worker pass, completion and shutdown, over substitute handles: Process() is driven from the
// test thread, so every libcurl result can be given exactly.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "EngineFixture.h"
#include "WholeLogLine.h"

using enginetest::Data;
using enginetest::FakeEngineTest;
using strmcommon::err_add_handle;
using strmcommon::err_failed;
using strmcommon::err_interrupted;
using strmcommon::err_none;
using strmcommon::err_recv_error;
using strmcommon::err_resolve_host;
using strmcommon::UnitObject;
using testsupport::DoneMessage;
using testsupport::HasWholeLine;
using testsupport::LogCapture;
using testsupport::WaitFor;

namespace {

std::string Hex(const void* p) {
  char text[32];
  snprintf(text, sizeof(text), "%p", p);
  return text;
}

using CurlLoop = FakeEngineTest;

}  // namespace

TEST_F(CurlLoop, PassWithNothingToDoReturnsFalseAfterOnePerformWithoutSelect) {
  EXPECT_FALSE(curl->Process());
  EXPECT_EQ(state->calls, (std::vector<std::string>{"perform", "inforead"}));
}

TEST_F(CurlLoop, PassAddsQueuedUnitsAndLogsEachAtErrorLevel) {
  UnitObject* a = nullptr;
  UnitObject* b = nullptr;
  ASSERT_EQ(Begin(a), err_none);
  ASSERT_EQ(Begin(b), err_none);
  LogCapture capture;
  EXPECT_FALSE(curl->Process());
  EXPECT_EQ(state->added, (std::vector<strmcommon::ICurlEasy*>{a->m_easy, b->m_easy}));
  EXPECT_TRUE(curl->m_requests.empty());
  auto lines = capture.WithMessage("Add handle for unit(" + Hex(a) + ")");
  EXPECT_TRUE(
      HasWholeLine(capture, "CurlLoop.cpp", "Process", "Add handle for unit(" + Hex(a) + ")"));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_EQ(capture.Count("Add handle for unit(" + Hex(b) + ")"), 1u);
}

TEST_F(CurlLoop, NullRequestIsLoggedAndDropped) {
  curl->m_requests.push_back(nullptr);
  LogCapture capture;
  EXPECT_FALSE(curl->Process());
  EXPECT_TRUE(curl->m_requests.empty());
  EXPECT_TRUE(state->added.empty());
  auto lines = capture.WithMessage("Strange null unit is requested, ignoring..");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
}

TEST_F(CurlLoop, UnitCancelledWhileQueuedNeverEntersTheMultiHandleNorTheCompletedList) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  unit->m_cancel = true;
  LogCapture capture;
  curl->Process();
  EXPECT_TRUE(state->added.empty());
  EXPECT_TRUE(curl->m_completed.empty());
  EXPECT_FALSE(curl->m_units[unit->m_index].first);
  EXPECT_TRUE(curl->IsIdle());
  auto lines = capture.WithMessage("Cancel request unit(" + Hex(unit) + ")");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_EQ(capture.Count(">>"), 1u);
  EXPECT_EQ(capture.Count("<<"), 1u);
}

TEST_F(CurlLoop, AddHandleFailureCompletesTheUnitWithMinusThreeAndLeavesDoneFalse) {
  state->addHandleResult = false;
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  LogCapture capture;
  curl->Process();
  EXPECT_EQ(unit->code, err_add_handle);
  EXPECT_FALSE(unit->m_done);
  ASSERT_EQ(curl->m_completed.size(), 1u);
  EXPECT_EQ(curl->m_completed.front(), unit);
  auto lines = capture.WithMessage("Add handle failure for unit(" + Hex(unit) + ")");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
}

TEST_F(CurlLoop, EndDownloadOfAnAddHandleFailureReturnsMinusThreeAtOnce) {
  state->addHandleResult = false;
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  curl->Process();
  int code = 0;
  long date = -1;
  ASSERT_EQ(curl->GetCompleted(code, date), unit);
  EXPECT_EQ(code, err_add_handle);
  EXPECT_EQ(curl->EndDownload(unit), err_add_handle);
  EXPECT_FALSE(curl->m_units[unit->m_index].first);
}

TEST_F(CurlLoop, PerformIsRepeatedWhileItAsksToBeCalledAgain) {
  state->performScript = {{true, 0}, {true, 0}, {false, 0}};
  curl->Process();
  EXPECT_EQ(state->performCalls, 3);
  EXPECT_EQ(state->selectCalls, 0);
}

TEST_F(CurlLoop, RunningTransfersWaitInSelectForThreeHundredMillisecondsAtMost) {
  state->performScript = {{false, 1}, {false, 0}};
  state->fdsetMaxFd = 6;
  curl->Process();
  EXPECT_EQ(state->calls,
            (std::vector<std::string>{"perform", "fdset", "select", "perform", "inforead"}));
  EXPECT_EQ(state->selectNfds, 7);
  EXPECT_EQ(state->selectTimeout.tv_sec, 0);
  EXPECT_EQ(state->selectTimeout.tv_usec, 300000);
}

TEST_F(CurlLoop, NoDescriptorsMakesSelectRunWithNfdsZero) {
  state->performScript = {{false, 1}, {false, 1}};
  state->fdsetMaxFd = -1;
  curl->Process();
  EXPECT_EQ(state->selectCalls, 1);
  EXPECT_EQ(state->selectNfds, 0);
  EXPECT_EQ(state->selectTimeout.tv_usec, 300000);
}

TEST_F(CurlLoop, DescriptorZeroMakesSelectRunWithNfdsOne) {
  state->performScript = {{false, 1}, {false, 1}};
  state->fdsetMaxFd = 0;
  curl->Process();
  EXPECT_EQ(state->selectNfds, 1);
}

TEST_F(CurlLoop, FailedSelectSkipsTheSecondPerform) {
  state->performScript = {{false, 1}};
  state->selectResult = -1;
  curl->Process();
  EXPECT_EQ(state->calls, (std::vector<std::string>{"perform", "fdset", "select", "inforead"}));
}

TEST_F(CurlLoop, SelectIsTheOnePlaceInAPassWhereOtherThreadsGetTheLock) {
  state->performScript = {{false, 1}, {false, 1}};
  bool freeInSelect = false;
  bool freeInPerform = true;
  auto lockIsFree = [&] {
    bool free = false;
    std::thread other([&] {
      free = curl->m_mutItem.TryLock();
      if (free) curl->m_mutItem.Unlock();
    });
    other.join();
    return free;
  };
  state->onSelect = [&] { freeInSelect = lockIsFree(); };
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  curl->Process();
  EXPECT_TRUE(freeInSelect);
  // Held, the lock keeps the other thread out: the check itself can fail.
  state->onSelect = nullptr;
  curl->LockMutItem();
  freeInPerform = lockIsFree();
  curl->UnlockMutItem();
  EXPECT_FALSE(freeInPerform);
}

TEST_F(CurlLoop, TransferFinishingInTheFirstPerformIsReportedInTheSamePass) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  state->messages.push_back(DoneMessage(unit, CURLE_OK));
  EasyOf(unit)->longInfo[CURLINFO_RESPONSE_CODE] = 200;
  EXPECT_TRUE(curl->Process());
  EXPECT_EQ(state->selectCalls, 0);
  EXPECT_TRUE(unit->m_done);
  EXPECT_EQ(unit->code, err_none);
  ASSERT_EQ(curl->m_completed.size(), 1u);
  EXPECT_EQ(state->removed, (std::vector<strmcommon::ICurlEasy*>{unit->m_easy}));
}

TEST_F(CurlLoop, TwoTransfersFinishingTogetherTakeTwoPasses) {
  UnitObject* a = nullptr;
  UnitObject* b = nullptr;
  ASSERT_EQ(Begin(a), err_none);
  ASSERT_EQ(Begin(b), err_none);
  state->messages.push_back(DoneMessage(a, CURLE_OK));
  state->messages.push_back(DoneMessage(b, CURLE_OK));
  EXPECT_TRUE(curl->Process());
  EXPECT_EQ(curl->m_completed.size(), 1u);
  EXPECT_TRUE(curl->Process());
  EXPECT_EQ(curl->m_completed.size(), 2u);
  EXPECT_FALSE(curl->Process());
  EXPECT_EQ(curl->m_completed.front(), a);
  EXPECT_EQ(curl->m_completed.back(), b);
}

TEST_F(CurlLoop, MessageWithoutAUnitEndsThePassWithTrueAndNothingElse) {
  state->messages.push_back(DoneMessage(nullptr, CURLE_OK));
  LogCapture capture;
  EXPECT_TRUE(curl->Process());
  EXPECT_TRUE(curl->m_completed.empty());
  EXPECT_TRUE(state->removed.empty());
  EXPECT_TRUE(capture.Lines().empty());
}

TEST_F(CurlLoop, AbortedByCallbackLogsOneOneOneAtDebugLevel) {
  state->messages.push_back(DoneMessage(nullptr, CURLE_ABORTED_BY_CALLBACK));
  LogCapture capture;
  EXPECT_TRUE(curl->Process());
  auto lines = capture.WithMessage("111");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
}

TEST_F(CurlLoop, FinishedTransferLogsItsResultStatusAndVersion) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  EasyOf(unit)->longInfo[CURLINFO_RESPONSE_CODE] = 200;
  EasyOf(unit)->longInfo[CURLINFO_HTTP_VERSION] = CURL_HTTP_VERSION_1_1;
  state->messages.push_back(DoneMessage(unit, CURLE_OK));
  LogCapture capture;
  curl->Process();
  auto lines = capture.WithMessage("CURLMSG_DONE unit : " + Hex(unit) +
                                   " result : 0  http_status : 200 http_version : 2");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
  EXPECT_EQ(capture.Containing("errorbuf").size(), 0u);
}

TEST_F(CurlLoop, FailedTransferLogsTheErrorBufferAndStatusStartsAtZero) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  snprintf(unit->m_errorBuf, sizeof(unit->m_errorBuf), "Couldn't connect");
  state->messages.push_back(DoneMessage(unit, CURLE_COULDNT_CONNECT));
  LogCapture capture;
  curl->Process();
  EXPECT_EQ(capture.Count("errorbuf : Couldn't connect"), 1u);
  EXPECT_EQ(capture.Count("CURLMSG_DONE unit : " + Hex(unit) +
                          " result : 7  http_status : 0 http_version : 0"),
            1u);
  EXPECT_EQ(unit->code, err_recv_error);
  EXPECT_TRUE(unit->m_done);
}

TEST_F(CurlLoop, AddressesOfTheFinishedTransferAreKeptOnTheUnitAndTheEngine) {
  char remote[] = "10.1.2.3";
  char local[] = "10.9.8.7";
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  state->messages.push_back(DoneMessage(unit, CURLE_OK, remote, local));
  curl->Process();
  EXPECT_EQ(unit->m_destIp, remote);
  EXPECT_EQ(unit->m_localIp, local);
  EXPECT_EQ(curl->get_dest_ip(), "10.1.2.3");
  EXPECT_EQ(curl->get_host_ip(), "10.9.8.7");
}

TEST_F(CurlLoop, AddressTextsOfOneCharacterLeaveTheOldValues) {
  curl->m_destIp = "old-dest";
  curl->m_hostIp = "old-host";
  char shortText[] = "x";
  char empty[] = "";
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  state->messages.push_back(DoneMessage(unit, CURLE_OK, shortText, empty));
  curl->Process();
  EXPECT_EQ(curl->get_dest_ip(), "old-dest");
  EXPECT_EQ(curl->get_host_ip(), "old-host");
  EXPECT_EQ(unit->m_destIp, shortText);
}

TEST_F(CurlLoop, UnitCancelledInTheMultiHandleReachesGetCompletedWithMinusTwelve) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  curl->Process();
  unit->m_cancel = true;
  state->messages.push_back(DoneMessage(unit, CURLE_OK));
  curl->Process();
  EXPECT_FALSE(unit->m_cancel);
  EXPECT_TRUE(unit->m_done);
  int code = 0;
  long date = -1;
  ASSERT_EQ(curl->GetCompleted(code, date), unit);
  EXPECT_EQ(code, err_interrupted);
}

TEST_F(CurlLoop, CancelledUnitEndedEarlyIsFreedByItsSecondEndDownload) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  curl->Process();
  unit->m_cancel = true;
  // The wait ends at once on the cancel flag; the slot is free but the transfer still runs.
  EXPECT_EQ(curl->EndDownload(unit), err_none);
  EXPECT_FALSE(curl->m_units[unit->m_index].first);
  state->messages.push_back(DoneMessage(unit, CURLE_ABORTED_BY_CALLBACK));
  curl->Process();
  // Left over: m_done keeps a begin operation away from the slot.
  EXPECT_TRUE(unit->m_done);
  UnitObject* other = nullptr;
  ASSERT_EQ(Begin(other), err_none);
  EXPECT_NE(other, unit);
  int code = 0;
  long date = 0;
  ASSERT_EQ(curl->GetCompleted(code, date), unit);
  EXPECT_EQ(code, err_interrupted);
  LogCapture capture;
  EXPECT_EQ(curl->EndDownload(unit), err_none);
  EXPECT_FALSE(unit->m_done);
  EXPECT_EQ(capture.Count("<<Success End Download Unit: " + Hex(unit)), 1u);
  UnitObject* again = nullptr;
  ASSERT_EQ(Begin(again), err_none);
  EXPECT_EQ(again, unit);
}

TEST_F(CurlLoop, FinishedTransferDuringResetIsFreedAtOnceAndTheClientHearsNothing) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  curl->Process();
  // As the engine-wide reset leaves it: cancelled and resetting.
  unit->m_cancel = true;
  curl->m_resetting = true;
  state->messages.push_back(DoneMessage(unit, CURLE_OK));
  curl->Process();
  curl->m_resetting = false;
  EXPECT_TRUE(curl->m_completed.empty());
  EXPECT_FALSE(curl->m_units[unit->m_index].first);
  EXPECT_FALSE(unit->m_done);
  EXPECT_EQ(unit->code, err_interrupted);
}

TEST_F(CurlLoop, UnitWithNonZeroStateGoesToTheCompletedListEvenDuringReset) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, "http://media.test/a.ts", Data(1, 1)), err_none);
  curl->Process();
  curl->m_resetting = true;
  state->messages.push_back(DoneMessage(unit, CURLE_OK));
  curl->Process();
  curl->m_resetting = false;
  ASSERT_EQ(curl->m_completed.size(), 1u);
  // Aborted by the reset without being cancelled: the classification makes it -20.
  EXPECT_EQ(unit->code, err_recv_error);
  EXPECT_TRUE(unit->m_done);
}

TEST_F(CurlLoop, GetCompletedOnAnEmptyListReturnsNullAndLeavesTheOutputs) {
  int code = 77;
  long date = 88;
  EXPECT_EQ(curl->GetCompleted(code, date), nullptr);
  EXPECT_EQ(code, 77);
  EXPECT_EQ(date, 88);
}

TEST_F(CurlLoop, GetCompletedGivesTheCodeAndTheEntryDate) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  state->messages.push_back(DoneMessage(unit, CURLE_OK));
  curl->Process();
  curl->m_urlInfo[unit->m_urlIndex].date = 784111777;
  int code = -1;
  long date = 0;
  EXPECT_EQ(curl->GetCompleted(code, date), unit);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(date, 784111777);
  EXPECT_TRUE(curl->m_completed.empty());
  // The slot stays allocated until EndDownload.
  EXPECT_TRUE(curl->m_units[unit->m_index].first);
}

TEST_F(CurlLoop, StrayEntryOnTheCompletedListStopsGetCompletedForGood) {
  UnitObject stray;
  curl->m_completed.push_back(&stray);
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  state->messages.push_back(DoneMessage(unit, CURLE_OK));
  curl->Process();
  LogCapture capture;
  int code = 5;
  long date = 6;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(curl->GetCompleted(code, date), nullptr);
  EXPECT_EQ(code, 5);
  EXPECT_EQ(date, 6);
  auto lines =
      capture.WithMessage("Complete List unit[" + Hex(&stray) + "] didn't match with unitpool");
  EXPECT_EQ(lines.size(), 3u);
  for (const auto& line : lines) EXPECT_EQ(line.priority, 6);
  EXPECT_EQ(curl->m_completed.size(), 2u);
  EXPECT_EQ(curl->m_completed.front(), &stray);
  curl->m_completed.clear();
}

TEST_F(CurlLoop, EndDownloadOfNullLogsTheErrorAndReturnsMinusOne) {
  LogCapture capture;
  UnitObject* unit = nullptr;
  EXPECT_EQ(curl->EndDownload(unit), err_failed);
  EXPECT_EQ(capture.Count("starts. unit p[(nil)]"), 1u);
  auto lines = capture.WithMessage(">> strmcommon::Unit == NULL ERROR");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
}

TEST_F(CurlLoop, EndDownloadTwiceReturnsTheCodeThenZeroAndTheSecondLeavesFirstAlone) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  state->messages.push_back(DoneMessage(unit, CURLE_COULDNT_RESOLVE_HOST));
  curl->Process();
  int code = 0;
  long date = 0;
  ASSERT_EQ(curl->GetCompleted(code, date), unit);
  LogCapture capture;
  UnitObject* held = unit;
  EXPECT_EQ(curl->EndDownload(unit), err_resolve_host);
  // The reference is only read.
  EXPECT_EQ(unit, held);
  EXPECT_GT(unit->m_endTime, 0);
  EXPECT_TRUE(unit->m_endCalled);
  EXPECT_FALSE(curl->m_units[unit->m_index].first);
  EXPECT_EQ(capture.Count("starts. unit p[" + Hex(unit) + "]"), 1u);
  EXPECT_EQ(capture.Count("Leave"), 1u);
  curl->m_units[unit->m_index].first = true;
  EXPECT_EQ(curl->EndDownload(unit), err_none);
  EXPECT_TRUE(curl->m_units[unit->m_index].first);
  EXPECT_EQ(capture.Count("Leave"), 2u);
  curl->m_units[unit->m_index].first = false;
}

TEST_F(CurlLoop, EndDownloadWaitsForARunningTransfer) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  curl->Process();
  std::atomic<bool> ended{false};
  std::atomic<int> result{99};
  std::thread client([&] {
    UnitObject* mine = unit;
    result = curl->EndDownload(mine);
    ended = true;
  });
  EXPECT_FALSE(WaitFor([&] { return ended.load(); }, std::chrono::milliseconds(50)));
  curl->LockMutItem();
  state->messages.push_back(DoneMessage(unit, CURLE_OK));
  curl->UnlockMutItem();
  curl->Process();
  EXPECT_TRUE(WaitFor([&] { return ended.load(); }));
  client.join();
  EXPECT_EQ(result.load(), 0);
  EXPECT_FALSE(curl->m_units[unit->m_index].first);
}

TEST_F(CurlLoop, QuitLogsReleasesEveryHandleAndFreesEverySlot) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  curl->Process();
  UnitObject* queued = nullptr;
  ASSERT_EQ(Begin(queued), err_none);
  strmcommon::ICurlEasy* runningEasy = unit->m_easy;
  LogCapture capture;
  curl->Quit();
  EXPECT_EQ(capture.Count("Quit() starts."), 1u);
  EXPECT_EQ(capture.Count("The end of Curl::Quit()."), 1u);
  EXPECT_TRUE(state->easies.empty());
  EXPECT_EQ(state->easyReleased, 22);
  for (auto& slot : curl->m_units) {
    EXPECT_FALSE(slot.first);
    EXPECT_EQ(slot.second.m_easy, nullptr);
  }
  // Both allocated slots leave the multi handle, added or not.
  ASSERT_EQ(state->removed.size(), 2u);
  EXPECT_EQ(state->removed[0], runningEasy);
  // The queues and the multi handle stay for the destructor.
  EXPECT_EQ(curl->m_requests.size(), 1u);
  EXPECT_EQ(curl->m_multi, state->multi);
  EXPECT_TRUE(curl->m_quit);
}

TEST_F(CurlLoop, QuitResumesAPausedUnitBeforeReleasingIt) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit), err_none);
  curl->Process();
  ASSERT_TRUE(curl->Pause(unit));
  LogCapture capture;
  curl->Quit();
  EXPECT_EQ(capture.Count("curl Resume_unlock: 0, 1"), 1u);
  EXPECT_FALSE(unit->m_pause);
}

TEST_F(CurlLoop, BeginAfterQuitFailsWithMinusOneAndWorksAgainAfterStartLoop) {
  curl->Quit();
  UnitObject* unit = nullptr;
  EXPECT_EQ(Begin(unit), err_failed);
  EXPECT_EQ(unit, nullptr);
  ASSERT_TRUE(curl->StartLoop());
  EXPECT_FALSE(curl->m_quit);
  ASSERT_EQ(Begin(unit), err_none);
  // The null handle left by Quit is given back harmlessly.
  EXPECT_EQ(state->nullEasyReleased, 1);
  EXPECT_NE(unit->m_easy, nullptr);
}

TEST_F(CurlLoop, SecondQuitFreesTheHeaderListAgainBecauseThePointerIsKept) {
  curl->SetCookie("a=b");
  curl_slist* headers = curl->m_headers;
  ASSERT_NE(headers, nullptr);
  engineinterpose::captureSlistFree = true;
  curl->Quit();
  curl->Quit();
  engineinterpose::captureSlistFree = false;
  EXPECT_EQ(engineinterpose::SlistFrees(), (std::vector<curl_slist*>{headers, headers}));
  EXPECT_EQ(curl->m_headers, headers);
  curl_slist_free_all(headers);
  curl->m_headers = nullptr;
}

TEST_F(CurlLoop, FixedLoopRunsOnePassThenSleepsOneMillisecond) {
  engineinterpose::captureUsleep = true;
  long before = curl->Passes();
  EXPECT_TRUE(strmcommon::Curl::Loop(curl.get()));
  engineinterpose::captureUsleep = false;
  EXPECT_EQ(curl->Passes(), before + 1);
  EXPECT_EQ(engineinterpose::UsleepCalls(), std::vector<unsigned int>{1000});
}

TEST_F(CurlLoop, LoopReturnsFalseOnceQuitIsSet) {
  engineinterpose::captureUsleep = true;
  curl->m_quit = true;
  EXPECT_FALSE(strmcommon::Curl::Loop(curl.get()));
  engineinterpose::captureUsleep = false;
  curl->m_quit = false;
}

namespace {

// A probe whose pass takes a chosen time, for the paced loop.
class TimedPass : public testsupport::CurlProbe {
 public:
  using CurlProbe::CurlProbe;
  bool RunOnce() override {
    if (m_busyMs > 0) {
      auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(m_busyMs);
      while (std::chrono::steady_clock::now() < end) {
      }
    }
    return false;
  }
  int m_busyMs = 0;
};

class PacedLoop : public ::testing::Test {
 protected:
  void SetUp() override {
    engineinterpose::Reset();
    system_info_stub_set_mode(SYSTEM_INFO_STUB_FALSE);
    curl = std::make_unique<TimedPass>(
        strmcommon::CURL_THREAD_PACED, 5000, "",
        new testsupport::FakeCurlFactory(std::make_shared<testsupport::FakeCurlState>()));
  }
  void TearDown() override {
    engineinterpose::Reset();
    curl->Quit();
    curl.reset();
    system_info_stub_set_mode(SYSTEM_INFO_STUB_LOOKUP);
  }
  std::unique_ptr<TimedPass> curl;
};

}  // namespace

TEST_F(PacedLoop, PassWithinOneMillisecondSleepsTheFullSleepTime) {
  engineinterpose::captureUsleep = true;
  // A pass of no work almost always ends in the millisecond it began; allow one retry.
  std::vector<unsigned int> calls;
  for (int i = 0; i < 3; ++i) {
    engineinterpose::Reset();
    engineinterpose::captureUsleep = true;
    EXPECT_TRUE(strmcommon::Curl::Loop(curl.get()));
    calls = engineinterpose::UsleepCalls();
    if (calls == std::vector<unsigned int>{5000}) break;
  }
  EXPECT_EQ(calls, std::vector<unsigned int>{5000});
}

TEST_F(PacedLoop, PassOfOneMillisecondOrMoreDoesNotSleepAtAll) {
  // Kept behaviour: the earlier-minus-later subtraction wraps to a huge value.
  curl->m_busyMs = 3;
  engineinterpose::captureUsleep = true;
  EXPECT_TRUE(strmcommon::Curl::Loop(curl.get()));
  EXPECT_TRUE(engineinterpose::UsleepCalls().empty());
}

TEST_F(PacedLoop, LoopReturnsFalseOnceQuitIsSet) {
  engineinterpose::captureUsleep = true;
  curl->m_quit = true;
  EXPECT_FALSE(strmcommon::Curl::Loop(curl.get()));
}

TEST_F(CurlLoop, StartLoopClearsQuitAndRunsTheWorkerThroughRunOnce) {
  curl->m_quit = true;
  ASSERT_TRUE(curl->StartLoop());
  EXPECT_TRUE(curl->m_thread->IsThread());
  long before = curl->Passes();
  EXPECT_TRUE(WaitFor([&] { return curl->Passes() >= before + 3; }));
  curl->Quit();
  EXPECT_FALSE(curl->m_thread->IsThread());
}
