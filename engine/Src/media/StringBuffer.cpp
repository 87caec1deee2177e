#include "StringBuffer.h"

#include "Portability.h"

namespace strmcommon {

namespace {

// Intended: the free room is reckoned against 2 MiB while the maximum reads 0x7FFFFFF.
constexpr unsigned int kFreeSizeBase = 0x200000;
constexpr unsigned int kMaxSize = 0x7FFFFFF;

}  // namespace

StringBuffer::StringBuffer(unsigned int reserve) { m_buffer.reserve(reserve); }

StringBuffer::~StringBuffer() {}

bool StringBuffer::PushBack(void* data, unsigned int size) {
  // No limit: FreeSize is not consulted.
  m_buffer.append(static_cast<const char*>(data), size);
  return true;
}

bool StringBuffer::Empty() { return m_buffer.empty(); }

unsigned int StringBuffer::Size() { return static_cast<unsigned int>(m_buffer.size()); }

unsigned int StringBuffer::FreeSize() {
  // Wraps once more than 2 MiB is held.
  return kFreeSizeBase - Size();
}

unsigned int StringBuffer::MaxSize() { return kMaxSize; }

void StringBuffer::SetMaxSize(unsigned int size) {}

unsigned int StringBuffer::AdjustSize(unsigned int size) { return kMaxSize; }

void StringBuffer::PopFront() {}

bool StringBuffer::PopFront(unsigned int size, void* out) {
  if (size > Size()) return false;
  vas_memcpy_s(out, size, m_buffer.data(), size);
  m_buffer = m_buffer.substr(size);
  return true;
}

bool StringBuffer::GetFront(void* out) { return false; }

unsigned int StringBuffer::Clear() {
  unsigned int size = Size();
  m_buffer.clear();
  return size;
}

std::string StringBuffer::GetString() { return m_buffer; }

}  // namespace strmcommon
