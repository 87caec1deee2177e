// Program date time reader: any text, no crash; a result other than 0 needs 14 digits.
#include <cstddef>
#include <cstdint>
#include <string>

#include "Datetime.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const long long ms = strmcommon::vas_parseIsoDatetimeString(text);
  if (ms != 0) {
    std::size_t digits = 0;
    for (char c : text) digits += (c >= '0' && c <= '9');
    if (digits < 14) __builtin_trap();
    strmcommon::vas_dateTimeToString(ms);
  }
  return 0;
}
