#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "Mutex.h"
#include "WaitFor.h"

using strmcommon::Mutex;
using strmcommon::RecursiveMutex;
using strmcommon::ScopedLock;
using testsupport::WaitFor;

namespace {

template <typename Lock>
bool TryLockFromOtherThread(Lock& lock) {
  bool taken = false;
  std::thread other([&] {
    taken = lock.TryLock();
    if (taken) lock.Unlock();
  });
  other.join();
  return taken;
}

}  // namespace

TEST(Mutex, TryLockSucceedsOnAFreeMutex) {
  Mutex mutex;
  EXPECT_TRUE(mutex.TryLock());
  mutex.Unlock();
}

TEST(Mutex, TryLockFailsWhileAnotherThreadHoldsIt) {
  Mutex mutex;
  mutex.Lock();
  EXPECT_FALSE(TryLockFromOtherThread(mutex));
  mutex.Unlock();
  EXPECT_TRUE(TryLockFromOtherThread(mutex));
}

TEST(Mutex, IsNotRecursive) {
  Mutex mutex;
  mutex.Lock();
  EXPECT_FALSE(mutex.TryLock());
  mutex.Unlock();
}

TEST(Mutex, SignalWakesAWaiter) {
  Mutex mutex;
  bool ready = false;
  std::atomic<bool> woke{false};
  std::atomic<bool> waiting{false};
  std::thread waiter([&] {
    mutex.Lock();
    waiting = true;
    // The caller tests its own condition: Wait may return spuriously.
    while (!ready) mutex.Wait();
    mutex.Unlock();
    woke = true;
  });
  ASSERT_TRUE(WaitFor([&] { return waiting.load(); }));
  mutex.Lock();
  ready = true;
  mutex.Unlock();
  mutex.Signal();
  EXPECT_TRUE(WaitFor([&] { return woke.load(); }));
  waiter.join();
}

TEST(Mutex, SignalWithoutAWaiterIsLost) {
  Mutex mutex;
  mutex.Signal();
  std::atomic<bool> waiting{false};
  std::atomic<bool> woke{false};
  std::atomic<bool> release{false};
  std::thread waiter([&] {
    mutex.Lock();
    waiting = true;
    do {
      mutex.Wait();
    } while (!release.load());
    mutex.Unlock();
    woke = true;
  });
  ASSERT_TRUE(WaitFor([&] { return waiting.load(); }));
  // The earlier signal does not count for this wait.
  EXPECT_FALSE(WaitFor([&] { return woke.load(); }, std::chrono::milliseconds(100)));
  release = true;
  // Signal needs no lock; repeat until the waiter has really gone into its wait.
  EXPECT_TRUE(WaitFor([&] {
    mutex.Signal();
    return woke.load();
  }));
  waiter.join();
}

TEST(RecursiveMutex, SameThreadLocksTwice) {
  RecursiveMutex mutex;
  mutex.Lock();
  EXPECT_TRUE(mutex.TryLock());
  mutex.Unlock();
  mutex.Unlock();
}

TEST(RecursiveMutex, OtherThreadWaitsUntilEveryHoldIsReleased) {
  RecursiveMutex mutex;
  mutex.Lock();
  mutex.Lock();
  EXPECT_FALSE(TryLockFromOtherThread(mutex));
  mutex.Unlock();
  EXPECT_FALSE(TryLockFromOtherThread(mutex));
  mutex.Unlock();
  EXPECT_TRUE(TryLockFromOtherThread(mutex));
}

TEST(ScopedLock, HoldsTheRecursiveMutexForItsScope) {
  RecursiveMutex mutex;
  {
    ScopedLock guard(mutex);
    EXPECT_FALSE(TryLockFromOtherThread(mutex));
    ScopedLock inner(mutex);
    EXPECT_FALSE(TryLockFromOtherThread(mutex));
  }
  EXPECT_TRUE(TryLockFromOtherThread(mutex));
}
