// The engine's declarations of bandwidth measurement, variant switching and low-latency state,
// and of its own stream data class, whose one operation the library calls.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "EngineViewDownload.h"
#include "EngineViewFoundation.h"

namespace strmengine {

// The engine's stream data; the probe defines GetStreamInfo as the engine does.
class CHLSDataHandler {
 public:
  void* GetStreamInfo(int index);
};

}  // namespace strmengine

namespace strmcommon {

class IBandwidthChecker {
 public:
  virtual ~IBandwidthChecker() {}
  virtual bool Start() = 0;
  virtual bool Stop() = 0;
  virtual bool IsMonitoring() = 0;
  virtual void OnPolling(long long now) = 0;
  virtual void Setllsegbw(bool llsegbw) = 0;
  virtual void SetMonitorInterval(unsigned int interval) = 0;
  virtual unsigned int GetMonitorInterval() = 0;
  virtual int GetCurrentBandwidth() = 0;
  virtual int GetBeginingBandwidth() = 0;
  virtual int GetCurrentMinBandwidth() = 0;
  virtual int GetCurrentAvgBandwidth() = 0;
  virtual unsigned long long GetAverageBandwidth() = 0;
  virtual int GetVariationRateBandwidth() = 0;
  virtual int GetAverageBandwidthFromBlock() = 0;
  virtual int GetDownloadPerHour() = 0;
  virtual bool Islowlatency() = 0;
};

class BandwidthChecker : public IBandwidthChecker, public IDownloadEvent {
 public:
  struct Sample {
    int32_t bandwidth;
    int32_t duration;
  };

  BandwidthChecker();
  ~BandwidthChecker() override;
  void Init(strmengine::CHLSDataHandler* dataHandler);

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
  void AddRxTimeInfo(unsigned int previousTime, unsigned int now, unsigned int size, int streamIdx,
                     int segmentIdx, int tag) override;
  void ResetRxBaseTime(long long now) override;

  RecursiveMutex m_lock;
  int32_t m_currentBandwidth;
  int32_t m_currentMinBandwidth;
  int32_t m_currentAvgBandwidth;
  int32_t m_beginingBandwidth;
  int32_t m_variationRateBandwidth;
  int32_t m_downloadPerHour;
  uint64_t m_startRxBytes;
  int64_t m_startTime;
  int64_t m_rxFirstTime;
  uint64_t m_lastPushRxBytes;
  int64_t m_lastPushTime;
  Sample m_bwSamples[5];
  uint32_t m_bwCounter;
  uint32_t m_bwWriteIndex;
  bool m_llsegbw;
  bool m_monitoring;
  uint32_t m_monitorInterval;
  uint64_t m_rxTotalBytes;
  int64_t m_rxLastTime;
  strmengine::CHLSDataHandler* m_dataHandler;
  float m_latestTimeDuration;
  bool m_ignoreFirstEntry;
};

struct _VariantData {
  int bandwidth;
  int width;
  int height;
  int fourth;
};

struct bitrateParam_t {
  int bitrate;
  int group;
  int upgradeGroup;
};

class IBitrateSwitcher {
 public:
  virtual ~IBitrateSwitcher() {}
  virtual void Init(IBandwidthChecker* bandwidthChecker) = 0;
  virtual int ResetData(std::vector<_VariantData> const& variants, bool skipLevelCheck) = 0;
  virtual void SetSwitchParam(int upTimer, int estimateMargin) = 0;
  virtual int ProcessAdaptiveSeg(int current, unsigned int bufferDuration) = 0;
  virtual void ProcessAdaptiveSegLevel(unsigned int ignored, unsigned int bufferDuration,
                                       bool hold) = 0;
  virtual int GetSatisfiedStreamIndex(int cbw, int current) = 0;
  virtual int GetMatchingStreamIndex(int bandwidth) = 0;
  virtual void SetEnableSwitch(bool enable) = 0;
  virtual bool GetEnableSwitch() = 0;
  virtual void SetBitrateLimit(std::vector<bitrateParam_t> const& params,
                               std::vector<std::pair<int, int>> const& ranges) = 0;
  virtual bool HasBitrateLimit() = 0;
  virtual bool Setllsegbw(bool llsegbw) = 0;
  virtual int CheckBitrateLimit(int bitrate) = 0;
  virtual void SetAudioBitrate(int bitrate) = 0;
  virtual int GetAudioBitrate() = 0;
  virtual int GetStartBitrate() = 0;
  virtual std::string GetStartBitrateString() = 0;
  virtual void SetStartBitrate(int bitrate) = 0;
  virtual void SetStartBitrateString(std::string bitrate) = 0;
  virtual void SetMaxBitrate(int bitrate) = 0;
  virtual void SetMaxWidth(int width) = 0;
  virtual void SetMaxHeight(int height) = 0;
};

class AdaptiveSegSwitcher : public IBitrateSwitcher {
 public:
  AdaptiveSegSwitcher();
  ~AdaptiveSegSwitcher() override;

