// Unit control: pause, resume, cancel, the two resets and the unit state machine, over
// substitute handles and then over real transfers.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "EngineDoubles.h"
#include "FakeClock.h"
#include "StreamRoutes.h"
#include "WholeLogLine.h"

using enginetest::Data;
using enginetest::FakeBodyTest;
using enginetest::LiveEngineTest;
using strmcommon::err_interrupted;
using strmcommon::err_none;
using strmcommon::UnitObject;
using testsupport::FakeClock;
using testsupport::HasWholeLine;
using testsupport::LogCapture;
using testsupport::WaitFor;

namespace {

using CurlControl = FakeBodyTest;

std::string Hex(const void* p) {
  char text[32];
  snprintf(text, sizeof(text), "%p", p);
  return text;
}

long OptionOf(enginetest::ScriptedEasy* easy, CURLoption option) {
  return static_cast<long>(reinterpret_cast<intptr_t>(easy->Option(option)));
}

// The time options, in the order they were set.
std::vector<std::pair<CURLoption, long>> TimeOptions(enginetest::ScriptedEasy* easy) {
  std::vector<std::pair<CURLoption, long>> out;
  for (const auto& entry : easy->options) {
    switch (entry.first) {
      case CURLOPT_LOW_SPEED_LIMIT:
      case CURLOPT_LOW_SPEED_TIME:
      case CURLOPT_TIMEOUT:
      case CURLOPT_CONNECTTIMEOUT:
        out.emplace_back(entry.first, static_cast<long>(reinterpret_cast<intptr_t>(entry.second)));
        break;
      default:
        break;
    }
  }
  return out;
}

}  // namespace

TEST_F(CurlControl, PauseOfNullLogsTheErrorAndFails) {
  LogCapture capture;
  EXPECT_FALSE(curl->Pause(nullptr));
  EXPECT_FALSE(curl->Resume(nullptr));
  EXPECT_FALSE(curl->Cancel(nullptr));
  EXPECT_EQ(capture.Count(">> strmcommon::Unit == NULL ERROR"), 3u);
}

TEST_F(CurlControl, PauseBlockedUnitIsRefusedWithoutALogLine) {
  UnitObject* unit = BeginScripted();
  unit->m_pauseBlocked = true;
  LogCapture capture;
  EXPECT_FALSE(curl->Pause(unit));
  EXPECT_FALSE(unit->m_pause);
  EXPECT_TRUE(capture.Lines().empty());
}

TEST_F(CurlControl, PauseRaisesTheFlagStampsTheTimesAndLiftsTheTimeLimits) {
  FakeClock clock(4000000);
  UnitObject* unit = BeginScripted(Data(5));
  auto* easy = EasyOf(unit);
  easy->options.clear();
  clock.AdvanceMs(70);
  LogCapture capture;
  EXPECT_TRUE(curl->Pause(unit));
  EXPECT_TRUE(unit->m_pause);
  EXPECT_EQ(easy->pauseCalls, 1);
  EXPECT_EQ(unit->m_lastDataTime, 4000070);
  EXPECT_EQ(curl->m_lastPauseTime, 4000070);
  EXPECT_EQ(unit->m_pauseStartTime, 4000070);
  EXPECT_EQ(TimeOptions(easy),
            (std::vector<std::pair<CURLoption, long>>{{CURLOPT_LOW_SPEED_LIMIT, 0},
                                                      {CURLOPT_LOW_SPEED_TIME, 0},
                                                      {CURLOPT_TIMEOUT, 99999},
                                                      {CURLOPT_CONNECTTIMEOUT, 99999}}));
  EXPECT_EQ(capture.Count("curl pause: " + std::to_string(unit->m_index) + ", 5"), 1u);
  EXPECT_EQ(capture.Count("<< Curl::Pause"), 1u);
  EXPECT_TRUE(HasWholeLine(capture, "CurlControl.cpp", "Pause", "<< Curl::Pause"));
}

TEST_F(CurlControl, SecondPauseDoesNothingAndKeepsTheFirstTiming) {
  FakeClock clock(4000000);
  UnitObject* unit = BeginScripted();
  EXPECT_TRUE(curl->Pause(unit));
  clock.AdvanceMs(500);
  EXPECT_TRUE(curl->Pause(unit));
  EXPECT_EQ(EasyOf(unit)->pauseCalls, 1);
  EXPECT_EQ(unit->m_pauseStartTime, 4000000);
  EXPECT_EQ(unit->m_lastDataTime, 4000000);
}

