// The engine's declarations of the player callback hub.
#pragma once

namespace strmcommon {

enum tag_VAS_Status {
  kProbeStatusOk = 0,
  kProbeStatusOther = 1,
};

class CPlayerSupport {
 public:
  typedef tag_VAS_Status (*AdvertisementFn)(unsigned int, unsigned long long, unsigned long long,
                                            unsigned long long, unsigned long long, unsigned int);
  typedef tag_VAS_Status (*DiscontinuityFn)(unsigned int, unsigned long long, unsigned long long,
                                            unsigned long long, unsigned long long, unsigned int);
  typedef tag_VAS_Status (*BandwidthFn)(unsigned int, unsigned int, unsigned int,
                                        unsigned long long, unsigned long long);
  typedef tag_VAS_Status (*AdvertisementExFn)(unsigned int, char*, void*);
  typedef tag_VAS_Status (*CueOutContExFn)(char*, void*);
  typedef tag_VAS_Status (*SwitchDoneFn)(void*);
  typedef tag_VAS_Status (*DateRangeExFn)(char*, void*);
  typedef tag_VAS_Status (*DiscontinuityExFn)(unsigned int, unsigned long long, unsigned long long,
                                              unsigned long long, unsigned long long, unsigned int,
                                              void*);
  typedef tag_VAS_Status (*BandwidthExFn)(unsigned int, unsigned int, unsigned int,
                                          unsigned long long, unsigned long long, void*);
  typedef tag_VAS_Status (*OnEventExFn)(int, void*, void*, void*, void*);
  typedef tag_VAS_Status (*OnDRMErrorExFn)(int, void*);

  CPlayerSupport();

  void SetAdvertisementCallback(AdvertisementFn fn);
  void SetAdvertisementCallbackEx(AdvertisementExFn fn, void* user);
  void ReleaseAdvertisementCallback();
  void SetDiscontinuityCallback(DiscontinuityFn fn);
  void SetDiscontinuityCallbackEx(DiscontinuityExFn fn, void* user);
  void SetBandwidthCallback(BandwidthFn fn);
  void SetBandwidthCallbackEx(BandwidthExFn fn, void* user);
  void ReleaseBandwidthCallback();
  void SetSwitchDoneCallback(SwitchDoneFn fn, void* user);
  void SetCueOutContCallbackEx(CueOutContExFn fn, void* user);
  void SetDateRangeCallbackEx(DateRangeExFn fn, void* user);
  void SetOnEventCallbackEx(OnEventExFn fn, void* user);
  void SetOnDRMErrorCallbackEx(OnDRMErrorExFn fn, void* user);

  void OnBitrateChanged(unsigned int from, unsigned int to, unsigned long long videoPts,
                        unsigned long long audioPts, unsigned long long videoDts,
                        unsigned long long audioDts);
  void OnDiscontinue(int value, unsigned long long videoPts, unsigned long long audioPts,
                     unsigned long long videoDts, unsigned long long audioDts);
  void OnADStart(char* data);
  void OnADEnd(char* data);
  void OnCueOutCont(char* data);
  void OnDateRangeADStart(char* data);
  void OnSwitchDone();
  void OnEvent(int code, void* first, void* second, void* third);
  void OnDRMError(int code);

  AdvertisementFn m_advertisementCallback;
  DiscontinuityFn m_discontinuityCallback;
  BandwidthFn m_bandwidthCallback;
  AdvertisementExFn m_advertisementCallbackEx;
  CueOutContExFn m_cueOutContCallbackEx;
  SwitchDoneFn m_switchDoneCallback;
  DateRangeExFn m_dateRangeCallbackEx;
  DiscontinuityExFn m_discontinuityCallbackEx;
  BandwidthExFn m_bandwidthCallbackEx;
  void* m_advertisementUser;
  void* m_discontinuityUser;
  void* m_bandwidthUser;
  void* m_dateRangeUser;
  void* m_cueOutContUser;
  void* m_switchDoneUser;
  OnEventExFn m_onEventCallbackEx;
  void* m_onEventUser;
  OnDRMErrorExFn m_onDRMErrorCallbackEx;
  void* m_onDRMErrorUser;
};

}  // namespace strmcommon
