// The player's side of CPlayerSupport: the client fires the library's player events (a bitrate
// change, a discontinuity) and receives them back through the callbacks it registered, as a
// player on top of a playback engine would.
#pragma once

#include <functional>

#include "CPlayerSupport.h"

namespace strmplay {

class PlayerEvents {
 public:
  struct Switch {
    int from, to;                 // variant indices
    unsigned int fromBps, toBps;  // their declared bitrates, as the event carries them
  };

  PlayerEvents();

  // Fires a bitrate change from variant `from` to `to`; the pts is where the new variant starts.
  void BitrateChanged(int from, int to, unsigned int fromBps, unsigned int toBps,
                      unsigned long long pts);
  // Fires a discontinuity; the pts is where it stands.
  void Discontinuity(int discontinuitySequence, unsigned long long pts);

  std::function<void(const Switch&)> onSwitch;
  std::function<void(unsigned long long pts)> onDiscontinuity;

 private:
  static strmcommon::tag_VAS_Status OnBandwidth(unsigned int event, unsigned int from,
                                                unsigned int to, unsigned long long videoPts,
                                                unsigned long long audioPts, void* user);
  static strmcommon::tag_VAS_Status OnDiscontinuity(unsigned int event, unsigned long long videoPts,
                                                    unsigned long long audioPts,
                                                    unsigned long long videoDts,
                                                    unsigned long long audioDts, unsigned int,
                                                    void* user);

  strmcommon::CPlayerSupport m_support;
  // The event carries bitrates only; the indices of the change being fired go alongside.
  int m_from = -1;
  int m_to = -1;
};

}  // namespace strmplay
