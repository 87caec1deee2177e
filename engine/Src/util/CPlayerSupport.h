/// \file
/// The hub between the playback engine and the player: the player registers function pointers,
/// the engine fires the On... operations, and each event goes to the pointer that is set.
#pragma once

#include "VAS_Status.h"

namespace strmcommon {

/// Event codes passed as the first argument of the advertisement, bandwidth and discontinuity
/// callbacks.
enum PlayerEventCode : unsigned int {
  kPlayerEventAdStart = 8,          ///< OnADStart
  kPlayerEventAdEnd = 9,            ///< OnADEnd
  kPlayerEventBitrateChanged = 20,  ///< OnBitrateChanged
  kPlayerEventDiscontinuity = 30,   ///< OnDiscontinue
};

/// Function pointers towards the player. The player registers them (most with an opaque user
/// pointer); the playback engine fires the On... operations, and each event goes to the pointer
/// that is set or is dropped. Where a plain and an Ex form exist, setting one clears the other.
/// No lock: registration is expected before playback starts, since a pointer and its user data are
/// two plain stores. Callbacks run synchronously on the engine thread that fired them; their
/// tag_VAS_Status results are ignored. Strings are passed on as they are, not copied.
class CPlayerSupport {
 public:
  /// Arguments: event code, then four 64-bit values and a word.
  typedef tag_VAS_Status (*AdvertisementCallback)(unsigned int, unsigned long long,
                                                  unsigned long long, unsigned long long,
                                                  unsigned long long, unsigned int);
  /// Arguments: event code, the four timestamps and 0.
  typedef tag_VAS_Status (*DiscontinuityCallback)(unsigned int, unsigned long long,
                                                  unsigned long long, unsigned long long,
                                                  unsigned long long, unsigned int);
  /// Arguments: event code, from index, to index, video and audio PTS.
  typedef tag_VAS_Status (*BandwidthCallback)(unsigned int, unsigned int, unsigned int,
                                              unsigned long long, unsigned long long);
  /// Arguments: event code, the cue text and the user data.
  typedef tag_VAS_Status (*AdvertisementCallbackEx)(unsigned int, char*, void*);
  /// Arguments: the cue text and the user data.
  typedef tag_VAS_Status (*CueOutContCallbackEx)(char*, void*);
  /// Arguments: the user data.
  typedef tag_VAS_Status (*SwitchDoneCallback)(void*);
  /// Arguments: the date range text and the user data.
  typedef tag_VAS_Status (*DateRangeCallbackEx)(char*, void*);
  /// Arguments: as DiscontinuityCallback, with the user data.
  typedef tag_VAS_Status (*DiscontinuityCallbackEx)(unsigned int, unsigned long long,
                                                    unsigned long long, unsigned long long,
                                                    unsigned long long, unsigned int, void*);
  /// Arguments: as BandwidthCallback, with the user data.
  typedef tag_VAS_Status (*BandwidthCallbackEx)(unsigned int, unsigned int, unsigned int,
                                                unsigned long long, unsigned long long, void*);
  /// Arguments: the engine's event code, three pointers and the user data.
  typedef tag_VAS_Status (*OnEventCallbackEx)(int, void*, void*, void*, void*);
  /// Arguments: the engine's DRM error code and the user data.
  typedef tag_VAS_Status (*OnDRMErrorCallbackEx)(int, void*);

  /// No callback set.
  CPlayerSupport();

  /// Stores the plain form and clears the Ex form. Kept: no operation fires the plain form;
  /// advertisement events reach only the Ex form.
  void SetAdvertisementCallback(AdvertisementCallback fn);
  /// Stores the Ex form and its user data, and clears the plain form.
  void SetAdvertisementCallbackEx(AdvertisementCallbackEx fn, void* user);
  /// Clears both forms; the user data stays.
  void ReleaseAdvertisementCallback();
  /// Stores the plain form and clears the Ex form.
  void SetDiscontinuityCallback(DiscontinuityCallback fn);
  /// Stores the Ex form and its user data, and clears the plain form.
  void SetDiscontinuityCallbackEx(DiscontinuityCallbackEx fn, void* user);
  /// Stores the plain form and clears the Ex form.
  void SetBandwidthCallback(BandwidthCallback fn);
  /// Stores the Ex form and its user data, and clears the plain form.
  void SetBandwidthCallbackEx(BandwidthCallbackEx fn, void* user);
  /// Clears both forms; the user data stays.
  void ReleaseBandwidthCallback();
  /// Stores the callback and its user data (a null `fn` clears it).
  void SetSwitchDoneCallback(SwitchDoneCallback fn, void* user);
  /// Stores the callback and its user data, with a line at error priority.
  void SetCueOutContCallbackEx(CueOutContCallbackEx fn, void* user);
  /// Stores the callback and its user data, with a line at error priority.
  void SetDateRangeCallbackEx(DateRangeCallbackEx fn, void* user);
  /// Stores the callback and its user data.
  void SetOnEventCallbackEx(OnEventCallbackEx fn, void* user);
  /// Stores the callback and its user data.
  void SetOnDRMErrorCallbackEx(OnDRMErrorCallbackEx fn, void* user);

  /// A switch from variant `from` to `to`: kPlayerEventBitrateChanged with the indices and the two
  /// PTS, to the plain form if set, else to the Ex form. The DTS values are only logged.
  void OnBitrateChanged(unsigned int from, unsigned int to, unsigned long long videoPts,
                        unsigned long long audioPts, unsigned long long videoDts,
                        unsigned long long audioDts);
  /// A discontinuity: kPlayerEventDiscontinuity with the four timestamps and 0, to the plain form
  /// if set, else to the Ex form. `value` is only logged.
  void OnDiscontinue(int value, unsigned long long videoPts, unsigned long long audioPts,
                     unsigned long long videoDts, unsigned long long audioDts);
  /// An advertisement starts: kPlayerEventAdStart and the cue text to the Ex form.
  void OnADStart(char* data);
  /// An advertisement ends: kPlayerEventAdEnd and the text to the Ex form.
  void OnADEnd(char* data);
  /// A cue-out continues: the text to its callback; without one, an error line.
  void OnCueOutCont(char* data);
  /// A date range advertisement starts: the text to its callback; without one, an error line.
  void OnDateRangeADStart(char* data);
  /// A variant switch has been carried out.
  void OnSwitchDone();
  /// An engine event with three pointers; their meaning is the engine's.
  void OnEvent(int code, void* first, void* second, void* third);
  /// A DRM error code of the engine's.
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
