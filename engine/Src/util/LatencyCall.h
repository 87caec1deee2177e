// A one-shot delay timer with a level, blocked and unblocked by its owner; the engine polls it to
// learn when the next delayed playlist call is due.
#pragma once

namespace strmcommon {

// No lock, no log.
class LatencyCall {
 public:
  LatencyCall();

  // Starts a delay of `delay` ms from now; `level` is the caller's, stored and returned.
  void Start(long long delay, int level);
  void Stop();
  bool IsStop() const;
  // True once per UnBlock, or once when a running delay has passed; false while blocked.
  bool IsCheck();
  int GetLevel() const;
  long long GetStartTime() const;
  long long GetDelay() const;
  void Block();
  void UnBlock();
  bool IsBlocked() const;

 private:
  long long m_startTime;
  long long m_delay;
  int m_level;
  bool m_stopped;
  bool m_blocked;
  bool m_unblocked;
};

}  // namespace strmcommon
