// Body delivery: the write and progress callbacks, measurement, the back-pressure loop and the
// pause buffer. Chunks are fed through the write callback from the test thread over substitute
// handles; the last tests run real transfers against the loopback server.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>

#include "EngineDoubles.h"
#include "FakeClock.h"
#include "StreamRoutes.h"
#include "WholeLogLine.h"

using enginetest::Data;
using enginetest::FakeBodyTest;
using enginetest::LiveEngineTest;
using strmcommon::Curl;
using strmcommon::err_interrupted;
using strmcommon::err_none;
using strmcommon::err_recv_error;
using strmcommon::kBitrateUnknown;
using strmcommon::UnitObject;
using testsupport::Checksum;
using testsupport::FakeClock;
using testsupport::HasWholeLine;
using testsupport::LogCapture;
using testsupport::WaitFor;

namespace {

using CurlBody = FakeBodyTest;

// The double form of the content length, the one the engine reads.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
constexpr CURLINFO kContentLength = CURLINFO_CONTENT_LENGTH_DOWNLOAD;
#pragma GCC diagnostic pop

std::string Hex(const void* p) {
  char text[32];
  snprintf(text, sizeof(text), "%p", p);
  return text;
}

std::string Text(const std::vector<unsigned char>& bytes) {
  return std::string(bytes.begin(), bytes.end());
}

// Byte strings compared without printing them.
testing::AssertionResult SameBytes(const std::string& got, const std::string& want) {
  if (got == want) return testing::AssertionSuccess();
  size_t i = 0;
  while (i < got.size() && i < want.size() && got[i] == want[i]) ++i;
  return testing::AssertionFailure()
         << "got " << got.size() << " bytes, want " << want.size() << ", first difference at " << i;
}

// A client whose answer to each offer the test decides; taken chunks are collected.
class ScriptedClient : public testsupport::CollectingClient {
 public:
  std::function<int(UnitObject*, unsigned int)> answer;
  std::atomic<int> offers{0};

  int OnDownloadData(UnitObject* unit, int code, unsigned char* data, unsigned int size) override {
    ++offers;
    int result = answer ? answer(unit, size) : 0;
    if (result == 0) CollectingClient::OnDownloadData(unit, code, data, size);
    return result;
  }
};

}  // namespace

TEST_F(CurlBody, WriteCallbackDeliversTheChunkAndReportsEveryByteConsumed) {
  UnitObject* unit = BeginScripted();
  EXPECT_EQ(Feed(unit, Bytes(0, 700)), 700u);
  EXPECT_TRUE(SameBytes(client.Get(unit).data, Text(Bytes(0, 700))));
  EXPECT_EQ(unit->m_pos, 700u);
}

TEST_F(CurlBody, AfterQuitTheWriteCallbackSwallowsBytesAndProgressAborts) {
  UnitObject* unit = BeginScripted();
  curl->m_quit = true;
  EXPECT_EQ(Feed(unit, Bytes(0, 300)), 300u);
  EXPECT_EQ(unit->m_pos, 0u);
  EXPECT_EQ(client.Get(unit).calls, 0);
  EXPECT_EQ(Curl::ProgressCB(unit, 0, 0, 0, 0), Curl::kAbortTransfer);
}

TEST_F(CurlBody, FreedSlotSwallowsBytesAndProgressAborts) {
  UnitObject* unit = BeginScripted();
  curl->m_units[unit->m_index].first = false;
  EXPECT_EQ(Feed(unit, Bytes(0, 300)), 300u);
  EXPECT_EQ(unit->m_pos, 0u);
  EXPECT_EQ(client.Get(unit).calls, 0);
  EXPECT_EQ(Curl::ProgressCB(unit, 1, 2, 3, 4), Curl::kAbortTransfer);
  curl->m_units[unit->m_index].first = true;
}

TEST_F(CurlBody, ProgressGoesOnUntilTheUnitIsCancelled) {
  UnitObject* unit = BeginScripted();
  EXPECT_EQ(Curl::ProgressCB(unit, 0, 0, 0, 0), 0);
  unit->m_cancel = true;
  EXPECT_EQ(Curl::ProgressCB(unit, 0, 0, 0, 0), Curl::kAbortTransfer);
}

TEST_F(CurlBody, CancelledChunkIsCountedAndMeasuredButNotDeliveredAndTheWriteGoesOn) {
  UnitObject* unit = BeginScripted();
  unit->m_cancel = true;
  EXPECT_EQ(Feed(unit, Bytes(0, 400)), 400u);
  EXPECT_EQ(unit->m_pos, 400u);
  EXPECT_EQ(client.Get(unit).calls, 0);
  EXPECT_EQ(event.calls.size(), 1u);
  curl->LockMutItem();
  auto bytes = Bytes(0, 10);
  EXPECT_EQ(curl->OnBodyDownload(unit, bytes.data(), 10, -1, -1), Curl::kAbortTransfer);
  curl->UnlockMutItem();
}

TEST_F(CurlBody, OnBodyDownloadOfNullLogsTheErrorAndReturnsMinusOne) {
  LogCapture capture;
  char byte = 0;
  EXPECT_EQ(curl->OnBodyDownload(nullptr, &byte, 1, -1, -1), Curl::kAbortTransfer);
  auto lines = capture.WithMessage(">> strmcommon::Unit == NULL ERROR");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_EQ(capture.Count("starts."), 1u);
  EXPECT_TRUE(
      HasWholeLine(capture, "CurlBody.cpp", "OnBodyDownload", ">> strmcommon::Unit == NULL ERROR"));
}

