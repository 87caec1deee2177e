#include "Bitstream.h"

#include <cstring>

namespace strmcommon {

namespace {

// Low n bits of a byte, for n = 0..8.
constexpr unsigned char kLowBits[9] = {0x00, 0x01, 0x03, 0x07, 0x0F, 0x1F, 0x3F, 0x7F, 0xFF};

}  // namespace

Packet::Packet()
    : m_size(0),
      m_tag(0),
      m_userValues{0, 0, 0, 0},
      m_ptr(nullptr),
      m_owned(false),
      m_pos(0),
      m_dataPos(0) {}

Packet::Packet(const Packet& other) : Packet() { *this = other; }

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): kept without a self-assignment test.
Packet& Packet::operator=(const Packet& other) {
  // Intended: no self-assignment test and no release of the old buffer; the result is a view.
  m_size = other.m_size;
  m_tag = other.m_tag;
  m_ptr = other.m_ptr;
  m_pos = other.m_pos;
  m_dataPos = other.m_dataPos;
  m_owned = false;
  return *this;
}

Packet::~Packet() { PtrFree(); }

void Packet::PtrFree() {
  if (m_owned && m_ptr != nullptr) delete[] m_ptr;
  m_ptr = nullptr;
  m_size = 0;
  m_pos = 0;
  m_dataPos = 0;
}

unsigned int Packet::GetSize() { return m_size; }

unsigned char* Packet::GetPtr() { return m_ptr; }

// Unchecked, like SetDataPos and MoveDataPos.
void Packet::UngetByte(unsigned int count) { m_pos -= count; }

void Packet::ResetPos() { m_pos = 0; }

unsigned char* Packet::GetDataPtr() { return m_ptr + m_dataPos; }

int Packet::GetDataSize() { return static_cast<int>(m_size - m_dataPos); }

void Packet::SetDataPos(int pos) { m_dataPos = pos; }

void Packet::MoveDataPos(int delta) { m_dataPos += delta; }

int Packet::PtrAlloc(unsigned int size) {
  PtrFree();
  m_size = size;
  if (size != 0) {
    m_ptr = new unsigned char[size];
    m_owned = true;
  }
  return 0;
}

int Packet::PtrResize(unsigned int size) {
  if (size != 0 && size > m_size) {
    unsigned char* grown = new unsigned char[size];
    if (m_size != 0) memcpy(grown, m_ptr, m_size);
    if (m_owned && m_ptr != nullptr) delete[] m_ptr;
    m_ptr = grown;
    m_owned = true;
  }
  // Shrinking keeps the buffer as it is.
  m_size = size;
  return 0;
}

void Packet::SetPtr(unsigned char* ptr, unsigned int size) {
  PtrFree();
  m_ptr = ptr;
  m_size = size;
  m_owned = false;
}

int Packet::GetByte(unsigned char* out, unsigned int count) {
  // Intended: not a strict bound, so a read that would take the very last byte fails.
  if (m_ptr == nullptr || m_pos + count >= m_size) return -1;
  if (count != 0) memcpy(out, m_ptr + m_pos, count);
  m_pos += count;
  return 0;
}

void BitstreamReader::Reset(void* buffer, int size) {
  m_start = static_cast<unsigned char*>(buffer);
  m_cur = m_start;
  m_size = size;
  if (buffer != nullptr) {
    m_bitsLeft = 8;
    m_curByte = *m_start;
  } else {
    m_bitsLeft = 0;
    m_curByte = 0;
  }
}

bool BitstreamReader::ReachesEnd(long long bytesAhead) const {
  return static_cast<long long>(m_cur - m_start) + bytesAhead >= m_size;
}

template <typename T>
void BitstreamReader::ReadBits(int count, T& out) {
  if (ReachesEnd(0)) return;
  if (m_bitsLeft <= count) {
    // All or nothing: the following bytes the read needs must lie inside the buffer.
    int more = (count - m_bitsLeft + 7) >> 3;
    if (ReachesEnd(more)) return;
  }
  out = 0;
  if (count == 0) return;
  T bits = *m_cur & kLowBits[m_bitsLeft];
  while (count >= m_bitsLeft) {
    out |= bits << (count - m_bitsLeft);
    count -= m_bitsLeft;
    m_bitsLeft = 8;
    ++m_cur;
    if (count == 0) return;
    bits = *m_cur;
  }
  out |= bits >> (m_bitsLeft - count);
  m_bitsLeft -= count;
}

void BitstreamReader::GetBits(int count, int& out) {
  // The same bit pattern as the unsigned form: the field is not sign-extended.
  unsigned int value = static_cast<unsigned int>(out);
  ReadBits(count, value);
  out = static_cast<int>(value);
}

void BitstreamReader::GetBits(int count, unsigned int& out) { ReadBits(count, out); }

void BitstreamReader::GetBits(int count, unsigned long long& out) { ReadBits(count, out); }

void BitstreamReader::SkipBits(int count) {
  if (count <= 0 || ReachesEnd(0)) return;
  if (m_bitsLeft > count) {
    m_bitsLeft -= count;
    return;
  }
  int rest = count - m_bitsLeft;
  if (ReachesEnd((rest + 7) >> 3)) return;
  m_cur += (rest + 8) >> 3;
  m_bitsLeft = 8 - (rest & 7);
}

void BitstreamReader::SkipBytes(int count) {
  // Intended: counts from the start of the current byte, and refuses to land on the end.
  if (count <= 0 || ReachesEnd(0) || ReachesEnd(count)) return;
  m_cur += count;
  m_bitsLeft = 8;
}

BitstreamBuilder::BitstreamBuilder() { Reset(nullptr, 0); }

void BitstreamBuilder::Reset(void* buffer, int size) {
  m_start = static_cast<unsigned char*>(buffer);
  m_cur = m_start;
  m_size = size;
  m_accum = 0;
  m_bitsFree = 8;
}

void BitstreamBuilder::AddBits(unsigned int value, int count) {
  if (m_cur - m_start >= m_size) return;
  if (m_bitsFree > count) {
    m_bitsFree -= count;
    unsigned int place = static_cast<unsigned int>(kLowBits[count]) << m_bitsFree;
    m_accum = static_cast<unsigned char>((m_accum & ~place) | (value << m_bitsFree));
    *m_cur = m_accum;
    return;
  }
  int rest = count - m_bitsFree;
  m_accum = static_cast<unsigned char>((m_accum & ~kLowBits[m_bitsFree]) | (value >> rest));
  *m_cur = m_accum;
  m_bitsFree = 8;
  ++m_cur;
  // The next byte starts from what the buffer holds there. At the end of the buffer there is
  // nothing to load, and every later call returns before using the accumulator.
  m_accum = (m_cur - m_start < m_size) ? *m_cur : 0;
  if (rest != 0) AddBits(value & ((1u << rest) - 1), rest);
}

}  // namespace strmcommon
