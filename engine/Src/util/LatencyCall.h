/// \file
/// A one-shot delay timer with a level, blocked and unblocked by its owner; the engine polls it to
/// learn when the next delayed playlist call is due.
#pragma once

namespace strmcommon {

/// A one-shot delay timer that the engine polls with IsCheck. It begins stopped. Blocking is
/// independent of the timer: a blocked timer goes on elapsing. No lock, no log; one thread at a
/// time.
class LatencyCall {
 public:
  /// Stopped, not blocked, start time now.
  LatencyCall();

  /// Starts a delay of `delay` ms from now; `level` is the caller's, stored and returned.
  void Start(long long delay, int level);
  /// Stops the timer; a pending unblock stays pending.
  void Stop();
  /// True when no delay is running.
  bool IsStop() const;
  /// In this order: false while blocked; true once after each UnBlock (even on a stopped timer,
  /// which stays as it is); false when stopped; true once when the delay has passed (strictly),
  /// which stops the timer.
  bool IsCheck();
  /// The level given to Start.
  int GetLevel() const;
  /// When the delay started, ms of vas_getTime.
  long long GetStartTime() const;
  /// The delay, ms.
  long long GetDelay() const;
  /// Suspends IsCheck.
  void Block();
  /// Lifts Block and asks for one forced check; both in one store, so no reader sees them apart.
  void UnBlock();
  /// True while blocked.
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
