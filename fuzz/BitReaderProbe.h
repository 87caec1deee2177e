// A bit reader whose position can be read, and a plain extraction of bits to check reads against.
#pragma once

#include <vector>

#include "Bitstream.h"

namespace fuzzsupport {

class BitReaderProbe : public strmcommon::BitstreamReader {
 public:
  // Bits consumed from the start of the buffer.
  long long BitPos() const { return (m_cur - m_start) * 8LL + (8 - m_bitsLeft); }
};

// count bits from bit position pos, most significant first, right-aligned.
inline unsigned long long ExtractBits(const std::vector<unsigned char>& bytes, long long pos,
                                      int count) {
  unsigned long long v = 0;
  for (int i = 0; i < count; ++i, ++pos) v = (v << 1) | ((bytes[pos / 8] >> (7 - pos % 8)) & 1);
  return v;
}

}  // namespace fuzzsupport