TEST_F(CurlControl, FailedPauseClearsTheFlagAgainAndSetsNoOption) {
  UnitObject* unit = BeginScripted();
  EasyOf(unit)->pauseResult = false;
  EasyOf(unit)->options.clear();
  EXPECT_FALSE(curl->Pause(unit));
  EXPECT_FALSE(unit->m_pause);
  EXPECT_TRUE(EasyOf(unit)->options.empty());
  EXPECT_EQ(unit->m_pauseStartTime, 0);
}

TEST_F(CurlControl, ResumeOfARunningUnitReturnsTrueAndChangesNothing) {
  UnitObject* unit = BeginScripted();
  EasyOf(unit)->options.clear();
  LogCapture capture;
  EXPECT_TRUE(curl->Resume(unit));
  EXPECT_EQ(EasyOf(unit)->resumeCalls, 0);
  EXPECT_TRUE(EasyOf(unit)->options.empty());
  EXPECT_EQ(capture.Count(">>"), 1u);
  EXPECT_EQ(capture.Count("<<"), 1u);
}

TEST_F(CurlControl, FailedResumeKeepsTheUnitPaused) {
  UnitObject* unit = BeginScripted();
  ASSERT_TRUE(curl->Pause(unit));
  EasyOf(unit)->resumeResult = false;
  EasyOf(unit)->options.clear();
  EXPECT_FALSE(curl->Resume(unit));
  EXPECT_TRUE(unit->m_pause);
  EXPECT_TRUE(EasyOf(unit)->options.empty());
  EasyOf(unit)->resumeResult = true;
}

TEST_F(CurlControl, ResumeStretchesTheTimeLimitsByTheTimePaused) {
  FakeClock clock(4000000);
  UnitObject* unit = BeginScripted();
  auto* easy = EasyOf(unit);
  ASSERT_TRUE(curl->Pause(unit));
  clock.AdvanceMs(30000);
  easy->options.clear();
  LogCapture capture;
  EXPECT_TRUE(curl->Resume(unit));
  EXPECT_FALSE(unit->m_pause);
  EXPECT_EQ(TimeOptions(easy),
            (std::vector<std::pair<CURLoption, long>>{{CURLOPT_LOW_SPEED_LIMIT, 2048},
                                                      {CURLOPT_LOW_SPEED_TIME, 28},
                                                      {CURLOPT_TIMEOUT, 150},
                                                      {CURLOPT_CONNECTTIMEOUT, 55}}));
  EXPECT_EQ(unit->m_lastDataTime, 4030000);
  EXPECT_EQ(unit->m_rxBaseTime, 4030000);
  EXPECT_EQ(curl->m_lastPauseTime, 4030000);
  EXPECT_EQ(curl->m_lastResumeTime, 4030000);
  EXPECT_EQ(unit->m_pauseStartTime, 0);
  EXPECT_EQ(capture.Count("curl Resume_unlock: " + std::to_string(unit->m_index) + ", 1"), 1u);
  EXPECT_EQ(capture.Count("Resume_unlock, " + Hex(unit) + ", 4030"), 1u);
  EXPECT_EQ(capture.Count("process paused for 30 seconds"), 1u);
  // A second pause of 10 s in the same transfer adds up.
  ASSERT_TRUE(curl->Pause(unit));
  clock.AdvanceMs(10000);
  ASSERT_TRUE(curl->Resume(unit));
  EXPECT_EQ(OptionOf(easy, CURLOPT_TIMEOUT), 160);
  EXPECT_EQ(OptionOf(easy, CURLOPT_CONNECTTIMEOUT), 65);
}

TEST_F(CurlControl, ResumeInThePauseMillisecondKeepsThePauseOpenForTheNext) {
  FakeClock clock(4000000);
  UnitObject* unit = BeginScripted();
  ASSERT_TRUE(curl->Pause(unit));
  ASSERT_TRUE(curl->Resume(unit));
  EXPECT_EQ(unit->m_pausedTotal, 0);
  EXPECT_EQ(unit->m_pauseStartTime, 4000000);
  clock.AdvanceMs(3000);
  ASSERT_TRUE(curl->Pause(unit));
  EXPECT_EQ(unit->m_pauseStartTime, 4000000);
  clock.AdvanceMs(1000);
  ASSERT_TRUE(curl->Resume(unit));
  // The time between the two pauses counts as paused.
  EXPECT_EQ(unit->m_pausedTotal, 4000);
  EXPECT_EQ(OptionOf(EasyOf(unit), CURLOPT_TIMEOUT), 124);
}

