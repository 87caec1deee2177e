/// \file
/// A thin thread wrapper that runs one routine in a loop until it returns false.
#pragma once

#include <pthread.h>

namespace strmcommon {

/// A thread that calls one routine again and again while it returns true: the routine is one pass
/// of the work, and pacing and stopping are wholly its business. The object has no lock; one owner
/// drives it. Failures are logged at debug level and reported only by the `bool` results.
class Thread {
 public:
  /// No thread yet.
  Thread();
  /// Detaches: a destroyed Thread never waits, so an owner that needs the thread gone joins it
  /// first.
  ~Thread();
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  /// Starts a joinable thread that runs routine(arg) while it returns true. True when the thread
  /// was created. Routine and argument are read afresh on every pass.
  ///
  /// Kept: a Create on an object that already has a thread detaches the old one without stopping
  /// it, so from its next pass it runs the new routine too; and IsThread stays true after a
  /// failed pthread_create.
  bool Create(bool (*routine)(void*), void* arg);
  /// The entry handed to pthread_create: the loop over the routine.
  static void* Routine(void* self);
  /// True from Create until Join or Detach: there is a handle to dispose of, not necessarily a
  /// running thread.
  bool IsThread();
  /// Waits for the thread (`result` as pthread_join takes it, may be null). True without a call
  /// when there is no thread; either way there is none afterwards.
  bool Join(void** result);
  /// Detaches the thread; as Join, without waiting.
  bool Detach();

 private:
  pthread_t m_handle;
  // Set while there is a handle to dispose of, not while the thread runs.
  bool m_isThread;
  bool (*m_routine)(void*);
  void* m_arg;
};

}  // namespace strmcommon
