// Chooses the variant stream for the next segment from the bandwidth estimate, and decides
// whether a wanted move may be made now.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "IBandwidthChecker.h"
#include "IBitrateSwitcher.h"
#include "Mutex.h"
#include "VariantData.h"

namespace strmcommon {

// The variant table is supplied in ascending order of bandwidth; a stream index is a position in
// it. Init is mandatory before anything else, and limits and switch parameters follow Init.
class AdaptiveSegSwitcher : public IBitrateSwitcher {
 public:
  AdaptiveSegSwitcher();
  ~AdaptiveSegSwitcher() override;
  AdaptiveSegSwitcher(const AdaptiveSegSwitcher&) = delete;
  AdaptiveSegSwitcher& operator=(const AdaptiveSegSwitcher&) = delete;

  // IBitrateSwitcher
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

  // The bandwidth a variant of `bitrate` needs: 110 % of it, a margin, and the audio.
  int GetEstimateBandwidth(int bitrate);
  // The first limit entry for exactly `bitrate`; `out` is left alone when there is none.
  bool GetBitrateParam(int bitrate, bitrateParam_t& out);

  // Whether the move from `current` to `target` may be made now. The move up may lower `target`.
  bool CheckStreamChange(int current, int& target, unsigned int bufferDuration);
  bool CheckStreamUp(int current, int& target, unsigned int bufferDuration);
  bool CheckStreamDn(int current, int& target, unsigned int bufferDuration);

 protected:
  // Seconds since m_upTimerStart, truncated toward zero.
  long long UpTimerElapsed() const;

  // Which rule decided a move; CheckStreamUp and CheckStreamDn write the line that goes with it.
  enum class SwitchRule {
    kLevelBlocked,
    kBufferTooLow,
    kNoParam,
    kSameGroup,
    kNoUpgrade,
    kFreeUpgrade,
    kSkipUpTimerForSameGroup,
    kUpTimerStarted,
    kUpTimerRunning,
    kUpTimerPassed,
    kDifferentGroup,
  };
  // The rules of a move up and of a move down, with their effects on the up timer, but without
  // a log line. `currentParam` and `targetParam` receive the groups where both have one.
  SwitchRule ApplyUpRules(int current, int& target, unsigned int bufferDuration,
                          bitrateParam_t& currentParam, bitrateParam_t& targetParam);
  SwitchRule ApplyDownRules(int current, int target, unsigned int bufferDuration,
                            bitrateParam_t& currentParam, bitrateParam_t& targetParam,
                            bool& upTimerIncreased);

  IBandwidthChecker* m_bandwidthChecker;
  RecursiveMutex m_lock;
  long long m_initTime;
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
  long long m_upTimerStart;
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

}  // namespace strmcommon