TEST_F(CurlControl, CancelRaisesTheFlagOnceAndTheSecondCallReturnsFalse) {
  UnitObject* unit = BeginScripted();
  LogCapture capture;
  EXPECT_TRUE(curl->Cancel(unit));
  EXPECT_TRUE(unit->m_cancel);
  EXPECT_EQ(unit->code, err_none);
  EXPECT_FALSE(curl->Cancel(unit));
  EXPECT_EQ(capture.Count(">> unit " + Hex(unit)), 2u);
}

TEST_F(CurlControl, CancelOfAPausedUnitResumesItBeforeRaisingTheFlag) {
  UnitObject* unit = BeginScripted();
  ASSERT_TRUE(curl->Pause(unit));
  std::vector<bool> cancelWhenSet;
  EasyOf(unit)->onSetOpt = [&](CURLoption option) {
    if (option == CURLOPT_TIMEOUT) cancelWhenSet.push_back(unit->m_cancel);
  };
  EXPECT_TRUE(curl->Cancel(unit));
  EXPECT_FALSE(unit->m_pause);
  EXPECT_EQ(cancelWhenSet, (std::vector<bool>{false}));
  EXPECT_EQ(OptionOf(EasyOf(unit), CURLOPT_TIMEOUT), 120);
}

TEST_F(CurlControl, CancelOfAFinishedUnitTurnsItsCodeIntoMinusTwelve) {
  UnitObject* unit = BeginScripted();
  curl->Process();
  Finish(unit, CURLE_OK, 200);
  EXPECT_TRUE(unit->m_done);
  EXPECT_TRUE(curl->Cancel(unit));
  int code = 0;
  long date = 0;
  EXPECT_EQ(curl->GetCompleted(code, date), unit);
  EXPECT_EQ(code, err_interrupted);
  EXPECT_EQ(curl->EndDownload(unit), err_interrupted);
}

TEST_F(CurlControl, ResetOfOneUnitWithAnotherTypeLeavesItRunning) {
  UnitObject* unit = BeginScripted(Data(3));
  LogCapture capture;
  EXPECT_FALSE(curl->Reset(unit, 4));
  EXPECT_FALSE(unit->m_cancel);
  EXPECT_EQ(capture.Count(">> one parameter not macthed"), 20u);
  EXPECT_EQ(capture.Containing(">> Iterate unit [").size(), 20u);
  EXPECT_EQ(capture.Count(">> Reset the specific unit [" + Hex(unit) + "] index:0"), 1u);
  EXPECT_EQ(capture.Count("<< Reset Complete for specific unit"), 1u);
}

TEST_F(CurlControl, ResetOfOneUnitWithItsTypeCancelsIt) {
  BeginScripted(Data(3));
  UnitObject* unit = BeginScripted(Data(3));
  LogCapture capture;
  EXPECT_TRUE(curl->Reset(unit, 3));
  EXPECT_TRUE(unit->m_cancel);
  EXPECT_EQ(capture.Count(">> one parameter not macthed"), 1u);
  EXPECT_EQ(capture.Count(">> Iterate unit [" + Hex(unit) +
                          "], it->first: 1, unit TypeID: 3, "
                          "cancel unit TypeId: 3"),
            1u);
}

TEST_F(CurlControl, ResetOfOneFreedUnitReturnsFalse) {
  UnitObject* unit = BeginScripted(Data(3));
  curl->m_units[unit->m_index].first = false;
  EXPECT_FALSE(curl->Reset(unit, 3));
  EXPECT_FALSE(unit->m_cancel);
}

TEST_F(CurlControl, ResetOnAnIdleEngineStillIncrementsTheKey) {
  LogCapture capture;
  curl->Reset();
  EXPECT_EQ(curl->GetRequestKey(), 1);
  EXPECT_EQ(capture.Count("Curl::Reset Cleaning chunk segments"), 1u);
  EXPECT_EQ(capture.Count("<< Reset"), 1u);
  EXPECT_FALSE(curl->m_resetting);
}

TEST_F(CurlControl, ResetDuringAResetOnlyIncrementsTheKey) {
  curl->m_resetting = true;
  UnitObject* unit = BeginScripted();
  LogCapture capture;
  curl->Reset();
  EXPECT_EQ(curl->GetRequestKey(), 1);
  EXPECT_FALSE(unit->m_cancel);
  EXPECT_EQ(capture.Count(">> Reset"), 0u);
  EXPECT_EQ(capture.Count("Leave"), 1u);
  curl->m_resetting = false;
}

