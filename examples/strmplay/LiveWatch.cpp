#include "LiveWatch.h"

#include <algorithm>

namespace strmplay {

namespace {

// A playlist without a usable EXT-X-TARGETDURATION is given this one.
constexpr double kDefaultTargetDuration = 10.0;

}  // namespace

bool LiveWatch::Loaded(const MediaPlaylist& playlist, double now) {
  const std::string lastUri =
      playlist.segments.empty() ? std::string() : playlist.segments.back().uri;
  const bool changed = !m_loaded || playlist.mediaSequence != m_mediaSequence ||
                       playlist.segments.size() != m_segments || lastUri != m_lastUri ||
                       playlist.endList != m_endList;
  m_loaded = true;
  m_mediaSequence = playlist.mediaSequence;
  m_segments = playlist.segments.size();
  m_lastUri = lastUri;
  m_endList = playlist.endList;
  m_targetDuration =
      playlist.targetDuration > 0.0 ? playlist.targetDuration : kDefaultTargetDuration;
  if (changed) m_changedAt = now;
  return changed;
}

bool LiveWatch::Stale(double now) const { return m_loaded && now - m_changedAt > Limit(); }

double LiveWatch::Limit() const {
  return kStaleTargetDurations * std::max(m_targetDuration, 0.001);
}

}  // namespace strmplay
