// The variant choice as the playback engine asks for it, once a segment.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "IBandwidthChecker.h"
#include "VariantData.h"

namespace strmcommon {

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

}  // namespace strmcommon
