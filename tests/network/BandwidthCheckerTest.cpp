#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>

#include "BandwidthChecker.h"
#include "FakeClock.h"
#include "FakeStreamInfo.h"
#include "LogCapture.h"
#include "WholeLogLine.h"

using strmcommon::BandwidthChecker;
using testsupport::FakeClock;
using testsupport::FakeStreamInfo;
using testsupport::HasWholeLine;
using testsupport::LogCapture;

namespace {

constexpr long long kStartMs = 1000000;
constexpr int kStream = 3;     // a media stream with a declared bit rate
constexpr int kNoStream = -1;  // a download that belongs to no media stream

// Opens the measurement state to the test.
class ProbedChecker : public BandwidthChecker {
 public:
  unsigned long long RxTotalBytes() const { return m_rxTotalBytes; }
  long long RxFirstTime() const { return m_rxFirstTime; }
  long long RxLastTime() const { return m_rxLastTime; }
  long long LastPushTime() const { return m_lastPushTime; }
  unsigned long long LastPushRxBytes() const { return m_lastPushRxBytes; }
  unsigned long long StartRxBytes() const { return m_startRxBytes; }
  long long StartTime() const { return m_startTime; }
  float LatestTimeDuration() const { return m_latestTimeDuration; }
  unsigned int BwCounter() const { return m_bwCounter; }
  unsigned int BwWriteIndex() const { return m_bwWriteIndex; }
  bwSample_t Sample(unsigned int slot) const { return m_bwSamples[slot]; }
  bool IgnoreFirstEntry() const { return m_ignoreFirstEntry; }
  void SetRing(unsigned int counter, unsigned int writeIndex) {
    m_bwCounter = counter;
    m_bwWriteIndex = writeIndex;
  }
  void SetSample(unsigned int slot, int bandwidth, int duration) {
    m_bwSamples[slot].bandwidth = bandwidth;
    m_bwSamples[slot].duration = duration;
  }
};

class BandwidthCheckerTest : public ::testing::Test {
 protected:
  void SetUp() override { checker.Init(streams.Handler()); }

  // Uses up the drop of the first chunk of the object's life.
  void ConsumeFirstEntry() { checker.AddRxTimeInfo(0, 0, 1, kNoStream, 0, 0); }

  // One chunk of `bytes` spanning [begin, end] ms, for a stream whose declared rate makes those
  // bytes exactly `mediaSeconds` of media (0: no media stream).
  void Chunk(unsigned int begin, unsigned int end, unsigned int bytes, int mediaSeconds) {
    if (mediaSeconds > 0) {
      streams.SetBitrate(kStream, bytes * 8u / static_cast<unsigned int>(mediaSeconds));
      checker.AddRxTimeInfo(begin, end, bytes, kStream, 0, 0);
    } else {
      checker.AddRxTimeInfo(begin, end, bytes, kNoStream, 0, 0);
    }
  }

  // Closes one block holding a sample of `bandwidth` bits per second (over a 100 ms span) and
  // `mediaSeconds` of media, polling 251 ms after the previous close.
  void PushSample(int bandwidth, int mediaSeconds) {
    const long long closeAt = checker.LastPushTime() + 251;
    const unsigned int begin = static_cast<unsigned int>(closeAt - 150);
    Chunk(begin, begin + 100, static_cast<unsigned int>(bandwidth / 80), mediaSeconds);
    checker.OnPolling(closeAt);
  }

  FakeClock clock{kStartMs};
  FakeStreamInfo streams;
  ProbedChecker checker;
};

}  // namespace

TEST_F(BandwidthCheckerTest, StartsWithNoEstimateAndTheDefaultInterval) {
  EXPECT_EQ(checker.GetCurrentBandwidth(), 0);
  EXPECT_EQ(checker.GetCurrentMinBandwidth(), 0);
  EXPECT_EQ(checker.GetCurrentAvgBandwidth(), 0);
  EXPECT_EQ(checker.GetVariationRateBandwidth(), 0);
  EXPECT_EQ(checker.GetMonitorInterval(), 250u);
  EXPECT_FALSE(checker.IsMonitoring());
  EXPECT_FALSE(checker.Islowlatency());
  EXPECT_EQ(checker.RxFirstTime(), INT64_MAX);
  EXPECT_TRUE(checker.IgnoreFirstEntry());
}

