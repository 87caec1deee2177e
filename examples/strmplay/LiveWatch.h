// Watches the reloads of a live (or EVENT) media playlist for one that has stopped changing: the
// encoder died, or the playlist lost its EXT-X-ENDLIST. A playlist that has not changed for
// kStaleTargetDurations target durations ends playback with an error, where it would otherwise
// be reloaded for ever.
#pragma once

#include <string>

#include "Playlist.h"

namespace strmplay {

constexpr double kStaleTargetDurations = 3.0;

class LiveWatch {
 public:
  // A load of the playlist at `now` (seconds). True when it differs from the one before (the
  // first load counts as a change).
  bool Loaded(const MediaPlaylist& playlist, double now);
  // True once the playlist has stayed the same for longer than Limit().
  bool Stale(double now) const;
  // The time without a change after which the playlist counts as stale, in seconds.
  double Limit() const;
  double LastChange() const { return m_changedAt; }
  double TargetDuration() const { return m_targetDuration; }

 private:
  bool m_loaded = false;
  unsigned int m_mediaSequence = 0;
  std::size_t m_segments = 0;
  std::string m_lastUri;
  bool m_endList = false;
  double m_targetDuration = 0.0;
  double m_changedAt = 0.0;
};

}  // namespace strmplay
