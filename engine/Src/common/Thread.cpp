#include "Thread.h"

#include "DLog.h"

namespace strmcommon {

Thread::Thread() { m_isThread = false; }

Thread::~Thread() { Detach(); }

bool Thread::Create(bool (*routine)(void*), void* arg) {
  m_routine = routine;
  m_arg = arg;
  // Kept: an owned thread is only detached, not stopped; it reads the object on every pass and
  // so goes on with the new routine and argument.
  if (m_isThread) Detach();

  pthread_attr_t attr;
  if (pthread_attr_init(&attr) != 0) return false;
  if (pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_JOINABLE) != 0) return false;

  m_isThread = true;
  int err = pthread_create(&m_handle, &attr, Routine, this);
  if (err != 0) {
    // m_isThread stays set on purpose: the failure is not rolled back.
    VAS_LOG_DEBUG("thread::create => fail, %d", err);
    pthread_attr_destroy(&attr);
    return false;
  }
  pthread_attr_destroy(&attr);
  return true;
}

void* Thread::Routine(void* self) {
  Thread* thread = static_cast<Thread*>(self);
  while (thread->m_routine(thread->m_arg)) {
  }
  return nullptr;
}

bool Thread::IsThread() { return m_isThread; }

bool Thread::Join(void** result) {
  if (!m_isThread) return true;
  bool ok = true;
  int err = pthread_join(m_handle, result);
  if (err != 0) {
    VAS_LOG_DEBUG("thread::join => fail, %d", err);
    ok = false;
  }
  m_isThread = false;
  return ok;
}

bool Thread::Detach() {
  if (!m_isThread) return true;
  bool ok = true;
  int err = pthread_detach(m_handle);
  if (err != 0) {
    VAS_LOG_DEBUG("thread::detach => fail, %d", err);
    ok = false;
  }
  m_isThread = false;
  return ok;
}

}  // namespace strmcommon
