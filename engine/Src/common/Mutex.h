/// \file
/// Lock classes: a plain mutex with its own condition, and the recursive working lock.
#pragma once

#include <pthread.h>

namespace strmcommon {

/// A plain (non-recursive) mutex with a condition variable of its own. The library itself never
/// uses it; it is exported for the engine library. Nothing reports an error.
class Mutex {
 public:
  /// Initialises the mutex and the condition with default attributes.
  Mutex();
  /// Destroys the mutex, then the condition.
  ~Mutex();
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  /// Takes the mutex.
  void Lock();
  /// Releases the mutex.
  void Unlock();
  /// Takes the mutex if it is free; true when it was taken.
  bool TryLock();
  /// One wait on the condition, with no time limit. The caller holds the lock and tests its own
  /// predicate: a spurious wake-up returns here too.
  void Wait();
  /// Wakes at most one waiter; needs no lock. A signal with no waiter is lost.
  void Signal();

 private:
  pthread_mutex_t m_mutex;
  pthread_cond_t m_cond;
};

/// The library's working lock: a recursive mutex, so that an operation holding it may call another
/// that takes it (the engine's callbacks call back into Pause or Cancel, the switcher's decisions
/// call the selection). It has no condition. Guarded by one: the download engine (m_mutItem,
/// m_requestLock), BandwidthChecker, AdaptiveSegSwitcher and CTSPacketBuffer.
class RecursiveMutex {
 public:
  /// Initialises a recursive mutex. Kept: if the attributes can't be set up it returns silently,
  /// leaving the mutex uninitialised.
  RecursiveMutex();
  /// Destroys the mutex.
  ~RecursiveMutex();
  RecursiveMutex(const RecursiveMutex&) = delete;
  RecursiveMutex& operator=(const RecursiveMutex&) = delete;

  /// Takes the mutex; the holding thread may take it again. Out of line, so that an engine
  /// compiled against its own declarations links to it.
  void Lock();
  /// Releases one hold of the mutex.
  void Unlock();
  /// Takes the mutex if it is free or held by this thread; true when it was taken.
  bool TryLock();

 private:
  friend class ScopedLock;
  pthread_mutex_t m_mutex;
};

/// Holds a RecursiveMutex for the lifetime of a scope. It takes and releases the mutex inline,
/// without the call of Lock and Unlock: the library's hot paths (the packet queue on every push
/// and pop, the bandwidth measurement on every body chunk) hold their locks through it.
class ScopedLock {
 public:
  /// Takes `mutex`, as RecursiveMutex::Lock does.
  explicit ScopedLock(RecursiveMutex& mutex) : m_lock(mutex) {
    pthread_mutex_lock(&m_lock.m_mutex);
  }
  /// Releases it, as RecursiveMutex::Unlock does.
  ~ScopedLock() { pthread_mutex_unlock(&m_lock.m_mutex); }
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  RecursiveMutex& m_lock;
};

}  // namespace strmcommon
