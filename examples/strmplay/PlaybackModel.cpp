#include "PlaybackModel.h"

#include <algorithm>

#include "Clock.h"

namespace strmplay {

namespace {

// Below this the buffer counts as empty (sums of segment durations are not exact).
constexpr double kEmpty = 1e-9;

}  // namespace

PlaybackModel::PlaybackModel(double timeScale, double startupSeconds)
    : m_timeScale(timeScale), m_startup(startupSeconds) {}

void PlaybackModel::Start() {
  m_epochMs = strmcommon::vas_getTime();
  m_last = 0.0;
}

double PlaybackModel::Now() const {
  return static_cast<double>(strmcommon::vas_getTime() - m_epochMs) / 1000.0 * m_timeScale;
}

PlaybackModel::Event PlaybackModel::Advance() {
  const double now = Now();
  const double dt = std::max(0.0, now - m_last);
  m_last = now;
  if (m_ended) return Event::kNone;
  if (m_playing) {
    const double played = std::min(dt, m_buffer);
    m_buffer -= played;
    m_played += played;
    if (m_buffer > kEmpty) return Event::kNone;
    m_buffer = 0.0;
    m_playing = false;
    if (m_endOfStream) {
      m_ended = true;
      m_endAt = now;
      return Event::kEnded;
    }
    m_stallStart = now;
    ++m_stalls;
    return Event::kStalled;
  }
  if (m_buffer <= kEmpty) {
    if (m_endOfStream) {
      m_ended = true;
      m_endAt = now;
      return Event::kEnded;
    }
    return Event::kNone;
  }
  if (!m_endOfStream && m_buffer < m_startup - kEmpty) return Event::kNone;
  m_playing = true;
  if (!m_started) {
    m_started = true;
    m_startupAt = now;
    return Event::kStarted;
  }
  m_rebuffer += now - m_stallStart;
  return Event::kResumed;
}

void PlaybackModel::Add(double seconds) { m_buffer += seconds; }

void PlaybackModel::EndOfStream() { m_endOfStream = true; }

}  // namespace strmplay
