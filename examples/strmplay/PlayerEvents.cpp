#include "PlayerEvents.h"

namespace strmplay {

PlayerEvents::PlayerEvents() {
  m_support.SetBandwidthCallbackEx(&PlayerEvents::OnBandwidth, this);
  m_support.SetDiscontinuityCallbackEx(&PlayerEvents::OnDiscontinuity, this);
}

void PlayerEvents::BitrateChanged(int from, int to, unsigned int fromBps, unsigned int toBps,
                                  unsigned long long pts) {
  m_from = from;
  m_to = to;
  m_support.OnBitrateChanged(fromBps, toBps, pts, pts, pts, pts);
  m_from = m_to = -1;
}

void PlayerEvents::Discontinuity(int discontinuitySequence, unsigned long long pts) {
  m_support.OnDiscontinue(discontinuitySequence, pts, pts, pts, pts);
}

strmcommon::tag_VAS_Status PlayerEvents::OnBandwidth(unsigned int event, unsigned int from,
                                                     unsigned int to, unsigned long long,
                                                     unsigned long long, void* user) {
  auto* self = static_cast<PlayerEvents*>(user);
  if (event == strmcommon::kPlayerEventBitrateChanged && self->onSwitch) {
    self->onSwitch(Switch{self->m_from, self->m_to, from, to});
  }
  return strmcommon::tag_VAS_Status(0);
}

strmcommon::tag_VAS_Status PlayerEvents::OnDiscontinuity(unsigned int event,
                                                         unsigned long long videoPts,
                                                         unsigned long long, unsigned long long,
                                                         unsigned long long, unsigned int,
                                                         void* user) {
  auto* self = static_cast<PlayerEvents*>(user);
  if (event == strmcommon::kPlayerEventDiscontinuity && self->onDiscontinuity) {
    self->onDiscontinuity(videoPts);
  }
  return strmcommon::tag_VAS_Status(0);
}

}  // namespace strmplay
