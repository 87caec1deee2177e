/// \file
/// An output buffer whose bytes are taken back out, oldest first.
#pragma once

#include <string>

#include "IOutputBuffer.h"

namespace strmcommon {

/// An IOutputBuffer that is also a queue: bytes come back out in the order they went in.
class IArrayBuffer : public IOutputBuffer {
 public:
  /// Drops one unit from the front (what a unit is, is the implementation's).
  virtual void PopFront() = 0;
  /// Takes `size` bytes from the front into `out` (a null `out` discards them where the
  /// implementation allows); false when not enough is held.
  virtual bool PopFront(unsigned int size, void* out) = 0;
  /// Copies the front unit to `out` without taking it; false when there is none.
  virtual bool GetFront(void* out) = 0;
  /// Empties the buffer and returns the size it had.
  virtual unsigned int Clear() = 0;
  /// The contents as text, where the implementation keeps text.
  virtual std::string GetString() = 0;
};

}  // namespace strmcommon