TEST_F(CurlBody, IdentifiersOtherThanMinusOneDropTheChunk) {
  UnitObject* unit = BeginScripted();
  auto bytes = Bytes(0, 50);
  for (auto ids : {std::make_pair(5, -1), std::make_pair(-1, 0), std::make_pair(0, 0)}) {
    LogCapture capture;
    curl->LockMutItem();
    EXPECT_EQ(curl->OnBodyDownload(unit, bytes.data(), 50, ids.first, ids.second),
              Curl::kAbortTransfer);
    curl->UnlockMutItem();
    EXPECT_EQ(capture.Count("[Warning] Error easycurlid"), 1u);
  }
  EXPECT_EQ(unit->m_pos, 0u);
  EXPECT_EQ(client.Get(unit).calls, 0);
}

TEST_F(CurlBody, ContentLengthIsAskedForEveryChunkUntilLibcurlKnowsIt) {
  UnitObject* unit = BeginScripted();
  LogCapture capture;
  Feed(unit, Bytes(0, 10));
  EXPECT_EQ(unit->m_size, 0u);
  EasyOf(unit)->doubleInfo[kContentLength] = -1;
  Feed(unit, Bytes(10, 10));
  EXPECT_EQ(unit->m_size, 0u);
  EasyOf(unit)->doubleInfo[kContentLength] = 1000.9;
  Feed(unit, Bytes(20, 10));
  EXPECT_EQ(unit->m_size, 1000u);
  EXPECT_EQ(capture.Count("Unit " + Hex(unit) + ", Content Length = 1000"), 1u);
  // Known once, never asked again.
  EasyOf(unit)->doubleInfo[kContentLength] = 5;
  Feed(unit, Bytes(30, 10));
  EXPECT_EQ(unit->m_size, 1000u);
}

TEST_F(CurlBody, ContentLengthBeyondFourGibibytesSaturatesInTheThirtyTwoBitSize) {
  struct Row {
    double length;
    size_t size;
    const char* logged;  // the size as the 32-bit long of the log line
  };
  const Row rows[] = {
      {4294967295.0, 4294967295u, "-1"},  // the largest 32-bit size
      {4294967296.0, 4294967295u, "-1"},  // saturates, not cut to 0
      {5e9, 4294967295u, "-1"},           //
      {3e9, 3000000000u, "-1294967296"},  //
  };
  UnitObject* unit = BeginScripted();
  for (const Row& row : rows) {
    SCOPED_TRACE(row.length);
    unit->m_size = 0;  // asked again
    LogCapture capture;
    EasyOf(unit)->doubleInfo[kContentLength] = row.length;
    Feed(unit, Bytes(0, 10));
    EXPECT_EQ(unit->m_size, row.size);
    EXPECT_EQ(curl->GetSize(unit), row.size);
    EXPECT_EQ(capture.Count("Unit " + Hex(unit) + ", Content Length = " + row.logged), 1u);
  }
}

TEST_F(CurlBody, PositionIsAThirtyTwoBitCounterThatWrapsAtFourGibibytes) {
  UnitObject* unit = BeginScripted();
  unit->m_pos = 4294967295u - 99;
  Feed(unit, Bytes(0, 300));
  EXPECT_EQ(unit->m_pos, 200u);
  // A saved chunk of a paused unit counts the same way.
  unit->m_pos = 4294967295u;
  ASSERT_TRUE(curl->Pause(unit));
  Feed(unit, Bytes(0, 10));
  EXPECT_EQ(curl->GetPos(unit), 9u);
}

TEST_F(CurlBody, FileTimeIsGatheredOnlyForAConditionalEntryWithoutOne) {
  UnitObject* unit = BeginScripted();
  EasyOf(unit)->longInfo[CURLINFO_FILETIME] = 784111777;
  Feed(unit, Bytes(0, 10));
  EXPECT_EQ(curl->m_urlInfo[unit->m_urlIndex].fileTime, 0);
  curl->m_urlInfo[unit->m_urlIndex].conditional = true;
  LogCapture capture;
  Feed(unit, Bytes(10, 10));
  EXPECT_EQ(curl->m_urlInfo[unit->m_urlIndex].fileTime, 784111777);
  EXPECT_EQ(capture.Count("Unit " + Hex(unit) + ", File Time = 784111777"), 1u);
  EasyOf(unit)->longInfo[CURLINFO_FILETIME] = 5;
  Feed(unit, Bytes(20, 10));
  EXPECT_EQ(curl->m_urlInfo[unit->m_urlIndex].fileTime, 784111777);
}

TEST_F(CurlBody, FirstChunkIsMeasuredFromTheSetUpTimeWithTheUnitsWords) {
  FakeClock clock(5000000);
  UnitObject* unit = BeginScripted(strmcommon::UserData{1, 7, 8, kBitrateUnknown, 0, 9});
  clock.AdvanceMs(150);
  Feed(unit, Bytes(0, 640));
  ASSERT_EQ(event.rx.size(), 1u);
  EXPECT_EQ(event.rx[0].previousTime, 5000000u);
  EXPECT_EQ(event.rx[0].now, 5000150u);
  EXPECT_EQ(event.rx[0].size, 640u);
  EXPECT_EQ(event.rx[0].streamIdx, 7);
  EXPECT_EQ(event.rx[0].segmentIdx, 8);
  EXPECT_EQ(event.rx[0].tag, 9);
  EXPECT_EQ(unit->m_firstByteTime, 150u);
  EXPECT_EQ(unit->m_lastDataTime, 5000150);
  clock.AdvanceMs(20);
  Feed(unit, Bytes(640, 10));
  ASSERT_EQ(event.rx.size(), 2u);
  EXPECT_EQ(event.rx[1].previousTime, 5000150u);
  EXPECT_EQ(event.rx[1].now, 5000170u);
  EXPECT_EQ(unit->m_firstByteTime, 150u);
}

