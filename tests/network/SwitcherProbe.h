// Opens the decision state of AdaptiveSegSwitcher to the tests.
#pragma once

#include "AdaptiveSegSwitcher.h"

namespace switchertest {

class SwitcherProbe : public strmcommon::AdaptiveSegSwitcher {
 public:
  int Level() const { return m_level; }
  void SetLevel(int level) { m_level = level; }
  unsigned int LastBufDuration() const { return m_lastBufDuration; }
  int EstimateMargin() const { return m_estimateMargin; }
  int BaseUpTimer() const { return m_baseUpTimer; }
  int UpTimer() const { return m_upTimer; }
  int UpgradeCount() const { return m_upgradeCount; }
  void SetUpgradeCount(int count) { m_upgradeCount = count; }
  bool UpTimerRunning() const { return m_upTimerRunning; }
  long long UpTimerStart() const { return m_upTimerStart; }
  bool UpTimerPassed() const { return m_upTimerPassed; }
  bool SkipLevelCheck() const { return m_skipLevelCheck; }
  bool Llsegbw() const { return m_llsegbw; }
  bool FirstFragment() const { return m_firstFragment; }
  int BitrateChangedNumber() const { return m_bitrateChangedNumber; }
  int MaxBitrate() const { return m_maxBitrate; }
  int MaxWidth() const { return m_maxWidth; }
  int MaxHeight() const { return m_maxHeight; }
  long long InitTime() const { return m_initTime; }
  const std::vector<strmcommon::_VariantData>& Variants() const { return m_variants; }
  const std::vector<bool>& EligibleStreams() const { return m_eligibleStreams; }
  strmcommon::IBandwidthChecker* Checker() const { return m_bandwidthChecker; }
};

}  // namespace switchertest