TEST_F(BandwidthCheckerTest, FirstChunkAfterConstructionIsDroppedWithItsBytes) {
  LogCapture capture;
  checker.AddRxTimeInfo(10, 20, 900000, kStream, 0, 0);
  EXPECT_EQ(checker.RxTotalBytes(), 0u);
  EXPECT_EQ(checker.RxFirstTime(), INT64_MAX);
  EXPECT_TRUE(streams.Calls().empty());
  auto lines = capture.WithMessage("Ignore first entry:");
  EXPECT_TRUE(
      HasWholeLine(capture, "BandwidthChecker.cpp", "AddRxTimeInfo", "Ignore first entry:"));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 6);

  checker.AddRxTimeInfo(20, 30, 1000, kStream, 0, 0);
  EXPECT_EQ(checker.RxTotalBytes(), 1000u);
  EXPECT_EQ(capture.Count("Ignore first entry:"), 1u);
}

TEST_F(BandwidthCheckerTest, StartDoesNotArmTheFirstChunkDropAgain) {
  ConsumeFirstEntry();
  checker.Stop();
  checker.Start();
  checker.AddRxTimeInfo(20, 30, 1000, kNoStream, 0, 0);
  EXPECT_EQ(checker.RxTotalBytes(), 1000u);
}

TEST_F(BandwidthCheckerTest, LowLatencyDropsAStreamChunkAfterAGapOfOneHundredMs) {
  ConsumeFirstEntry();
  checker.Setllsegbw(true);
  checker.AddRxTimeInfo(1000, 1100, 5000, kStream, 0, 0);
  EXPECT_EQ(checker.RxTotalBytes(), 0u);
  EXPECT_EQ(checker.RxFirstTime(), INT64_MAX);
  EXPECT_TRUE(streams.Calls().empty());
}

TEST_F(BandwidthCheckerTest, LowLatencyKeepsAStreamChunkAfterAGapOfNinetyNineMs) {
  ConsumeFirstEntry();
  checker.Setllsegbw(true);
  checker.AddRxTimeInfo(1000, 1099, 5000, kStream, 0, 0);
  EXPECT_EQ(checker.RxTotalBytes(), 5000u);
}

TEST_F(BandwidthCheckerTest, LowLatencyKeepsALongGapChunkThatBelongsToNoStream) {
  ConsumeFirstEntry();
  checker.Setllsegbw(true);
  checker.AddRxTimeInfo(1000, 5000, 5000, kNoStream, 0, 0);
  EXPECT_EQ(checker.RxTotalBytes(), 5000u);
}

TEST_F(BandwidthCheckerTest, LowLatencyGapIsAnUnsignedDifferenceSoABackwardChunkIsDropped) {
  ConsumeFirstEntry();
  checker.Setllsegbw(true);
  checker.AddRxTimeInfo(1000, 999, 5000, kStream, 0, 0);
  EXPECT_EQ(checker.RxTotalBytes(), 0u);
}

TEST_F(BandwidthCheckerTest, LowLatencyDropComesBeforeTheFirstChunkDrop) {
  checker.Setllsegbw(true);
  LogCapture capture;
  checker.AddRxTimeInfo(1000, 1200, 5000, kStream, 0, 0);
  EXPECT_TRUE(checker.IgnoreFirstEntry());
  EXPECT_EQ(capture.Count("Ignore first entry:"), 0u);
}

TEST_F(BandwidthCheckerTest, WithoutLowLatencyALongGapChunkIsKept) {
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(1000, 5000, 5000, kStream, 0, 0);
  EXPECT_EQ(checker.RxTotalBytes(), 5000u);
}

TEST_F(BandwidthCheckerTest, BlockTimesTakeTheEarliestStartAndTheLatestEnd) {
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(500, 600, 10, kNoStream, 0, 0);
  checker.AddRxTimeInfo(400, 550, 10, kNoStream, 0, 0);
  checker.AddRxTimeInfo(450, 580, 10, kNoStream, 0, 0);
  EXPECT_EQ(checker.RxFirstTime(), 400);
  EXPECT_EQ(checker.RxLastTime(), 600);
  EXPECT_EQ(checker.RxTotalBytes(), 30u);
}