TEST_F(CurlBody, ChunkTimesAreTheLowThirtyTwoBitsOfTheClock) {
  FakeClock clock(0x100000000LL + 40);
  UnitObject* unit = BeginScripted();
  clock.AdvanceMs(5);
  Feed(unit, Bytes(0, 1));
  ASSERT_EQ(event.rx.size(), 1u);
  EXPECT_EQ(event.rx[0].previousTime, 40u);
  EXPECT_EQ(event.rx[0].now, 45u);
}

TEST_F(CurlBody, FirstChunkInTheSetUpMillisecondLeavesFirstByteTimeZeroForTheNextToSet) {
  FakeClock clock(7000000);
  UnitObject* unit = BeginScripted();
  Feed(unit, Bytes(0, 10));
  EXPECT_EQ(unit->m_firstByteTime, 0u);
  clock.AdvanceMs(3);
  Feed(unit, Bytes(10, 10));
  EXPECT_EQ(unit->m_firstByteTime, 3u);
}

TEST_F(CurlBody, TransferKeptOutOfMeasurementStillCountsPositionAndFirstByteTime) {
  FakeClock clock(7000000);
  UnitObject* unit = BeginScripted(Data(), true);
  clock.AdvanceMs(12);
  Feed(unit, Bytes(0, 10));
  EXPECT_TRUE(event.calls.empty());
  EXPECT_EQ(unit->m_pos, 10u);
  EXPECT_EQ(unit->m_firstByteTime, 12u);
  EXPECT_EQ(client.Get(unit).bytes, 10u);
}

TEST_F(CurlBody, ChunkUpToOneHundredMillisecondsAfterAResumeRestartsTheMeasurement) {
  FakeClock clock(9000000);
  UnitObject* unit = BeginScripted();
  ASSERT_TRUE(curl->Pause(unit));
  clock.AdvanceMs(500);
  ASSERT_TRUE(curl->Resume(unit));
  EXPECT_EQ(unit->m_rxBaseTime, 9000500);
  clock.AdvanceMs(100);
  Feed(unit, Bytes(0, 10));
  EXPECT_EQ(event.calls, (std::vector<std::string>{"reset"}));
  EXPECT_EQ(event.resets, (std::vector<long long>{9000600}));
  clock.AdvanceMs(1);
  Feed(unit, Bytes(10, 10));
  EXPECT_EQ(event.calls, (std::vector<std::string>{"reset", "rx"}));
  EXPECT_EQ(event.rx[0].previousTime, 9000600u);
}

TEST_F(CurlBody, ChunkOneHundredAndOneMillisecondsAfterAResumeIsMeasured) {
  FakeClock clock(9000000);
  UnitObject* unit = BeginScripted();
  ASSERT_TRUE(curl->Pause(unit));
  ASSERT_TRUE(curl->Resume(unit));
  clock.AdvanceMs(101);
  Feed(unit, Bytes(0, 10));
  EXPECT_EQ(event.calls, (std::vector<std::string>{"rx"}));
  // The resume stamped the last data time, so the interval starts there.
  EXPECT_EQ(event.rx[0].previousTime, 9000000u);
}

TEST_F(CurlBody, ChunkOfAPausedUnitIsSavedCountedAndNotMeasuredNorDelivered) {
  UnitObject* unit = BeginScripted();
  ASSERT_TRUE(curl->Pause(unit));
  LogCapture capture;
  EXPECT_EQ(Feed(unit, Bytes(0, 300)), 300u);
  EXPECT_TRUE(SameBytes(Text(unit->m_pauseBuffer), Text(Bytes(0, 300))));
  // GetPos runs ahead of what the client has had.
  EXPECT_EQ(curl->GetPos(unit), 300u);
  EXPECT_EQ(client.Get(unit).calls, 0);
  EXPECT_TRUE(event.calls.empty());
  EXPECT_EQ(EasyOf(unit)->pauseCalls, 2);
  EXPECT_EQ(capture.Count("Pause Buffer Saved size(300)"), 1u);
  EXPECT_EQ(capture.Count("Pause, 0"), 1u);
  EXPECT_TRUE(capture.Containing("overwrite").empty());
}

TEST_F(CurlBody, SavedChunkGoesToTheClientFirstWhenTheNextChunkArrivesAfterTheResume) {
  UnitObject* unit = BeginScripted();
  Feed(unit, Bytes(0, 100));
  ASSERT_TRUE(curl->Pause(unit));
  Feed(unit, Bytes(100, 200));
  ASSERT_TRUE(curl->Resume(unit));
  // Resuming does not flush: the saved chunk waits for the next one.
  EXPECT_EQ(client.Get(unit).bytes, 100u);
  LogCapture capture;
  Feed(unit, Bytes(300, 50));
  EXPECT_EQ(capture.Count("Pause Buffer Load 200"), 1u);
  auto received = client.Get(unit);
  EXPECT_EQ(received.calls, 3);
  EXPECT_TRUE(SameBytes(received.data, Text(Bytes(0, 350))));
  EXPECT_TRUE(unit->m_pauseBuffer.empty());
  EXPECT_GE(unit->m_pauseBuffer.capacity(), 16384u);
}

