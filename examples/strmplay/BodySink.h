// Where the body of one transfer goes: a byte buffer with an optional cap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace strmplay {

class BodySink {
 public:
  enum class Take {
    kMore,      // taken; more may come
    kEnough,    // the cap is reached and the bytes up to it are kept: no more are wanted
    kOverflow,  // more than the cap arrived: the body is refused and dropped
  };

  // maxBytes 0: no cap. keepPrefix: reaching the cap keeps the first maxBytes bytes (a probe),
  // instead of refusing the body (a playlist that is too large).
  explicit BodySink(std::size_t maxBytes = 0, bool keepPrefix = false);

  // Appends one chunk. After kEnough or kOverflow further chunks are ignored.
  Take Append(const std::uint8_t* data, std::size_t size);
  // Drops what was received (a new attempt starts from the first byte).
  void Clear();

  std::vector<std::uint8_t>& Bytes() { return m_bytes; }
  const std::vector<std::uint8_t>& Bytes() const { return m_bytes; }
  // Bytes offered so far, including any beyond the cap.
  std::size_t Offered() const { return m_offered; }
  bool Overflowed() const { return m_state == Take::kOverflow; }
  bool Enough() const { return m_state == Take::kEnough; }

 private:
  std::size_t m_maxBytes;
  bool m_keepPrefix;
  std::vector<std::uint8_t> m_bytes;
  std::size_t m_offered = 0;
  Take m_state = Take::kMore;
};

}  // namespace strmplay
