// An unlocked, growing byte queue on a std::string.
#pragma once

#include <string>

#include "IArrayBuffer.h"

namespace strmcommon {

class StringBuffer : public IArrayBuffer {
 public:
  explicit StringBuffer(unsigned int reserve);

  bool PushBack(void* data, unsigned int size) override;
  bool Empty() override { return m_buffer.empty(); }
  unsigned int Size() override { return static_cast<unsigned int>(m_buffer.size()); }
  unsigned int FreeSize() override;
  unsigned int MaxSize() override;
  void SetMaxSize(unsigned int /*size*/) override {}
  unsigned int AdjustSize(unsigned int size) override;
  void PopFront() override {}
  bool PopFront(unsigned int size, void* out) override;
  bool GetFront(void* /*out*/) override { return false; }
  unsigned int Clear() override;
  std::string GetString() override { return m_buffer; }

 private:
  std::string m_buffer;
};

}  // namespace strmcommon