TEST_F(CurlBody, SecondChunkWhilePausedOverwritesTheFirstWhichIsLost) {
  UnitObject* unit = BeginScripted();
  ASSERT_TRUE(curl->Pause(unit));
  LogCapture capture;
  Feed(unit, Bytes(0, 120));
  Feed(unit, Bytes(120, 80));
  auto lines = capture.WithMessage("Error! pause buffer overwrite (120)");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_EQ(unit->m_pauseBuffer.size(), 80u);
  EXPECT_EQ(unit->m_pos, 200u);
  ASSERT_TRUE(curl->Resume(unit));
  Feed(unit, Bytes(200, 10));
  EXPECT_TRUE(SameBytes(client.Get(unit).data, Text(Bytes(120, 90))));
}

TEST_F(CurlBody, LargerChunkGrowsThePauseBufferAndASmallerOneShrinksIt) {
  UnitObject* unit = BeginScripted();
  ASSERT_TRUE(curl->Pause(unit));
  Feed(unit, Bytes(0, 40000));
  EXPECT_EQ(unit->m_pauseBuffer.size(), 40000u);
  Feed(unit, Bytes(40000, 7));
  EXPECT_TRUE(SameBytes(Text(unit->m_pauseBuffer), Text(Bytes(40000, 7))));
}

TEST_F(CurlBody, FailingPauseCallInThePausedPathIsLoggedAndTheChunkStillSaved) {
  UnitObject* unit = BeginScripted();
  unit->m_pause = true;
  EasyOf(unit)->pauseResult = false;
  LogCapture capture;
  Feed(unit, Bytes(0, 30));
  auto lines = capture.WithMessage("ERROR!! curl_easy_pause failed, 0");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_EQ(unit->m_pauseBuffer.size(), 30u);
  unit->m_pause = false;
}

TEST_F(CurlBody, BytesBelowTheSkipPositionAreDroppedAndTheRestDelivered) {
  UnitObject* unit = BeginScripted();
  unit->m_skipBytes = 1000;
  Feed(unit, Bytes(0, 600));
  EXPECT_EQ(client.Get(unit).calls, 0);
  // Exactly at the skip position nothing is left to deliver either.
  Feed(unit, Bytes(600, 400));
  EXPECT_EQ(client.Get(unit).calls, 0);
  Feed(unit, Bytes(1000, 300));
  Feed(unit, Bytes(1300, 50));
  EXPECT_TRUE(SameBytes(client.Get(unit).data, Text(Bytes(1000, 350))));
}

TEST_F(CurlBody, ChunkStraddlingTheSkipPositionDeliversOnlyItsTail) {
  UnitObject* unit = BeginScripted();
  unit->m_skipBytes = 250;
  Feed(unit, Bytes(0, 400));
  EXPECT_TRUE(SameBytes(client.Get(unit).data, Text(Bytes(250, 150))));
  EXPECT_EQ(unit->m_pos, 400u);
}

TEST_F(CurlBody, ClientAnsweringThreeIsOfferedTheSameChunkAgainAtOnce) {
  ScriptedClient scripted;
  scripted.answer = [&](UnitObject*, unsigned int size) {
    EXPECT_EQ(size, 90u);
    return scripted.offers.load() <= 3 ? 3 : 0;
  };
  curl->Init(&scripted, &event);
  UnitObject* unit = BeginScripted();
  engineinterpose::captureUsleep = true;
  Feed(unit, Bytes(0, 90));
  engineinterpose::captureUsleep = false;
  EXPECT_EQ(scripted.offers.load(), 4);
  EXPECT_TRUE(engineinterpose::UsleepCalls().empty());
  EXPECT_TRUE(SameBytes(scripted.Get(unit).data, Text(Bytes(0, 90))));
}

TEST_F(CurlBody, ClientRefusingIsOfferedTheSameChunkAgainAfterOneMillisecond) {
  ScriptedClient scripted;
  scripted.answer = [&](UnitObject*, unsigned int) { return scripted.offers.load() <= 2 ? 7 : 0; };
  curl->Init(&scripted, &event);
  UnitObject* unit = BeginScripted();
  engineinterpose::captureUsleep = true;
  Feed(unit, Bytes(0, 90));
  engineinterpose::captureUsleep = false;
  EXPECT_EQ(scripted.offers.load(), 3);
  EXPECT_EQ(engineinterpose::UsleepCalls(), (std::vector<unsigned int>{1000, 1000}));
  EXPECT_TRUE(SameBytes(scripted.Get(unit).data, Text(Bytes(0, 90))));
}

TEST_F(CurlBody, OneMillisecondWaitReleasesTheEngineLockForOtherThreads) {
  ScriptedClient scripted;
  std::atomic<bool> otherGotIn{false};
  scripted.answer = [&](UnitObject*, unsigned int) {
    return otherGotIn.load() || scripted.offers.load() > 5000 ? 0 : 1;
  };
  curl->Init(&scripted, &event);
  UnitObject* unit = BeginScripted();
  curl->LockMutItem();
  std::thread other([&] {
    curl->LockMutItem();
    otherGotIn = true;
    curl->UnlockMutItem();
  });
  auto bytes = Bytes(0, 10);
  Curl::EasyDownloadCB(bytes.data(), 1, bytes.size(), unit);
  curl->UnlockMutItem();
  other.join();
  EXPECT_TRUE(otherGotIn.load());
  EXPECT_LT(scripted.offers.load(), 5000);
}

