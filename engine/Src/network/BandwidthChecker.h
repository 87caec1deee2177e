/// \file
/// Turns received body chunks into the current network bandwidth in bits per second.
#pragma once

#include <cstdint>

#include "CHLSDataHandler.h"
#include "IBandwidthChecker.h"
#include "IDownloadEvent.h"
#include "Mutex.h"

namespace strmcommon {

/// The library's bandwidth estimator, both the IBandwidthChecker that the switcher reads and the
/// IDownloadEvent that the download engine feeds. Chunks arrive on the download worker and
/// accumulate in an open block; OnPolling on the playback engine's thread closes the block into a
/// sample once it is m_monitorInterval old (or early, when it is large), and the current bandwidth
/// becomes the mean of the newest samples that together hold at least 10 seconds of media, five
/// samples at most. Media seconds come from the stream's declared bit rate, through
/// strmengine::CHLSDataHandler. One RecursiveMutex guards the measurement state; the 32-bit
/// getters, Start, Stop and the two averages take no lock.
class BandwidthChecker : public IBandwidthChecker, public IDownloadEvent {
 public:
  /// One finished sample.
  struct bwSample_t {
    int32_t bandwidth;  ///< bits per second
    int32_t duration;   ///< whole seconds of media it carried
  };
  static constexpr unsigned int kSampleCount = 5;  ///< samples in the ring

  /// An idle estimator: no samples, interval 250 ms, not monitoring. The very first chunk it is
  /// given is dropped with its bytes.
  BandwidthChecker();
  /// Destroys the lock; the data handler is not owned.
  ~BandwidthChecker() override;
  BandwidthChecker(const BandwidthChecker&) = delete;
  BandwidthChecker& operator=(const BandwidthChecker&) = delete;

  /// Stores the engine's stream data, not owned. Must precede the first accepted chunk, since every
  /// chunk asks it for the stream's bit rate.
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

  /// Adds a chunk to the open block under the lock: its bytes, its time span, and its media seconds
  /// (bytes * 8 / the stream's declared bit rate; none for a negative stream index or an unknown
  /// stream). segmentIdx and tag are ignored. Dropped before the lock in low-latency mode when it
  /// belongs to a stream and came 100 ms or more after its predecessor. Kept: the first chunk
  /// after construction is dropped with its bytes, and a declared bit rate of 0 is not guarded.
  void AddRxTimeInfo(unsigned int previousTime, unsigned int now, unsigned int size, int streamIdx,
                     int segmentIdx, int tag) override;
  /// Discards the open block and opens an empty one at `now`, under the lock. The samples and the
  /// media seconds carried over stay.
  void ResetRxBaseTime(long long now) override;

 protected:
  /// The closing test of OnPolling, made once without the lock and once under it: the block is
  /// older than the interval, or holds more than 512 KiB over more than a fortieth of it.
  bool BlockIsDue(long long elapsed) const;

  RecursiveMutex m_lock;              ///< guards the measurement state
  int m_currentBandwidth;             ///< the result of the latest average, bits per second
  int m_currentMinBandwidth;          ///< always equal to m_currentBandwidth
  int m_currentAvgBandwidth;          ///< always equal to m_currentBandwidth
  int m_beginingBandwidth;            ///< never written: 0
  int m_variationRateBandwidth;       ///< change of m_currentBandwidth at the latest close
  int m_downloadPerHour;              ///< never written: 0
  unsigned long long m_startRxBytes;  ///< m_rxTotalBytes at Start
  long long m_startTime;              ///< clock at Start, ms
  long long m_rxFirstTime;            ///< earliest chunk start of the open block; INT64_MAX: empty
  unsigned long long m_lastPushRxBytes;        ///< m_rxTotalBytes when the latest block was closed
  long long m_lastPushTime;                    ///< clock when the latest block was closed, ms
  bwSample_t m_bwSamples[kSampleCount];        ///< ring of finished samples
  unsigned int m_bwCounter;                    ///< valid samples, 0 to 5
  unsigned int m_bwWriteIndex;                 ///< next ring slot to write
  bool m_llsegbw;                              ///< low-latency segment mode
  bool m_monitoring;                           ///< between Start and Stop
  unsigned int m_monitorInterval;              ///< length of a measurement block, ms
  unsigned long long m_rxTotalBytes;           ///< all bytes accepted since construction
  long long m_rxLastTime;                      ///< latest chunk end of the open block
  strmengine::CHLSDataHandler* m_dataHandler;  ///< the engine's stream data, not owned
  float m_latestTimeDuration;                  ///< media seconds received in the open block
  bool m_ignoreFirstEntry;                     ///< the next chunk is dropped
};

}  // namespace strmcommon