TEST_F(BandwidthCheckerTest, ChunkTimesAreZeroExtendedThirtyTwoBitValues) {
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(0xFFFFFFF0u, 0xFFFFFFFFu, 10, kNoStream, 0, 0);
  EXPECT_EQ(checker.RxFirstTime(), 4294967280LL);
  EXPECT_EQ(checker.RxLastTime(), 4294967295LL);
}

TEST_F(BandwidthCheckerTest, ResetBaseTimeTakesSixtyFourBitsWhileChunkTimesAreTruncated) {
  ConsumeFirstEntry();
  checker.ResetRxBaseTime(0x100000064LL);  // 2^32 + 100
  // The same instant as a chunk time is 100: it does not move the block's end.
  checker.AddRxTimeInfo(90, 100, 10, kNoStream, 0, 0);
  EXPECT_EQ(checker.RxLastTime(), 0x100000064LL);
  EXPECT_EQ(checker.RxFirstTime(), 90);
}

TEST_F(BandwidthCheckerTest, StreamInfoIsAskedAlsoForANegativeIndexButNotUsed) {
  ConsumeFirstEntry();
  streams.SetBitrate(kNoStream, 8000);
  checker.AddRxTimeInfo(0, 10, 1000, kNoStream, 0, 0);
  ASSERT_EQ(streams.Calls().size(), 1u);  // the consumed first chunk was dropped before the call
  EXPECT_EQ(streams.Calls().back(), kNoStream);
  EXPECT_EQ(checker.LatestTimeDuration(), 0.0f);
}

TEST_F(BandwidthCheckerTest, MediaSecondsComeFromTheDeclaredBitrate) {
  ConsumeFirstEntry();
  streams.SetBitrate(kStream, 2000000);
  checker.AddRxTimeInfo(0, 10, 125000, kStream, 0, 0);  // 1 Mbit of a 2 Mbit/s stream
  EXPECT_FLOAT_EQ(checker.LatestTimeDuration(), 0.5f);
  checker.AddRxTimeInfo(10, 20, 125000, kStream, 0, 0);
  EXPECT_FLOAT_EQ(checker.LatestTimeDuration(), 1.0f);
}

TEST_F(BandwidthCheckerTest, UnknownStreamLeavesMediaSecondsButCountsBytes) {
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(0, 10, 125000, kStream, 0, 0);
  EXPECT_EQ(checker.LatestTimeDuration(), 0.0f);
  EXPECT_EQ(checker.RxTotalBytes(), 125000u);
}

TEST_F(BandwidthCheckerTest, DeclaredBitrateOfZeroMakesMediaSecondsInfinite) {
  ConsumeFirstEntry();
  streams.SetBitrate(kStream, 0);
  checker.AddRxTimeInfo(0, 10, 1000, kStream, 0, 0);
  EXPECT_TRUE(std::isinf(checker.LatestTimeDuration()));
}

TEST_F(BandwidthCheckerTest, PollingDoesNothingBeforeStart) {
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(0, 100, 100000, kNoStream, 0, 0);
  checker.OnPolling(kStartMs + 100000);
  EXPECT_EQ(checker.RxFirstTime(), 0);
  EXPECT_EQ(checker.LastPushTime(), 0);
}

TEST_F(BandwidthCheckerTest, StartRecordsTheClockAndTheByteTotalAndLogs) {
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(0, 100, 7000, kNoStream, 0, 0);
  checker.Setllsegbw(true);
  clock.SetMs(kStartMs + 500);
  LogCapture capture;
  EXPECT_TRUE(checker.Start());
  EXPECT_TRUE(checker.IsMonitoring());
  EXPECT_EQ(checker.StartRxBytes(), 7000u);
  EXPECT_EQ(checker.LastPushRxBytes(), 7000u);
  EXPECT_EQ(checker.StartTime(), kStartMs + 500);
  EXPECT_EQ(checker.LastPushTime(), kStartMs + 500);
  EXPECT_FALSE(checker.Islowlatency());
  auto lines = capture.Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(LogCapture::Message(lines[0].text), "!! BandwidthChecker::Start");
  EXPECT_EQ(lines[0].priority, 3);
  EXPECT_EQ(LogCapture::Message(lines[1].text), "BandwidthChecker::Start");
  EXPECT_EQ(lines[1].priority, 3);
}

