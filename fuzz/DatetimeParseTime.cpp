// Clock-time texts ("1:02:03.004", seconds): any text, no crash, 32-bit wrap-around only.
#include <cstddef>
#include <cstdint>
#include <string>

#include "Datetime.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  strmcommon::vas_parseTimeString(text);
  return 0;
}
