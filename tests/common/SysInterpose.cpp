#include "SysInterpose.h"

#include <dlfcn.h>
#include <unistd.h>

#include <mutex>

namespace sysinterpose {

std::atomic<int> createFailure{0};
std::atomic<int> joinFailure{0};
std::atomic<int> detachFailure{0};
std::atomic<int> createCalls{0};
std::atomic<int> joinCalls{0};
std::atomic<int> detachCalls{0};
std::atomic<pthread_t> lastJoined{0};
std::atomic<void**> lastJoinResultArg{nullptr};
std::atomic<bool> captureUsleep{false};
std::atomic<int> attrInitFailure{0};
std::atomic<int> setDetachStateFailure{0};
thread_local int attrDestroyCalls = 0;
std::atomic<int> mutexAttrInitFailure{0};
std::atomic<int> mutexAttrSetTypeFailure{0};
thread_local bool countOnThisThread = false;
thread_local int mutexInitCalls = 0;
thread_local int mutexAttrDestroyCalls = 0;
thread_local int lastMutexType = -1;

namespace {
std::mutex& UsleepLock() {
  static std::mutex lock;
  return lock;
}
std::vector<unsigned int>& UsleepLog() {
  static std::vector<unsigned int> log;
  return log;
}

template <typename Fn>
Fn Next(const char* name) {
  return reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
}
}  // namespace

std::vector<unsigned int> UsleepCalls() {
  std::lock_guard<std::mutex> guard(UsleepLock());
  return UsleepLog();
}

void Reset() {
  createFailure = 0;
  joinFailure = 0;
  detachFailure = 0;
  createCalls = 0;
  joinCalls = 0;
  detachCalls = 0;
  lastJoined = 0;
  lastJoinResultArg = nullptr;
  captureUsleep = false;
  attrInitFailure = 0;
  setDetachStateFailure = 0;
  attrDestroyCalls = 0;
  mutexAttrInitFailure = 0;
  mutexAttrSetTypeFailure = 0;
  countOnThisThread = false;
  mutexInitCalls = 0;
  mutexAttrDestroyCalls = 0;
  lastMutexType = -1;
  std::lock_guard<std::mutex> guard(UsleepLock());
  UsleepLog().clear();
}

}  // namespace sysinterpose

using namespace sysinterpose;

extern "C" {

int pthread_create(pthread_t* thread, const pthread_attr_t* attr, void* (*start)(void*),
                   void* arg) {
  using Fn = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
  static Fn real = Next<Fn>("pthread_create");
  ++createCalls;
  int failure = createFailure.load();
  if (failure != 0) return failure;
  return real(thread, attr, start, arg);
}

int pthread_join(pthread_t thread, void** result) {
  using Fn = int (*)(pthread_t, void**);
  static Fn real = Next<Fn>("pthread_join");
  ++joinCalls;
  lastJoined = thread;
  lastJoinResultArg = result;
  int failure = joinFailure.load();
  if (failure != 0) return failure;
  return real(thread, result);
}

int pthread_detach(pthread_t thread) {
  using Fn = int (*)(pthread_t);
  static Fn real = Next<Fn>("pthread_detach");
  ++detachCalls;
  int failure = detachFailure.load();
  if (failure != 0) return failure;
  return real(thread);
}

// ThreadSanitizer's runtime calls these from threads it has not set up yet, where instrumented
// code must not run; its build leaves them to libc (the tests that need them are skipped there).
#ifndef __SANITIZE_THREAD__

int pthread_attr_init(pthread_attr_t* attr) {
  using Fn = int (*)(pthread_attr_t*);
  static Fn real = Next<Fn>("pthread_attr_init");
  int failure = attrInitFailure.load();
  if (failure != 0) return failure;
  return real(attr);
}

int pthread_attr_setdetachstate(pthread_attr_t* attr, int state) {
  using Fn = int (*)(pthread_attr_t*, int);
  static Fn real = Next<Fn>("pthread_attr_setdetachstate");
  int failure = setDetachStateFailure.load();
  if (failure != 0) return failure;
  return real(attr, state);
}

int pthread_attr_destroy(pthread_attr_t* attr) {
  using Fn = int (*)(pthread_attr_t*);
  static Fn real = Next<Fn>("pthread_attr_destroy");
  // Only the test's own calls: sanitizer runtimes use attributes in their threads too.
  if (countOnThisThread) ++attrDestroyCalls;
  return real(attr);
}

int pthread_mutexattr_init(pthread_mutexattr_t* attr) {
  using Fn = int (*)(pthread_mutexattr_t*);
  static Fn real = Next<Fn>("pthread_mutexattr_init");
  if (countOnThisThread && mutexAttrInitFailure.load() != 0) return mutexAttrInitFailure.load();
  return real(attr);
}

int pthread_mutexattr_settype(pthread_mutexattr_t* attr, int type) {
  using Fn = int (*)(pthread_mutexattr_t*, int);
  static Fn real = Next<Fn>("pthread_mutexattr_settype");
  if (countOnThisThread) {
    lastMutexType = type;
    if (mutexAttrSetTypeFailure.load() != 0) return mutexAttrSetTypeFailure.load();
  }
  return real(attr, type);
}

int pthread_mutexattr_destroy(pthread_mutexattr_t* attr) {
  using Fn = int (*)(pthread_mutexattr_t*);
  static Fn real = Next<Fn>("pthread_mutexattr_destroy");
  if (countOnThisThread) ++mutexAttrDestroyCalls;
  return real(attr);
}

int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attr) {
  using Fn = int (*)(pthread_mutex_t*, const pthread_mutexattr_t*);
  static Fn real = Next<Fn>("pthread_mutex_init");
  if (countOnThisThread) ++mutexInitCalls;
  return real(mutex, attr);
}

#endif  // __SANITIZE_THREAD__

int usleep(useconds_t usec) {
  using Fn = int (*)(useconds_t);
  static Fn real = Next<Fn>("usleep");
  if (captureUsleep.load()) {
    std::lock_guard<std::mutex> guard(UsleepLock());
    UsleepLog().push_back(usec);
    return 0;
  }
  return real(usec);
}

}  // extern "C"
