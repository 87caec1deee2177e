#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <new>
#include <thread>

#include "Mutex.h"
#include "SysInterpose.h"
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
  std::atomic<int> returns{0};
  std::thread waiter([&] {
    mutex.Lock();
    waiting = true;
    mutex.Wait();  // once: a remembered signal would end it at once
    ++returns;
    mutex.Unlock();
  });
  ASSERT_TRUE(WaitFor([&] { return waiting.load(); }));
  // The waiter holds the lock until its wait gives it up, so having it means the wait began.
  mutex.Lock();
  mutex.Unlock();
  EXPECT_FALSE(WaitFor([&] { return returns.load() != 0; }, std::chrono::milliseconds(200)))
      << "the signal given before the wait ended it";
  mutex.Signal();
  EXPECT_TRUE(WaitFor([&] { return returns.load() != 0; }));
  waiter.join();
  EXPECT_EQ(returns.load(), 1);
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

namespace {

class RecursiveMutexSetup : public ::testing::Test {
 protected:
  void SetUp() override {
    sysinterpose::Reset();
    sysinterpose::countOnThisThread = true;
  }
  void TearDown() override { sysinterpose::Reset(); }
};

}  // namespace

TEST_F(RecursiveMutexSetup, InitialisesARecursiveMutexAndDestroysTheAttributes) {
#if !STRMCOMMON_SETUP_INTERPOSED
  GTEST_SKIP() << "set-up calls are not interposed under ThreadSanitizer";
#endif
  RecursiveMutex mutex;
  EXPECT_EQ(sysinterpose::lastMutexType, PTHREAD_MUTEX_RECURSIVE);
  EXPECT_EQ(sysinterpose::mutexInitCalls, 1);
  EXPECT_EQ(sysinterpose::mutexAttrDestroyCalls, 1);
}

TEST_F(RecursiveMutexSetup, FailedAttributeInitLeavesTheMutexUninitialisedSilently) {
#if !STRMCOMMON_SETUP_INTERPOSED
  GTEST_SKIP() << "set-up calls are not interposed under ThreadSanitizer";
#endif
  sysinterpose::mutexAttrInitFailure = ENOMEM;
  alignas(RecursiveMutex) unsigned char storage[sizeof(RecursiveMutex)];
  // Not destroyed: the mutex inside was never initialised.
  new (storage) RecursiveMutex();
  EXPECT_EQ(sysinterpose::lastMutexType, -1);
  EXPECT_EQ(sysinterpose::mutexInitCalls, 0);
  EXPECT_EQ(sysinterpose::mutexAttrDestroyCalls, 0);
}

TEST_F(RecursiveMutexSetup, FailedSetTypeReturnsWithoutInitOrDestroyingTheAttributes) {
#if !STRMCOMMON_SETUP_INTERPOSED
  GTEST_SKIP() << "set-up calls are not interposed under ThreadSanitizer";
#endif
  sysinterpose::mutexAttrSetTypeFailure = EINVAL;
  alignas(RecursiveMutex) unsigned char storage[sizeof(RecursiveMutex)];
  new (storage) RecursiveMutex();
  EXPECT_EQ(sysinterpose::lastMutexType, PTHREAD_MUTEX_RECURSIVE);
  EXPECT_EQ(sysinterpose::mutexInitCalls, 0);
  EXPECT_EQ(sysinterpose::mutexAttrDestroyCalls, 0);
}

TEST_F(RecursiveMutexSetup, MutexInitialisesWithDefaultAttributes) {
#if !STRMCOMMON_SETUP_INTERPOSED
  GTEST_SKIP() << "set-up calls are not interposed under ThreadSanitizer";
#endif
  Mutex mutex;
  EXPECT_EQ(sysinterpose::mutexInitCalls, 1);
  EXPECT_EQ(sysinterpose::lastMutexType, -1);
}