TEST_F(CurlBody, ClientRefusingForEverHoldsTheChunkUntilCancelThenTheChunkIsGone) {
  ScriptedClient scripted;
  scripted.answer = [](UnitObject*, unsigned int) { return 1; };
  curl->Init(&scripted, &event);
  UnitObject* unit = BeginScripted();
  std::atomic<bool> returned{false};
  std::thread worker([&] {
    Feed(unit, Bytes(0, 64));
    returned = true;
  });
  ASSERT_TRUE(WaitFor([&] { return scripted.offers.load() >= 5; }));
  EXPECT_FALSE(returned.load());
  EXPECT_TRUE(curl->Cancel(unit));
  EXPECT_TRUE(WaitFor([&] { return returned.load(); }));
  worker.join();
  int offers = scripted.offers.load();
  EXPECT_EQ(scripted.Get(unit).calls, 0);
  EXPECT_TRUE(unit->m_pauseBuffer.empty());
  EXPECT_EQ(unit->m_pos, 64u);
  // Cancelled: the next chunk is not offered either.
  Feed(unit, Bytes(64, 10));
  EXPECT_EQ(scripted.offers.load(), offers);
}

TEST_F(CurlBody, PauseDuringTheWaitSavesTheRefusedChunkWhichGoesFirstAfterTheResume) {
  ScriptedClient scripted;
  std::atomic<bool> refuse{false};
  scripted.answer = [&](UnitObject*, unsigned int) { return refuse.load() ? 1 : 0; };
  curl->Init(&scripted, &event);
  UnitObject* unit = BeginScripted();
  Feed(unit, Bytes(0, 20));
  ASSERT_EQ(scripted.Get(unit).bytes, 20u);
  refuse = true;
  std::atomic<bool> returned{false};
  std::thread worker([&] {
    Feed(unit, Bytes(20, 30));
    returned = true;
  });
  ASSERT_TRUE(WaitFor([&] { return scripted.offers.load() >= 3; }));
  LogCapture capture;
  ASSERT_TRUE(curl->Pause(unit));
  ASSERT_TRUE(WaitFor([&] { return returned.load(); }));
  worker.join();
  EXPECT_TRUE(capture.Containing("overwrite").empty());
  curl->LockMutItem();
  EXPECT_TRUE(SameBytes(Text(unit->m_pauseBuffer), Text(Bytes(20, 30))));
  curl->UnlockMutItem();
  refuse = false;
  ASSERT_TRUE(curl->Resume(unit));
  Feed(unit, Bytes(50, 5));
  EXPECT_TRUE(SameBytes(scripted.Get(unit).data, Text(Bytes(0, 55))));
}

TEST_F(CurlBody, PausingAgainWhileTheSavedChunkIsFlushedLosesThatChunk) {
  ScriptedClient scripted;
  UnitObject* unit = BeginScripted();
  scripted.answer = [&](UnitObject* u, unsigned int size) {
    if (size != 40) return 0;
    // The saved chunk is refused and the unit paused again from inside the client.
    curl->Pause(u);
    return 1;
  };
  curl->Init(&scripted, &event);
  ASSERT_TRUE(curl->Pause(unit));
  Feed(unit, Bytes(0, 40));
  ASSERT_TRUE(curl->Resume(unit));
  LogCapture capture;
  Feed(unit, Bytes(40, 25));
  // The saving step copies the buffer onto itself, then the flush empties it; the new chunk
  // finds the unit paused and is saved in its place.
  EXPECT_EQ(capture.Count("Error!! curl pause buffer overwrite"), 1u);
  EXPECT_TRUE(SameBytes(Text(unit->m_pauseBuffer), Text(Bytes(40, 25))));
  EXPECT_EQ(scripted.Get(unit).calls, 0);
  ASSERT_TRUE(curl->Resume(unit));
  Feed(unit, Bytes(65, 5));
  EXPECT_TRUE(SameBytes(scripted.Get(unit).data, Text(Bytes(40, 30))));
}

TEST_F(CurlBody, SavingStepOverwritesAChunkAlreadyInTheBuffer) {
  UnitObject* unit = BeginScripted();
  unit->m_pauseBuffer.assign(5, 'x');
  unit->m_pause = true;
  LogCapture capture;
  auto bytes = Bytes(0, 12);
  curl->LockMutItem();
  EXPECT_EQ(curl->CallTransfer(unit, err_none, bytes.data(), 12, -1), 0);
  curl->UnlockMutItem();
  auto lines = capture.WithMessage("Error!! curl pause buffer overwrite");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_EQ(unit->m_pauseBuffer, bytes);
  unit->m_pause = false;
}

TEST_F(CurlBody, EmptyChunkOnAnEmptyBufferOfAPausedUnitLeavesItEmpty) {
  UnitObject* unit = BeginScripted();
  unit->m_pause = true;
  LogCapture capture;
  curl->LockMutItem();
  curl->CallTransfer(unit, err_none, nullptr, 0, -1);
  curl->UnlockMutItem();
  EXPECT_TRUE(unit->m_pauseBuffer.empty());
  EXPECT_TRUE(capture.Containing("overwrite").empty());
  unit->m_pause = false;
}

TEST_F(CurlBody, UnitWithAResultTakesNoMoreData) {
  UnitObject* unit = BeginScripted();
  unit->code = err_recv_error;
  auto bytes = Bytes(0, 12);
  curl->LockMutItem();
  curl->CallTransfer(unit, err_none, bytes.data(), 12, -1);
  curl->UnlockMutItem();
  EXPECT_EQ(client.Get(unit).calls, 0);
  unit->code = err_none;
}

