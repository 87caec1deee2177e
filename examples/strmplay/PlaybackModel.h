// The playback model: there is no decoder, so a buffer counts seconds of media. Fetched segments
// fill it, and playback drains it in real time (or timeScale times faster), on the library's
// monotonic clock. Playback starts once enough is buffered, stalls when the buffer runs dry, and
// resumes at the same level.
#pragma once

namespace strmplay {

class PlaybackModel {
 public:
  enum class Event {
    kNone,
    kStarted,  // playback began for the first time
    kStalled,  // the buffer ran dry before the end of the stream
    kResumed,  // playback went on after a stall
    kEnded,    // the last media was played
  };

  // startupSeconds: buffer needed to start and to resume after a stall.
  PlaybackModel(double timeScale, double startupSeconds);

  // Time zero is now.
  void Start();
  // Model seconds since Start.
  double Now() const;
  // Plays what the time since the last call allows; reports what changed.
  Event Advance();
  // A segment of this many seconds entered the buffer.
  void Add(double seconds);
  // Nothing more will come: what is buffered plays out without the startup level, and running
  // dry is the end, not a stall.
  void EndOfStream();

  double Buffer() const { return m_buffer; }
  bool Playing() const { return m_playing; }
  bool Started() const { return m_started; }
  bool Ended() const { return m_ended; }
  double StartupSeconds() const { return m_startupAt; }
  int Stalls() const { return m_stalls; }
  double RebufferSeconds() const { return m_rebuffer; }
  double PlayedSeconds() const { return m_played; }
  // When the last media was played; 0 until then.
  double EndSeconds() const { return m_endAt; }

 private:
  const double m_timeScale;
  const double m_startup;
  unsigned long long m_epochMs = 0;
  double m_last = 0.0;
  double m_buffer = 0.0;
  bool m_playing = false;
  bool m_started = false;
  bool m_endOfStream = false;
  bool m_ended = false;
  double m_startupAt = 0.0;
  double m_stallStart = 0.0;
  int m_stalls = 0;
  double m_rebuffer = 0.0;
  double m_played = 0.0;
  double m_endAt = 0.0;
};

}  // namespace strmplay
