// An output buffer whose bytes are taken back out, oldest first.
#pragma once

#include <string>

#include "IOutputBuffer.h"

namespace strmcommon {

class IArrayBuffer : public IOutputBuffer {
 public:
  virtual void PopFront() = 0;
  virtual bool PopFront(unsigned int size, void* out) = 0;
  virtual bool GetFront(void* out) = 0;
  // Returns the size before the clear.
  virtual unsigned int Clear() = 0;
  virtual std::string GetString() = 0;
};

}  // namespace strmcommon
