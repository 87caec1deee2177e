// An unlocked, growing byte queue on a std::string.
#pragma once

#include <string>

#include "IArrayBuffer.h"

namespace strmcommon {

class StringBuffer : public IArrayBuffer {
 public:
  explicit StringBuffer(unsigned int reserve);
  ~StringBuffer() override;

  bool PushBack(void* data, unsigned int size) override;
  bool Empty() override;
  unsigned int Size() override;
  unsigned int FreeSize() override;
  unsigned int MaxSize() override;
  void SetMaxSize(unsigned int size) override;
  unsigned int AdjustSize(unsigned int size) override;
  void PopFront() override;
  bool PopFront(unsigned int size, void* out) override;
  bool GetFront(void* out) override;
  unsigned int Clear() override;
  std::string GetString() override;

 private:
  std::string m_buffer;
};

}  // namespace strmcommon
