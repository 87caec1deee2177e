#include "Portability.h"

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

int vas_vsprintf_s(char* dest, unsigned int destSize, const char* format, va_list args) {
  // The fortified form with flag 1 and no object size limit; destSize bounds the write.
  return __vsnprintf_chk(dest, destSize, 1, static_cast<size_t>(-1), format, args);
}

int vas_sprintf_s(char* dest, unsigned int destSize, const char* format, ...) {
  va_list args;
  va_start(args, format);
  int n = vas_vsprintf_s(dest, destSize, format, args);
  va_end(args);
  return n;
}

bool vas_fopen_s(FILE** file, const char* path, const char* mode) {
  *file = nullptr;
  *file = fopen(path, mode);
  return *file != nullptr;
}
