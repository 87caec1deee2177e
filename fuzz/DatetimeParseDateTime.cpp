// Date and time by fixed position. The input is split at its first newline into date and time.
// The only exception allowed is std::out_of_range, and only for a date shorter than 8 or a time
// shorter than 6 bytes.
#include "Datetime.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::string::size_type split = input.find('\n');
  const std::string date = input.substr(0, split);
  const std::string time = split == std::string::npos ? std::string() : input.substr(split + 1);
  try {
    const long long ms = strmcommon::vas_parseDateTimeString(date, time);
    if ((date.empty() || time.empty()) && ms != -1) __builtin_trap();
  } catch (const std::out_of_range&) {
    if (date.empty() || time.empty() || (date.size() >= 8 && time.size() >= 6)) __builtin_trap();
  }
  return 0;
}