TEST_F(BandwidthCheckerTest, StartKeepsTheRingAndTheEstimate) {
  checker.Start();
  ConsumeFirstEntry();
  PushSample(800000, 10);
  ASSERT_EQ(checker.GetCurrentBandwidth(), 800000);
  checker.Start();
  EXPECT_EQ(checker.GetCurrentBandwidth(), 800000);
  EXPECT_EQ(checker.BwCounter(), 1u);
}

TEST_F(BandwidthCheckerTest, StopLogsAndPollingThenDoesNothingWhileChunksStillCount) {
  checker.Start();
  ConsumeFirstEntry();
  LogCapture capture;
  EXPECT_TRUE(checker.Stop());
  EXPECT_FALSE(checker.IsMonitoring());
  auto lines = capture.Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(LogCapture::Message(lines[0].text), "!! BandwidthChecker::Stop");
  EXPECT_EQ(lines[0].priority, 3);
  EXPECT_EQ(LogCapture::Message(lines[1].text), "BandwidthChecker::Stop");
  EXPECT_EQ(lines[1].priority, 3);

  checker.AddRxTimeInfo(0, 100, 100000, kNoStream, 0, 0);
  checker.OnPolling(kStartMs + 10000);
  EXPECT_EQ(checker.RxTotalBytes(), 100000u);
  EXPECT_EQ(checker.BwCounter(), 0u);
  EXPECT_EQ(checker.LastPushTime(), kStartMs);
}

TEST_F(BandwidthCheckerTest, ABlockClosesOnlyWhenMoreThanTheIntervalHasPassed) {
  checker.Start();
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(100, 200, 10000, kNoStream, 0, 0);
  checker.OnPolling(kStartMs + 250);
  EXPECT_EQ(checker.BwCounter(), 0u);
  EXPECT_EQ(checker.LastPushTime(), kStartMs);
  checker.OnPolling(kStartMs + 251);
  EXPECT_EQ(checker.BwCounter(), 1u);
  EXPECT_EQ(checker.Sample(0).bandwidth, 800000);  // 10000 bytes in 100 ms
  EXPECT_EQ(checker.LastPushTime(), kStartMs + 251);
  EXPECT_EQ(checker.LastPushRxBytes(), 10000u);
}

TEST_F(BandwidthCheckerTest, PushIsLoggedAtDebugPriority) {
  checker.Start();
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(100, 200, 10000, kNoStream, 0, 0);
  LogCapture capture;
  checker.OnPolling(kStartMs + 251);
  auto lines = capture.WithMessage("[HLS_BW] Bandwidth : Push 800000 bps");
  EXPECT_TRUE(HasWholeLine(capture, "BandwidthChecker.cpp", "OnPolling",
                           "[HLS_BW] Bandwidth : Push 800000 bps"));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
}

TEST_F(BandwidthCheckerTest, LargeBlockClosesEarlyWhenItsSpanExceedsAFortiethOfTheInterval) {
  checker.Start();
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(100, 200, 600000, kNoStream, 0, 0);
  checker.OnPolling(kStartMs + 120);
  EXPECT_EQ(checker.BwCounter(), 1u);
  EXPECT_EQ(checker.Sample(0).bandwidth, 48000000);
  EXPECT_EQ(checker.LastPushTime(), kStartMs + 120);
}

TEST_F(BandwidthCheckerTest, LargeBlockWithinFiveMsWaitsForTheInterval) {
  checker.Start();
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(100, 105, 600000, kNoStream, 0, 0);
  checker.OnPolling(kStartMs + 120);
  EXPECT_EQ(checker.LastPushTime(), kStartMs);
  EXPECT_EQ(checker.RxFirstTime(), 100);
  checker.OnPolling(kStartMs + 251);
  EXPECT_EQ(checker.LastPushTime(), kStartMs + 251);
  // 5 ms is under the 12 ms a sample needs: the block ends without one.
  EXPECT_EQ(checker.BwCounter(), 0u);
}

