// Lock classes: a plain mutex with its own condition, and the recursive working lock.
#pragma once

#include <pthread.h>

namespace strmcommon {

class Mutex {
 public:
  Mutex();
  ~Mutex();
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void Lock();
  void Unlock();
  bool TryLock();
  // One wait on the condition; the caller holds the lock and tests its own predicate.
  void Wait();
  void Signal();

 private:
  pthread_mutex_t m_mutex;
  pthread_cond_t m_cond;
};

class RecursiveMutex {
 public:
  RecursiveMutex();
  ~RecursiveMutex();
  RecursiveMutex(const RecursiveMutex&) = delete;
  RecursiveMutex& operator=(const RecursiveMutex&) = delete;

  void Lock();
  void Unlock();
  bool TryLock();

 private:
  pthread_mutex_t m_mutex;
};

// Holds a RecursiveMutex for the lifetime of a scope.
class ScopedLock {
 public:
  explicit ScopedLock(RecursiveMutex& mutex) : m_lock(mutex) { m_lock.Lock(); }
  ~ScopedLock() { m_lock.Unlock(); }
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  RecursiveMutex& m_lock;
};

}  // namespace strmcommon