TEST_F(CurlBody, WithoutACallbackOrAfterQuitTheDataIsDroppedEvenForAPausedUnit) {
  UnitObject* unit = BeginScripted();
  unit->m_pause = true;
  auto bytes = Bytes(0, 12);
  curl->m_quit = true;
  curl->LockMutItem();
  curl->CallTransfer(unit, err_none, bytes.data(), 12, -1);
  curl->m_quit = false;
  curl->m_callback = nullptr;
  curl->CallTransfer(unit, err_none, bytes.data(), 12, -1);
  curl->UnlockMutItem();
  EXPECT_TRUE(unit->m_pauseBuffer.empty());
  unit->m_pause = false;
}

TEST_F(CurlBody, OtherTransferIdentifierNeverReachesTheClientAndTurnsUntilAFlagStopsIt) {
  UnitObject* unit = BeginScripted();
  std::atomic<bool> returned{false};
  auto bytes = Bytes(0, 12);
  std::thread worker([&] {
    curl->LockMutItem();
    curl->CallTransfer(unit, err_none, bytes.data(), 12, 7);
    curl->UnlockMutItem();
    returned = true;
  });
  EXPECT_FALSE(WaitFor([&] { return returned.load(); }, std::chrono::milliseconds(30)));
  curl->Cancel(unit);
  EXPECT_TRUE(WaitFor([&] { return returned.load(); }));
  worker.join();
  EXPECT_EQ(client.Get(unit).calls, 0);
}

TEST_F(CurlBody, ChunkSavedAtTheVeryEndIsHandedOverWhenTheTransferFinishes) {
  UnitObject* unit = BeginScripted();
  curl->Process();
  ASSERT_TRUE(curl->Pause(unit));
  Feed(unit, Bytes(0, 77));
  ASSERT_TRUE(curl->Resume(unit));
  Finish(unit, CURLE_OK, 200);
  int code = -1;
  long date = 0;
  ASSERT_EQ(curl->GetCompleted(code, date), unit);
  EXPECT_EQ(code, err_none);
  EXPECT_TRUE(SameBytes(client.Get(unit).data, Text(Bytes(0, 77))));
  // Handed over, not emptied: the next set-up does that.
  EXPECT_EQ(unit->m_pauseBuffer.size(), 77u);
  EXPECT_EQ(curl->EndDownload(unit), err_none);
}

TEST_F(CurlBody, ChunkSavedWhenTheTransferFailsIsDropped) {
  UnitObject* unit = BeginScripted();
  curl->Process();
  ASSERT_TRUE(curl->Pause(unit));
  Feed(unit, Bytes(0, 77));
  Finish(unit, CURLE_COULDNT_CONNECT);
  int code = 0;
  long date = 0;
  ASSERT_EQ(curl->GetCompleted(code, date), unit);
  EXPECT_EQ(code, err_recv_error);
  EXPECT_EQ(client.Get(unit).calls, 0);
  EXPECT_EQ(unit->m_pauseBuffer.size(), 77u);
  EXPECT_EQ(curl->EndDownload(unit), err_recv_error);
}

TEST_F(CurlBody, NextSetUpEmptiesTheBufferAndKeepsItsStorage) {
  UnitObject* unit = BeginScripted();
  curl->Process();
  ASSERT_TRUE(curl->Pause(unit));
  Feed(unit, Bytes(0, 20000));
  Finish(unit, CURLE_COULDNT_CONNECT);
  int code = 0;
  long date = 0;
  ASSERT_EQ(curl->GetCompleted(code, date), unit);
  EXPECT_EQ(curl->EndDownload(unit), err_recv_error);
  UnitObject* again = BeginScripted();
  ASSERT_EQ(again, unit);
  EXPECT_TRUE(unit->m_pauseBuffer.empty());
  EXPECT_GE(unit->m_pauseBuffer.capacity(), 20000u);
}

// libcurl hands the data it held back at a pause to the write callback from inside the resume
// call, on the resuming thread; the substitute handle does the same from its Resume.
TEST_F(CurlBody, DataHandedOverInsideAResumeTakesTheRunningPathAfterTheSavedChunk) {
  FakeClock clock(3000000);
  UnitObject* unit = BeginScripted();
  ASSERT_TRUE(curl->Pause(unit));
  Feed(unit, Bytes(0, 100));
  clock.AdvanceMs(2000);
  bool pausedInside = true;
  EasyOf(unit)->onResume = [&] {
    pausedInside = unit->m_pause;
    auto held = Bytes(100, 16384);
    Curl::EasyDownloadCB(held.data(), 1, held.size(), unit);
    held = Bytes(16484, 500);
    Curl::EasyDownloadCB(held.data(), 1, held.size(), unit);
  };
  LogCapture capture;
  ASSERT_TRUE(curl->Resume(unit));
  EasyOf(unit)->onResume = nullptr;
  EXPECT_TRUE(pausedInside);
  EXPECT_FALSE(unit->m_pause);
  auto received = client.Get(unit);
  EXPECT_EQ(received.calls, 3);
  EXPECT_TRUE(SameBytes(received.data, Text(Bytes(0, 16984))));
  EXPECT_TRUE(unit->m_pauseBuffer.empty());
  EXPECT_EQ(unit->m_pos, 16984u);
  // The handle is not paused again from inside its resume.
  EXPECT_EQ(EasyOf(unit)->pauseCalls, 2);
  EXPECT_TRUE(capture.Containing("overwrite").empty());
  EXPECT_EQ(capture.Count("Pause Buffer Load 100"), 1u);
  // Data of the resume restarts the measurement instead of spanning the pause.
  EXPECT_EQ(event.calls, (std::vector<std::string>{"reset", "reset"}));
  EXPECT_EQ(event.resets, (std::vector<long long>{3002000, 3002000}));
  // The resume itself still runs to its end.
  EXPECT_EQ(capture.Count("process paused for 2 seconds"), 1u);
  EXPECT_EQ(unit->m_pausedTotal, 2000);
}

