// A thin thread wrapper that runs one routine in a loop until it returns false.
#pragma once

#include <pthread.h>

namespace strmcommon {

class Thread {
 public:
  Thread();
  ~Thread();
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  // Runs routine(arg) again and again while it returns true.
  bool Create(bool (*routine)(void*), void* arg);
  static void* Routine(void* self);
  bool IsThread();
  bool Join(void** result);
  bool Detach();

 private:
  pthread_t m_handle;
  // Set while there is a handle to dispose of, not while the thread runs.
  bool m_isThread;
  bool (*m_routine)(void*);
  void* m_arg;
};

}  // namespace strmcommon
