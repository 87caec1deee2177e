#include "Drm_Common.h"

#include <cctype>
#include <cstring>

#include "Portability.h"

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

// Value of one hex character after tolower: letters count from 'a' = 10, everything else from
// '0' = 0. Nothing is validated; other characters give whatever the arithmetic makes of them.
inline unsigned int NibbleValue(unsigned char c) {
  const unsigned int lower = static_cast<unsigned int>(std::tolower(c));
  return lower > 0x60 ? lower - 0x57 : lower - 0x30;
}

}  // namespace

void byteToHexString(char* bytes, char* hex, unsigned int length) {
  std::string text;
  text.reserve(2 * static_cast<std::size_t>(length));
  for (unsigned int i = 0; i < length; ++i) {
    const unsigned char byte = static_cast<unsigned char>(bytes[i]);
    text += kHexDigits[byte >> 4];
    text += kHexDigits[byte & 0x0F];
  }
  // Intended: exactly 2 * length characters and no terminator.
  std::strncpy(hex, text.c_str(), 2 * static_cast<std::size_t>(length));
}

int hexStringToByte(const std::string& hex, void* out, unsigned int size) {
  const long start = (hex.size() >= 2 && hex[0] == '0' && (hex[1] == 'x' || hex[1] == 'X')) ? 2 : 0;
  unsigned char* bytes = static_cast<unsigned char*>(out);
  std::memset(bytes, 0, size);
  const long length = static_cast<long>(hex.size());
  if (length - start < 2) return 0;

  unsigned int stored = 0;
  for (long i = length - 2;; i -= 2) {
    const unsigned int high = NibbleValue(static_cast<unsigned char>(hex[i]));
    const unsigned int low = NibbleValue(static_cast<unsigned char>(hex[i + 1]));
    const unsigned char byte = static_cast<unsigned char>((high << 4) | low);
    if (stored == size) return static_cast<int>(size);
    bytes[size - 1 - stored] = byte;
    ++stored;
    if (i - 1 < start) return static_cast<int>(stored);
    // Intended: with one digit left over at the front ("0xABC") it is dropped, not read as 0x0A.
    if (i - 2 < start) return static_cast<int>(stored);
  }
}

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "built for little-endian targets only");

bool IsLittleEndian() { return true; }

unsigned int swapByteOrder(unsigned int value) {
  return ((value & 0x000000FFu) << 24) | ((value & 0x0000FF00u) << 8) |
         ((value & 0x00FF0000u) >> 8) | ((value & 0xFF000000u) >> 24);
}

void sequenceToiv(unsigned int sequence, unsigned char* iv, unsigned int size) {
  if (IsLittleEndian()) sequence = swapByteOrder(sequence);
  std::memset(iv, 0, size);
  if (size < sizeof(sequence)) return;
  vas_memcpy_s(iv + size - sizeof(sequence), sizeof(sequence), &sequence, sizeof(sequence));
}

int stringToiv(const std::string& hex, unsigned char* iv, unsigned int size) {
  std::memset(iv, 0, size);
  return hexStringToByte(hex, iv, size);
}
