/// \file
/// Chooses the variant stream for the next segment from the bandwidth estimate, and decides
/// whether a wanted move may be made now.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "IBandwidthChecker.h"
#include "IBitrateSwitcher.h"
#include "Mutex.h"
#include "VariantData.h"

namespace strmcommon {

/// The library's IBitrateSwitcher. The selection picks the variant the bandwidth satisfies; the
/// rules of a move decide whether it may be made now. Moves up are guarded by the buffer trend
/// (level), the buffer itself (5 s needed for a large step, none in low-latency mode or on the
/// first fragment), the bitrate groups and an up timer that lengthens when a timed upgrade does
/// not last; moves down only by the buffer (8 s or more refuses). One RecursiveMutex guards the
/// decision state. Kept: the estimate's margin is sticky (see GetEstimateBandwidth), and the
/// buffer threshold of the moves up is one value shared by all instances.
class AdaptiveSegSwitcher : public IBitrateSwitcher {
 public:
  /// Only the lock, the lists and the text come up; every other value is undefined until Init.
  AdaptiveSegSwitcher();
  /// The bandwidth checker is not owned.
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

  /// The bandwidth a variant of `bitrate` needs: 110 % of it, a margin, and the audio bitrate.
  /// The margin is the configured one, else a relative one below 1,280,000 bits per second.
  /// Kept: the first estimate of 1,280,000 or more gets no margin and fixes the margin at 128
  /// kbit/s for every later estimate, until Init or SetSwitchParam.
  int GetEstimateBandwidth(int bitrate);
  /// The first limit entry for exactly `bitrate`; `out` is left alone when there is none.
  bool GetBitrateParam(int bitrate, bitrateParam_t& out);

  /// Whether the move from `current` to `target` may be made now (CheckStreamUp or CheckStreamDn);
  /// a move down from a variant beyond the application's limits is always allowed. The move up may
  /// lower `target`. Called with the lock held.
  bool CheckStreamChange(int current, int& target, unsigned int bufferDuration);
  /// The rules of a move up, in their order: level, buffer, groups, free upgrades (the first two
  /// group upgrades after Init), a step inside the present group first, then the up timer. May
  /// lower `target`. Writes the line of the rule that decided.
  bool CheckStreamUp(int current, int& target, unsigned int bufferDuration);
  /// The rules of a move down: refused with 8000 ms or more buffered, else allowed; leaving a
  /// group soon after a timed upgrade lengthens the up timer. Writes the line of the rule that
  /// decided.
  bool CheckStreamDn(int current, int& target, unsigned int bufferDuration);

 protected:
  /// Seconds since m_upTimerStart, truncated toward zero.
  long long UpTimerElapsed() const;

  /// Which rule decided a move; CheckStreamUp and CheckStreamDn write the line that goes with it.
  enum class SwitchRule {
    kLevelBlocked,             ///< up: the buffer trend blocks moves up
    kBufferTooLow,             ///< up: a large step needs more buffer; down: too much buffer
    kNoParam,                  ///< a variant has no limit entry: allowed
    kSameGroup,                ///< both in one group: allowed
    kNoUpgrade,                ///< up: other upgrade group: refused
    kFreeUpgrade,              ///< up: one of the upgrades that cost no waiting
    kSkipUpTimerForSameGroup,  ///< up: the step inside the present group is taken now
    kUpTimerStarted,           ///< up: refused, the timer starts
    kUpTimerRunning,           ///< up: refused, the timer runs
    kUpTimerPassed,            ///< up: the timer has passed: allowed
    kDifferentGroup,           ///< down: leaving the group: allowed
  };
  /// The rules of a move up, with their effects on the up timer but without a log line.
  /// `currentParam` and `targetParam` receive the groups where both have one.
  SwitchRule ApplyUpRules(int current, int& target, unsigned int bufferDuration,
                          bitrateParam_t& currentParam, bitrateParam_t& targetParam);
  /// The rules of a move down, the same way; `upTimerIncreased` tells whether the timer grew.
  SwitchRule ApplyDownRules(int current, int target, unsigned int bufferDuration,
                            bitrateParam_t& currentParam, bitrateParam_t& targetParam,
                            bool& upTimerIncreased);

  IBandwidthChecker* m_bandwidthChecker;             ///< not owned
  RecursiveMutex m_lock;                             ///< guards the decision state
  long long m_initTime;                              ///< clock at Init; not read
  std::vector<bitrateParam_t> m_bitrateParams;       ///< the limit list
  std::vector<std::pair<int, int>> m_bitrateRanges;  ///< the ranges, both bounds inclusive
  bool m_enableSwitch;                               ///< adaptive switching on
  int m_level;                     ///< buffer trend, 1 (healthy) to 4; above 2 blocks moves up
  unsigned int m_lastBufDuration;  ///< buffer duration seen last, ms
  int m_audioBitrate;              ///< added to every estimate
  int m_startBitrate;              ///< for the client only
  int m_estimateMargin;            ///< kbit/s; 0 means the relative margin
  int m_baseUpTimer;               ///< the up timer as configured, s
  int m_upTimer;                   ///< the up timer in force, s; only grows after SetSwitchParam
  int m_upgradeCount;              ///< group upgrades granted without the timer
  bool m_upTimerRunning;           ///< the up timer is counting
  long long m_upTimerStart;        ///< when it began, ms
  bool m_upTimerPassed;            ///< the latest group upgrade went through the timer
  std::vector<_VariantData> m_variants;  ///< the table, ascending bandwidth
  bool m_skipLevelCheck;                 ///< ResetData's flag: no level block
  bool m_llsegbw;                        ///< low-latency segment mode
  bool m_firstFragment;                  ///< this decision runs on the block average
  int m_bitrateChangedNumber;            ///< switches made so far
  std::string m_startBitrateString;      ///< for the client only
  int m_maxBitrate;                      ///< application limit, -1 for none
  int m_maxWidth;                        ///< application limit, -1 for none
  int m_maxHeight;                       ///< application limit, -1 for none
  /// One bit a variant, rebuilt by each selection; clear when it exceeds a limit.
  std::vector<bool> m_eligibleStreams;
};

}  // namespace strmcommon
