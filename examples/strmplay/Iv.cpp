#include "Iv.h"

#include <cstring>

namespace strmplay {

// Local stand-ins, used until the library's IV helpers are available.
void IvFromSequence(unsigned int sequence, unsigned char iv[16]) {
  std::memset(iv, 0, 16);
  iv[12] = static_cast<unsigned char>(sequence >> 24);
  iv[13] = static_cast<unsigned char>(sequence >> 16);
  iv[14] = static_cast<unsigned char>(sequence >> 8);
  iv[15] = static_cast<unsigned char>(sequence);
}

void IvFromText(const std::string& hex, unsigned char iv[16]) {
  std::memset(iv, 0, 16);
  std::size_t start = hex.size() > 1 && hex[0] == '0' && (hex[1] == 'x' || hex[1] == 'X') ? 2 : 0;
  auto value = [](char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return 0;
  };
  int out = 15;
  for (std::size_t i = hex.size(); i >= start + 2 && out >= 0; i -= 2) {
    iv[out--] = static_cast<unsigned char>(value(hex[i - 2]) << 4 | value(hex[i - 1]));
  }
}

}  // namespace strmplay
