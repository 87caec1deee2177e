// The variant table, the application's limits, the estimate of what a variant needs and the
// choice of the variant the measured bandwidth satisfies. The switch rules are in
// AdaptiveSegSwitcherDecision.cpp.
#include "AdaptiveSegSwitcher.h"

#include <climits>

#include "Clock.h"
#include "DLog.h"
#include "Width32.h"

namespace strmcommon {

// Every field is set by Init, which must come first; the values here only keep an object that
// skipped it from reading indeterminate memory.
AdaptiveSegSwitcher::AdaptiveSegSwitcher()
    : m_bandwidthChecker(nullptr),
      m_initTime(0),
      m_enableSwitch(false),
      m_level(0),
      m_lastBufDuration(0),
      m_audioBitrate(0),
      m_startBitrate(0),
      m_estimateMargin(0),
      m_baseUpTimer(0),
      m_upTimer(0),
      m_upgradeCount(0),
      m_upTimerRunning(false),
      m_upTimerStart(0),
      m_upTimerPassed(false),
      m_skipLevelCheck(false),
      m_llsegbw(false),
      m_firstFragment(false),
      m_bitrateChangedNumber(0),
      m_maxBitrate(0),
      m_maxWidth(0),
      m_maxHeight(0) {}

AdaptiveSegSwitcher::~AdaptiveSegSwitcher() {}

void AdaptiveSegSwitcher::Init(IBandwidthChecker* bandwidthChecker) {
  // m_llsegbw, m_variants and m_upTimerStart keep their values.
  m_bandwidthChecker = bandwidthChecker;
  m_initTime = static_cast<long long>(vas_getTime());
  m_bitrateParams.clear();
  m_bitrateRanges.clear();
  m_enableSwitch = true;
  m_level = 1;
  m_lastBufDuration = 0;
  m_audioBitrate = 0;
  m_startBitrate = 0;
  m_estimateMargin = 0;
  m_baseUpTimer = 0;
  m_upTimer = 0;
  m_upgradeCount = 0;
  m_upTimerRunning = false;
  m_upTimerPassed = false;
  m_skipLevelCheck = false;
  m_firstFragment = false;
  m_bitrateChangedNumber = 0;
  m_startBitrateString.clear();
  m_maxBitrate = -1;
  m_maxWidth = -1;
  m_maxHeight = -1;
  m_eligibleStreams.clear();
}

int AdaptiveSegSwitcher::ResetData(std::vector<_VariantData> const& variants, bool skipLevelCheck) {
  ScopedLock lock(m_lock);
  // Only the first entry is held against the application's resolution limits. An empty table
  // has nothing to compare and is installed as it is.
  bool mismatch = false;
  if (!variants.empty()) {
    const _VariantData& first = variants.front();
    if (m_maxWidth != -1 && m_maxWidth < first.width) {
      mismatch = true;
    } else if (m_maxHeight != -1 && m_maxHeight < first.height) {
      mismatch = true;
    }
    if (mismatch) {
      VAS_LOG_ERROR("stream width [%d], diffrent from app width [%d]", first.width, m_maxWidth);
      VAS_LOG_ERROR("stream height [%d], diffrent from app height [%d]", first.height, m_maxHeight);
      return -52;
    }
  }
  m_variants = variants;
  m_skipLevelCheck = skipLevelCheck;
  return 0;
}

void AdaptiveSegSwitcher::SetSwitchParam(int upTimer, int estimateMargin) {
  m_baseUpTimer = upTimer;
  m_upTimer = upTimer;
  m_estimateMargin = estimateMargin;
}

int AdaptiveSegSwitcher::GetEstimateBandwidth(int bitrate) {
  const int total = width32::Add(bitrate, m_audioBitrate);
  int margin;
  if (m_estimateMargin != 0) {
    margin = width32::Mul(m_estimateMargin, 1000);
  } else if (total < 1280000) {
    margin = (total / 10000) * 1000;
  } else {
    // Kept: the first large variant gets no margin, and from then on every variant, also the
    // small ones, gets a fixed 128 kbit/s until Init or SetSwitchParam sets the margin again.
    margin = 0;
    m_estimateMargin = 128;
  }
  return width32::Add(width32::Add(width32::Mul(bitrate, 11) / 10, margin), m_audioBitrate);
}

bool AdaptiveSegSwitcher::GetBitrateParam(int bitrate, bitrateParam_t& out) {
  for (const bitrateParam_t& param : m_bitrateParams) {
    if (param.bitrate == bitrate) {
      out = param;
      return true;
    }
  }
  return false;
}

int AdaptiveSegSwitcher::GetSatisfiedStreamIndex(int cbw, int current) {
  m_eligibleStreams.assign(m_variants.size(), true);
  int result = 0;
  int lowest = INT_MAX;
  for (int i = static_cast<int>(m_variants.size()) - 1; i >= 0; --i) {
    const _VariantData& variant = m_variants[i];
    if ((m_maxBitrate != -1 && m_maxBitrate < variant.bandwidth) ||
        (m_maxWidth != -1 && m_maxWidth < variant.width) ||
        (m_maxHeight != -1 && m_maxHeight < variant.height)) {
      VAS_LOG_ERROR("ignored stream bandwidth = %d, max bitrate set from app =%d",
                    variant.bandwidth, m_maxBitrate);
      m_eligibleStreams[i] = false;
      continue;
    }
    if (variant.bandwidth < lowest) {
      lowest = variant.bandwidth;
      result = i;
    }
    // The walk ends at the first satisfied variant: the bits of the indices below stay set.
    if (GetEstimateBandwidth(variant.bandwidth) < cbw) {
      result = i;
      break;
    }
  }
  VAS_LOG_ERROR("total streams are = %d and returned stream index  = %d",
                static_cast<int>(m_variants.size()), result);
  return result;
}

int AdaptiveSegSwitcher::GetMatchingStreamIndex(int bandwidth) {
  for (int i = static_cast<int>(m_variants.size()) - 1; i >= 0; --i) {
    if (m_variants[i].bandwidth == bandwidth) return i;
  }
  return -1;
}

void AdaptiveSegSwitcher::SetEnableSwitch(bool enable) { m_enableSwitch = enable; }

bool AdaptiveSegSwitcher::GetEnableSwitch() { return m_enableSwitch; }

void AdaptiveSegSwitcher::SetBitrateLimit(std::vector<bitrateParam_t> const& params,
                                          std::vector<std::pair<int, int>> const& ranges) {
  ScopedLock lock(m_lock);
  m_bitrateParams = params;
  m_bitrateRanges = ranges;
}

// Only the limit list counts; ranges alone are no limit here.
bool AdaptiveSegSwitcher::HasBitrateLimit() { return !m_bitrateParams.empty(); }

bool AdaptiveSegSwitcher::Setllsegbw(bool llsegbw) {
  m_bandwidthChecker->Setllsegbw(llsegbw);
  // Intended: 200 ms blocks for either value of the flag; nothing here restores 250.
  m_bandwidthChecker->SetMonitorInterval(200);
  m_llsegbw = llsegbw;
  return true;
}

int AdaptiveSegSwitcher::CheckBitrateLimit(int bitrate) {
  if (m_bitrateParams.empty() && m_bitrateRanges.empty()) return 1;
  if (m_bitrateRanges.size() == 1) {
    // A single range decides alone; the limit list plays no part.
    const std::pair<int, int>& range = m_bitrateRanges.front();
    VAS_LOG_ERROR("ONE RANGE IS PRESENT which is %d to %d", range.first, range.second);
    if (range.first > bitrate) return 2;
    if (range.second < bitrate) return 3;
    return 1;
  }
  for (const std::pair<int, int>& range : m_bitrateRanges) {
    if (range.first <= bitrate && bitrate <= range.second) return 1;
  }
  for (const bitrateParam_t& param : m_bitrateParams) {
    if (param.bitrate == bitrate) return 1;
  }
  return 0;
}

void AdaptiveSegSwitcher::SetAudioBitrate(int bitrate) { m_audioBitrate = bitrate; }

int AdaptiveSegSwitcher::GetAudioBitrate() { return m_audioBitrate; }

int AdaptiveSegSwitcher::GetStartBitrate() { return m_startBitrate; }

std::string AdaptiveSegSwitcher::GetStartBitrateString() { return m_startBitrateString; }

void AdaptiveSegSwitcher::SetStartBitrate(int bitrate) { m_startBitrate = bitrate; }

void AdaptiveSegSwitcher::SetStartBitrateString(std::string bitrate) {
  m_startBitrateString = std::move(bitrate);
}

void AdaptiveSegSwitcher::SetMaxBitrate(int bitrate) { m_maxBitrate = bitrate; }

void AdaptiveSegSwitcher::SetMaxWidth(int width) { m_maxWidth = width; }

void AdaptiveSegSwitcher::SetMaxHeight(int height) { m_maxHeight = height; }

}  // namespace strmcommon