  void Init(IBandwidthChecker* bandwidthChecker) override;
  int ResetData(std::vector<_VariantData> const& variants, bool skipLevelCheck) override;
  void SetSwitchParam(int upTimer, int estimateMargin) override;
  int ProcessAdaptiveSeg(int current, unsigned int bufferDuration) override;
  void ProcessAdaptiveSegLevel(unsigned int ignored, unsigned int bufferDuration,
                               bool hold) override;
  int GetSatisfiedStreamIndex(int cbw, int current) override;
  int GetMatchingStreamIndex(int bandwidth) override;
  void SetEnableSwitch(bool enable) override;
  bool GetEnableSwitch() override;
  void SetBitrateLimit(std::vector<bitrateParam_t> const& params,
                       std::vector<std::pair<int, int>> const& ranges) override;
  bool HasBitrateLimit() override;
  bool Setllsegbw(bool llsegbw) override;
  int CheckBitrateLimit(int bitrate) override;
  void SetAudioBitrate(int bitrate) override;
  int GetAudioBitrate() override;
  int GetStartBitrate() override;
  std::string GetStartBitrateString() override;
  void SetStartBitrate(int bitrate) override;
  void SetStartBitrateString(std::string bitrate) override;
  void SetMaxBitrate(int bitrate) override;
  void SetMaxWidth(int width) override;
  void SetMaxHeight(int height) override;

  int GetEstimateBandwidth(int bitrate);
  bool GetBitrateParam(int bitrate, bitrateParam_t& out);
  bool CheckStreamChange(int current, int& target, unsigned int bufferDuration);
  bool CheckStreamUp(int current, int& target, unsigned int bufferDuration);
  bool CheckStreamDn(int current, int& target, unsigned int bufferDuration);

  IBandwidthChecker* m_bandwidthChecker;
  RecursiveMutex m_lock;
  int64_t m_initTime;
  std::vector<bitrateParam_t> m_bitrateParams;
  std::vector<std::pair<int, int>> m_bitrateRanges;
  bool m_enableSwitch;
  int m_level;
  unsigned int m_lastBufDuration;
  int m_audioBitrate;
  int m_startBitrate;
  int m_estimateMargin;
  int m_baseUpTimer;
  int m_upTimer;
  int m_upgradeCount;
  bool m_upTimerRunning;
  int64_t m_upTimerStart;
  bool m_upTimerPassed;
  std::vector<_VariantData> m_variants;
  bool m_skipLevelCheck;
  bool m_llsegbw;
  bool m_firstFragment;
  int m_bitrateChangedNumber;
  std::string m_startBitrateString;
  int m_maxBitrate;
  int m_maxWidth;
  int m_maxHeight;
  std::vector<bool> m_eligibleStreams;
};

class LowLatency {
 public:
  LowLatency();
  void Setparams(bool blockReload, double skipUntil, double holdBack, double partHoldBack);
  void SetPartTagInfo(unsigned int targetDuration);
  void SetRenditionReportParam(int msqn, int part);
  int GetSkipInfo();
  bool IsLowLatency();
  bool CanBlock();

  bool m_blockreload;
  int m_skipuntil;
  int m_holdback;
  int m_partholdback;
  bool m_parttag;
  unsigned int m_targetDuration;
  int renditionmsqn;
  int renditionpart;
  int m_engineInt1;
  int m_engineInt2;
  std::string m_engineString1;
  int m_engineInt3;
  std::string m_engineString2;
  std::string m_engineString3;
};

class LatencyCall {
 public:
  LatencyCall();
  void Start(long long delay, int level);
  void Stop();
  bool IsStop() const;
  bool IsCheck();
  int GetLevel() const;
  long long GetStartTime() const;
  long long GetDelay() const;
  void Block();
  void UnBlock();
  bool IsBlocked() const;

  int64_t m_startTime;
  int64_t m_delay;
  int m_level;
  bool m_stopped;
  bool m_blocked;
  bool m_unblocked;
};

}  // namespace strmcommon
