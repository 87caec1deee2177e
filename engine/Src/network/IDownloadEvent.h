/// \file
/// The measurement sink of the download engine: received chunks as timing, and resume marks.
#pragma once

namespace strmcommon {

/// What the download engine reports of every body chunk, for a bandwidth estimate. Implemented by
/// BandwidthChecker and handed to ICurl::Init. All calls come from the engine's worker thread with
/// m_mutItem held; a transfer begun with noMeasure reports nothing.
class IDownloadEvent {
 public:
  /// Virtual, for the implementing class.
  virtual ~IDownloadEvent() {}
  /// One chunk: the clock (low 32 bits of vas_getTime) at the unit's previous chunk and at this
  /// one, its size in bytes, and the unit's UserData words streamIdx (negative when the download
  /// belongs to no media stream), segmentIdx and tag.
  virtual void AddRxTimeInfo(unsigned int previousTime, unsigned int now, unsigned int size,
                             int streamIdx, int segmentIdx, int tag) = 0;
  /// Sent instead of AddRxTimeInfo for a chunk that arrives 100 ms or less after the unit was
  /// resumed: the measurement restarts at `now` (ms of vas_getTime).
  virtual void ResetRxBaseTime(long long now) = 0;
  /// True when the stream is low latency; ICurl::BeginDownload3 then strips the query of the URL
  /// it requests again.
  virtual bool Islowlatency() = 0;
};

}  // namespace strmcommon