TEST_F(CurlBody, DataHandedOverInsideAResumeWaitsForARefusingClientWithoutLettingTheWorkerIn) {
  ScriptedClient scripted;
  std::atomic<bool> otherGotIn{false};
  scripted.answer = [&](UnitObject*, unsigned int size) {
    return size == 16384 && scripted.offers.load() <= 3 ? 1 : 0;
  };
  curl->Init(&scripted, &event);
  UnitObject* unit = BeginScripted();
  ASSERT_TRUE(curl->Pause(unit));
  std::thread other;
  EasyOf(unit)->onResume = [&] {
    other = std::thread([&] {
      curl->LockMutItem();
      otherGotIn = true;
      curl->UnlockMutItem();
    });
    auto held = Bytes(0, 16384);
    Curl::EasyDownloadCB(held.data(), 1, held.size(), unit);
    EXPECT_FALSE(otherGotIn.load());
  };
  ASSERT_TRUE(curl->Resume(unit));
  EasyOf(unit)->onResume = nullptr;
  other.join();
  EXPECT_EQ(scripted.offers.load(), 4);
  EXPECT_TRUE(SameBytes(scripted.Get(unit).data, Text(Bytes(0, 16384))));
}

TEST_F(CurlBody, OutsideItsOwnResumeAPausedUnitStillSavesItsChunks) {
  UnitObject* unit = BeginScripted();
  UnitObject* other = BeginScripted();
  ASSERT_TRUE(curl->Pause(unit));
  ASSERT_TRUE(curl->Pause(other));
  // Data for another unit arriving inside this unit's resume is that unit's business.
  EasyOf(unit)->onResume = [&] {
    auto bytes = Bytes(0, 30);
    Curl::EasyDownloadCB(bytes.data(), 1, bytes.size(), other);
  };
  ASSERT_TRUE(curl->Resume(unit));
  EasyOf(unit)->onResume = nullptr;
  EXPECT_EQ(other->m_pauseBuffer.size(), 30u);
  EXPECT_EQ(client.Get(other).calls, 0);
  // After the resume the marker is gone: a later chunk of a paused unit is saved again.
  ASSERT_TRUE(curl->Pause(unit));
  Feed(unit, Bytes(0, 10));
  EXPECT_EQ(unit->m_pauseBuffer.size(), 10u);
}

// Real transfers.

namespace {

class CurlBodyLive : public LiveEngineTest {
 protected:
  void SetUp() override {
    LiveEngineTest::SetUp();
    testsupport::AddStreamRoutes(server);
  }
};

// Refuses while `refuse` is set, counting refusals, and notes offers made on `resumer`.
class GatedClient : public testsupport::CollectingClient {
 public:
  std::atomic<bool> refuse{false};
  std::atomic<size_t> refuseFrom{SIZE_MAX};
  std::atomic<int> refusals{0};
  std::atomic<bool> watching{false};
  std::atomic<pthread_t> resumer{0};
  std::atomic<int> offersInsideResume{0};
  std::atomic<size_t> taken{0};

  int OnDownloadData(UnitObject* unit, int code, unsigned char* data, unsigned int size) override {
    if (watching && pthread_equal(pthread_self(), resumer.load())) ++offersInsideResume;
    size_t from = refuseFrom.load();
    if (from != SIZE_MAX && taken.load() >= from) {
      refuseFrom = SIZE_MAX;
      refuse = true;
    }
    if (refuse) {
      ++refusals;
      return 1;
    }
    taken += size;
    return CollectingClient::OnDownloadData(unit, code, data, size);
  }
};

}  // namespace

TEST_F(CurlBodyLive, PauseWhileTheClientRefusesThenResumeDeliversEveryByteOnceInOrder) {
  GatedClient gated;
  gated.refuseFrom = 60000;
  curl->Init(&gated, nullptr);
  // 10 KB pieces every 50 ms: each read holds one piece, so the pause is honoured before the
  // next one and nothing meets a filled pause buffer.
  const size_t size = 200000;
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/slow/" + std::to_string(size) + "?rate=200000")), err_none);
  ASSERT_TRUE(WaitFor([&] { return gated.refusals.load() >= 3; }));
  // Gets in during the 1 ms wait of the refused chunk.
  ASSERT_TRUE(curl->Pause(unit));
  EXPECT_TRUE(curl->IsPause(unit));
  ASSERT_TRUE(WaitFor([&] {
    curl->LockMutItem();
    bool saved = !unit->m_pauseBuffer.empty();
    curl->UnlockMutItem();
    return saved;
  }));
  int refusals = gated.refusals.load();
  EXPECT_FALSE(
      WaitFor([&] { return gated.refusals.load() != refusals; }, std::chrono::milliseconds(150)));
  gated.refuse = false;
  ASSERT_TRUE(curl->Resume(unit));
  int code = -1;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_none);
  auto received = gated.Get(unit);
  EXPECT_EQ(received.bytes, size);
  EXPECT_EQ(received.sum.Value(), Checksum::OfContent(size));
  EXPECT_EQ(curl->EndDownload(unit), err_none);
}

