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