TEST_F(BandwidthCheckerTest, EarlyCloseNeedsMoreThan524288NewBytes) {
  checker.Start();
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(100, 200, 524288, kNoStream, 0, 0);
  checker.OnPolling(kStartMs + 120);
  EXPECT_EQ(checker.LastPushTime(), kStartMs);
  checker.AddRxTimeInfo(200, 200, 1, kNoStream, 0, 0);
  checker.OnPolling(kStartMs + 121);
  EXPECT_EQ(checker.LastPushTime(), kStartMs + 121);
}

TEST_F(BandwidthCheckerTest, EarlyCloseNeedsASpanAboveSixMsAtTheDefaultInterval) {
  checker.Start();
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(100, 106, 600000, kNoStream, 0, 0);
  checker.OnPolling(kStartMs + 120);
  EXPECT_EQ(checker.LastPushTime(), kStartMs);
  checker.AddRxTimeInfo(106, 107, 1, kNoStream, 0, 0);
  checker.OnPolling(kStartMs + 121);
  EXPECT_EQ(checker.LastPushTime(), kStartMs + 121);
}

TEST_F(BandwidthCheckerTest, EarlyCloseBelowTwelveMsEndsTheBlockWithoutASample) {
  checker.Start();
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(100, 111, 600000, kNoStream, 0, 0);
  checker.OnPolling(kStartMs + 120);
  EXPECT_EQ(checker.LastPushTime(), kStartMs + 120);
  EXPECT_EQ(checker.BwCounter(), 0u);
  // The bytes stay in the total but in no sample.
  EXPECT_EQ(checker.RxTotalBytes(), 600000u);
  EXPECT_EQ(checker.LastPushRxBytes(), 600000u);
  EXPECT_EQ(checker.RxFirstTime(), INT64_MAX);
}

TEST_F(BandwidthCheckerTest, ASampleNeedsASpanOfAtLeastATwentiethOfTheInterval) {
  checker.Start();
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(100, 111, 1000, kNoStream, 0, 0);
  checker.OnPolling(kStartMs + 251);
  EXPECT_EQ(checker.BwCounter(), 0u);
  checker.AddRxTimeInfo(300, 312, 1200, kNoStream, 0, 0);
  checker.OnPolling(kStartMs + 502);
  EXPECT_EQ(checker.BwCounter(), 1u);
  EXPECT_EQ(checker.Sample(0).bandwidth, 800000);
}

TEST_F(BandwidthCheckerTest, LowLatencyIntervalMakesTheThresholdsFiveAndTenMs) {
  checker.SetMonitorInterval(200);
  checker.Start();
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(100, 105, 600000, kNoStream, 0, 0);
  checker.OnPolling(kStartMs + 50);
  EXPECT_EQ(checker.LastPushTime(), kStartMs);
  checker.AddRxTimeInfo(105, 106, 1, kNoStream, 0, 0);
  checker.OnPolling(kStartMs + 51);  // span 6 > 5: early close, 6 < 10: no sample
  EXPECT_EQ(checker.LastPushTime(), kStartMs + 51);
  EXPECT_EQ(checker.BwCounter(), 0u);
  checker.AddRxTimeInfo(200, 210, 1000, kNoStream, 0, 0);
  checker.OnPolling(kStartMs + 252);
  EXPECT_EQ(checker.BwCounter(), 1u);
  EXPECT_EQ(checker.Sample(0).bandwidth, 800000);
}

TEST_F(BandwidthCheckerTest, AnEmptyBlockPushesNothingButMovesThePushTimeAndZeroesTheVariation) {
  checker.Start();
  ConsumeFirstEntry();
  PushSample(800000, 10);
  ASSERT_EQ(checker.GetVariationRateBandwidth(), 800000);
  LogCapture capture;
  checker.OnPolling(kStartMs + 5000);
  EXPECT_EQ(checker.BwCounter(), 1u);
  EXPECT_EQ(checker.LastPushTime(), kStartMs + 5000);
  EXPECT_EQ(checker.GetVariationRateBandwidth(), 0);
  EXPECT_TRUE(capture.Containing("Push").empty());
}