TEST_F(CurlControl, ResetFreesStateZeroUnitsAndLeavesTheOthers) {
  UnitObject* queuedPlain = BeginScripted(Data(1, 0));
  UnitObject* queuedKept = BeginScripted(Data(1, 2));
  // Two running units and two finished ones, one of each kind.
  curl->m_requests.clear();
  UnitObject* runningPlain = BeginScripted(Data(1, 0));
  UnitObject* runningKept = BeginScripted(Data(1, 1));
  UnitObject* finishedPlain = BeginScripted(Data(1, 0));
  curl->Process();
  Finish(finishedPlain, CURLE_OK, 200);
  curl->m_requests.push_back(queuedPlain);
  curl->m_requests.push_back(queuedKept);
  engineinterpose::captureUsleep = true;
  curl->Reset();
  engineinterpose::captureUsleep = false;
  EXPECT_TRUE(curl->m_requests.empty());
  EXPECT_TRUE(curl->m_completed.empty());
  EXPECT_FALSE(curl->m_units[queuedPlain->m_index].first);
  // Dropped from the queue, slot kept.
  EXPECT_TRUE(curl->m_units[queuedKept->m_index].first);
  EXPECT_FALSE(queuedKept->m_cancel);
  EXPECT_TRUE(runningPlain->m_cancel);
  EXPECT_FALSE(runningKept->m_cancel);
  EXPECT_FALSE(curl->m_units[finishedPlain->m_index].first);
  // One 20 ms look, since slots were cancelled and some are still allocated.
  EXPECT_EQ(engineinterpose::UsleepCalls(), (std::vector<unsigned int>{20000}));
  EXPECT_FALSE(curl->m_resetting);
  EXPECT_EQ(curl->GetRequestKey(), 1);
}

// GLib's g_free releases memory from malloc, so the test's records are plain malloc blocks.
TEST_F(CurlControl, ResetFreesTheChunksOfStateZeroUnitsOnly) {
  UnitObject* plain = BeginScripted(Data(1, 0));
  UnitObject* kept = BeginScripted(Data(1, 1));
  void** plainChunk = static_cast<void**>(malloc(2 * sizeof(void*)));
  plainChunk[0] = malloc(10);
  void** emptyChunk = static_cast<void**>(malloc(2 * sizeof(void*)));
  emptyChunk[0] = nullptr;
  void** keptChunk = static_cast<void**>(malloc(2 * sizeof(void*)));
  keptChunk[0] = malloc(10);
  plain->m_chunk = plainChunk;
  curl->m_units[5].second.m_chunk = emptyChunk;
  kept->m_chunk = keptChunk;
  engineinterpose::captureUsleep = true;
  curl->Reset();
  engineinterpose::captureUsleep = false;
  EXPECT_EQ(plain->m_chunk, nullptr);
  EXPECT_EQ(curl->m_units[5].second.m_chunk, nullptr);
  EXPECT_EQ(kept->m_chunk, keptChunk);
  free(keptChunk[0]);
  free(keptChunk);
  kept->m_chunk = nullptr;
}

TEST_F(CurlControl, ResetHangsOnAKeptUnitAtTheFrontOfTheCompletedListUntilSetData) {
  UnitObject* kept = BeginScripted(Data(1, 1));
  UnitObject* plain = BeginScripted(Data(1, 0));
  curl->Process();
  Finish(kept, CURLE_OK, 200);
  Finish(plain, CURLE_OK, 200);
  ASSERT_EQ(curl->m_completed.size(), 2u);
  std::atomic<bool> returned{false};
  std::thread resetter([&] {
    curl->Reset();
    returned = true;
  });
  // Specified: the walk does not step past the kept unit, with the lock held.
  EXPECT_FALSE(WaitFor([&] { return returned.load(); }, std::chrono::milliseconds(200)));
  EXPECT_FALSE(curl->m_mutItem.TryLock());
  // Only a SetData from another thread, which takes no lock, ends it.
  curl->SetData(kept, Data(1, 0));
  EXPECT_TRUE(WaitFor([&] { return returned.load(); }));
  resetter.join();
  EXPECT_TRUE(curl->m_completed.empty());
  EXPECT_TRUE(curl->IsIdle());
}

