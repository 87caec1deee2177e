// hexStringToByte and stringToiv: the first input byte picks the output size (0 to 32), the rest
// is the text. The output buffer is exactly that size, so any write past it is caught.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "Drm_Common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const unsigned int outSize = data[0] % 33;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  std::unique_ptr<unsigned char[]> out(new unsigned char[outSize == 0 ? 1 : outSize]);
  const int stored = hexStringToByte(text, out.get(), outSize);
  if (stored < 0 || static_cast<unsigned int>(stored) > outSize || stored * 2u > text.size())
    __builtin_trap();
  if (stringToiv(text, out.get(), outSize) != stored) __builtin_trap();
  if (stored > 0) {
    std::unique_ptr<char[]> hex(new char[2 * outSize]);
    byteToHexString(reinterpret_cast<char*>(out.get()), hex.get(), outSize);
  }
  return 0;
}
