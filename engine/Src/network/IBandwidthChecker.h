/// \file
/// The bandwidth estimate as the switching logic reads it.
#pragma once

namespace strmcommon {

/// The current network bandwidth, in bits per second, from received chunks. Implemented by
/// BandwidthChecker; read by AdaptiveSegSwitcher. The playback engine calls OnPolling
/// periodically from a thread of its own; the chunks arrive through IDownloadEvent on the
/// download worker.
class IBandwidthChecker {
 public:
  /// Virtual, for the implementing class.
  virtual ~IBandwidthChecker() {}
  /// Starts monitoring: the whole-run average counts from now. Leaves low-latency mode off until
  /// Setllsegbw(true) comes again; keeps the samples and the current bandwidth. Always true.
  virtual bool Start() = 0;
  /// Stops monitoring: OnPolling then does nothing, while chunks keep adding up. Always true.
  virtual bool Stop() = 0;
  /// True between Start and Stop.
  virtual bool IsMonitoring() = 0;
  /// Closes the open measurement block into a sample once it is older than the monitor interval
  /// (or early, for a large block), and recomputes the current bandwidth: the mean of the newest
  /// samples that together hold more than 9 seconds of media, five at most. `now` is ms of
  /// vas_getTime. The playback engine's polling thread; the common idle call takes no lock.
  virtual void OnPolling(long long now) = 0;
  /// Low-latency segment mode: chunks of a media stream that arrive 100 ms or more after their
  /// predecessor are dropped.
  virtual void Setllsegbw(bool llsegbw) = 0;
  /// The length of a measurement block, ms (250 at first, 200 set by the switcher's
  /// low-latency mode).
  virtual void SetMonitorInterval(unsigned int interval) = 0;
  /// The length of a measurement block, ms.
  virtual unsigned int GetMonitorInterval() = 0;
  /// The current bandwidth, bits per second; 0 while there is no estimate yet.
  virtual int GetCurrentBandwidth() = 0;
  /// Always 0: nothing writes it.
  virtual int GetBeginingBandwidth() = 0;
  /// The same value as GetCurrentBandwidth.
  virtual int GetCurrentMinBandwidth() = 0;
  /// The same value as GetCurrentBandwidth.
  virtual int GetCurrentAvgBandwidth() = 0;
  /// Bits per second over all bytes since Start; 0 in the millisecond of Start. No lock.
  virtual unsigned long long GetAverageBandwidth() = 0;
  /// How much the current bandwidth changed at the latest block close.
  virtual int GetVariationRateBandwidth() = 0;
  /// The estimate for the time before a current bandwidth exists: the mean of all samples, or the
  /// open block's rate when there are none yet; 0 when there is neither. No lock.
  virtual int GetAverageBandwidthFromBlock() = 0;
  /// Always 0: nothing writes it.
  virtual int GetDownloadPerHour() = 0;
  /// The low-latency segment mode.
  virtual bool Islowlatency() = 0;
};

}  // namespace strmcommon
