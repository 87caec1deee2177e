// Interposed pthread_create/join/detach and usleep for the foundation tests. The definitions in
// this test program win over libc's for the library's calls too; each forwards to the real one
// unless a test switch says otherwise.
#pragma once

#include <pthread.h>

#include <atomic>
#include <vector>

namespace sysinterpose {

// Non-zero: pthread_create fails with this error and creates nothing.
extern std::atomic<int> createFailure;
// Non-zero: pthread_join / pthread_detach answer this error without calling the real function
// (so a stale handle never reaches the threads library).
extern std::atomic<int> joinFailure;
extern std::atomic<int> detachFailure;
extern std::atomic<int> createCalls;
extern std::atomic<int> joinCalls;
extern std::atomic<int> detachCalls;
extern std::atomic<pthread_t> lastJoined;
extern std::atomic<void**> lastJoinResultArg;

// The attribute and mutex set-up functions are interposed only outside ThreadSanitizer builds
// (STRMCOMMON_SETUP_INTERPOSED); tests that need them skip themselves there.
#ifdef __SANITIZE_THREAD__
#define STRMCOMMON_SETUP_INTERPOSED 0
#else
#define STRMCOMMON_SETUP_INTERPOSED 1
#endif

// Non-zero: pthread_attr_init / pthread_attr_setdetachstate fail with this error.
extern std::atomic<int> attrInitFailure;
extern std::atomic<int> setDetachStateFailure;

// Non-zero: pthread_mutexattr_init / pthread_mutexattr_settype fail with this error.
extern std::atomic<int> mutexAttrInitFailure;
extern std::atomic<int> mutexAttrSetTypeFailure;
// Set-up calls (attribute destroy, mutex init, settype) counted only from the thread that sets
// countOnThisThread, while it is set.
extern thread_local bool countOnThisThread;
extern thread_local int attrDestroyCalls;
extern thread_local int mutexInitCalls;
extern thread_local int mutexAttrDestroyCalls;
extern thread_local int lastMutexType;

// While set, usleep records its argument and returns at once.
extern std::atomic<bool> captureUsleep;
std::vector<unsigned int> UsleepCalls();

// Resets every switch and counter.
void Reset();

}  // namespace sysinterpose