TEST_F(BandwidthCheckerTest, VariationIsTheChangeOfTheEstimateAcrossOnePass) {
  checker.Start();
  ConsumeFirstEntry();
  PushSample(800000, 10);
  PushSample(400000, 10);
  EXPECT_EQ(checker.GetCurrentBandwidth(), 400000);
  EXPECT_EQ(checker.GetVariationRateBandwidth(), -400000);
}

TEST_F(BandwidthCheckerTest, FivePushesOfOneSecondGiveTheMeanOfAllFiveOnTheFifth) {
  checker.Start();
  ConsumeFirstEntry();
  const int rates[] = {800000, 1600000, 2400000, 3200000};
  for (int rate : rates) {
    PushSample(rate, 1);
    EXPECT_EQ(checker.GetCurrentBandwidth(), 0);
  }
  LogCapture capture;
  PushSample(4000000, 1);
  EXPECT_EQ(checker.GetCurrentBandwidth(), 2400000);
  EXPECT_EQ(checker.GetCurrentMinBandwidth(), 2400000);
  EXPECT_EQ(checker.GetCurrentAvgBandwidth(), 2400000);
  auto lines = capture.WithMessage(
      "[HLS_BW] current bandwith : 2400000, latest_bandwith : 12000000 latest_time_duation : 5 "
      "bw_counter : 5");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, 3);
}

TEST_F(BandwidthCheckerTest, ASingleSampleOfTenSecondsGivesAnEstimateAtOnce) {
  checker.Start();
  ConsumeFirstEntry();
  PushSample(1600000, 10);
  EXPECT_EQ(checker.GetCurrentBandwidth(), 1600000);
}

TEST_F(BandwidthCheckerTest, ASingleSampleOfNineSecondsGivesNoEstimate) {
  checker.Start();
  ConsumeFirstEntry();
  PushSample(1600000, 9);
  EXPECT_EQ(checker.Sample(0).duration, 9);
  EXPECT_EQ(checker.GetCurrentBandwidth(), 0);
}

TEST_F(BandwidthCheckerTest, ThreeSamplesOfFourSecondsStopTheWalkAtThree) {
  checker.Start();
  ConsumeFirstEntry();
  PushSample(8000000, 4);  // older than the three that count
  PushSample(800000, 4);
  PushSample(1600000, 4);
  LogCapture capture;
  PushSample(2400000, 4);
  EXPECT_EQ(checker.GetCurrentBandwidth(), 1600000);
  EXPECT_EQ(capture.Count("[HLS_BW] current bandwith : 1600000, latest_bandwith : 4800000 "
                          "latest_time_duation : 12 bw_counter : 3"),
            1u);
}

TEST_F(BandwidthCheckerTest, MediaSecondsAreTruncatedIntoTheSample) {
  checker.Start();
  ConsumeFirstEntry();
  streams.SetBitrate(kStream, 1000000);
  checker.AddRxTimeInfo(100, 200, 243750, kStream, 0, 0);  // 1.95 s of media
  checker.OnPolling(kStartMs + 251);
  EXPECT_EQ(checker.Sample(0).duration, 1);
  EXPECT_EQ(checker.LatestTimeDuration(), 0.0f);
}

TEST_F(BandwidthCheckerTest, InfiniteMediaSecondsGiveTheIndefiniteIntegerAsTheSampleDuration) {
  checker.Start();
  ConsumeFirstEntry();
  streams.SetBitrate(kStream, 0);
  checker.AddRxTimeInfo(100, 200, 125000, kStream, 0, 0);
  checker.OnPolling(kStartMs + 251);
  ASSERT_EQ(checker.BwCounter(), 1u);
  EXPECT_EQ(checker.Sample(0).duration, INT32_MIN);
  EXPECT_EQ(checker.GetCurrentBandwidth(), 0);
}

TEST_F(BandwidthCheckerTest, MediaSecondsOfTheWalkAddUpInThirtyTwoBits) {
  checker.Start();
  ConsumeFirstEntry();
  checker.SetSample(0, 1000000, INT32_MAX);
  checker.SetRing(1, 1);
  PushSample(2000000, 1);
  // 1 + 2147483647 wraps to a negative sum: the walk runs out without an estimate.
  ASSERT_EQ(checker.BwCounter(), 2u);
  EXPECT_EQ(checker.GetCurrentBandwidth(), 0);
}

