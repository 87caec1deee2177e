#include "Mutex.h"

namespace strmcommon {

Mutex::Mutex() {
  pthread_mutex_init(&m_mutex, nullptr);
  pthread_cond_init(&m_cond, nullptr);
}

Mutex::~Mutex() {
  pthread_mutex_destroy(&m_mutex);
  pthread_cond_destroy(&m_cond);
}

void Mutex::Lock() { pthread_mutex_lock(&m_mutex); }
void Mutex::Unlock() { pthread_mutex_unlock(&m_mutex); }
bool Mutex::TryLock() { return pthread_mutex_trylock(&m_mutex) == 0; }
void Mutex::Wait() { pthread_cond_wait(&m_cond, &m_mutex); }
void Mutex::Signal() { pthread_cond_signal(&m_cond); }

RecursiveMutex::RecursiveMutex() {
  pthread_mutexattr_t attr;
  if (pthread_mutexattr_init(&attr) != 0) return;
  // On a failed settype the attributes are left as they are: kept as the platform code does it.
  if (pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE) != 0) return;
  pthread_mutex_init(&m_mutex, &attr);
  pthread_mutexattr_destroy(&attr);
}

RecursiveMutex::~RecursiveMutex() { pthread_mutex_destroy(&m_mutex); }

void RecursiveMutex::Lock() { pthread_mutex_lock(&m_mutex); }
void RecursiveMutex::Unlock() { pthread_mutex_unlock(&m_mutex); }
bool RecursiveMutex::TryLock() { return pthread_mutex_trylock(&m_mutex) == 0; }

}  // namespace strmcommon
