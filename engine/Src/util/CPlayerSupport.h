// The hub between the playback engine and the player: the player registers function pointers,
// the engine fires the On... operations, and each event goes to the pointer that is set.
#pragma once

#include "VAS_Status.h"

namespace strmcommon {

// Event codes passed as the first argument of the advertisement, bandwidth and discontinuity
// callbacks.
enum PlayerEventCode : unsigned int {
  kPlayerEventAdStart = 8,
  kPlayerEventAdEnd = 9,
  kPlayerEventBitrateChanged = 20,
  kPlayerEventDiscontinuity = 30,
};

// No lock: registration is expected before playback starts. Callbacks run synchronously on the
// engine thread that fired them, and their results are ignored.
class CPlayerSupport {
 public:
  typedef tag_VAS_Status (*AdvertisementCallback)(unsigned int, unsigned long long,
                                                  unsigned long long, unsigned long long,
                                                  unsigned long long, unsigned int);
  typedef tag_VAS_Status (*DiscontinuityCallback)(unsigned int, unsigned long long,
                                                  unsigned long long, unsigned long long,
                                                  unsigned long long, unsigned int);
  typedef tag_VAS_Status (*BandwidthCallback)(unsigned int, unsigned int, unsigned int,
                                              unsigned long long, unsigned long long);
  typedef tag_VAS_Status (*AdvertisementCallbackEx)(unsigned int, char*, void*);
  typedef tag_VAS_Status (*CueOutContCallbackEx)(char*, void*);
  typedef tag_VAS_Status (*SwitchDoneCallback)(void*);
  typedef tag_VAS_Status (*DateRangeCallbackEx)(char*, void*);
  typedef tag_VAS_Status (*DiscontinuityCallbackEx)(unsigned int, unsigned long long,
                                                    unsigned long long, unsigned long long,
                                                    unsigned long long, unsigned int, void*);
  typedef tag_VAS_Status (*BandwidthCallbackEx)(unsigned int, unsigned int, unsigned int,
                                                unsigned long long, unsigned long long, void*);
  typedef tag_VAS_Status (*OnEventCallbackEx)(int, void*, void*, void*, void*);
  typedef tag_VAS_Status (*OnDRMErrorCallbackEx)(int, void*);

  CPlayerSupport();

  // Registration. Where a plain and an Ex form exist, setting one clears the other.
  void SetAdvertisementCallback(AdvertisementCallback fn);
  void SetAdvertisementCallbackEx(AdvertisementCallbackEx fn, void* user);
  void ReleaseAdvertisementCallback();
  void SetDiscontinuityCallback(DiscontinuityCallback fn);
  void SetDiscontinuityCallbackEx(DiscontinuityCallbackEx fn, void* user);
  void SetBandwidthCallback(BandwidthCallback fn);
  void SetBandwidthCallbackEx(BandwidthCallbackEx fn, void* user);
  void ReleaseBandwidthCallback();
  void SetSwitchDoneCallback(SwitchDoneCallback fn, void* user);
  void SetCueOutContCallbackEx(CueOutContCallbackEx fn, void* user);
  void SetDateRangeCallbackEx(DateRangeCallbackEx fn, void* user);
  void SetOnEventCallbackEx(OnEventCallbackEx fn, void* user);
  void SetOnDRMErrorCallbackEx(OnDRMErrorCallbackEx fn, void* user);

  // Firing, from the engine.
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

 private:
  // Stored and cleared, but never fired: advertisement events reach only the Ex form.
  AdvertisementCallback m_advertisementCallback;
  DiscontinuityCallback m_discontinuityCallback;
  BandwidthCallback m_bandwidthCallback;
  AdvertisementCallbackEx m_advertisementCallbackEx;
  CueOutContCallbackEx m_cueOutContCallbackEx;
  SwitchDoneCallback m_switchDoneCallback;
  DateRangeCallbackEx m_dateRangeCallbackEx;
  DiscontinuityCallbackEx m_discontinuityCallbackEx;
  BandwidthCallbackEx m_bandwidthCallbackEx;
  void* m_advertisementUserData;
  void* m_discontinuityUserData;
  void* m_bandwidthUserData;
  void* m_dateRangeUserData;
  void* m_cueOutContUserData;
  void* m_switchDoneUserData;
  OnEventCallbackEx m_onEventCallbackEx;
  void* m_onEventUserData;
  OnDRMErrorCallbackEx m_onDRMErrorCallbackEx;
  void* m_onDRMErrorUserData;
};

}  // namespace strmcommon