TEST_F(BandwidthCheckerTest, BandwidthBeyondTheIntRangeIsCutToThirtyTwoBitsInTheSample) {
  checker.Start();
  ConsumeFirstEntry();
  LogCapture capture;
  Chunk(100, 112, 6000000, 0);  // 4000000000 bits per second
  checker.OnPolling(kStartMs + 251);
  ASSERT_EQ(checker.BwCounter(), 1u);
  EXPECT_EQ(checker.Sample(0).bandwidth, -294967296);  // 4000000000 - 2^32
  EXPECT_EQ(capture.Count("[HLS_BW] Bandwidth : Push -294967296 bps"), 1u);
}

TEST_F(BandwidthCheckerTest, MediaSecondsOfABlockWithoutASampleCarryOver) {
  checker.Start();
  ConsumeFirstEntry();
  streams.SetBitrate(kStream, 8000);
  checker.AddRxTimeInfo(100, 105, 3000, kStream, 0, 0);  // 3 s of media in 5 ms: no sample
  checker.OnPolling(kStartMs + 251);
  EXPECT_EQ(checker.BwCounter(), 0u);
  EXPECT_FLOAT_EQ(checker.LatestTimeDuration(), 3.0f);
  checker.AddRxTimeInfo(300, 400, 10000, kStream, 0, 0);  // 10 s more
  checker.OnPolling(kStartMs + 502);
  EXPECT_EQ(checker.Sample(0).duration, 13);
}

TEST_F(BandwidthCheckerTest, TheRingKeepsFiveSamplesAndTheWalkStartsAtTheNewest) {
  checker.Start();
  ConsumeFirstEntry();
  for (int i = 1; i <= 5; ++i) PushSample(800000 * i, 1);
  EXPECT_EQ(checker.BwWriteIndex(), 0u);
  PushSample(8000000, 1);
  EXPECT_EQ(checker.BwCounter(), 5u);
  EXPECT_EQ(checker.BwWriteIndex(), 1u);
  EXPECT_EQ(checker.Sample(0).bandwidth, 8000000);
  // 1.6 + 2.4 + 3.2 + 4.0 + 8.0 Mbit/s
  EXPECT_EQ(checker.GetCurrentBandwidth(), 3840000);
}

TEST_F(BandwidthCheckerTest, WalkBelowSlotZeroContinuesAtTheCounterMinusOne) {
  checker.Start();
  ConsumeFirstEntry();
  // A ring state that ordinary pushes never make: three samples with the writer at slot 1.
  checker.SetRing(3, 1);
  checker.SetSample(0, 100, 1);
  checker.SetSample(1, 200, 1);
  checker.SetSample(2, 300, 1);
  checker.SetSample(3, 400, 20);
  checker.SetSample(4, 999999, 100);
  // The pushed sample lands in slot 1 and the counter becomes 4; the walk goes 1, 0, then 3
  // (counter minus one), where a plain ring would have gone on at 4.
  LogCapture capture;
  PushSample(800000, 0);
  EXPECT_EQ(checker.BwCounter(), 4u);
  EXPECT_EQ(capture.Count("[HLS_BW] current bandwith : 266833, latest_bandwith : 800500 "
                          "latest_time_duation : 21 bw_counter : 3"),
            1u);
  EXPECT_EQ(checker.GetCurrentBandwidth(), 266833);
}

TEST_F(BandwidthCheckerTest, ResetBaseTimeOpensAFreshBlockAndKeepsRingAndMediaSeconds) {
  checker.Start();
  ConsumeFirstEntry();
  PushSample(800000, 10);
  streams.SetBitrate(kStream, 8000);
  checker.AddRxTimeInfo(700, 800, 2000, kStream, 0, 0);
  checker.ResetRxBaseTime(kStartMs + 300);
  EXPECT_EQ(checker.RxFirstTime(), INT64_MAX);
  EXPECT_EQ(checker.RxLastTime(), kStartMs + 300);
  EXPECT_EQ(checker.LastPushRxBytes(), checker.RxTotalBytes());
  EXPECT_EQ(checker.LastPushTime(), kStartMs + 300);
  EXPECT_FLOAT_EQ(checker.LatestTimeDuration(), 2.0f);
  EXPECT_EQ(checker.BwCounter(), 1u);
  EXPECT_EQ(checker.GetCurrentBandwidth(), 800000);
}

