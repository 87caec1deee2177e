// The sink side of an output buffer: bytes go in, and the room is asked for and set.
#pragma once

namespace strmcommon {

class IOutputBuffer {
 public:
  virtual ~IOutputBuffer() {}
  virtual bool PushBack(void* data, unsigned int size) = 0;
  virtual bool Empty() = 0;
  virtual unsigned int Size() = 0;
  virtual unsigned int FreeSize() = 0;
  virtual unsigned int MaxSize() = 0;
  virtual void SetMaxSize(unsigned int size) = 0;
  virtual unsigned int AdjustSize(unsigned int size) = 0;
};

}  // namespace strmcommon