TEST_F(CurlBodyLive, DataLibcurlHeldBackAtAPauseArrivesInsideTheResumeAndInOrder) {
  GatedClient gated;
  curl->Init(&gated, nullptr);
  // A large receive buffer (a 40 Mbit/s stream) and a chunked body of 4 KB chunks: one read
  // holds many chunks, and those after the pause stay with libcurl until the resume. Where a
  // read ends is up to the sockets, so the client pauses and resumes a few times until a resume
  // has found data held back.
  const size_t size = 8u * 1024 * 1024;
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/chunked/" + std::to_string(size)), Data(1, 0, 40000000)),
            err_none);
  LogCapture capture;
  for (int cycle = 0; cycle < 8 && gated.offersInsideResume.load() == 0; ++cycle) {
    int refusals = gated.refusals.load();
    gated.refuseFrom = gated.taken.load() + 256 * 1024;
    ASSERT_TRUE(WaitFor([&] { return gated.refusals.load() >= refusals + 3; }));
    // Gets in during the 1 ms wait of the refused chunk.
    ASSERT_TRUE(curl->Pause(unit));
    ASSERT_TRUE(WaitFor([&] {
      curl->LockMutItem();
      bool saved = !unit->m_pauseBuffer.empty();
      curl->UnlockMutItem();
      return saved;
    }));
    gated.refuse = false;
    gated.resumer = pthread_self();
    gated.watching = true;
    ASSERT_TRUE(curl->Resume(unit));
    gated.watching = false;
    EXPECT_FALSE(curl->IsPause(unit));
  }
  EXPECT_GT(gated.offersInsideResume.load(), 0);
  int code = -1;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date, std::chrono::seconds(20)), unit);
  EXPECT_EQ(code, err_none);
  auto received = gated.Get(unit);
  EXPECT_EQ(received.bytes, size);
  EXPECT_EQ(received.sum.Value(), Checksum::OfContent(size));
  EXPECT_TRUE(capture.Containing("overwrite").empty());
  EXPECT_EQ(curl->EndDownload(unit), err_none);
}

TEST_F(CurlBodyLive, ClientAnsweringThreeAtFirstStillGetsEveryByteOnce) {
  ScriptedClient scripted;
  scripted.answer = [&](UnitObject*, unsigned int) { return scripted.offers.load() % 3 ? 3 : 0; };
  curl->Init(&scripted, nullptr);
  const size_t size = 300000;
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/bytes/" + std::to_string(size))), err_none);
  int code = -1;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_none);
  auto received = scripted.Get(unit);
  EXPECT_EQ(received.bytes, size);
  EXPECT_EQ(received.sum.Value(), Checksum::OfContent(size));
  EXPECT_EQ(scripted.offers.load(), 3 * received.calls);
  EXPECT_EQ(curl->EndDownload(unit), err_none);
}

TEST_F(CurlBodyLive, ClientRefusingForEverHoldsTheTransferUntilCancelWhichEndsItWithMinusTwelve) {
  ScriptedClient scripted;
  scripted.answer = [](UnitObject*, unsigned int) { return 1; };
  curl->Init(&scripted, nullptr);
  UnitObject* unit = nullptr;
  ASSERT_EQ(Begin(unit, server.Url("/bytes/500000")), err_none);
  ASSERT_TRUE(WaitFor([&] { return scripted.offers.load() >= 20; }));
  size_t pos = curl->GetPos(unit);
  EXPECT_GT(pos, 0u);
  EXPECT_LT(pos, 500000u);
  EXPECT_TRUE(curl->Cancel(unit));
  int code = 0;
  long date = 0;
  ASSERT_EQ(WaitCompleted(code, date), unit);
  EXPECT_EQ(code, err_interrupted);
  EXPECT_EQ(scripted.Get(unit).calls, 0);
  EXPECT_FALSE(unit->m_cancel);
  EXPECT_EQ(curl->EndDownload(unit), err_interrupted);
}

TEST_F(CurlBodyLive, AllOtherTransfersStandStillWhileOneClientRefuses) {
  ScriptedClient scripted;
  std::atomic<UnitObject*> blocked{nullptr};
  std::atomic<int> refusals{0};
  scripted.answer = [&](UnitObject* unit, unsigned int) {
    if (unit != blocked.load()) return 0;
    ++refusals;
    return 1;
  };
  curl->Init(&scripted, nullptr);
  UnitObject* first = nullptr;
  UnitObject* second = nullptr;
  ASSERT_EQ(Begin(first, server.Url("/slow/100000?rate=100000")), err_none);
  ASSERT_EQ(Begin(second, server.Url("/slow/100000?rate=100000")), err_none);
  ASSERT_TRUE(WaitFor([&] { return scripted.Get(second).bytes > 0; }));
  blocked = first;
  ASSERT_TRUE(WaitFor([&] { return refusals.load() >= 3; }));
  size_t before = scripted.Get(second).bytes;
  EXPECT_LT(before, 100000u);
  EXPECT_FALSE(WaitFor([&] { return scripted.Get(second).bytes != before; },
                       std::chrono::milliseconds(250)));
  blocked = nullptr;
  int code = -1;
  long date = 0;
  for (int i = 0; i < 2; ++i) {
    ASSERT_NE(WaitCompleted(code, date), nullptr);
    EXPECT_EQ(code, err_none);
  }
  EXPECT_EQ(scripted.Get(first).sum.Value(), Checksum::OfContent(100000));
  EXPECT_EQ(scripted.Get(second).sum.Value(), Checksum::OfContent(100000));
  EXPECT_EQ(curl->EndDownload(first), err_none);
  EXPECT_EQ(curl->EndDownload(second), err_none);
}
