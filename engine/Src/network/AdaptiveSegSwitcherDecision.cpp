// The switch rules: whether the move the bandwidth asks for may be made now. Moves up are guarded
// by the buffer, its trend level, the bitrate groups and the up timer; moves down by the buffer.
#include <climits>

#include "AdaptiveSegSwitcher.h"
#include "Clock.h"
#include "DLog.h"
#include "Width32.h"

// The frame around the "Bitrate Change" lines: 49 hyphens.
#define SWITCH_RULE_LINE "-------------------------------------------------"

namespace strmcommon {

namespace {

// Kept at file scope and shared by every instance: overwritten at the start of each
// CheckStreamUp and read within the same call only.
unsigned int no_up_buf_duration = 0;

bool IndexInTable(int index, size_t size) {
  return index >= 0 && static_cast<size_t>(index) < size;
}

}  // namespace

long long AdaptiveSegSwitcher::UpTimerElapsed() const {
  const long long now = static_cast<long long>(vas_getTime());
  return static_cast<long long>(static_cast<unsigned long long>(now) -
                                static_cast<unsigned long long>(m_upTimerStart)) /
         1000;
}

int AdaptiveSegSwitcher::ProcessAdaptiveSeg(int current, unsigned int bufferDuration) {
  int cbw = m_bandwidthChecker->GetCurrentBandwidth();
  m_firstFragment = false;
  if (cbw == 0) {
    // No estimate yet: the samples, or the open block, stand in for one.
    cbw = m_bandwidthChecker->GetAverageBandwidthFromBlock();
    VAS_LOG_ERROR("first fragment avg bandwidth cbw :: %d", cbw);
    m_firstFragment = true;
    if (cbw == 0) {
      const int begin = m_bandwidthChecker->GetBeginingBandwidth();
      const int bandwidth = m_variants[current].bandwidth;
      if (bandwidth != 0 && !(begin == INT_MIN && bandwidth == -1) && begin / bandwidth > 5) {
        cbw = width32::Mul(begin, 10) / 11;
      } else {
        VAS_LOG_ERROR("[HLS_BW] cbw[%d] buff dur[%u] ", 0, bufferDuration);
        return -1;
      }
    }
  }
  VAS_LOG_ERROR("[HLS_BW] cbw[%d] buff dur[%u] ", cbw, bufferDuration);
  if (!m_enableSwitch || cbw <= 0) return -1;

  ScopedLock lock(m_lock);
  int target = GetSatisfiedStreamIndex(cbw, current);
  if (target != current && CheckStreamChange(current, target, bufferDuration)) {
    VAS_LOG_DEBUG("\n");
    VAS_LOG_DEBUG(SWITCH_RULE_LINE);
    VAS_LOG_ERROR("[HLS_BW] Bitrate Change: %d -> %d", current, target);
    VAS_LOG_DEBUG(SWITCH_RULE_LINE);
    ++m_bitrateChangedNumber;
    VAS_LOG_ERROR("[HLS_BW] Bitrate Changed Number : %d", m_bitrateChangedNumber);
    VAS_LOG_DEBUG(SWITCH_RULE_LINE);
    return target;
  }
  if (m_upTimerRunning) {
    // An up timer that ran a second past its length without being consumed is given up: the
    // wish to go up did not persist.
    const long long elapsed = UpTimerElapsed();
    if (elapsed >= static_cast<long long>(m_upTimer) + 1) {
      m_upTimerRunning = false;
      VAS_LOG_DEBUG("fail up timer check: elasped(%d) upTimer(%d), level(%d)",
                    static_cast<int>(elapsed), m_upTimer, m_level);
    }
  }
  return -1;
}

bool AdaptiveSegSwitcher::CheckStreamChange(int current, int& target, unsigned int bufferDuration) {
  bool result = false;
  if (target > current) {
    result = CheckStreamUp(current, target, bufferDuration);
  } else if (target < current) {
    result = CheckStreamDn(current, target, bufferDuration);
    // A variant that now exceeds an application limit is left whatever the buffer holds.
    if (!result && IndexInTable(current, m_eligibleStreams.size()) && !m_eligibleStreams[current]) {
      VAS_LOG_ERROR("[HLS_BW] setting stream down");
      result = true;
    }
  }
  if (result) {
    VAS_LOG_DEBUG("Bandwidth Switch OK : %d -> %d", current, target);
  } else {
    VAS_LOG_DEBUG("Bandwidth Switch Pass : %d -> %d", current, target);
  }
  return result;
}

AdaptiveSegSwitcher::SwitchRule AdaptiveSegSwitcher::ApplyUpRules(int current, int& target,
                                                                  unsigned int bufferDuration,
                                                                  bitrateParam_t& currentParam,
                                                                  bitrateParam_t& targetParam) {
  if (!m_skipLevelCheck && m_level > 2) return SwitchRule::kLevelBlocked;

  // Small steps, and any step from 512 kbit/s or less, need no buffer.
  const int currentBandwidth = m_variants[current].bandwidth;
  const long long step = static_cast<long long>(m_variants[target].bandwidth) - currentBandwidth;
  if (step > 512000 && currentBandwidth > 512000 && no_up_buf_duration > bufferDuration) {
    return SwitchRule::kBufferTooLow;
  }

  if (!IndexInTable(current, m_variants.size()) || !IndexInTable(target, m_variants.size()) ||
      !GetBitrateParam(m_variants[current].bandwidth, currentParam) ||
      !GetBitrateParam(m_variants[target].bandwidth, targetParam)) {
    m_upTimerRunning = false;
    return SwitchRule::kNoParam;
  }
  if (currentParam.group == targetParam.group) {
    m_upTimerRunning = false;
    return SwitchRule::kSameGroup;
  }
  if (currentParam.upgradeGroup != targetParam.upgradeGroup) {
    m_upTimerRunning = false;
    return SwitchRule::kNoUpgrade;
  }
  // The first two group upgrades after Init cost no waiting.
  if (m_upgradeCount <= 1 || m_upTimer == 0) {
    ++m_upgradeCount;
    m_upTimerRunning = false;
    return SwitchRule::kFreeUpgrade;
  }
  // The step up inside the present group is taken now; the group change waits.
  for (int i = target - 1; i > current; --i) {
    bitrateParam_t param;
    if (GetBitrateParam(m_variants[i].bandwidth, param) && param.group == currentParam.group) {
      target = i;
      m_upTimerRunning = false;
      return SwitchRule::kSkipUpTimerForSameGroup;
    }
  }
  if (!m_upTimerRunning) {
    m_upTimerRunning = true;
    m_upTimerStart = static_cast<long long>(vas_getTime());
    return SwitchRule::kUpTimerStarted;
  }
  if (UpTimerElapsed() < m_upTimer) return SwitchRule::kUpTimerRunning;
  m_upTimerPassed = true;
  m_upTimerRunning = false;
  m_upTimerStart = static_cast<long long>(vas_getTime());
  return SwitchRule::kUpTimerPassed;
}

bool AdaptiveSegSwitcher::CheckStreamUp(int current, int& target, unsigned int bufferDuration) {
  no_up_buf_duration = (m_firstFragment || m_llsegbw) ? 0 : 5000;
  VAS_LOG_ERROR("CheckStreamUp no_up_buf_duration = %d", static_cast<int>(no_up_buf_duration));

  bitrateParam_t currentParam;
  bitrateParam_t targetParam;
  const SwitchRule rule = ApplyUpRules(current, target, bufferDuration, currentParam, targetParam);
  bool ret = false;
  switch (rule) {
    case SwitchRule::kNoParam:
      VAS_LOG_DEBUG("CheckStreamChange(%d, %d), ok, no param", current, target);
      ret = true;
      break;
    case SwitchRule::kSameGroup:
      VAS_LOG_DEBUG("CheckStreamChange(%d, %d), ok, same group", current, target);
      ret = true;
      break;
    case SwitchRule::kNoUpgrade:
      VAS_LOG_DEBUG("CheckStreamChange(%d, %d), fail, no upgrade", current, target);
      break;
    case SwitchRule::kFreeUpgrade:
      VAS_LOG_DEBUG("CheckStreamChange(%d, %d), ok, m_upTimer == 0 && !no_upgrade", current,
                    target);
      ret = true;
      break;
    case SwitchRule::kSkipUpTimerForSameGroup:
      VAS_LOG_DEBUG("CheckStreamChange(%d, %d), ok, skip up timer check for same group", current,
                    target);
      ret = true;
      break;
    case SwitchRule::kUpTimerStarted:
      VAS_LOG_DEBUG("start up timer check");
      break;
    case SwitchRule::kUpTimerPassed:
      VAS_LOG_DEBUG("CheckStreamChange(%d, %d), ok, success up timer check", current, target);
      VAS_LOG_DEBUG("Bitrate Group Changed %d -> %d", currentParam.group, targetParam.group);
      ret = true;
      break;
    case SwitchRule::kLevelBlocked:
    case SwitchRule::kBufferTooLow:
    case SwitchRule::kUpTimerRunning:
    case SwitchRule::kDifferentGroup:
      break;
  }

  VAS_LOG_ERROR("[HLS_BW] CheckStreamUp ret (%d) \n", ret ? 1 : 0);
  return ret;
}

AdaptiveSegSwitcher::SwitchRule AdaptiveSegSwitcher::ApplyDownRules(int current, int target,
                                                                    unsigned int bufferDuration,
                                                                    bitrateParam_t& currentParam,
                                                                    bitrateParam_t& targetParam,
                                                                    bool& upTimerIncreased) {
  // While enough is buffered the stream stays where it is.
  if (bufferDuration >= 8000) return SwitchRule::kBufferTooLow;

  if (!IndexInTable(current, m_variants.size()) || !IndexInTable(target, m_variants.size()) ||
      !GetBitrateParam(m_variants[current].bandwidth, currentParam) ||
      !GetBitrateParam(m_variants[target].bandwidth, targetParam)) {
    m_upTimerRunning = false;
    return SwitchRule::kNoParam;
  }
  if (currentParam.group == targetParam.group) {
    m_upTimerRunning = false;
    return SwitchRule::kSameGroup;
  }
  // Back-off: an upgrade earned through the timer that falls back to another group within
  // five timer lengths makes the next wait one base length longer. m_upTimer only grows.
  if (m_upTimerPassed) {
    if (UpTimerElapsed() < 5LL * m_upTimer) {
      m_upTimer += m_baseUpTimer;
      upTimerIncreased = true;
    }
    m_upTimerPassed = false;
  }
  m_upTimerRunning = false;
  return SwitchRule::kDifferentGroup;
}

bool AdaptiveSegSwitcher::CheckStreamDn(int current, int& target, unsigned int bufferDuration) {
  bitrateParam_t currentParam;
  bitrateParam_t targetParam;
  bool upTimerIncreased = false;
  const SwitchRule rule =
      ApplyDownRules(current, target, bufferDuration, currentParam, targetParam, upTimerIncreased);
  bool ret = true;
  switch (rule) {
    case SwitchRule::kBufferTooLow:
      ret = false;
      break;
    case SwitchRule::kNoParam:
      VAS_LOG_DEBUG("CheckStreamChange(%d, %d), ok, no param", current, target);
      break;
    case SwitchRule::kSameGroup:
      VAS_LOG_DEBUG("CheckStreamChange(%d, %d), ok, same group", current, target);
      break;
    default:
      if (upTimerIncreased) VAS_LOG_DEBUG("Bitrate upgrade timer increased: %d", m_upTimer);
      VAS_LOG_DEBUG("CheckStreamChange(%d, %d), ok, diffrent group", current, target);
      VAS_LOG_DEBUG("Bitrate Group Changed %d -> %d", currentParam.group, targetParam.group);
      break;
  }

  VAS_LOG_ERROR("[HLS_BW] CheckStreamDn ret (%d) \n", ret ? 1 : 0);
  return ret;
}

void AdaptiveSegSwitcher::ProcessAdaptiveSegLevel(unsigned int ignored, unsigned int bufferDuration,
                                                  bool hold) {
  ScopedLock lock(m_lock);
  if (m_bandwidthChecker->GetCurrentBandwidth() == 0) return;
  if (!hold && bufferDuration < 8000 && bufferDuration < m_lastBufDuration) {
    // The buffer is falling.
    m_lastBufDuration = bufferDuration;
    if (m_level < 4) ++m_level;
    return;
  }
  if (bufferDuration > m_lastBufDuration && m_level > 1) --m_level;
  m_lastBufDuration = bufferDuration;
}

}  // namespace strmcommon
