// The argument list of a variadic function as the char* that vas_vsprintf_s takes. Includes no
// header of the library, so that the engine-view probe can use it too.
#pragma once

#include <cstdarg>
#include <cstring>

namespace testsupport {

// On x86-64 the address of the va_list record, on 32-bit ARM the one pointer that the record
// holds.
inline char* ArgsOf(va_list& list) {
#if defined(__x86_64__)
  return reinterpret_cast<char*>(&list[0]);
#else
  char* args;
  std::memcpy(&args, &list, sizeof(args));
  return args;
#endif
}

}  // namespace testsupport