TEST_F(CurlControl, ClearUserDefinedCookieEmptiesOnlyTheCookieLine) {
  curl->m_cookieHeader = "Cookie: a=b";
  curl_slist* headers = curl->m_headers;
  curl->clearUsrDefCookie();
  EXPECT_TRUE(curl->m_cookieHeader.empty());
  EXPECT_EQ(curl->m_headers, headers);
}

// The states of one unit as its flags, the queues and the multi handle show them.
TEST_F(CurlControl, UnitGoesThroughItsStatesFromFreeToFreeAgain) {
  UnitObject* unit = BeginScripted();
  auto first = [&] { return curl->m_units[unit->m_index].first; };
  auto queued = [&] {
    return std::find(curl->m_requests.begin(), curl->m_requests.end(), unit) !=
           curl->m_requests.end();
  };
  // Queued.
  EXPECT_TRUE(first());
  EXPECT_FALSE(unit->m_done);
  EXPECT_TRUE(queued());
  // Running.
  curl->Process();
  EXPECT_FALSE(queued());
  EXPECT_EQ(state->added.size(), 1u);
  EXPECT_TRUE(curl->IsDownloading(unit));
  // Paused and Running again.
  ASSERT_TRUE(curl->Pause(unit));
  EXPECT_FALSE(curl->IsDownloading(unit));
  EXPECT_TRUE(curl->IsPause(unit));
  ASSERT_TRUE(curl->Resume(unit));
  EXPECT_TRUE(curl->IsDownloading(unit));
  // Aborting, then Finished with -12 and the flag cleared.
  ASSERT_TRUE(curl->Cancel(unit));
  Finish(unit, CURLE_ABORTED_BY_CALLBACK);
  EXPECT_TRUE(first());
  EXPECT_TRUE(unit->m_done);
  EXPECT_FALSE(unit->m_cancel);
  // Collected, then Free.
  int code = 0;
  long date = 0;
  EXPECT_EQ(curl->GetCompleted(code, date), unit);
  EXPECT_EQ(code, err_interrupted);
  EXPECT_EQ(curl->EndDownload(unit), err_interrupted);
  EXPECT_FALSE(first());
  EXPECT_FALSE(unit->m_done);
  EXPECT_TRUE(curl->IsIdle());
}

TEST_F(CurlControl, AbandonedUnitBecomesLeftOverAndIsFreedByItsSecondEndDownload) {
  UnitObject* unit = BeginScripted();
  curl->Process();
  ASSERT_TRUE(curl->Cancel(unit));
  // Abandoned: the wait ends at once on the cancel flag.
  EXPECT_EQ(curl->EndDownload(unit), err_none);
  EXPECT_FALSE(curl->m_units[unit->m_index].first);
  EXPECT_FALSE(unit->m_done);
  // Left over: finished on the list, kept from begin operations by m_done.
  Finish(unit, CURLE_ABORTED_BY_CALLBACK);
  EXPECT_TRUE(unit->m_done);
  UnitObject* other = BeginScripted();
  EXPECT_NE(other, unit);
  int code = 0;
  long date = 0;
  EXPECT_EQ(curl->GetCompleted(code, date), unit);
  EXPECT_EQ(code, err_interrupted);
  EXPECT_EQ(curl->EndDownload(unit), err_none);
  EXPECT_FALSE(unit->m_done);
}

// Real transfers.

namespace {

class CurlControlLive : public LiveEngineTest {
 protected:
  void SetUp() override {
    LiveEngineTest::SetUp();
    testsupport::AddStreamRoutes(server);
  }
};

}  // namespace

TEST_F(CurlControlLive, CancelWhileQueuedNeverReachesTheServerNorTheCompletedList) {
  LogCapture capture;
  UnitObject* unit = nullptr;
  curl->LockMutItem();
  ASSERT_EQ(curl->BeginDownload(0, server.Url("/bytes/1000"), false, unit, false, Data()),
            err_none);
  EXPECT_TRUE(curl->Cancel(unit));
  curl->UnlockMutItem();
  ASSERT_TRUE(WaitFor([&] { return curl->IsIdle(); }));
  EXPECT_EQ(capture.Count("Cancel request unit(" + Hex(unit) + ")"), 1u);
  EXPECT_FALSE(WaitFor(
      [&] {
        int code = 0;
        long date = 0;
        return curl->GetCompleted(code, date) != nullptr;
      },
      std::chrono::milliseconds(100)));
  EXPECT_EQ(client.Get(unit).calls, 0);
}

