// The bandwidth estimate as the switching logic reads it.
#pragma once

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

}  // namespace strmcommon
