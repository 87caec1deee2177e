#include "CPlayerSupport.h"

#include "DLog.h"

namespace strmcommon {

CPlayerSupport::CPlayerSupport()
    : m_advertisementCallback(nullptr),
      m_discontinuityCallback(nullptr),
      m_bandwidthCallback(nullptr),
      m_advertisementCallbackEx(nullptr),
      m_cueOutContCallbackEx(nullptr),
      m_switchDoneCallback(nullptr),
      m_dateRangeCallbackEx(nullptr),
      m_discontinuityCallbackEx(nullptr),
      m_bandwidthCallbackEx(nullptr),
      m_advertisementUserData(nullptr),
      m_discontinuityUserData(nullptr),
      m_bandwidthUserData(nullptr),
      m_dateRangeUserData(nullptr),
      m_cueOutContUserData(nullptr),
      m_switchDoneUserData(nullptr),
      m_onEventCallbackEx(nullptr),
      m_onEventUserData(nullptr),
      m_onDRMErrorCallbackEx(nullptr),
      m_onDRMErrorUserData(nullptr) {}

void CPlayerSupport::SetAdvertisementCallback(AdvertisementCallback fn) {
  m_advertisementCallback = fn;
  m_advertisementCallbackEx = nullptr;
}

void CPlayerSupport::SetAdvertisementCallbackEx(AdvertisementCallbackEx fn, void* user) {
  m_advertisementCallbackEx = fn;
  m_advertisementUserData = user;
  m_advertisementCallback = nullptr;
}

// The user data stays.
void CPlayerSupport::ReleaseAdvertisementCallback() {
  m_advertisementCallback = nullptr;
  m_advertisementCallbackEx = nullptr;
}

void CPlayerSupport::SetDiscontinuityCallback(DiscontinuityCallback fn) {
  m_discontinuityCallback = fn;
  m_discontinuityCallbackEx = nullptr;
}

void CPlayerSupport::SetDiscontinuityCallbackEx(DiscontinuityCallbackEx fn, void* user) {
  m_discontinuityCallbackEx = fn;
  m_discontinuityUserData = user;
  m_discontinuityCallback = nullptr;
}

void CPlayerSupport::SetBandwidthCallback(BandwidthCallback fn) {
  m_bandwidthCallback = fn;
  m_bandwidthCallbackEx = nullptr;
}

void CPlayerSupport::SetBandwidthCallbackEx(BandwidthCallbackEx fn, void* user) {
  m_bandwidthCallbackEx = fn;
  m_bandwidthUserData = user;
  m_bandwidthCallback = nullptr;
}

// The user data stays.
void CPlayerSupport::ReleaseBandwidthCallback() {
  m_bandwidthCallback = nullptr;
  m_bandwidthCallbackEx = nullptr;
}

void CPlayerSupport::SetSwitchDoneCallback(SwitchDoneCallback fn, void* user) {
  m_switchDoneCallback = fn;
  m_switchDoneUserData = user;
}

void CPlayerSupport::SetCueOutContCallbackEx(CueOutContCallbackEx fn, void* user) {
  VAS_LOG_ERROR("setting ContAdCallbackEx");
  m_cueOutContCallbackEx = fn;
  m_cueOutContUserData = user;
}

void CPlayerSupport::SetDateRangeCallbackEx(DateRangeCallbackEx fn, void* user) {
  VAS_LOG_ERROR("setting DateRangeCallbackEx");
  m_dateRangeCallbackEx = fn;
  m_dateRangeUserData = user;
}

void CPlayerSupport::SetOnEventCallbackEx(OnEventCallbackEx fn, void* user) {
  m_onEventCallbackEx = fn;
  m_onEventUserData = user;
}

void CPlayerSupport::SetOnDRMErrorCallbackEx(OnDRMErrorCallbackEx fn, void* user) {
  m_onDRMErrorCallbackEx = fn;
  m_onDRMErrorUserData = user;
}

void CPlayerSupport::OnBitrateChanged(unsigned int from, unsigned int to,
                                      unsigned long long videoPts, unsigned long long audioPts,
                                      unsigned long long videoDts, unsigned long long audioDts) {
  VAS_LOG_DEBUG(
      "BitrateChanged %d -> %d: raw video pts = %lld, raw audio pts = %lld, raw video dts = "
      "%lld, raw audio dts = %lld",
      from, to, videoPts, audioPts, videoDts, audioDts);
  // The decode times are logged only.
  if (m_bandwidthCallback != nullptr) {
    m_bandwidthCallback(kPlayerEventBitrateChanged, from, to, videoPts, audioPts);
  } else if (m_bandwidthCallbackEx != nullptr) {
    m_bandwidthCallbackEx(kPlayerEventBitrateChanged, from, to, videoPts, audioPts,
                          m_bandwidthUserData);
  }
}

void CPlayerSupport::OnDiscontinue(int value, unsigned long long videoPts,
                                   unsigned long long audioPts, unsigned long long videoDts,
                                   unsigned long long audioDts) {
  VAS_LOG_ERROR(
      "Discontinuity(%d): raw video pts = %lld, raw audio pts = %lld, raw video dts = %lld, raw "
      "audio dts = %lld",
      value, videoPts, audioPts, videoDts, audioDts);
  // `value` is logged only; the last word is always 0.
  if (m_discontinuityCallback != nullptr) {
    m_discontinuityCallback(kPlayerEventDiscontinuity, videoPts, audioPts, videoDts, audioDts, 0);
  } else if (m_discontinuityCallbackEx != nullptr) {
    m_discontinuityCallbackEx(kPlayerEventDiscontinuity, videoPts, audioPts, videoDts, audioDts, 0,
                              m_discontinuityUserData);
  }
}

void CPlayerSupport::OnADStart(char* data) {
  VAS_LOG_DEBUG("Begin AD: cueoutdata string is %s", data);
  if (m_advertisementCallbackEx != nullptr) {
    m_advertisementCallbackEx(kPlayerEventAdStart, data, m_advertisementUserData);
  }
}

void CPlayerSupport::OnADEnd(char* data) {
  if (m_advertisementCallbackEx != nullptr) {
    m_advertisementCallbackEx(kPlayerEventAdEnd, data, m_advertisementUserData);
  }
}

void CPlayerSupport::OnCueOutCont(char* data) {
  VAS_LOG_DEBUG("Begin CueOutCont event sending");
  if (m_cueOutContCallbackEx != nullptr) {
    m_cueOutContCallbackEx(data, m_cueOutContUserData);
  } else {
    VAS_LOG_ERROR("OnCueOutCont ContAdCallbackEx not exists");
  }
}

void CPlayerSupport::OnDateRangeADStart(char* data) {
  VAS_LOG_DEBUG("Begin DateRangeAD");
  if (m_dateRangeCallbackEx != nullptr) {
    m_dateRangeCallbackEx(data, m_dateRangeUserData);
  } else {
    VAS_LOG_ERROR("OnDateRangeADStart DateRangeCallbackEx not exists");
  }
}

void CPlayerSupport::OnSwitchDone() {
  VAS_LOG_DEBUG("Switch Done");
  if (m_switchDoneCallback != nullptr) m_switchDoneCallback(m_switchDoneUserData);
}

void CPlayerSupport::OnEvent(int code, void* first, void* second, void* third) {
  VAS_LOG_DEBUG("OnEvent function (%p)", reinterpret_cast<void*>(m_onEventCallbackEx));
  if (m_onEventCallbackEx != nullptr) {
    m_onEventCallbackEx(code, first, second, third, m_onEventUserData);
  }
}

void CPlayerSupport::OnDRMError(int code) {
  if (m_onDRMErrorCallbackEx != nullptr) m_onDRMErrorCallbackEx(code, m_onDRMErrorUserData);
}

}  // namespace strmcommon
