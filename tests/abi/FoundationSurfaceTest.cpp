// The foundation as the engine links it: locks, threads, the clock, the portability wrappers and
// the string, number and date helpers, through the engine's own declarations.
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <string>

#include "EngineViewFoundation.h"
#include "Patterned.h"
#include "VaListArgs.h"

using abi_probe::Patterned;
using namespace strmcommon;

namespace {

int FormatThroughList(char* dest, unsigned int size, const char* format, ...) {
  va_list list;
  va_start(list, format);
  int n = vas_vsprintf_s(dest, size, format, testsupport::ArgsOf(list));
  va_end(list);
  return n;
}

struct Handshake {
  Mutex* mutex;
  bool ready = false;
  bool seen = false;
};

bool WaitForReady(void* arg) {
  auto* shake = static_cast<Handshake*>(arg);
  shake->mutex->Lock();
  while (!shake->ready) shake->mutex->Wait();
  shake->seen = true;
  shake->mutex->Unlock();
  return false;
}

int g_passes = 0;
bool CountOnePass(void* arg) {
  ++g_passes;
  return arg != nullptr;
}

}  // namespace

TEST(FoundationSurface, MutexKeepsItsLockAndConditionInTheDeclaredSize) {
  Patterned<Mutex> mutex;
  EXPECT_TRUE(mutex.TailUntouched());
  EXPECT_TRUE(mutex->TryLock());
  mutex->Unlock();
  Thread waiter;
  Handshake shake{mutex.get()};
  ASSERT_TRUE(waiter.Create(WaitForReady, &shake));
  mutex->Lock();
  shake.ready = true;
  mutex->Signal();
  mutex->Unlock();
  EXPECT_TRUE(waiter.Join(nullptr));
  EXPECT_TRUE(shake.seen);
  mutex.Destroy();
  EXPECT_TRUE(mutex.TailUntouched());
}

TEST(FoundationSurface, RecursiveMutexIsExportedWithItsThreeOperations) {
  Patterned<RecursiveMutex> mutex;
  EXPECT_TRUE(mutex.TailUntouched());
  mutex->Lock();
  EXPECT_TRUE(mutex->TryLock());
  mutex->Unlock();
  mutex->Unlock();
  // The engine's own pthread call sees a recursive mutex in the one declared field.
  EXPECT_EQ(pthread_mutex_lock(&mutex->m_mutex), 0);
  EXPECT_EQ(pthread_mutex_lock(&mutex->m_mutex), 0);
  pthread_mutex_unlock(&mutex->m_mutex);
  pthread_mutex_unlock(&mutex->m_mutex);
  mutex.Destroy();
  EXPECT_TRUE(mutex.TailUntouched());
}

TEST(FoundationSurface, ThreadRunsTheRoutineThroughItsDeclaredFields) {
  Patterned<Thread> thread;
  EXPECT_TRUE(thread.TailUntouched());
  EXPECT_FALSE(thread->m_isThread);
  g_passes = 0;
  ASSERT_TRUE(thread->Create(CountOnePass, nullptr));
  EXPECT_TRUE(thread->IsThread());
  EXPECT_EQ(thread->m_routine, &CountOnePass);
  EXPECT_EQ(thread->m_arg, nullptr);
  EXPECT_TRUE(thread->Join(nullptr));
  EXPECT_EQ(g_passes, 1);
  EXPECT_FALSE(thread->m_isThread);
  EXPECT_TRUE(thread->Detach());
  void* (*entry)(void*) = &Thread::Routine;
  EXPECT_NE(entry, nullptr);
  thread.Destroy();
  EXPECT_TRUE(thread.TailUntouched());
}

TEST(FoundationSurface, ClockAndSleepHelpers) {
  unsigned long long before = vas_getTime();
  vas_sleep_ms(1);
  vas_sleep_us(1000);
  EXPECT_GE(vas_getUTC(), before + 2);
}

TEST(FoundationSurface, PortabilityWrappersTakeTheirDocumentedArguments) {
  char text[16] = {};
  vas_strncpy_s(text, sizeof(text), "abc", 3);
  EXPECT_STREQ(text, "abc");
  vas_memcpy_s(text, sizeof(text), "xy", 2);
  EXPECT_STREQ(text, "xyc");
  EXPECT_EQ(vas_sprintf_s(text, sizeof(text), "%d-%s", 42, "z"), 4);
  EXPECT_STREQ(text, "42-z");
  EXPECT_EQ(FormatThroughList(text, sizeof(text), "%s%d%c", "n", 7, '!'), 3);
  EXPECT_STREQ(text, "n7!");
  FILE* file = nullptr;
  EXPECT_FALSE(vas_fopen_s(&file, "/nonexistent/abi/probe", "r"));
  EXPECT_EQ(file, nullptr);
}

TEST(FoundationSurface, StringAndNumberHelpers) {
  EXPECT_TRUE(vas_iequal(std::string("abc"), std::string("ABC")));
  EXPECT_FALSE(vas_iequal(static_cast<const char*>(nullptr), ""));
  EXPECT_TRUE(vas_iequal(std::string("x"), "X"));
  EXPECT_TRUE(vas_iequal("x", std::string("X")));
  EXPECT_EQ(vas_strncasecmp("abc", "ABD", 2), 0);
  EXPECT_TRUE(isDigitString(" 12 "));
  EXPECT_TRUE(isOxDigitString("AB"));
  EXPECT_FALSE(isFloatString("1.2.3"));
  EXPECT_EQ(convNotEmptyDigitStringToInt("99999999999"), 2147483647);
  EXPECT_EQ(convNotEmptyDigitStringToUInt("-1"), 4294967295u);
  EXPECT_EQ(convNotEmptyDigitStringToUl64("9223372036854775807"), 9223372036854775807ull);
  EXPECT_EQ(convNotEmptyDigitStringToUInt2("FF"), 255);
  EXPECT_EQ(convNotEmptyDigitStringToDouble("1.5"), 1.5);
  EXPECT_TRUE(convNotEmptyStringToBool("TRUEfoo"));
  EXPECT_EQ(OxChangeToInt("0x10"), 16);
  std::string target = "aXbXc";
  EXPECT_EQ(&vas_replace_first(target, "X", "--"), &target);
  EXPECT_EQ(target, "a--bXc");
}

TEST(FoundationSurface, DateHelpersUseTheSevenFieldRecord) {
  vas_date_t date = vas_getDate(1706745599000LL);
  EXPECT_EQ(date.year, 2024);
  EXPECT_EQ(date.month, 1);
  EXPECT_EQ(date.day, 31);
  EXPECT_EQ(date.hour, 23);
  EXPECT_EQ(date.min, 59);
  EXPECT_EQ(date.sec, 59);
  EXPECT_EQ(date.msec, 0);
  EXPECT_EQ(vas_getTime(date), 1706745599000LL);
  EXPECT_GE(vas_getDate().year, 1970);
  EXPECT_EQ(vas_dateTimeToString(0), "19700101T000000");
  EXPECT_EQ(vas_parseTimeString("1:02:03.004"), 3723004);
  EXPECT_EQ(vas_parseIsoTimeDurationString("PT1H30M"), 5400000LL);
  EXPECT_EQ(vas_parseDateTimeString("2024-01-31", "23:59:59"), 1706745599000LL);
  EXPECT_EQ(vas_parseIsoDatetimeString("2024-01-31T23:59:59Z"), 1706745599000LL);
}
