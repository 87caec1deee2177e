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

// While set, usleep records its argument and returns at once.
extern std::atomic<bool> captureUsleep;
std::vector<unsigned int> UsleepCalls();

// Resets every switch and counter.
void Reset();

}  // namespace sysinterpose
