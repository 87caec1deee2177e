#include "Portability.h"

#include <cstdarg>
#include <cstring>

extern "C" int __vsnprintf_chk(char* s, size_t maxlen, int flag, size_t slen, const char* format,
                               va_list ap);

int vas_strncpy_s(char* dest, unsigned int destSize, const char* src, unsigned int count) {
  strncpy(dest, src, count);
  return 0;
}

int vas_memcpy_s(void* dest, unsigned int destSize, const void* src, unsigned int count) {
  memcpy(dest, src, count);
  return 0;
}

int vas_vsprintf_s(char* dest, unsigned int destSize, const char* format, char* args) {
#if defined(__x86_64__)
  // args is the address of the caller's va_list record, which the call goes on to consume.
  va_list& list = *reinterpret_cast<va_list*>(args);
#elif defined(__arm__)
  // The va_list record of ARM EABI is that one pointer.
  va_list list;
  static_assert(sizeof(list) == sizeof(args), "an ARM va_list holds one pointer");
  memcpy(&list, &args, sizeof(args));
#else
#error "vas_vsprintf_s: the char* form of an argument list is defined for x86-64 and 32-bit ARM"
#endif
  // The fortified form with flag 1 and no object size limit; destSize bounds the write.
  return __vsnprintf_chk(dest, destSize, 1, static_cast<size_t>(-1), format, list);
}

int vas_sprintf_s(char* dest, unsigned int destSize, const char* format, ...) {
  va_list list;
  va_start(list, format);
#if defined(__x86_64__)
  char* args = reinterpret_cast<char*>(list);
#else
  char* args;
  memcpy(&args, &list, sizeof(args));
#endif
  int n = vas_vsprintf_s(dest, destSize, format, args);
  va_end(list);
  return n;
}

bool vas_fopen_s(FILE** file, const char* path, const char* mode) {
  *file = nullptr;
  *file = fopen(path, mode);
  return *file != nullptr;
}
