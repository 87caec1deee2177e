// The bodies the loopback server generates, and the checksum tests compare them with.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace testsupport {

// The deterministic body byte at offset i of every generated route.
inline unsigned char ContentByte(size_t i) {
  return static_cast<unsigned char>((static_cast<uint32_t>(i) * 2654435761u) >> 24);
}

// FNV-1a over a byte stream, fed in pieces.
class Checksum {
 public:
  void Update(const unsigned char* data, size_t size) {
    for (size_t i = 0; i < size; ++i) {
      m_value ^= data[i];
      m_value *= 1099511628211ull;
    }
  }
  uint64_t Value() const { return m_value; }

  // The checksum of the first size bytes of a generated body.
  static uint64_t OfContent(size_t size) {
    Checksum sum;
    unsigned char piece[4096];
    for (size_t offset = 0; offset < size; offset += sizeof(piece)) {
      size_t n = std::min(sizeof(piece), size - offset);
      for (size_t i = 0; i < n; ++i) piece[i] = ContentByte(offset + i);
      sum.Update(piece, n);
    }
    return sum.Value();
  }

 private:
  uint64_t m_value = 1469598103934665603ull;
};

}  // namespace testsupport
