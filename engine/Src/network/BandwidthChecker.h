// Turns received body chunks into the current network bandwidth in bits per second.
#pragma once

#include <cstdint>

#include "CHLSDataHandler.h"
#include "IBandwidthChecker.h"
#include "IDownloadEvent.h"
#include "Mutex.h"

namespace strmcommon {

// Chunks arrive through IDownloadEvent on the download thread and accumulate in an open block;
// OnPolling on the engine's thread closes the block into a sample once it is m_monitorInterval
// old (or early, when it is large), and the current bandwidth becomes the mean of the newest
// samples that together hold at least 10 seconds of media, five samples at most.
class BandwidthChecker : public IBandwidthChecker, public IDownloadEvent {
 public:
  // One finished sample: bits per second, and whole seconds of media it carried.
  struct bwSample_t {
    int32_t bandwidth;
    int32_t duration;
  };
  static constexpr unsigned int kSampleCount = 5;

  BandwidthChecker();
  ~BandwidthChecker() override;
  BandwidthChecker(const BandwidthChecker&) = delete;
  BandwidthChecker& operator=(const BandwidthChecker&) = delete;

  // Stores the engine's stream data; must precede the first accepted chunk.
  void Init(strmengine::CHLSDataHandler* dataHandler);

  // IBandwidthChecker
  bool Start() override;
  bool Stop() override;
  bool IsMonitoring() override;
  void OnPolling(long long now) override;
  void Setllsegbw(bool llsegbw) override;
  void SetMonitorInterval(unsigned int interval) override;
  unsigned int GetMonitorInterval() override;
  int GetCurrentBandwidth() override;
  int GetBeginingBandwidth() override;
  int GetCurrentMinBandwidth() override;
  int GetCurrentAvgBandwidth() override;
  unsigned long long GetAverageBandwidth() override;
  int GetVariationRateBandwidth() override;
  int GetAverageBandwidthFromBlock() override;
  int GetDownloadPerHour() override;
  bool Islowlatency() override;

  // IDownloadEvent
  void AddRxTimeInfo(unsigned int previousTime, unsigned int now, unsigned int size, int streamIdx,
                     int segmentIdx, int tag) override;
  void ResetRxBaseTime(long long now) override;

 protected:
  // The closing test of OnPolling, made once without the lock and once under it.
  bool BlockIsDue(long long elapsed) const;

  RecursiveMutex m_lock;
  int m_currentBandwidth;
  int m_currentMinBandwidth;
  int m_currentAvgBandwidth;
  int m_beginingBandwidth;
  int m_variationRateBandwidth;
  int m_downloadPerHour;
  unsigned long long m_startRxBytes;
  long long m_startTime;
  long long m_rxFirstTime;
  unsigned long long m_lastPushRxBytes;
  long long m_lastPushTime;
  bwSample_t m_bwSamples[kSampleCount];
  unsigned int m_bwCounter;
  unsigned int m_bwWriteIndex;
  bool m_llsegbw;
  bool m_monitoring;
  unsigned int m_monitorInterval;
  unsigned long long m_rxTotalBytes;
  long long m_rxLastTime;
  strmengine::CHLSDataHandler* m_dataHandler;
  float m_latestTimeDuration;
  bool m_ignoreFirstEntry;
};

}  // namespace strmcommon