TEST_F(CurlControlLive, CancelWhileRunningEndsTheTransferWithMinusTwelve) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/slow/200000?rate=100000")), err_none);
  ASSERT_TRUE(WaitFor([&] { return client.Get(unit).bytes > 0; }));
  EXPECT_TRUE(curl->Cancel(unit));
  int code = 0;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_interrupted);
  EXPECT_LT(client.Get(unit).bytes, 200000u);
  EXPECT_FALSE(unit->m_cancel);
  EXPECT_EQ(curl->EndDownload(unit), err_interrupted);
  EXPECT_TRUE(curl->IsIdle());
}

TEST_F(CurlControlLive, PausedTransferStopsAndResumedTransferFinishes) {
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/slow/100000?rate=200000")), err_none);
  ASSERT_TRUE(WaitFor([&] { return client.Get(unit).bytes > 0; }));
  ASSERT_TRUE(curl->Pause(unit));
  size_t pos = curl->GetPos(unit);
  EXPECT_FALSE(WaitFor([&] { return curl->GetPos(unit) != pos; }, std::chrono::milliseconds(300)));
  ASSERT_TRUE(curl->Resume(unit));
  int code = -1;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_none);
  EXPECT_EQ(client.Get(unit).sum.Value(), testsupport::Checksum::OfContent(100000));
  EXPECT_GT(unit->m_pausedTotal, 250);
  EXPECT_EQ(curl->EndDownload(unit), err_none);
}

TEST_F(CurlControlLive, ResetCancelsPlainTransfersAndKeptOnesRunToTheEnd) {
  std::vector<UnitObject*> plain(3, nullptr);
  for (auto& unit : plain) ASSERT_EQ(Begin(unit, server.Url("/slow/400000?rate=100000")), err_none);
  UnitObject* kept = nullptr;
  ASSERT_EQ(Begin(kept, server.Url("/slow/60000?rate=100000"), Data(1, 1)), err_none);
  ASSERT_TRUE(WaitFor([&] { return client.Get(plain[2]).bytes > 0; }));
  curl->Reset();
  EXPECT_EQ(curl->GetRequestKey(), 1);
  // A plain unit that finished while the reset ran was freed without a word; one that finishes
  // after it reaches the client as cancelled. The kept one runs on, whole.
  bool keptDone = false;
  while (!keptDone) {
    int code = -1;
    long date = 0;
    UnitObject* done = WaitCompleted(code, date);
    ASSERT_NE(done, nullptr);
    if (done == kept) {
      keptDone = true;
      EXPECT_EQ(code, err_none);
    } else {
      EXPECT_NE(std::find(plain.begin(), plain.end(), done), plain.end());
      EXPECT_EQ(code, err_interrupted);
    }
    curl->EndDownload(done);
  }
  EXPECT_EQ(client.Get(kept).sum.Value(), testsupport::Checksum::OfContent(60000));
  for (auto* unit : plain) EXPECT_LT(client.Get(unit).bytes, 400000u);
  EXPECT_TRUE(WaitFor([&] { return curl->IsIdle(); }));
  // A begin with the old key is a silent success that does nothing.
  UnitObject* stale = nullptr;
  curl->LockMutItem();
  EXPECT_EQ(curl->BeginDownload(0, server.Url("/bytes/10"), false, stale, false, Data()), err_none);
  curl->UnlockMutItem();
  EXPECT_EQ(stale, nullptr);
}

TEST_F(CurlControlLive, ResetWithAFinishedKeptUnitAtTheFrontHangsUntilSetDataFromAnotherThread) {
  UnitObject* kept = nullptr;
  ASSERT_EQ(Begin(kept, server.Url("/bytes/100"), Data(1, 1)), err_none);
  ASSERT_TRUE(WaitFor([&] {
    curl->LockMutItem();
    bool done = !curl->m_completed.empty();
    curl->UnlockMutItem();
    return done;
  }));
  std::atomic<bool> returned{false};
  std::thread resetter([&] {
    curl->Reset();
    returned = true;
  });
  EXPECT_FALSE(WaitFor([&] { return returned.load(); }, std::chrono::milliseconds(200)));
  curl->SetData(kept, Data(1, 0));
  EXPECT_TRUE(WaitFor([&] { return returned.load(); }));
  resetter.join();
  EXPECT_TRUE(curl->IsIdle());
}
