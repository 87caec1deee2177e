// The playback engine's own declarations of the foundation: locks, threads, the clock, the
// portability wrappers, and the string, number and date helpers. Written from the interface
// description alone; the library's headers are not included anywhere in tests/abi.
#pragma once

#include <pthread.h>

#include <cstdint>
#include <cstdio>
#include <string>

namespace strmcommon {

class Mutex {
 public:
  Mutex();
  ~Mutex();
  void Lock();
  void Unlock();
  bool TryLock();
  void Wait();
  void Signal();

  pthread_mutex_t m_mutex;
  pthread_cond_t m_cond;
};

class RecursiveMutex {
 public:
  RecursiveMutex();
  ~RecursiveMutex();
  void Lock();
  void Unlock();
  bool TryLock();

  pthread_mutex_t m_mutex;
};

class Thread {
 public:
  Thread();
  ~Thread();
  bool Create(bool (*routine)(void*), void* arg);
  static void* Routine(void* self);
  bool IsThread();
  bool Join(void** result);
  bool Detach();

  pthread_t m_handle;
  bool m_isThread;
  bool (*m_routine)(void*);
  void* m_arg;
};

unsigned long long vas_getTime();
unsigned long long vas_getUTC();

bool vas_iequal(const std::string& a, const std::string& b);
bool vas_iequal(const char* a, const char* b);
bool vas_iequal(const std::string& a, const char* b);
bool vas_iequal(const char* a, const std::string& b);
int vas_strncasecmp(const char* a, const char* b, unsigned int n);
bool isDigitString(const std::string& s);
bool isOxDigitString(const std::string& s);
bool isFloatString(const std::string& s);
int convNotEmptyDigitStringToInt(std::string s);
unsigned int convNotEmptyDigitStringToUInt(std::string s);
unsigned long long convNotEmptyDigitStringToUl64(std::string s);
int convNotEmptyDigitStringToUInt2(std::string s);
double convNotEmptyDigitStringToDouble(std::string s);
bool convNotEmptyStringToBool(const std::string& s);
int OxChangeToInt(const char* text);
std::string& vas_replace_first(std::string& target, const char* from, std::string to);

struct vas_date_t {
  int32_t msec;
  int32_t sec;
  int32_t min;
  int32_t hour;
  int32_t day;
  int32_t month;
  int32_t year;
};

vas_date_t vas_getDate(long long ms);
vas_date_t vas_getDate();
long long vas_getTime(vas_date_t& date);
std::string vas_dateTimeToString(long long ms);
int vas_parseTimeString(const std::string& text);
long long vas_parseIsoTimeDurationString(const std::string& text);
long long vas_parseDateTimeString(const std::string& date, const std::string& time);
long long vas_parseIsoDatetimeString(const std::string& text);

}  // namespace strmcommon

void vas_sleep_ms(unsigned int ms);
void vas_sleep_us(unsigned int us);
int vas_strncpy_s(char* dest, unsigned int destSize, const char* src, unsigned int count);
int vas_memcpy_s(void* dest, unsigned int destSize, const void* src, unsigned int count);
int vas_sprintf_s(char* dest, unsigned int destSize, const char* format, ...);
int vas_vsprintf_s(char* dest, unsigned int destSize, const char* format, char* args);
bool vas_fopen_s(FILE** file, const char* path, const char* mode);