TEST_F(BandwidthCheckerTest, BlockAverageWithAnEmptyRingAndNoBlockIsZero) {
  LogCapture capture;
  EXPECT_EQ(checker.GetAverageBandwidthFromBlock(), 0);
  auto lines = capture.Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(LogCapture::Message(lines[0].text),
            "[HLS_BW] GetAverageBandwidthFromBlock avg_bandwidth = 0 and  bw_counter = 0 ");
  EXPECT_EQ(lines[0].priority, 6);
  EXPECT_EQ(LogCapture::Message(lines[1].text),
            "2nd [HLS_BW] GetAverageBandwidthFromBlock avg_bandwidth = 0 and  bw_counter = 0 ");
  EXPECT_EQ(lines[1].priority, 6);
}

TEST_F(BandwidthCheckerTest, BlockAverageWithAnEmptyRingIsTheOpenBlocksRate) {
  checker.Start();
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(100, 150, 25000, kNoStream, 0, 0);
  checker.AddRxTimeInfo(150, 300, 25000, kNoStream, 0, 0);
  LogCapture capture;
  EXPECT_EQ(checker.GetAverageBandwidthFromBlock(), 2000000);
  EXPECT_EQ(capture.Count(
                "2nd [HLS_BW] GetAverageBandwidthFromBlock avg_bandwidth = 2000000 and  bw_counter "
                "= 1 "),
            1u);
}

TEST_F(BandwidthCheckerTest, BlockAverageIsTheMeanOfAllSamplesAndLogsTheSum) {
  checker.Start();
  ConsumeFirstEntry();
  PushSample(800000, 1);
  PushSample(1600000, 30);
  checker.AddRxTimeInfo(0, 1000, 900000, kNoStream, 0, 0);  // an open block does not count now
  LogCapture capture;
  EXPECT_EQ(checker.GetAverageBandwidthFromBlock(), 1200000);
  EXPECT_EQ(
      capture.Count(
          "[HLS_BW] GetAverageBandwidthFromBlock avg_bandwidth = 2400000 and  bw_counter = 2 "),
      1u);
  EXPECT_EQ(capture.Count("2nd [HLS_BW] GetAverageBandwidthFromBlock avg_bandwidth = 2400000 and  "
                          "bw_counter = 2 "),
            1u);
}

TEST_F(BandwidthCheckerTest, WholeRunAverageCountsBytesSinceStartOverClockTime) {
  ConsumeFirstEntry();
  checker.AddRxTimeInfo(0, 10, 50000, kNoStream, 0, 0);  // before Start: not counted
  checker.Start();
  EXPECT_EQ(checker.GetAverageBandwidth(), 0u);  // no time has passed
  checker.AddRxTimeInfo(10, 20, 250000, kNoStream, 0, 0);
  clock.AdvanceMs(2000);
  EXPECT_EQ(checker.GetAverageBandwidth(), 1000000u);
}

TEST_F(BandwidthCheckerTest, BeginingBandwidthAndDownloadPerHourStayZero) {
  checker.Start();
  ConsumeFirstEntry();
  for (int i = 0; i < 6; ++i) PushSample(4000000, 3);
  ASSERT_NE(checker.GetCurrentBandwidth(), 0);
  EXPECT_EQ(checker.GetBeginingBandwidth(), 0);
  EXPECT_EQ(checker.GetDownloadPerHour(), 0);
}

TEST_F(BandwidthCheckerTest, LowLatencyFlagIsTheSameThroughBothInterfaces) {
  strmcommon::IDownloadEvent* event = &checker;
  strmcommon::IBandwidthChecker* bw = &checker;
  bw->Setllsegbw(true);
  EXPECT_TRUE(event->Islowlatency());
  EXPECT_TRUE(bw->Islowlatency());
  bw->Setllsegbw(false);
  EXPECT_FALSE(event->Islowlatency());
}

TEST_F(BandwidthCheckerTest, MonitorIntervalIsStoredAsGiven) {
  checker.SetMonitorInterval(1234);
  EXPECT_EQ(checker.GetMonitorInterval(), 1234u);
}
