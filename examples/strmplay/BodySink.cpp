#include "BodySink.h"

namespace strmplay {

BodySink::BodySink(std::size_t maxBytes, bool keepPrefix)
    : m_maxBytes(maxBytes), m_keepPrefix(keepPrefix) {}

BodySink::Take BodySink::Append(const std::uint8_t* data, std::size_t size) {
  m_offered += size;
  if (m_state != Take::kMore) return m_state;
  if (m_maxBytes == 0 || m_bytes.size() + size < m_maxBytes) {
    m_bytes.insert(m_bytes.end(), data, data + size);
    return m_state;
  }
  if (m_keepPrefix) {
    m_bytes.insert(m_bytes.end(), data, data + (m_maxBytes - m_bytes.size()));
    m_state = Take::kEnough;
  } else if (m_bytes.size() + size > m_maxBytes) {
    // The memory goes at once: a refused body is not kept.
    std::vector<std::uint8_t>().swap(m_bytes);
    m_state = Take::kOverflow;
  } else {
    m_bytes.insert(m_bytes.end(), data, data + size);  // exactly the cap is still allowed
  }
  return m_state;
}

void BodySink::Clear() {
  m_bytes.clear();
  m_offered = 0;
  m_state = Take::kMore;
}

}  // namespace strmplay
