// ISO 8601 durations: any text, no crash; outside the plain-seconds form the result stays within
// the 32-bit range.
#include <climits>
#include <cstddef>
#include <cstdint>
#include <string>

#include "Datetime.h"
#include "NumberString.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const long long ms = strmcommon::vas_parseIsoTimeDurationString(text);
  if (strmcommon::isDigitString(text)) {
    if (ms % 1000 != 0) __builtin_trap();
  } else if (ms < INT_MIN || ms > INT_MAX) {
    __builtin_trap();
  }
  return 0;
}
