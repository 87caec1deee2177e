// The measurement sink of the download engine: received chunks as timing, and resume marks.
#pragma once

namespace strmcommon {

class IDownloadEvent {
 public:
  virtual ~IDownloadEvent() {}
  virtual void AddRxTimeInfo(unsigned int previousTime, unsigned int now, unsigned int size,
                             int streamIdx, int segmentIdx, int tag) = 0;
  virtual void ResetRxBaseTime(long long now) = 0;
  virtual bool Islowlatency() = 0;
};

}  // namespace strmcommon
